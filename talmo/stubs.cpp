#include "JUnit.h"
#include "Known.h"
#include "Records.h"
#include "digests.h"
namespace Talmo
{
QByteArray digestOfScript(const Script &)
{
    return "x";
}
QByteArray digestOfReferences(const Script &, const QString &, const QByteArray &)
{
    return {};
}
QByteArray digestOfDirectory(const QByteArray &)
{
    return {};
}
QByteArray digestOfNames(const QStringList &)
{
    return {};
}
bool Known::read(const QByteArray &, QStringList &)
{
    return true;
}
QString Known::problemOfWriting() const
{
    return {};
}
bool Known::add(const std::vector<Failure> &, QStringList &)
{
    return true;
}
Records::Opening Records::open(const QByteArray &, QString &)
{
    return Opening::Opened;
}
bool Records::save(const RunResults &, QString &)
{
    return true;
}
void Records::close() {}
Records::Reading Records::readLatest(const QByteArray &, SystemOut, RunResults &, QString &)
{
    return Reading::Absent;
}
bool writeJUnitFile(const RunResults &, const QString &, QString &)
{
    return true;
}
QString problemOfResultFile(const QString &)
{
    return {};
}
} // namespace Talmo
