// What a result file has no other place for. A row says how a property is written and how it is
// read again, so that neither can be forgotten.

#include "resultProperties.h"

namespace Talmo
{

namespace
{

QStringList unlessEmpty(const QString &text)
{
    return text.isEmpty() ? QStringList() : QStringList(text);
}

/// The whole number from 0 on that \a value is; -1 if it is none.
qint64 numberOf(const QString &value)
{
    bool isNumber = false;
    const qint64 number = value.toLongLong(&isNumber);
    return isNumber && number >= 0 ? number : -1;
}

template <typename Owner, QString Owner::*member>
constexpr Property<Owner> text(const char *word)
{
    return {word, [](const Owner &owner) { return unlessEmpty(owner.*member); },
        [](Owner &owner, const QString &value) {
            owner.*member = value;
            return true;
        }};
}

template <typename Owner, QStringList Owner::*member>
constexpr Property<Owner> list(const char *word)
{
    return {word, [](const Owner &owner) { return owner.*member; },
        [](Owner &owner, const QString &value) {
            owner.*member += value;
            return true;
        }};
}

template <typename Owner, QByteArray Owner::*member>
constexpr Property<Owner> digest(const char *word)
{
    return {word,
        [](const Owner &owner) { return unlessEmpty(QString::fromLatin1(owner.*member)); },
        [](Owner &owner, const QString &value) {
            owner.*member = value.toLatin1();
            return true;
        }};
}

template <typename Owner, qint64 Owner::*member>
constexpr Property<Owner> number(const char *word)
{
    return {word,
        [](const Owner &owner) {
            return owner.*member == 0 ? QStringList() : QStringList(QString::number(owner.*member));
        },
        [](Owner &owner, const QString &value) {
            owner.*member = numberOf(value);
            return owner.*member >= 0;
        }};
}

QStringList formatOf(const RunResults & /*results*/)
{
    return {QLatin1String(resultFormat)};
}

bool takeFormat(RunResults & /*results*/, const QString &value)
{
    return value == QLatin1String(resultFormat);
}

QStringList shardOf(const RunResults &results)
{
    if (results.shards == 0)
        return {};
    return {QStringLiteral("%1/%2").arg(results.shard).arg(results.shards)};
}

bool takeShard(RunResults &results, const QString &value)
{
    const QStringList numbers = value.split(QLatin1Char('/'));
    results.shard = numbers[0].toInt();
    results.shards = numbers.value(1).toInt();
    return numbers.size() == 2 && results.shard >= 1 && results.shard <= results.shards;
}

/// Those that are not as one would expect.
QStringList attemptsOf(const RunRecord &run)
{
    const bool wasMade = run.state != RunState::NotRun && run.state != RunState::Skipped;
    return run.attempts == (wasMade ? 1 : 0) ? QStringList()
                                             : QStringList(QString::number(run.attempts));
}

bool takeAttempts(RunRecord &run, const QString &value)
{
    bool isNumber = false;
    run.attempts = value.toInt(&isNumber);
    return isNumber && run.attempts >= 0;
}

QStringList flakyOf(const RunRecord &run)
{
    return run.isFlaky() ? QStringList(QStringLiteral("true")) : QStringList();
}

/// It follows from the rest.
bool takeFlaky(RunRecord & /*run*/, const QString & /*value*/)
{
    return true;
}

} // namespace

const std::vector<Property<RunResults>> &propertiesOfResults()
{
    using R = RunResults;
    static const std::vector<Property<R>> rows = {
        {"format", formatOf, takeFormat},
        text<R, &R::suite>("suite"),
        list<R, &R::programs>("program"),
        {"shard", shardOf, takeShard},
        number<R, &R::runsInAll>("runsInAll"),
        digest<R, &R::listDigest>("listDigest"),
        digest<R, &R::suiteDigest>("suiteDigest"),
        text<R, &R::interruption>("interruption"),
    };
    return rows;
}

const std::vector<Property<RunRecord>> &propertiesOfRun()
{
    using R = RunRecord;
    static const std::vector<Property<R>> rows = {
        text<R, &R::script>("script"),
        text<R, &R::program>("program"),
        text<R, &R::heading>("heading"),
        list<R, &R::labels>("label"),
        number<R, &R::line>("line"),
        text<R, &R::directory>("directory"),
        {"attempts", attemptsOf, takeAttempts},
        {"flaky", flakyOf, takeFlaky},
        text<R, &R::knownPattern>("known"),
        list<R, &R::details>("detail"),
        list<R, &R::remarks>("remark"),
        digest<R, &R::scriptDigest>("scriptDigest"),
        digest<R, &R::referencesDigest>("referencesDigest"),
        digest<R, &R::directoryDigest>("directoryDigest"),
    };
    return rows;
}

} // namespace Talmo
