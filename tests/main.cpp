#include "talmo/StartupGuard.h"

#include <gtest/gtest.h>

int main(int argc, char *argv[])
{
    Talmo::enterMain();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
