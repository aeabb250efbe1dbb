#include "CompanionTest.h"

// What a run that is stopped does with its programs.

using AskedToEndTest = CompanionTest;

TEST_F(AskedToEndTest, AProgramThatOutlivesTheShellIsAskedOnce)
{
    // The shell ends when the program has been asked. The program has a moment more.
    write("test1",
        "=heading\n"
        "=file program\n"
        "trap 'echo asked >>requests' TERM\n"
        "kill -TERM $1\n"
        "until [ -e requests ] && ! [ -d /proc/$PPID ]; do sleep 0.01; done\n"
        "sleep 0.5\n"
        "=run trap : TERM; sh program $PPID & until [ -e requests ]; do sleep 0.01; done\n");
    EXPECT_EQ(run({"run", "--no-record"}).status, 1);
    EXPECT_EQ(read("test1.dir/requests"), "asked\n");
}

TEST_F(AskedToEndTest, AProgramLeftBehindEarlierIsAskedToo)
{
    write("test1", "=heading\n"
                   "=file program\n"
                   "trap 'echo asked >>requests; exit' TERM\n"
                   "echo $$ >process\n"
                   "while :; do sleep 0.01; done\n"
                   "=run sh program & until [ -e process ]; do sleep 0.01; done\n"
                   "=run kill -TERM $PPID; sleep 60\n");
    EXPECT_EQ(run({"run", "--no-record"}).status, 1);
    EXPECT_EQ(read("test1.dir/requests"), "asked\n");
}
