# talmo_warnings: linked privately by every target of ours. Warnings become errors in presets
# (CMAKE_COMPILE_WARNING_AS_ERROR), never for a packager.
add_library(talmo_warnings INTERFACE)
target_compile_options(talmo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
