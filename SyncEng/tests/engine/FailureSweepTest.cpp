// Every call that a run makes on a translator fails once, in every way there is. The result, the log, the status and the error are what the
// host is promised. Whatever failed, the next clean runs bring both sides to where a run without a failure would have: every edit arrives,
// no contact is lost, and none stands twice. Prints a line a method: how many of its calls were failed, and how the runs ended.
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
    NotFound,   // the run ends: the record is there, or the store could not tell
    NotListed,  // the run ends where a record is missing: it may be the one that was not listed
    NotWritten  // the run ends as if the first field could not be written
};

struct Method {
    const char* name;
    Failure failure;
    Offers offers = Offers::All;
    // The failing side is asked for its error first, wherever the run was.
    bool tellsItself = false;
    // What E_ABORT means: the user's cancel, but for the calls whose result the run ignores.
    enum class Abort { Cancels, Ignored, Either } abort = Abort::Cancels;
};

constexpr Method methods[] = {
    {"Initialize", Failure::Ends, Offers::Least, true},
    {"InitializeWithProgress", Failure::Ends, Offers::All, true},
    {"InitializeCategories", Failure::Ends, Offers::All, true},
    {"Cleanup", Failure::PassedOver, Offers::All, false, Method::Abort::Ignored},
    {"GetSyncParams", Failure::PassedOver},
    {"GetTranslatorCaps", Failure::PassedOver},
    {"GetRecordCount", Failure::Either},
    {"GetRecordID", Failure::NotListed},
    {"FindRecord", Failure::NotFound},
    {"GetModifiedDate", Failure::PassedOver},
    // Names for the log are read by the same calls, and their failures are ignored.
    {"BeginReadRecord", Failure::Either, Offers::All, false, Method::Abort::Either},
    {"EndReadRecord", Failure::PassedOver, Offers::All, false, Method::Abort::Either},
    {"ReadField", Failure::Either, Offers::All, false, Method::Abort::Either},
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
    {"ValidateFieldList", Failure::PassedOver, Offers::All, false, Method::Abort::Ignored},
    {"GetInfo", Failure::PassedOver, Offers::All, false, Method::Abort::Ignored},
    {"GetFieldByIndex", Failure::PassedOver, Offers::All, false, Method::Abort::Either},
    {"GetCount", Failure::PassedOver, Offers::All, false, Method::Abort::Either},
    {"GetFieldType", Failure::PassedOver, Offers::All, false, Method::Abort::Either},
    {"GetFlags", Failure::PassedOver},
    {"GetMaxLength", Failure::PassedOver},
};

struct Tally {
    int calls = 0, failed = 0, cancelled = 0, done = 0, converged = 0;
};

// A map that is run again from an empty history ends well.
HRESULT endOf(HRESULT way)
{
    if (way == thrown) return E_UNEXPECTED;
    return way == beginAnew || way == newFieldMap ? S_OK : way;
}

