#include "CompanionTest.h"

#include <QDir>
#include <QScopedValueRollback>

CompanionTest::CompanionTest()
    : temporary(folder.filePath(QStringLiteral("tmp")))
    , plainDriver(driver)
{
    QDir().mkpath(temporary);
    environment[QStringLiteral("TMPDIR")] = temporary;
    driver = QStringLiteral(TALMO);
}

Outcome CompanionTest::runDriver(const QStringList &arguments)
{
    return runProcess(plainDriver, arguments, environment, work);
}

void CompanionTest::expectSuccess(
    const QStringList &arguments, const QByteArray &output, const QByteArray &errors)
{
    SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.output, output);
    EXPECT_EQ(outcome.errors, errors);
    EXPECT_EQ(outcome.status, 0);
}

void CompanionTest::expectWrongCall(const QStringList &arguments, const QByteArray &errors)
{
    SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
    const QStringList before = everything();
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, errors);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(everything(), before);
}

QStringList CompanionTest::everything()
{
    const QScopedValueRollback<QString> whole(work, folder.path());
    return entries();
}
