#include "Tracker.h"
#include "talmo/StartupGuard.h"

int main(int argc, char **argv)
{
    Talmo::enterMain();
    return tracker::trackerMain(argc, argv, tracker::transported);
}
