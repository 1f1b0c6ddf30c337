// What a run did: the items and counts of the engine's report.
#pragma once
#include "interfaces.h"
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace mbhost {

struct RunEvent {
    bool ofCategories = false;
    int side = 0;
    _ReportAction action = raCreated;
    std::string id, partner, name; // as stored; call printable() before output to a terminal
    std::vector<std::string> fields;
    LONG conflict = 0; // a value of _ConflictResolutionOptions; 0 if there was no conflict
    HRESULT code = S_OK;
    std::string text;
};

struct SideCounts {
    int created = 0, updated = 0, deleted = 0;
    [[nodiscard]] bool nothing() const noexcept { return created + updated + deleted == 0; }
};

class RunEvents {
public:
    RunEvents() = default;
    explicit RunEvents(ISyncRunReport* report);
    [[nodiscard]] const std::vector<RunEvent>& all() const noexcept { return events_; }
    [[nodiscard]] std::vector<RunEvent> of(_ReportAction action) const;
    [[nodiscard]] SideCounts counts(bool ofCategories, int side) const;
    [[nodiscard]] int linked(bool ofCategories) const;
    // Whether neither pass wrote or linked a record.
    [[nodiscard]] bool nothing() const;

private:
    void countAll(ISyncRunReport* report);
    [[nodiscard]] int count(bool ofCategories, int side, _ReportAction action) const;
    std::vector<RunEvent> events_;
    std::map<std::tuple<bool, int, _ReportAction>, int> counts_; // by pass (true: categories), side and action
};

} // namespace mbhost