void expectResult(HRESULT result, const Method& method, HRESULT way)
{
    if (way == E_ABORT && method.abort != Method::Abort::Ignored) {
        if (method.abort == Method::Abort::Cancels)
            EXPECT_EQ(result, E_ABORT);
        else
            EXPECT_THAT(result, AnyOf(S_OK, E_ABORT));
        return;
    }
    switch (method.failure) {
    case Failure::PassedOver: EXPECT_EQ(result, S_OK); break;
    case Failure::Ends: EXPECT_EQ(result, endOf(way)); break;
    case Failure::Either: EXPECT_THAT(result, AnyOf(S_OK, endOf(way))); break;
    case Failure::NotFound:
        if (way == E_FAIL) // of a record that is gone it is the right answer
            EXPECT_THAT(result, AnyOf(S_OK, E_FAIL));
        else
            EXPECT_EQ(result, endOf(way));
        break;
    case Failure::NotListed: EXPECT_THAT(result, AnyOf(S_OK, E_FAIL)); break;
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
bool forgetsHistory(HRESULT result, HRESULT way) { return way == beginAnew || way == newFieldMap || result == reSync; }

// What both sides hold after runs without a failure. The first call must not come while a story is told: one scenario lives at a time.
const std::multiset<std::string>& undisturbed(Offers offers)
{
    const auto run = [](Offers what) {
        Story story(what);
        EXPECT_EQ(story.s.sync(), S_OK);
        EXPECT_EQ(story.s.sync(), S_OK);
        EXPECT_EQ(Story::told(story.s.one()), Story::told(story.s.two()));
        return Story::told(story.s.one());
    };
    static const std::multiset<std::string> least = run(Offers::Least), all = run(Offers::All);
    return offers == Offers::Least ? least : all; // a category is no contact
}

void expectSound(Story& story, HRESULT result, HRESULT way)
{
    SyncScenario& s = story.s;
    EXPECT_EQ(s.sync(), S_OK) << "the next run";
    EXPECT_EQ(s.sync(), S_OK) << "a contact that could not be read may wait for one run";
    EXPECT_EQ(Story::told(s.one()), Story::told(s.two()));
    if (forgetsHistory(result, way)) {
        const auto one = Story::names(s.one());
        for (const std::u16string& name : survivors(story.offers()))
            EXPECT_TRUE(one.contains(name)) << "lost: " << std::string(name.begin(), name.end());
    } else {
        EXPECT_EQ(Story::told(s.one()), undisturbed(story.offers()));
    }
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
}

// False if the run made fewer than n calls.
bool failCall(const std::string& side, const Method& method, Offers offers, int n, HRESULT way, Tally& tally)
{
    Story story(offers);
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
    expectResult(result, method, way);
    expectTold(s, result, s.logText().substr(former), side, method);
    expectSound(story, result, way);
    tally.converged += !testing::Test::HasFailure();
    return true;
}

class FailureSweep : public testing::TestWithParam<Method> {};

TEST_P(FailureSweep, EveryCall)
{
    const Method& method = GetParam();
    ASSERT_FALSE(undisturbed(method.offers).empty());
    int calls = 0;
    for (const std::string side : {"1", "2"}) {
        Tally tally;
        for (int n = 1;; ++n) {
            bool made = true;
            for (const HRESULT way : ways) {
                SCOPED_TRACE(side + " " + method.name + ", call " + std::to_string(n) + ", " +
                             (way == thrown ? std::string("exception") : std::to_string(static_cast<unsigned>(way) & 0xFFFF)));
                if (made) made = failCall(side, method, method.offers, n, way, tally);
                if (HasFailure()) return;
            }
            if (!made) break;
            ++tally.calls;
        }
        std::printf("side %s  %-22s %3d calls failed in %d ways: %d runs ended well, %d failed, %d cancelled; %d converged\n", side.c_str(),
                    method.name, tally.calls, static_cast<int>(std::size(ways)), tally.done, tally.failed, tally.cancelled,
                    tally.converged);
        calls += tally.calls;
    }
    EXPECT_GT(calls, 0) << "no run makes this call";
}

// The same of stores without lists of categories, for the two ways that stores and users fail.
TEST_P(FailureSweep, EveryCallWithoutCategories)
{
    const Method& method = GetParam();
    ASSERT_FALSE(undisturbed(Offers::WithoutCategories).empty());
    for (const std::string side : {"1", "2"})
        for (const HRESULT way : {E_FAIL, E_ABORT}) {
            Tally tally;
            bool made = true;
            for (int n = 1; made && !HasFailure(); ++n) {
                SCOPED_TRACE(side + " " + method.name + ", call " + std::to_string(n) + (way == E_ABORT ? ", E_ABORT" : ", E_FAIL"));
                made = failCall(side, method, Offers::WithoutCategories, n, way, tally);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Methods, FailureSweep, testing::ValuesIn(methods),
                         [](const testing::TestParamInfo<Method>& method) { return std::string(method.param.name); });

} // namespace
