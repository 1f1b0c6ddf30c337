#include "Refusal.h"

#include "console.h"
#include "text.h"

namespace mbhost {
namespace {

std::string countText(const TooManyDeletions& tooMany)
{
    return std::to_string(tooMany.deletions) + " of the " + std::to_string(tooMany.records) +
           (tooMany.ofCategories ? " categories" : " contacts");
}

// The side whose store lost its records: the opposite of the side that would be written.
int emptiedSide(const TooManyDeletions& tooMany) { return 1 - tooMany.side; }

// Names the deletions of each store together: its categories and its contacts.
std::string wouldDelete(const MapInfo& map, const std::vector<TooManyDeletions>& refused)
{
    std::string text;
    for (const int side : {0, 1}) {
        std::string counts;
        for (const TooManyDeletions& tooMany : refused)
            if (tooMany.side == side) counts += (counts.empty() ? "" : " and ") + countText(tooMany);
        if (!counts.empty())
            text += (text.empty() ? "would delete " : ", and ") + counts + " of " + storeName(map, side) + ", since " +
                    storeName(map, 1 - side) + " no longer has them";
    }
    return text;
}

} // namespace

std::string refusalSentence(const MapInfo& map, const std::vector<TooManyDeletions>& refused, const std::string& written)
{
    const std::string name = guidName(map.guid), side = emptiedSide(refused.front()) == 0 ? "first" : "second";
    return "The run " + wouldDelete(map, refused) + ", and --max-delete " + refused.front().limit + " is the limit; " + written +
           ". If that store was moved, type mb set \"" + name + "\" " + side +
           " DATABASE with its new place; if the deletions are meant, type mb sync \"" + name + "\" --max-delete none.";
}

std::string plannedRefusal(const MapInfo& map, const std::vector<TooManyDeletions>& refused)
{
    return "mb sync would refuse this: it " + wouldDelete(map, refused) + ", and --max-delete " + refused.front().limit + " is the limit.";
}

bool confirmDeletions(const MapInfo& map, const TooManyDeletions& tooMany)
{
    const auto console = platform::openConsole();
    if (!console) return false;
    console->write(platform::utf16("The run " + wouldDelete(map, {tooMany}) + ".\n"));
    for (std::u16string answer;;) {
        console->write(u"Delete them? Type n and Enter to stop with nothing written, y and Enter to delete them: ");
        if (!console->readLine(answer)) return false;
        const std::u16string word = platform::lowered(answer);
        if (word == u"y" || word == u"yes") return true;
        if (word == u"n" || word == u"no" || word.empty()) return false;
    }
}

} // namespace mbhost
