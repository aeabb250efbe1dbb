// A library that no program here uses.

void nobodyCalls() {}
