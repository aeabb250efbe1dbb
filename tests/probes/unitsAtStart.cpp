// Is loaded into a program from outside. Before the program enters main, prints what is in the
// units table of the library that the program is linked with. This module is not linked with it.

#include "talmo/Units.h"

#include <cstdio>

#include <dlfcn.h>

namespace
{

template <typename Table>
int sizeOf(const char *symbol)
{
    const void *const table = dlsym(RTLD_DEFAULT, symbol);
    return table == nullptr ? -1 : static_cast<int>(static_cast<const Table *>(table)->size());
}

struct Look {
    Look()
    {
        const int units = sizeOf<QHash<QString, int>>("_ZN5Talmo5Units8typeHashE");
        const int kinds = sizeOf<QHash<QString, QStringList>>("_ZN5Talmo5Units5typesE");
        std::fprintf(stderr, "%d units of %d kinds\n", units, kinds);
    }
} look;

} // namespace
