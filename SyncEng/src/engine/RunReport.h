// What the run of one map did: a list of events that the stages add to, and from which the engine's log lines are written. A host's sink
// with ISyncReport is told each event as it happens. For any other sink only the log lines are made.
#pragma once
#include "engine/Side.h"
#include "interfaces.h"
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace mb {

struct ReportedField {
    LONG type = 0;
    std::u16string name;
};

struct ReportEntry {
    Side side = Side::One;
    _ReportAction action = raCreated;
    std::u16string recordId, partnerId, name;
    std::vector<ReportedField> fields;
    LONG conflict = 0; // a value of _ConflictResolutionOptions; 0 for a record that was in no conflict
    HRESULT code = S_OK;
    std::u16string text;
    _SyncPass pass = passContacts; // set by RunReport
};

class CRunReport;

class RunReport {
public:
    RunReport() noexcept;
    RunReport(const RunReport&) = delete;
    RunReport& operator=(const RunReport&) = delete;
    ~RunReport();

    // Nothing is recorded for a sink that does not offer ISyncReport.
    void begin(const com::Ptr<ISyncEvents>& sink, const GUID& map);
    // The map is run again: only the items about writes stay.
    void startOver();
    void end(_RunEnd how, HRESULT code, const std::u16string& text);

    // Whether a host or the log wants the names of records.
    [[nodiscard]] bool wantsNames() const noexcept;
    // Whether a host wants the fields.
    [[nodiscard]] bool wantsFields() const noexcept { return static_cast<bool>(report_); }

    // Requires: begin() was called. What is told from here on belongs to this pass.
    void beginPass(_SyncPass pass) noexcept;
    // A record was created, updated, deleted or linked. `storeName` is that of the side that was written.
    void wrote(ReportEntry entry, const std::u16string& storeName);
    // A conflict was settled. `winner` is the name of the store that wins; empty if none does.
    void settled(ReportEntry entry, const std::u16string& winner);
    // A record could not be written. The log tells the failure once, when the run ends.
    void failed(ReportEntry entry);
    // A value of the written side gave way to a later one, which the text tells. Nothing was asked.
    void overwrote(ReportEntry entry);
    // A translator leaves something out. The log tells it each time, the report once.
    void leftOut(Side side, const std::u16string& text) { tellOnce(side, raLeftOut, text); }
    // A translator found something and leaves nothing out. Told in the same way.
    void noted(Side side, const std::u16string& text) { tellOnce(side, raNoted, text); }

private:
    void tellOnce(Side side, _ReportAction action, const std::u16string& text);
    void add(ReportEntry&& entry);

    com::Ptr<ISyncReport> sink_;
    com::Ptr<CRunReport> report_;
    _SyncPass pass_ = passContacts;
    std::set<std::pair<Side, std::u16string>> told_; // by the translators
};

} // namespace mb
