#pragma once

/// False while static objects are constructed, true from enterMain on. A program may also set it
/// itself.
extern bool mainHasBeenEntered;

namespace Talmo
{

/// Tells the library that main has been entered. Every program that uses the library calls it as
/// the first action of its main, since most operations crash deliberately before.
///
/// The reason: the library fills its tables before main, by static objects. In which order those of
/// different files are constructed is not defined, so an operation that is called from one of them
/// could find a table half filled, and compute a wrong result without a word.
///
/// The call also ties the program to the library, for a linker that leaves out libraries of which
/// nothing is used.
void enterMain();

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
