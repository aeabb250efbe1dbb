#include "Kick.h"
#include "StartupGuard.h"
#include "Tracker.h"

int main(int argc, char **argv)
{
    mainHasBeenEntered = true;
    return tracker::trackerMain(argc, argv, tracker::kicked);
}
