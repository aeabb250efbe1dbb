# talmo_compilation: how our sources are compiled. Every target of ours links it, privately, so that nothing
# of it reaches those who use our libraries.
add_library(talmo_compilation INTERFACE)
# Files beyond 2 GB on every machine.
target_compile_definitions(talmo_compilation INTERFACE _FILE_OFFSET_BITS=64)
# Warnings become errors in the presets of .ci/run (CMAKE_COMPILE_WARNING_AS_ERROR), never for a user or a
# packager: the next compiler will warn of something else.
target_compile_options(talmo_compilation INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
