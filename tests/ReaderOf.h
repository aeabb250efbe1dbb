#pragma once

#include "LineReader.h"

#include <QTemporaryFile>

#include <string_view>

#include <gtest/gtest.h>

/// A file with \a content, open in a reader.
class ReaderOf
{
public:
    explicit ReaderOf(std::string_view content)
    {
        const auto size = static_cast<qint64>(content.size());
        EXPECT_TRUE(file.open());
        EXPECT_EQ(file.write(content.data(), size), size);
        EXPECT_TRUE(file.flush());
        EXPECT_TRUE(reader.open(file.fileName()));
    }

    Talmo::LineReader reader;

private:
    QTemporaryFile file;
};
