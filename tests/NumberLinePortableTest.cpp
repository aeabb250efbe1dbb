// The same tests of the same source, built without the instructions that only one processor has.
#include "NumberLineTest.cpp" // NOLINT(bugprone-suspicious-include)
