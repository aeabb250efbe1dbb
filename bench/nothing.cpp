// What the loader does for any program that uses Qt Core.

#include <QtGlobal>

int main()
{
    return qVersion() == nullptr;
}
