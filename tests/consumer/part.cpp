// A part of a program, which has nothing in it that the program uses.

void nobodyCallsThisEither() {}
