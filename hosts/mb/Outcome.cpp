#include "Outcome.h"

#include "Failure.h"
#include "Options.h"
#include <cstdio>

namespace mbhost {
namespace {

std::string countsText(const SideCounts& counts)
{
    return std::to_string(counts.created) + " created, " + std::to_string(counts.updated) + " updated, " + std::to_string(counts.deleted) +
           " deleted";
}

std::string sideText(const std::string& store, const RunEvents& events, int side)
{
    std::string line = "  " + store + ": " + countsText(events.counts(false, side)) + "\n";
    if (const SideCounts categories = events.counts(true, side); !categories.nothing())
        line += "  " + store + ", categories: " + countsText(categories) + "\n";
    return line;
}

Json sideJson(const SideCounts& counts) { return {{"created", counts.created}, {"updated", counts.updated}, {"deleted", counts.deleted}}; }

const char* storeOf(const RunEvent& event) { return event.side == 0 ? "first" : "second"; }

// The name that "mb set MAP conflicts" uses for the same settlement.
std::string settlementName(LONG resolution)
{
    return resolution == croNotify ? "none" : optionValueName(optionNamed("conflicts"), resolution);
}

std::string settlementText(const StoreNames& stores, LONG resolution)
{
    switch (resolution) {
    case croAddAll: return "both are kept";
    case croDeleteAll: return "both are deleted";
    case croTrans1Wins: return stores[0] + " wins";
    case croTrans2Wins: return stores[1] + " wins";
    case croMerge: return "they are merged";
    default: return "both stay as they are";
    }
}

Json eventJson(const RunEvent& event)
{
    constexpr const char* actions[] = {"", "created", "updated", "deleted", "linked"};
    Json json{{"pass", event.ofCategories ? "categories" : "contacts"},
              {"store", storeOf(event)},
              {"action", actions[event.action]},
              {"id", printable(event.id)},
              {"partner", printable(event.partner)},
              {"name", printable(event.name)}};
    if (event.action == raUpdated) {
        json["fields"] = Json::array();
        for (const std::string& field : event.fields) json["fields"].push_back(printable(field));
    }
    if (event.conflict != 0) json["conflict"] = settlementName(event.conflict);
    return json;
}

constexpr std::size_t shownLines = 10;

void tellFound(const std::vector<RunEvent>& events, const std::string& what)
{
    for (std::size_t i = 0; i < std::min(events.size(), shownLines); ++i) print("  " + printable(events[i].text) + "\n");
    if (events.size() > shownLines)
        print("  and " + std::to_string(events.size() - shownLines) + " more " + what + "; mb sync --json lists them all\n");
}

void tellConflicts(const StoreNames& stores, const std::vector<RunEvent>& conflicts)
{
    for (std::size_t i = 0; i < std::min(conflicts.size(), shownLines); ++i)
        print("  in conflict: " + (conflicts[i].name.empty() ? "a contact without a name" : printable(conflicts[i].name)) + "; " +
              settlementText(stores, conflicts[i].conflict) + "\n");
    if (conflicts.size() > shownLines)
        print("  and " + std::to_string(conflicts.size() - shownLines) + " more in conflict; mb sync --json lists them all\n");
}

} // namespace

void Outcome::settle(HRESULT hr, const std::function<std::string()>& lastError, const EngineMessages& told)
{
    if (SUCCEEDED(hr)) return;
    end = hr == E_ABORT ? End::Cancelled : hr == mapInUse ? End::InUse : End::Failed;
    if (end == End::Cancelled) return;
    message = lastError();
    if (message.empty()) message = told.last();
    if (message.empty()) message = describe(hr);
}

Json outcomeJson(const Outcome& outcome)
{
    constexpr const char* ends[] = {"done", "planned", "failed", "cancelled", "refused", "unanswered", "in-use"};
    const RunEvents& events = outcome.events;
    Json json{{"result", ends[static_cast<int>(outcome.end)]},
              {"seconds", outcome.seconds},
              {"first", sideJson(events.counts(false, 0))},
              {"second", sideJson(events.counts(false, 1))},
              {"matched", events.linked(false)},
              {"categories", {{"first", sideJson(events.counts(true, 0))}, {"second", sideJson(events.counts(true, 1))}}}};
    for (const char* list : {"records", "failures", "leftOut", "notes", "conflicts"}) json[list] = Json::array();
    for (const RunEvent& event : events.all()) {
        switch (event.action) {
        case raFailed:
            json["failures"].push_back({{"store", storeOf(event)},
                                        {"id", printable(event.id)},
                                        {"partner", printable(event.partner)},
                                        {"name", printable(event.name)},
                                        {"code", static_cast<std::uint32_t>(event.code)},
                                        {"message", printable(event.text)}});
            break;
        case raLeftOut: json["leftOut"].push_back(printable(event.text)); break;
        case raNoted: json["notes"].push_back(printable(event.text)); break;
        case raConflict:
            json["conflicts"].push_back({{"contact", printable(event.name)}, {"settled", settlementName(event.conflict)}});
            break;
        default: json["records"].push_back(eventJson(event));
        }
    }
    if (!outcome.message.empty()) json["message"] = outcome.message;
    return json;
}

void tellCounts(const std::string& title, const StoreNames& stores, const Outcome& outcome)
{
    const RunEvents& events = outcome.events;
    const bool done = outcome.end == Outcome::End::Done;
    const int linked = events.linked(false) + events.linked(true);
    const bool idle = done && events.nothing();
    char time[32];
    std::snprintf(time, sizeof time, " (%.1f s)\n", outcome.seconds);
    print(title + (idle ? ": nothing to do" : done ? ": done" : ": stopped") + time);
    if (!events.nothing())
        for (const int side : {0, 1}) print(sideText(stores[static_cast<std::size_t>(side)], events, side));
    if (linked > 0) print("  " + std::to_string(linked) + " found in both stores and linked\n");
    tellNotes(stores, outcome);
}

void tellNotes(const StoreNames& stores, const Outcome& outcome)
{
    tellConflicts(stores, outcome.events.of(raConflict));
    tellFound(outcome.events.of(raLeftOut), "left out");
    tellFound(outcome.events.of(raNoted), "such notes");
}

std::string cancelledSentence(const Outcome& outcome)
{
    return outcome.events.nothing() ? "Cancelled. Nothing was written."
                                    : "Cancelled. What was written before is kept, and the next run goes on from there.";
}

std::string writtenBeforeContacts(const Outcome& outcome)
{
    return outcome.events.nothing() ? "nothing of it was written" : "only its categories were written";
}

void throwCancelled(const Outcome& outcome) { throw Failure(cancelledSentence(outcome), exitCancelled); }

std::string joined(const com::Bstr& message1, const com::Bstr& message2)
{
    if (message1.empty()) return {};
    return printable(message1.view()) + (message2.empty() ? "" : " " + printable(message2.view()));
}

} // namespace mbhost
