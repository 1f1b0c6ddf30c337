// Dialogs on the terminal of the process: a child process shows a dialog on a pseudo-terminal.
#include "dialogs/CDeleteConflictDlg.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::Not;

struct Ended {
    int code = -1;
    std::string output;
};

// Runs in the child: asks a question and returns the decision as the exit code.
int askInChild()
{
    mb::DeleteConflictQuestion question;
    question.ConflictIndex = question.ConflictTotal = 1;
    return mb::AskConflict(question) ? static_cast<int>(question.Resolution) : 99;
}

Ended askOnTerminal(const std::string& typed, unsigned short columns, bool noColour, bool interrupt = false)
{
    winsize size{24, columns, 0, 0};
    int master = -1;
    const pid_t pid = ::forkpty(&master, nullptr, nullptr, &size);
    if (pid == 0) {
        ::setenv("TERM", "xterm", 1);
        noColour ? ::setenv("NO_COLOR", "1", 1) : ::unsetenv("NO_COLOR");
        std::signal(SIGINT, [](int) {});
        ::_exit(askInChild());
    }
    Ended ended;
    bool answered = false, gone = false;
    int status = 0;
    char buffer[4096];
    for (ssize_t n; (n = ::read(master, buffer, sizeof buffer)) > 0;) {
        ended.output.append(buffer, static_cast<std::size_t>(n));
        if (answered || ended.output.find("help] ") == std::string::npos) continue;
        answered = true;
        if (interrupt) {
            // The child ignores a signal that comes before it waits for input, so the signal is sent again.
            while (!gone) {
                ::kill(pid, SIGINT);
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                gone = ::waitpid(pid, &status, WNOHANG) == pid;
            }
        } else {
            EXPECT_EQ(::write(master, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        }
    }
    if (!gone) ::waitpid(pid, &status, 0);
    ::close(master);
    ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return ended;
}

} // namespace

TEST(PseudoTerminalTest, EnterTakesTheSafeAnswer)
{
    const Ended ended = askOnTerminal("\n", 80, false);
    EXPECT_EQ(ended.code, croTrans2Wins) << ended.output;
    EXPECT_THAT(ended.output, HasSubstr("A contact without a name was changed in "));
    EXPECT_THAT(ended.output, HasSubstr("[k] keep"));
    EXPECT_THAT(ended.output, HasSubstr("\x1b[1m"));
}

TEST(PseudoTerminalTest, NoColorIsHonoured) { EXPECT_THAT(askOnTerminal("\n", 80, true).output, Not(HasSubstr("\x1b"))); }

TEST(PseudoTerminalTest, AnAnswerIsTypedByItsKey) { EXPECT_EQ(askOnTerminal("d\n", 80, true).code, croTrans1Wins); }

TEST(PseudoTerminalTest, TheEndOfTheInputIsACancel) { EXPECT_EQ(askOnTerminal("\x04", 80, true).code, 99); }

TEST(PseudoTerminalTest, CtrlCIsACancel) { EXPECT_EQ(askOnTerminal("", 80, true, true).code, 99); }

TEST(PseudoTerminalTest, ATerminalOf20ColumnsIsEnough)
{
    const Ended ended = askOnTerminal("?\n\n\n", 20, true);
    EXPECT_EQ(ended.code, croTrans2Wins);
    EXPECT_THAT(ended.output, HasSubstr("A contact without a"));
}
