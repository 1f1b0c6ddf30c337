// Every call that a run makes on a translator fails once, in every way there is. Whatever happens, the next run ends well, both sides are
// in step, and no contact is lost. Prints a line a method: how many of its calls were failed, and how the runs ended.
#include "FailureStory.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

using mbtest::Story;
using mbtest::survivors;
using mbtest::SyncScenario;

constexpr HRESULT thrown = 1; // an exception instead of a code
constexpr HRESULT endSilently = static_cast<HRESULT>(0x80040211), beginAnew = static_cast<HRESULT>(0x80040212),
                  newFieldMap = static_cast<HRESULT>(0x80040213), reSync = static_cast<HRESULT>(0x80040216);
constexpr HRESULT ways[] = {
    E_FAIL, E_ABORT, endSilently, beginAnew, newFieldMap, static_cast<HRESULT>(0x80040214), static_cast<HRESULT>(0x80040215),
    reSync, thrown};

constexpr const char* methods[] = {"Initialize",   "Cleanup",     "GetSyncParams",   "GetTranslatorCaps", "GetRecordCount",
                                   "GetRecordID",  "FindRecord",  "GetModifiedDate", "BeginReadRecord",   "EndReadRecord",
                                   "ReadField",    "BeginUpdate", "EndUpdate",       "BeginAddRecord",    "BeginEditRecord",
                                   "WriteField",   "SaveRecord",  "DeleteRecord",    "GetFieldByIndex",   "GetCount",
                                   "GetFieldType", "GetFlags",    "GetMaxLength",    "GetLastError"};

struct Tally {
    int runs = 0, failed = 0, cancelled = 0, done = 0, beganAnew = 0;
};

// A run that forgot its history takes every contact for a new one: equal ones are linked, and what had been changed on one side alone then
// is a pair in conflict, which a silent run keeps apart. A deletion is not remembered.
bool forgetsHistory(const std::string& method, HRESULT way)
{
    return way == beginAnew || way == newFieldMap || way == reSync || method == "Initialize" || method == "GetSyncParams";
}

// A field whose properties cannot be asked takes no part in that run.
bool leavesFieldOut(const std::string& method)
{
    return method == "GetFieldType" || method == "GetFieldByIndex" || method == "GetCount" || method == "GetFlags" ||
           method == "GetMaxLength";
}

void expectSound(Story& story, const std::string& method, HRESULT way)
{
    SyncScenario& s = story.s;
    EXPECT_EQ(s.sync(), S_OK) << "the next run";
    if (leavesFieldOut(method)) {
        // What it says may stand on its own side alone.
        auto all = Story::names(s.one());
        all.merge(Story::names(s.two()));
        for (const std::u16string& name : survivors) EXPECT_TRUE(all.contains(name)) << "lost: " << std::string(name.begin(), name.end());
        return;
    }
    EXPECT_EQ(Story::told(s.one()), Story::told(s.two()));
    const auto one = Story::names(s.one());
    for (const std::u16string& name : survivors) EXPECT_TRUE(one.contains(name)) << "lost: " << std::string(name.begin(), name.end());
    if (!forgetsHistory(method, way)) {
        for (const auto& [name, count] : one) EXPECT_EQ(count, 1) << "doubled: " << std::string(name.begin(), name.end());
        EXPECT_EQ(one.size(), survivors.size());
    }
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
}

// False if the run made fewer than n calls.
bool failCall(const std::string& side, const std::string& method, int n, HRESULT way, Tally& tally)
{
    Story story;
    SyncScenario& s = story.s;
    const std::string ofSide = side + " " + method;
    const int call = s.log().count(ofSide) + n;
    if (way == thrown)
        s.log().throwOn(ofSide, call);
    else
        s.log().failOn(ofSide, call, way);
    const HRESULT result = s.sync();
    if (!s.log().failed()) return false;
    ++tally.runs;
    tally.done += result == S_OK;
    tally.cancelled += result == E_ABORT;
    tally.failed += FAILED(result) && result != E_ABORT;
    expectSound(story, method, way);
    return true;
}

class FailureSweep : public testing::TestWithParam<const char*> {};

TEST_P(FailureSweep, EveryCall)
{
    const std::string method = GetParam();
    for (const std::string side : {"1", "2"}) {
        Tally tally;
        int calls = 0;
        for (int n = 1;; ++n) {
            bool made = true;
            for (const HRESULT way : ways) {
                SCOPED_TRACE(side + " " + method + ", call " + std::to_string(n) + ", " +
                             (way == thrown ? std::string("exception") : std::to_string(static_cast<unsigned>(way) & 0xFFFF)));
                if (made) made = failCall(side, method, n, way, tally);
                if (HasFailure()) return;
            }
            if (!made) break;
            ++calls;
        }
        std::printf("side %s  %-18s %3d calls failed in %d ways: %d runs ended well, %d failed, %d cancelled\n", side.c_str(),
                    method.c_str(), calls, static_cast<int>(std::size(ways)), tally.done, tally.failed, tally.cancelled);
    }
}

INSTANTIATE_TEST_SUITE_P(Methods, FailureSweep, testing::ValuesIn(methods),
                         [](const testing::TestParamInfo<const char*>& method) { return std::string(method.param); });

} // namespace
