#include "PlanOutput.h"

#include "Refusal.h"

#include <sstream>

namespace mbhost {
namespace {

std::string indented(const std::string& text, const char* indent)
{
    std::istringstream lines(text);
    std::string out;
    for (std::string line; std::getline(lines, line);) out += indent + line + "\n";
    return out;
}

// The engine ends each line with CR LF. The text of a line may hold names of contacts, so it is made printable.
std::string summaryText(std::u16string_view summary)
{
    std::string out;
    while (!summary.empty()) {
        const std::size_t end = summary.find(u"\r\n");
        const std::u16string_view line = summary.substr(0, end);
        summary.remove_prefix(end == std::u16string_view::npos ? summary.size() : end + 2);
        out += line.empty() ? "\n" : "  " + printable(line) + "\n";
    }
    return out;
}

std::string nameOf(const PlannedContact& contact)
{
    if (contact.company.empty()) return contact.name.empty() ? "(no name)" : contact.name;
    return contact.name.empty() ? contact.company : contact.name + " (" + contact.company + ")";
}

std::string contactText(const PlannedContact& contact)
{
    std::string out = "  " + contact.action + ": " + nameOf(contact) + "\n";
    std::vector<std::vector<std::string>> rows;
    for (const PlannedField& field : contact.fields) rows.push_back({field.name, field.current, field.value});
    return rows.empty() ? out : out + indented(table({"FIELD", "NOW", "NEW"}, rows), "      ");
}

std::string listText(const MapInfo& map, const std::vector<PlannedContact>& all)
{
    std::string out;
    for (const int side : {0, 1}) {
        std::string lines;
        for (const PlannedContact& contact : all)
            if (contact.side == side) lines += contactText(contact);
        if (!lines.empty()) out += "\n" + storeName(map, side) + "\n" + lines;
    }
    return out;
}

const char* storeOf(const PlannedContact& contact) { return contact.side == 0 ? "first" : "second"; }

Json countsJson(const PlannedCounts& counts)
{
    return {{"contacts", counts.records}, {"additions", counts.additions}, {"changes", counts.changes}, {"deletions", counts.deletions}};
}

} // namespace

std::string planText(const MapInfo& map, const RunPlan& plan)
{
    if (plan.nothing()) return guidName(map.guid) + ": nothing to do\n";
    std::string out = guidName(map.guid) + ": this would be done\n";
    if (!plan.categoryNames.empty())
        out += "\nThe lists of categories\n" + summaryText(plan.categorySummary) + listText(map, plan.categoryNames);
    if (!plan.categoryNames.empty() && !plan.contacts.empty()) out += "\nThe contacts\n";
    if (!plan.contacts.empty()) out += summaryText(plan.summary) + listText(map, plan.contacts);
    if (!plan.refused.empty()) out += "\n" + plannedRefusal(map, plan.refused) + "\n";
    return out + "\nNothing was written.\n";
}

Json planJson(const RunPlan& plan)
{
    Json contacts = Json::array();
    for (const PlannedContact& contact : plan.contacts) {
        Json fields = Json::array();
        for (const PlannedField& field : contact.fields)
            fields.push_back({{"field", field.name}, {"now", field.current}, {"new", field.value}});
        contacts.push_back({{"store", storeOf(contact)},
                            {"action", contact.action},
                            {"name", contact.name},
                            {"company", contact.company},
                            {"fields", std::move(fields)}});
    }
    Json categories = Json::array();
    for (const PlannedContact& category : plan.categoryNames)
        categories.push_back({{"store", storeOf(category)}, {"action", category.action}, {"name", category.name}});
    Json refused = nullptr;
    if (!plan.refused.empty())
        refused = {{"store", plan.refused.front().side == 0 ? "first" : "second"},
                   {"pass", plan.refused.front().ofCategories ? "categories" : "contacts"},
                   {"contacts", plan.refused.front().records},
                   {"deletions", plan.refused.front().deletions},
                   {"limit", plan.refused.front().limit}};
    return {{"first", countsJson(plan.sides[0])},
            {"second", countsJson(plan.sides[1])},
            {"contacts", std::move(contacts)},
            {"categories", std::move(categories)},
            {"refused", std::move(refused)}};
}

} // namespace mbhost
