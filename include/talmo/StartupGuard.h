#pragma once

/// False while static objects are constructed. Every program that calls a guarded operation sets it
/// as the first action of its main.
extern bool mainHasBeenEntered;

namespace Talmo
{

/// Stops the process at once by an invalid memory write, without a message: a debugger then stands
/// at the call that must not be.
[[noreturn]] void crashDeliberately();

/// Opens every operation that relies on tables which are filled during static initialisation:
/// before main it crashes deliberately, afterwards it does nothing.
inline void startupGuard()
{
    if (!mainHasBeenEntered)
        crashDeliberately();
}

} // namespace Talmo
