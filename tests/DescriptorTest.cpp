#include "Descriptor.h"

#include <fcntl.h>

#include <gtest/gtest.h>

namespace
{

bool isOpenInProcess(int number)
{
    return fcntl(number, F_GETFD) >= 0;
}

} // namespace

TEST(Descriptor, ClosesWhatItOwns)
{
    const int number = dup(STDOUT_FILENO);
    {
        const Descriptor descriptor(number);
        EXPECT_TRUE(descriptor.isOpen());
        EXPECT_EQ(descriptor.get(), number);
        EXPECT_TRUE(isOpenInProcess(number));
    }
    EXPECT_FALSE(isOpenInProcess(number));
}

TEST(Descriptor, HasOneOwnerAtATime)
{
    const int number = dup(STDOUT_FILENO);
    Descriptor last;
    EXPECT_FALSE(last.isOpen());
    {
        Descriptor first(number);
        last = std::move(first);
        EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move): moving empties it
    }
    EXPECT_EQ(last.get(), number);
    EXPECT_TRUE(isOpenInProcess(number));
}

TEST(Descriptor, ZeroIsADescriptorToo)
{
    const int input = dup(STDIN_FILENO);
    bool isOpen = false;
    {
        const Descriptor descriptor(STDIN_FILENO);
        isOpen = descriptor.isOpen();
    }
    const bool isClosed = !isOpenInProcess(STDIN_FILENO);
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_TRUE(isOpen);
    EXPECT_TRUE(isClosed);
}
