#include "Tracker.h"

int main(int argc, char **argv)
{
    return tracker::trackerMain(argc, argv, tracker::transported);
}
