// The same tests of the same source, built without the instructions of one processor.
#include "NumberLineTest.cpp" // NOLINT(bugprone-suspicious-include)
