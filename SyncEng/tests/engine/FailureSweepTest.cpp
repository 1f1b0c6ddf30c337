// Every call that a run makes on a translator fails once, in every way there is. The result, the log, the status and the error are what the
// host is promised; whatever happens, the next run ends well, both sides are in step, and no contact is lost. Prints a line a method: how
// many of its calls were failed, and how the runs ended.
#include "FailureStory.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using mbtest::Offers;
using mbtest::Story;
using mbtest::survivors;
using mbtest::SyncScenario;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

constexpr HRESULT code(unsigned low) { return static_cast<HRESULT>(0x80040000u + low); }
constexpr HRESULT thrown = 1; // an exception instead of a code
constexpr HRESULT endSilently = code(0x211), beginAnew = code(0x212), newFieldMap = code(0x213), reSync = code(0x216);
constexpr HRESULT ways[] = {E_FAIL, E_ABORT, endSilently, beginAnew, newFieldMap, code(0x214), code(0x215), reSync, thrown};

// What a failure means to the run.
enum class Failure {
    PassedOver, // nothing: the run goes on without what the call would have given
    Ends,       // the run ends with it
    Either,     // by what the call was for
    NotFound,   // the run ends with E_FAIL where the record must be there, whatever the call says
    NotWritten  // the run ends as if the first field could not be written
};

struct Method {
    const char* name;
    Failure failure;
    Offers offers = Offers::All;
    // The failing side is asked for its error first, wherever the run was.
    bool tellsItself = false;
};

constexpr Method methods[] = {
    {"Initialize", Failure::Ends, Offers::Least, true},
    {"InitializeWithProgress", Failure::Ends, Offers::All, true},
    {"InitializeCategories", Failure::Ends, Offers::All, true},
    {"Cleanup", Failure::PassedOver},
    {"GetSyncParams", Failure::PassedOver},
    {"GetTranslatorCaps", Failure::PassedOver},
    {"GetRecordCount", Failure::Either},
    {"GetRecordID", Failure::PassedOver},
    {"FindRecord", Failure::NotFound},
    {"GetModifiedDate", Failure::PassedOver},
    {"BeginReadRecord", Failure::Either},
    {"EndReadRecord", Failure::PassedOver},
    {"ReadField", Failure::Either},
    {"CanWrite", Failure::Ends},
    {"BeginUpdate", Failure::Ends},
    {"EndUpdate", Failure::Ends},
    {"BeginAddRecord", Failure::Ends, Offers::All, true},
    {"BeginEditRecord", Failure::NotWritten, Offers::All, true},
    {"WriteField", Failure::Ends, Offers::All, true},
    {"SaveRecord", Failure::Ends, Offers::All, true},
    {"DeleteRecord", Failure::Ends, Offers::All, true},
    {"GetUpdatedRecordId", Failure::PassedOver},
    {"SaveUpdatedRecordIds", Failure::PassedOver},
    {"RecordVerified", Failure::PassedOver},
    {"HasFieldValue", Failure::PassedOver},
    {"SetAllowImage", Failure::PassedOver},
    {"BeginReadImageData", Failure::PassedOver},
    {"GetImageDataSize", Failure::PassedOver},
    {"EndReadImageData", Failure::PassedOver},
    {"BeginFindDuplicate", Failure::PassedOver},
    {"FindDuplicate", Failure::PassedOver},
    {"EndFindDuplicate", Failure::PassedOver},
    {"LoadDynamicFields", Failure::PassedOver},
    {"ValidateFieldList", Failure::PassedOver},
    {"GetInfo", Failure::PassedOver},
    {"GetFieldByIndex", Failure::PassedOver},
    {"GetCount", Failure::PassedOver},
    {"GetFieldType", Failure::PassedOver},
    {"GetFlags", Failure::PassedOver},
    {"GetMaxLength", Failure::PassedOver},
};

struct Tally {
    int calls = 0, failed = 0, cancelled = 0, done = 0;
};

// A map that is run again from an empty history ends well.
HRESULT endOf(HRESULT way)
{
    if (way == thrown) return E_UNEXPECTED;
    return way == beginAnew || way == newFieldMap ? S_OK : way;
}

void expectResult(HRESULT result, Failure failure, HRESULT way)
{
    switch (failure) {
    case Failure::PassedOver: EXPECT_EQ(result, S_OK); break;
    case Failure::Ends: EXPECT_EQ(result, endOf(way)); break;
    case Failure::Either: EXPECT_THAT(result, AnyOf(S_OK, endOf(way))); break;
    case Failure::NotFound: EXPECT_THAT(result, AnyOf(S_OK, E_FAIL)); break;
    case Failure::NotWritten: EXPECT_THAT(result, AnyOf(code(0x20C), endOf(way))); break; // the latter of a category
    }
}

// Whether the run ended in the pass of the categories, which has a history, and a status, of its own.
bool endedInCategories(const std::string& log, const Method& method)
{
    if (method.name == std::string("InitializeCategories")) return true;
    if (method.name == std::string("InitializeWithProgress")) return false; // the contacts' pass has not begun its log
    return log.find("Start synchronizing category list.") != log.npos && log.find("Start synchronizing contacts.") == log.npos;
}

