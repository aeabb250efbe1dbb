#pragma once

#include <iterator>

// The declared preferences, as a table for those who do not want to open the settings by linking
// it, and as a macro, because Preferences.cpp makes an object of each row.

// clang-format off
// One row per line: object, key, default, synopsis.
#define TALMO_PREFERENCES(ROW) \
    ROW(size,       "IconSize",               "48",    "The size of icons (pixels).") \
    ROW(bkgnd,      "Background",             "black", "The background color in the Viewer.") \
    ROW(circle,     "CircleSides",            "36",    "The number of lines to divide a circle for tessellation.") \
    ROW(usebc,      "UseBeamlineCoordinates", "0",     "Use beamline coordinates when dragging from a Library.") \
    ROW(root,       "Root",                   "",      "The directory of Root (ROOTSYS - restart needed after change).") \
    ROW(last,       "LastSimulation",         "",      "The path of the last Simulation used.") \
    ROW(limit,      "EventDrawTrackLimit",    "100",   "The maximum number of tracks to draw PER EVENT.") \
    ROW(minLength,  "DrawTrackMinLength",     "1mm",   "The minimum length of tracks to draw.") \
    ROW(examples,   "Examples",               "",      "Installation directory for Examples.") \
    ROW(defaultLib, "DefaultLibrary",         "",      "Path to the default Library directory.") \
    TALMO_ONE_TO_NINE(TALMO_LIB_DIR, ROW) \
    TALMO_ONE_TO_NINE(TALMO_LIB_URL, ROW) \
    TALMO_ONE_TO_NINE(TALMO_PROGRAM, ROW) \
    TALMO_ONE_TO_NINE(TALMO_PATH, ROW) \
    TALMO_ONE_TO_NINE(TALMO_SIMDEF, ROW) \
    TALMO_ONE_TO_NINE(TALMO_CALCULATOR, ROW) \
    TALMO_ONE_TO_NINE(TALMO_RECENT_FILE, ROW) \
    TALMO_RECENT_FILE(ROW, 10)

// The numbered families, complete and in order. Every default is empty.
#define TALMO_LIB_DIR(ROW, n)     ROW(lib##n##dir,   "Library" #n ".dir",       "", "Path to the Library" #n " directory.")
#define TALMO_LIB_URL(ROW, n)     ROW(lib##n##url,   "Library" #n ".url",       "", "The URL for Library" #n ".")
#define TALMO_PROGRAM(ROW, n)     ROW(p##n##name,    "SimProgram" #n ".name",   "", "The name of simulation program " #n ".")
#define TALMO_PATH(ROW, n)        ROW(p##n##path,    "SimProgram" #n ".path",   "", "The path of the executable for simulation program " #n ".")
#define TALMO_SIMDEF(ROW, n)      ROW(p##n##simdef,  "SimProgram" #n ".simdef", "", "The simdef for simulation program " #n ".")
#define TALMO_CALCULATOR(ROW, n)  ROW(calc##n,       "Calculator" #n,           "", "The path for Calculator program " #n ".")
#define TALMO_RECENT_FILE(ROW, n) ROW(recentFile##n, "RecentFile" #n,           "", "Recent filename number " #n ".")
#define TALMO_ONE_TO_NINE(FAMILY, ROW) \
    FAMILY(ROW, 1) FAMILY(ROW, 2) FAMILY(ROW, 3) FAMILY(ROW, 4) FAMILY(ROW, 5) \
    FAMILY(ROW, 6) FAMILY(ROW, 7) FAMILY(ROW, 8) FAMILY(ROW, 9)
// clang-format on

namespace Talmo
{

struct PreferenceRow {
    const char *key;
    const char *defaultValue;
    const char *synopsis; ///< one line
};

#define TALMO_ROW(object, key, defaultValue, synopsis) {key, defaultValue, synopsis},
constexpr PreferenceRow preferenceRows[] = {TALMO_PREFERENCES(TALMO_ROW)};
#undef TALMO_ROW

static_assert(std::size(preferenceRows) == 74);

} // namespace Talmo
