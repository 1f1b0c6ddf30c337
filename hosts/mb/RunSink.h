// The engine's callbacks of a run: its progress, its plan before the first write, and its report. This class stops a run that would delete
// too much, accepts the summary for the user (--yes), and stops a dry run after its plan.
#pragma once
#include "DeleteLimit.h"
#include "Progress.h"
#include "RunEvents.h"
#include <functional>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace mbhost {

struct PlannedField {
    std::string name, current, value;
};

struct PlannedContact {
    int side = 0;
    std::string action, name, company;
    std::vector<PlannedField> fields; // empty unless `action` is a change
};

struct PlannedCounts {
    LONG records = 0, additions = 0, changes = 0, deletions = 0;
};

// Deletions over the limit of the run.
struct TooManyDeletions {
    bool ofCategories = false;
    int side = 0; // the side whose records would be deleted
    LONG records = 0, deletions = 0;
    std::string limit; // as the user would type it
};

struct RunPlan {
    PlannedCounts sides[2], categories[2];
    std::vector<PlannedContact> contacts, categoryNames;
    std::u16string summary, categorySummary; // the lines that the confirmation shows
    bool ofCategories = false;               // the current or last pass is the category pass
    std::vector<TooManyDeletions> refused;   // the deletions over the limit, at most one entry for each pass and side

    [[nodiscard]] bool nothing() const noexcept { return contacts.empty() && categoryNames.empty(); }
};

class RunSink final : public com::Object<ISyncEvents, ISyncReview, IDeletionGuard, ISyncReport> {
public:
    explicit RunSink(IUnknown* outer) : Object(outer), progress_(com::make<Progress>()) {}

    bool acceptSummary = false, planOnly = false;
    DeleteLimit limit;
    // Asks the user whether so many deletions are intended; null if nobody is to be asked.
    std::function<bool(const TooManyDeletions&)> confirmDeletions;
    std::function<void()> onRunBegin; // called when the run holds its map
    // Results of the last run.
    RunPlan plan;
    RunEvents events;
    _RunEnd end = reDone;

    void begin()
    {
        plan = {};
        events = {};
        confirmed_.clear();
        end = reDone;
    }
    void finish() { progress_->finish(); }

    HRESULT STDMETHODCALLTYPE OnProgress(_SyncProgress progress, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnProgress2(BSTR progressLabel, DOUBLE fPercent) override;
    HRESULT STDMETHODCALLTYPE OnPlan(_TransIds side, LONG records, LONG additions, LONG changes, LONG deletions,
                                     VARIANT_BOOL* pDetails) override;
    HRESULT STDMETHODCALLTYPE OnPlannedContact(_TransIds side, BSTR action, BSTR firstName, BSTR lastName, BSTR company) override;
    HRESULT STDMETHODCALLTYPE OnPlannedField(BSTR name, BSTR currentValue, BSTR newValue) override;
    HRESULT STDMETHODCALLTYPE OnPlanEnd(BSTR summary) override;
    HRESULT STDMETHODCALLTYPE OnDeletionLimit(_TransIds side, LONG linked, LONG deletions, LONG limitPercent,
                                              VARIANT_BOOL* pAllow) override;
    HRESULT STDMETHODCALLTYPE OnRunBegin(ISyncRunReport* pReport) override;
    HRESULT STDMETHODCALLTYPE OnPassBegin(_SyncPass pass) override;
    HRESULT STDMETHODCALLTYPE OnItem(ISyncReportItem* pItem) override;
    HRESULT STDMETHODCALLTYPE OnRunEnd(ISyncRunReport* pReport) override;

private:
    bool allows(int side, LONG records, LONG deletions, bool withinLimit);
    com::Ptr<Progress> progress_;
    // The deletions that the user accepted in this run, by pass (true: categories) and side. Each answer is for one pass and side only.
    std::set<std::pair<bool, int>> confirmed_;
};

} // namespace mbhost
