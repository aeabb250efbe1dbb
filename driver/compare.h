#pragma once

struct Invocation;

/// =compare FILE1 FILE2 [TOLERANCE ...]: fails unless the two files agree, line by line as bytes,
/// or column by column within the tolerances.
void compareCommand(Invocation &invocation);
