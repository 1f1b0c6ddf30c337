#include "Outcome.h"

#include "Failure.h"
#include <cstdio>

namespace mbhost {
namespace {

std::string sideSentence(const std::string& store, const SideCounts& counts)
{
    return "  " + store + ": " + std::to_string(counts.created) + " created, " + std::to_string(counts.updated) + " updated, " +
           std::to_string(counts.deleted) + " deleted\n";
}

Json sideJson(const SideCounts& counts) { return {{"created", counts.created}, {"updated", counts.updated}, {"deleted", counts.deleted}}; }

constexpr std::size_t shownLines = 10;

void tellLeftOut(const std::vector<std::string>& lines)
{
    for (std::size_t i = 0; i < std::min(lines.size(), shownLines); ++i) print("  " + printable(lines[i]) + "\n");
    if (lines.size() > shownLines) print("  and " + std::to_string(lines.size() - shownLines) + " more left out; mb log names them\n");
}

void tellConflicts(const std::vector<SettledConflict>& conflicts)
{
    for (std::size_t i = 0; i < std::min(conflicts.size(), shownLines); ++i) {
        const auto& [contact, settled] = conflicts[i];
        print("  in conflict: " + (contact.empty() ? "a contact without a name" : printable(contact)) +
              (settled.empty() ? "\n" : "; " + printable(settled) + "\n"));
    }
    if (conflicts.size() > shownLines)
        print("  and " + std::to_string(conflicts.size() - shownLines) + " more in conflict; mb log names them\n");
}

} // namespace

void Outcome::settle(HRESULT hr, const std::function<std::string()>& lastError, const EngineMessages& told)
{
    if (SUCCEEDED(hr)) return;
    end = hr == E_ABORT ? End::Cancelled : End::Failed;
    if (end == End::Cancelled) return;
    message = lastError();
    if (message.empty()) message = told.last();
    if (message.empty()) message = describe(hr);
}

Json outcomeJson(const Outcome& outcome)
{
    constexpr const char* ends[] = {"done", "planned", "failed", "cancelled", "refused", "unanswered"};
    Json json{{"result", ends[static_cast<int>(outcome.end)]}, {"seconds", outcome.seconds}};
    if (outcome.counts) {
        json["first"] = sideJson(outcome.counts->sides[0]);
        json["second"] = sideJson(outcome.counts->sides[1]);
        json["matched"] = outcome.counts->matched;
        json["leftOut"] = Json::array();
        for (const std::string& line : outcome.counts->leftOut) json["leftOut"].push_back(printable(line));
        json["conflicts"] = Json::array();
        for (const auto& [contact, settled] : outcome.counts->conflicts)
            json["conflicts"].push_back({{"contact", printable(contact)}, {"settled", printable(settled)}});
    }
    if (!outcome.message.empty()) json["message"] = outcome.message;
    return json;
}

void tellCounts(const std::string& title, const std::array<std::string, 2>& stores, const Outcome& outcome)
{
    const bool done = outcome.end == Outcome::End::Done;
    const bool idle = done && outcome.counts && outcome.counts->nothing();
    char time[32];
    std::snprintf(time, sizeof time, " (%.1f s)\n", outcome.seconds);
    print(title + (idle ? ": nothing to do" : done ? ": done" : ": stopped") + time);
    if (!outcome.counts) return print("  What was written is not counted: the engine's log is switched off.\n");
    if (!outcome.counts->nothing())
        for (const std::size_t side : {0u, 1u}) print(sideSentence(stores[side], outcome.counts->sides[side]));
    if (outcome.counts->matched > 0) print("  " + std::to_string(outcome.counts->matched) + " found on both sides and linked\n");
    tellNotes(outcome);
}

void tellNotes(const Outcome& outcome)
{
    if (!outcome.counts) return;
    tellConflicts(outcome.counts->conflicts);
    tellLeftOut(outcome.counts->leftOut);
}

void throwCancelled() { throw Failure("Cancelled. What was written before is kept, and the next run goes on from there.", exitCancelled); }

std::string joined(const com::Bstr& message1, const com::Bstr& message2)
{
    if (message1.empty()) return {};
    return printable(message1.view()) + (message2.empty() ? "" : " " + printable(message2.view()));
}

} // namespace mbhost
