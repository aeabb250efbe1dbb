#include "Calculator.h"

#include "CompanionTest.h"
#include "LibraryTest.h"
#include "UnitsGrammar.h"

#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using Talmo::Calculator;
using Talmo::Macro;
using Talmo::Problem;

namespace
{

class CalculatorTest : public LibraryTest
{
protected:
    /// What is said to \a line: its output, or "PLACE PROBLEM".
    QString said(const QString &line)
    {
        const Calculator::Answer answer = calculator.answer(line);
        return answer.problem.isEmpty() ? answer.output
                                        : QString::number(answer.place) + ' ' + answer.problem;
    }

    Talmo::Strict strict;
    Calculator calculator{[this](const QString &expression, QString &result) {
        return strict.evaluate("%.12g", expression, "-", result);
    }};
};

QString completed(const QString &before)
{
    const Talmo::Completion completion = Calculator::completionOf(before);
    return before.right(completion.length) + ": " + completion.words.join(' ');
}

} // namespace

TEST_F(CalculatorTest, EvaluatesDefinesAndExplains)
{
    EXPECT_EQ(said(""), "");
    EXPECT_EQ(said(" 1mm+2m "), "2001mm\n");
    EXPECT_EQ(said("x = 3mm"), "");
    EXPECT_EQ(said("2*x"), "6mm\n");
    EXPECT_EQ(said("x==3mm"), "1\n");
    EXPECT_EQ(said("  1+nosuch"), "4 unknown name 'nosuch'");
    EXPECT_EQ(said("1 + 2"), "1 ' ' has no meaning here");
    EXPECT_EQ(said("x = x+1"), "");
    EXPECT_EQ(said("x"), "0 macro 'x' refers to itself: x -> x");
    EXPECT_EQ(said(":units mm"), "mm, cm, ft, in, km, m, meter, micron, mile, um, yd\n");
    EXPECT_EQ(said(":units"), Talmo::Units::inspect());
    EXPECT_EQ(said(":units Mev"), "-1 unknown unit 'Mev' (did you mean MeV?)");
    EXPECT_EQ(said(":units *"), "-1 '*' is no unit");
    EXPECT_EQ(said(":nosuch a"), "-1 ':nosuch a' is no command; ':help' lists them");
    EXPECT_TRUE(said(":help").contains(":units UNIT"));
    EXPECT_FALSE(calculator.isOver());
    EXPECT_EQ(said(":quit"), "");
    EXPECT_TRUE(calculator.isOver());
}

TEST_F(CalculatorTest, CompletesWhatMayStandThere)
{
    Macro::hash = {{"cell", "1"}, {"mean", "2"}};
    Macro::globalHash = {{"cost", "1"}};
    EXPECT_EQ(completed("2*3Me"), "Me: MeV");
    EXPECT_EQ(completed("1e5me"), "me: meter");
    EXPECT_EQ(completed("1e-5k"), "k: kG kV kVpm ka keV kg kilogauss km kmph");
    EXPECT_EQ(completed(".5mm"), "mm: mm");
    EXPECT_EQ(completed("3."), ": " + Calculator::completionOf("3").words.join(' '));
    EXPECT_EQ(Calculator::completionOf("3").words.size(), 69);
    EXPECT_EQ(completed("2*c"), "c: ceil( cell cos( cosh( cost");
    EXPECT_EQ(completed("m"), "m: max( mean min(");
    EXPECT_EQ(completed("2*nosuch"), "nosuch: ");
    EXPECT_EQ(completed(":"), ":: :help :quit :units");
    EXPECT_EQ(completed(":units Me"), "Me: MeV");
}

TEST_F(CalculatorTest, KnowsTheFunctionsOfTheManual)
{
    QFile file(MANUAL_OF_EXPRESSIONS);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString manual = QString::fromUtf8(file.readAll());
    QStringList names;
    for (const QString &line :
        manual.section("| functions |", 1).section("\n\n", 0, 0).split('\n')) {
        const QString first = line.section('|', 1, 1);
        auto name = QRegularExpression("`([a-z0-9]+)`").globalMatch(first);
        while (name.hasNext())
            names += name.next().captured(1);
    }
    names.sort();
    EXPECT_EQ(Talmo::functionNames(), names);
}

namespace
{

/// `talmo eval` on a terminal of its own.
class TerminalTest : public CompanionTest
{
protected:
    ~TerminalTest() override
    {
        if (terminal >= 0)
            close(terminal);
        if (process > 0)
            waitpid(process, nullptr, 0);
    }

