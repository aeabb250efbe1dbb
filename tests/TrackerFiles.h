#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// The two lines that begin every track file.
inline const std::string heading =
    "#QXTrackFile\n#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n";

/// A test with a directory of its own, which is the current one.
class TrackerFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        std::filesystem::current_path(folder);
    }
    void TearDown() override
    {
        std::filesystem::current_path("..");
        std::filesystem::remove_all(folder);
    }
    static void write(const std::string &name, const std::string &text)
    {
        std::ofstream(name, std::ios::binary) << text;
    }
    static std::string read(const std::string &name)
    {
        std::ifstream stream(name);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    const std::filesystem::path folder = "TrackerFiles.dir";
};
