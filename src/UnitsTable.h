#pragma once

// The table of units. A new unit is a new row here. Only Units.cpp includes this file.

#include <iterator>
#include <string_view>

namespace Talmo
{

/// A unit. The rows of one kind stand together, and kinds are numbered in the order of the table.
struct UnitRow {
    const char *kind;
    const char *unit;
    double factor; ///< how many reference units it is worth; the kind's first row is its reference
};

// In most names, p stands for per, u for micro, and a digit at the end for a power.
// clang-format off
constexpr UnitRow unitRows[] = {
    { "unitless",           "",          1.0                    },
    { "length",             "in",        1.0                    },   // Deliberate: not the metre
    { "length",             "ft",        12.0                   },
    { "length",             "yd",        36.0                   },
    { "length",             "mile",      63360.0                },
    { "length",             "mm",        0.03937007874015748    },   // 1/25.4, digit for digit
    { "length",             "cm",        0.3937007874015748     },
    { "length",             "m",         39.37007874015748      },
    { "length",             "micron",    3.9370078740157485e-05 },
    { "length",             "um",        3.9370078740157485e-05 },
    { "length",             "km",        39370.078740157485     },   // 1e6/25.4
    { "length",             "meter",     39.37007874015748      },
    { "speed",              "mps",       1.0                    },
    { "speed",              "fps",       0.3048                 },
    { "speed",              "kmph",      0.277778               },   // Deliberate: not 1/3.6
    { "speed",              "MPH",       0.44704                },
    { "speed",              "mph",       0.44704                },
    { "angle",              "rad",       1.0                    },
    { "angle",              "deg",       0.017453292519943295   },   // pi/180
    { "angle",              "mr",        0.001                  },
    { "time",               "sec",       1.0                    },
    { "time",               "s",         1.0                    },
    { "time",               "ms",        0.001                  },
    { "time",               "us",        1e-06                  },
    { "time",               "shakes",    1e-08                  },
    { "time",               "ns",        1e-09                  },
    { "time",               "ps",        1e-12                  },
    { "time",               "min",       60.0                   },
    { "time",               "hr",        3600.0                 },
    { "mass",               "g",         1.0                    },
    { "mass",               "gm",        1.0                    },
    { "mass",               "kg",        1000.0                 },
    { "mass",               "mg",        0.001                  },
    { "mass",               "ug",        1e-06                  },
    { "magneticField",      "tesla",     1.0                    },
    { "magneticField",      "T",         1.0                    },
    { "magneticField",      "gauss",     0.0001                 },
    { "magneticField",      "G",         0.0001                 },
    { "magneticField",      "kilogauss", 0.1                    },
    { "magneticField",      "kG",        0.1                    },
    { "voltage",            "volt",      1.0                    },
    { "voltage",            "V",         1.0                    },
    { "voltage",            "kV",        1000.0                 },
    { "voltage",            "MV",        1000000.0              },
    { "electricField",      "Vpm",       1.0                    },
    { "electricField",      "MVpm",      1000000.0              },
    { "electricField",      "kVpm",      1000.0                 },
    { "electricField",      "Vpmm",      1000.0                 },
    { "density",            "gpcc",      1.0                    },
    { "magneticGradient",   "Tpm",       1.0                    },
    { "magneticGradient",   "Gpm",       0.0001                 },
    { "energy",             "MeV",       1.0                    },
    { "energy",             "eV",        1e-06                  },
    { "energy",             "keV",       0.001                  },
    { "energy",             "GeV",       1000.0                 },
    { "energy",             "TeV",       1000000.0              },
    { "energy",             "joule",     6241509340000.0        },   // Deliberate: the digits differ
    { "energy",             "J",         6241509340000.0        },   // from those of the coulomb
    { "energy",             "amu",       931.494061             },
    { "charge",             "e",         1.0                    },
    { "charge",             "coulomb",   6.241509745e+18        },
    { "charge",             "uC",        6241509745000.0        },
    { "charge",             "nC",        6241509745.0           },
    { "current",            "A",         1.0                    },
    { "current",            "ma",        0.001                  },   // milliampere, in lower case
    { "current",            "ka",        1000.0                 },   // kiloampere
    { "magneticSextupole",  "Tpm2",      1.0                    },
    { "magneticOctopole",   "Tpm3",      1.0                    },
    { "magneticDecapole",   "Tpm4",      1.0                    },
    { "magneticDodecapole", "Tpm5",      1.0                    },
};
// clang-format on

/// The preferred units for display and conversion, at most one of a kind. The first one, "", also
/// serves every unknown unit. They need not be the reference units, and some kinds have none.
constexpr const char *standardUnitNames[] = {
    "", "mm", "MeV", "T", "ns", "MVpm", "Tpm", "rad", "mps"};

/// How many kinds the table has.
constexpr int kindCount()
{
    int count = 0;
    std::string_view kind;
    for (const UnitRow &row : unitRows) {
        count += kind != row.kind;
        kind = row.kind;
    }
    return count;
}

static_assert(std::size(unitRows) == 70);
static_assert(kindCount() == 18);
static_assert(std::size(standardUnitNames) == 9);

} // namespace Talmo