// What the host and the reader of the run's log are told.
void expectTold(SyncScenario& s, HRESULT result, const std::string& log, const std::string& side, const Method& method)
{
    const bool ofCategories = endedInCategories(log, method);

    const bool leavesStatus = SUCCEEDED(result) || result == E_ABORT || result == endSilently || ofCategories;
    VARIANT_BOOL good = VARIANT_FALSE;
    EXPECT_EQ(s.maps()->GetLastSyncStatus(s.map(), &good), S_OK);
    EXPECT_EQ(good, leavesStatus ? VARIANT_TRUE : VARIANT_FALSE) << "the status of the last run";

    const bool reported = FAILED(result) && result != E_ABORT && (result < endSilently || result > reSync);
    if (!reported) {
        EXPECT_THAT(log, Not(HasSubstr(" tells."))) << "a message for the user";
        return;
    }
    const std::u16string told = s.lastError().first;
    if (method.tellsItself)
        EXPECT_EQ(told, u"Side " + std::u16string(side.begin(), side.end()) + u" tells.");
    else
        EXPECT_THAT(told, AnyOf(u"Side 1 tells.", u"Side 2 tells."));
    EXPECT_THAT(log, HasSubstr(std::string(told.begin(), told.end())));
}

// A run that forgot its history takes every contact for a new one: equal ones are linked, and what had been changed on one side alone then
// is a pair in conflict, which a silent run keeps apart. A deletion is not remembered.
bool forgetsHistory(const std::string& method, HRESULT way)
{
    return way == beginAnew || way == newFieldMap || way == reSync || method.starts_with("Initialize") || method == "GetSyncParams";
}

// Two new contacts of one person can only be told if both are listed and read. They are linked with copies, which loses nothing.
bool missesTwin(const std::string& method) { return method == "GetRecordID" || method == "BeginReadRecord" || method == "ReadField"; }

// A field whose properties cannot be asked takes no part in that run.
bool leavesFieldOut(const std::string& method)
{
    return method == "GetFieldType" || method == "GetFieldByIndex" || method == "GetCount" || method == "GetFlags" ||
           method == "GetMaxLength" || method == "LoadDynamicFields";
}

void expectSound(Story& story, const std::string& method, HRESULT way)
{
    SyncScenario& s = story.s;
    EXPECT_EQ(s.sync(), S_OK) << "the next run";
    const std::set<std::u16string> wanted = survivors(story.offers());
    if (leavesFieldOut(method)) {
        // What it says may stand on its own side alone.
        auto all = Story::names(s.one());
        all.merge(Story::names(s.two()));
        for (const std::u16string& name : wanted) EXPECT_TRUE(all.contains(name)) << "lost: " << std::string(name.begin(), name.end());
        return;
    }
    EXPECT_EQ(Story::told(s.one()), Story::told(s.two()));
    const auto one = Story::names(s.one());
    for (const std::u16string& name : wanted) EXPECT_TRUE(one.contains(name)) << "lost: " << std::string(name.begin(), name.end());
    if (!forgetsHistory(method, way)) {
        for (const auto& [name, count] : one)
            EXPECT_LE(count, name == u"twin" && missesTwin(method) ? 2 : 1) << "doubled: " << std::string(name.begin(), name.end());
        EXPECT_EQ(one.size(), wanted.size());
    }
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
}

// False if the run made fewer than n calls.
bool failCall(const std::string& side, const Method& method, int n, HRESULT way, Tally& tally)
{
    Story story(method.offers);
    SyncScenario& s = story.s;
    const std::string ofSide = side + " " + method.name;
    const int call = s.log().count(ofSide) + n;
    if (way == thrown)
        s.log().throwOn(ofSide, call);
    else
        s.log().failOn(ofSide, call, way);
    const std::size_t former = s.logText().size();
    const HRESULT result = s.sync();
    if (!s.log().failed()) return false;
    tally.done += result == S_OK;
    tally.cancelled += result == E_ABORT;
    tally.failed += FAILED(result) && result != E_ABORT;
    expectResult(result, method.failure, way);
    expectTold(s, result, s.logText().substr(former), side, method);
    expectSound(story, method.name, way);
    return true;
}

class FailureSweep : public testing::TestWithParam<Method> {};

TEST_P(FailureSweep, EveryCall)
{
    const Method& method = GetParam();
    int calls = 0;
    for (const std::string side : {"1", "2"}) {
        Tally tally;
        for (int n = 1;; ++n) {
            bool made = true;
            for (const HRESULT way : ways) {
                SCOPED_TRACE(side + " " + method.name + ", call " + std::to_string(n) + ", " +
                             (way == thrown ? std::string("exception") : std::to_string(static_cast<unsigned>(way) & 0xFFFF)));
                if (made) made = failCall(side, method, n, way, tally);
                if (HasFailure()) return;
            }
            if (!made) break;
            ++tally.calls;
        }
        std::printf("side %s  %-22s %3d calls failed in %d ways: %d runs ended well, %d failed, %d cancelled\n", side.c_str(), method.name,
                    tally.calls, static_cast<int>(std::size(ways)), tally.done, tally.failed, tally.cancelled);
        calls += tally.calls;
    }
    EXPECT_GT(calls, 0) << "no run makes this call";
}

INSTANTIATE_TEST_SUITE_P(Methods, FailureSweep, testing::ValuesIn(methods),
                         [](const testing::TestParamInfo<Method>& method) { return std::string(method.param.name); });

} // namespace
