#include "answerWithin.h"
#include "Printing.h"

#include <csignal>
#include <cstring>
#include <functional>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// Expects that \a work is given up as \a end, for the \a reason.
void expectNoAnswer(
    int milliseconds, const std::function<QByteArray()> &work, Answer::End end, const char *reason)
{
    const Answer answer = answerWithin(milliseconds, work);
    EXPECT_EQ(answer.end, end);
    EXPECT_EQ(answer.reason, reason);
    EXPECT_EQ(answer.text, QByteArray());
}

} // namespace

TEST(AnswerWithin, ReturnsWhatTheWorkReturns)
{
    for (const QByteArray &text : {QByteArray(1000000, 'x'), QByteArray()}) {
        const Answer answer = answerWithin(60000, [&text] { return text; });
        EXPECT_EQ(answer.end, Answer::Given);
        EXPECT_EQ(answer.text, text);
    }
}

TEST(AnswerWithin, DoesNotWaitForEver)
{
    const auto wait = []() -> QByteArray {
        for (;;)
            pause();
    };
    expectNoAnswer(50, wait, Answer::Late, "");
}

TEST(AnswerWithin, SaysHowTheWorkHasCrashed)
{
    const auto leave = []() -> QByteArray { _exit(3); };
    expectNoAnswer(60000, leave, Answer::Broken, "ended with exit status 3");
    const auto crash = []() -> QByteArray {
        kill(getpid(), SIGKILL);
        return {};
    };
    const std::string reason = std::string("ended by signal 9 (") + strsignal(SIGKILL) + ')';
    expectNoAnswer(60000, crash, Answer::Broken, reason.c_str());
}
