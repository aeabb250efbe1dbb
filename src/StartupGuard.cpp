#include "talmo/StartupGuard.h"

#include <cstdlib>

bool mainHasBeenEntered = false;

namespace Talmo
{

void enterMain()
{
    mainHasBeenEntered = true;
}

__attribute__((no_sanitize("undefined"))) void crashDeliberately()
{
    volatile int *volatile nowhere = nullptr;
    *nowhere = 0;
    std::abort(); // only where address 0 can be written
}

} // namespace Talmo
