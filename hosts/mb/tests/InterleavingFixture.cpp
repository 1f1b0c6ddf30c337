#include "InterleavingFixture.h"

#include "CopyFolder.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mbtest {

namespace fs = std::filesystem;

namespace {

// Distance between the calls in front of which a run is stopped. Under the sanitizers a run takes ten times as long, so every fourth call
// is tested there; the native build tests every call.
#ifdef __SANITIZE_ADDRESS__
constexpr int sweepStep = 4;
#else
constexpr int sweepStep = 1;
#endif

bool isRunning(int pid)
{
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

} // namespace

Interleaving::Interleaving() { fs::create_directory(kept_); }

Interleaving::~Interleaving()
{
    std::error_code error;
    fs::remove_all(kept_, error);
}

std::string Interleaving::stoppedRun(int call, const std::string& files, const std::function<void()>& work)
{
    const fs::path ask = home_ / "ask", go = home_ / "go";
    fs::remove(ask);
    fs::remove(go);
    EXPECT_EQ(::mkfifo(ask.c_str(), 0600), 0);
    EXPECT_EQ(::mkfifo(go.c_str(), 0600), 0);
    const int asked = ::open(ask.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::string at;
    run_.whileRuns = [&](int pid) {
        pollfd wanted{asked, POLLIN, 0};
        while (at.empty() && isRunning(pid)) {
            if (::poll(&wanted, 1, 5) <= 0) continue;
            std::array<char, 4096> text{};
            const ssize_t n = ::read(asked, text.data(), text.size());
            if (n > 0) at.assign(text.data(), static_cast<std::size_t>(n));
        }
        if (at.empty()) return;
        work();
        const int leave = ::open(go.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(::write(leave, "x", 1), 1);
        ::close(leave);
    };
    const std::map<std::string, std::string> stop = {{"LD_PRELOAD", STOP_AT_CALL_LIBRARY},
                                                     {"STOP_AT_CALL", std::to_string(call)},
                                                     {"STOP_FILES", files},
                                                     {"STOP_ASK", ask},
                                                     {"STOP_GO", go},
                                                     {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
    for (const auto& [name, value] : stop) run_.environment[name] = value;
    stopped_ = mb({"sync", "--silent"});
    for (const auto& [name, value] : stop) run_.environment.erase(name);
    run_.whileRuns = nullptr;
    ::close(asked);
    return at;
}

// Adds a line to the table of all runs, if the environment variable names a file for it.
void Interleaving::tell(const std::string& line)
{
    if (const char* file = std::getenv("INTERLEAVING_TABLE")) std::ofstream(file, std::ios::app) << line << '\n';
}

void Interleaving::atEveryCall(const std::string& files, const Work& work)
{
    copyAll(home_, kept_);
    const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    int call = 1, acted = 0;
    for (;; call += sweepStep) {
        copyAll(kept_, home_);
        acted_ = false;
        const std::string at = stoppedRun(call, files, [&] { acted_ = work.act(); });
        if (at.empty()) break;
        SCOPED_TRACE(work.name + " before call " + std::to_string(call) + ", " + at);
        acted += acted_ ? 1 : 0;
        work.undo();
        const Result next = mb({"sync", "--silent"});
        EXPECT_EQ(next.code, 0) << next.out << next.error;
        work.check();
        const Result last = mb({"sync", "--silent"});
        EXPECT_NE(last.out.find("nothing to do"), std::string::npos) << last.out << last.error;
        std::string said = stopped_.error.substr(0, stopped_.error.find('\n'));
        tell(test + " | " + std::to_string(call) + " | " + at.substr(0, at.find(' ')) + ' ' + fs::path(at).filename().string() + " | " +
             work.name + " | " + (acted_ ? "" : "the other program was refused, ") + "run ended with " + std::to_string(stopped_.code) +
             " " + said + " | " + (HasFailure() ? "FAILED" : "both kept"));
        if (HasFailure()) FAIL() << stopped_.out << stopped_.error << "then\n" << next.out << next.error;
    }
    EXPECT_GT(call, 5) << "the calls were not counted";
    EXPECT_GT(acted, 0);
    RecordProperty("stopped_runs", (call - 1) / sweepStep);
}

} // namespace mbtest
