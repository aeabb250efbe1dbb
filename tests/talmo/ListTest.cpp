#include "CompanionTest.h"

// talmo list

using ListTest = CompanionTest;

TEST_F(ListTest, NamesTheRunsInTheDriversOrder)
{
    configure({"sim2", "sim1"});
    write("test2", "=two\n");
    write("Test1", "=one\n=simprogram sim*\n");
    write("other", "=other\n");
    expectSuccess({"list"}, "Test1(sim2)\nTest1(sim1)\ntest2\n");
}
