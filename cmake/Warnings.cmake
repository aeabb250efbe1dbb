# talmo_warnings: linked privately by every target of ours. Warnings become errors in the presets of
# .ci/run (CMAKE_COMPILE_WARNING_AS_ERROR), never for a user or a packager: the next compiler will warn
# of something else.
add_library(talmo_warnings INTERFACE)
target_compile_options(talmo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