    void begin(const QStringList &arguments, const QByteArray &kind)
    {
        std::vector<QByteArray> words = {driver.toUtf8(), "eval"};
        for (const QString &argument : arguments)
            words.push_back(argument.toUtf8());
        environment["TERM"] = QString::fromUtf8(kind);
        std::vector<QByteArray> variables;
        for (auto variable = environment.cbegin(); variable != environment.cend(); ++variable)
            variables.push_back((variable.key() + '=' + variable.value()).toUtf8());
        for (const char *name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
            if (qEnvironmentVariableIsSet(name))
                variables.push_back(QByteArray(name) + '=' + qgetenv(name));
        }
        const auto pointers = [](std::vector<QByteArray> &texts) {
            std::vector<char *> list;
            for (QByteArray &text : texts)
                list.push_back(text.data());
            list.push_back(nullptr);
            return list;
        };
        const std::vector<char *> argv = pointers(words);
        const std::vector<char *> envp = pointers(variables);
        const QByteArray place = work.toUtf8();
        winsize size = {24, 80, 0, 0};
        process = forkpty(&terminal, nullptr, nullptr, &size);
        ASSERT_GE(process, 0);
        if (process == 0) {
            if (chdir(place) == 0)
                execve(argv[0], argv.data(), envp.data());
            _exit(127);
        }
    }

    /// Types \a keys, and waits until \a end is printed behind what was printed before. Returns
    /// what is printed, without carriage returns.
    QByteArray type(const QByteArray &keys, const QByteArray &end = "\n> ")
    {
        EXPECT_EQ(write(terminal, keys, static_cast<size_t>(keys.size())), keys.size());
        return printedUntil(end);
    }

    QByteArray printedUntil(const QByteArray &end)
    {
        QByteArray printed;
        while (end.isNull() || !printed.endsWith(end)) {
            pollfd state = {terminal, POLLIN, 0};
            char bytes[4096];
            const bool isThere = poll(&state, 1, waitingTime) > 0;
            const ssize_t count = isThere ? ::read(terminal, bytes, sizeof bytes) : -1;
            if (count <= 0) {
                if (!end.isNull())
                    ADD_FAILURE() << "not printed: " << end.toStdString()
                                  << "\nbut: " << printed.toStdString();
                return printed;
            }
            printed += QByteArray(bytes, static_cast<int>(count)).replace('\r', "");
            printed.replace('\r', "");
        }
        return printed;
    }

    int statusAtEnd()
    {
        int status = -1;
        waitpid(process, &status, 0);
        process = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    using ::testing::Test::HasFailure;
    static ssize_t write(int descriptor, const QByteArray &bytes, size_t size)
    {
        return ::write(descriptor, bytes.constData(), size);
    }

    int terminal = -1;
    pid_t process = 0;
};

} // namespace

TEST_F(TerminalTest, IsACalculator)
{
    for (const char *const kind : {"dumb", "xterm"}) {
        SCOPED_TRACE(kind);
        begin({"-D", "x=2mm", "-u", "mm", "-f", "%.1f"}, kind);
        EXPECT_EQ(printedUntil("> "), "> ");
        EXPECT_EQ(type("2*x+1m\n"), "2*x+1m\n1004.0\n> ");
        EXPECT_EQ(type("y = 3mm\n"), "y = 3mm\n> ");
        EXPECT_EQ(type("y\n"), "y\n3.0\n> ");
        EXPECT_EQ(type("y+nosuch\n"), "y+nosuch\n    ^\nunknown name 'nosuch'\n> ");
        EXPECT_EQ(type("\xC3\xA4\n"), "\xC3\xA4\n  ^\n'\xC3\xA4' has no meaning here\n> ");
        EXPECT_EQ(type("\n"), "\n> ");
        EXPECT_EQ(type("\x04", QByteArray()).right(1), "\n");
        EXPECT_EQ(statusAtEnd(), 0);
        close(terminal);
    }
    terminal = -1;
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({"programs", "tmp", "work"}));
    EXPECT_EQ(entries(), QStringList());
}

#ifdef TALMO_LINE_EDITING
TEST_F(TerminalTest, EditsLines)
{
    begin({"-D", "cell=7"}, "dumb");
    EXPECT_EQ(printedUntil("> "), "> ");
    EXPECT_TRUE(type("1+2\x03").endsWith("^C\n> "));
    EXPECT_TRUE(type("2*3mm\n").endsWith("2*3mm\n6mm\n> "));
    EXPECT_TRUE(type("\x1b[A+1mm\n").endsWith("\n7mm\n> "));
    EXPECT_TRUE(type("2*sq\t4)\n").endsWith("\n4\n> "));
    EXPECT_TRUE(type("2*cel\t\n").contains("cell"));
    EXPECT_TRUE(type("3MV\t", "> 3MV").endsWith("MV    MVpm\n> 3MV"));
    EXPECT_TRUE(type("\x03").endsWith("^C\n> "));
    EXPECT_TRUE(type("12\x01-\n").endsWith("\n-12\n> "));
    type(":quit\n", QByteArray());
    EXPECT_EQ(statusAtEnd(), 0);
}
#endif

TEST_F(TerminalTest, EndsWithTheTerminal)
{
    begin({}, "dumb");
    EXPECT_EQ(printedUntil("> "), "> ");
    close(terminal);
    terminal = -1;
    int status = -1;
    waitpid(process, &status, 0);
    process = 0;
    EXPECT_TRUE((WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP) || WIFEXITED(status));
}
