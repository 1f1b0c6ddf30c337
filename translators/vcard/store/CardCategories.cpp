#include "CardCategories.h"

#include "Charset.h"
#include "StoreError.h"

#include <algorithm>

namespace mb::vcard {
namespace {

std::u16string textOf(std::string_view utf8) { return decode(utf8, kUtf8).value_or(std::u16string()); }

} // namespace

CardCategories::CardCategories(const std::string& database, const std::string& cacheFolder, const plugin::Report& report,
                               RecentIndexes& recent)
    : opened_(database, cacheFolder, report, recent)
{
}

std::string CardCategories::list() const
{
    return opened_.singleFile.empty() ? ".mbsync-categories" : "." + opened_.singleFile + ".mbsync-categories";
}

plugin::Names CardCategories::takeNames()
{
    plugin::Names names;
    fileStep(Step::Open, [&] {
        if (!opened_.folder->stateOf(list())) return;
        FileState state;
        const std::string lines = opened_.folder->read(list(), state);
        for (std::size_t at = 0; at < lines.size();) {
            const std::size_t end = std::min(lines.find_first_of("\r\n", at), lines.size());
            if (end != at) names.push_back(textOf(std::string_view(lines).substr(at, end - at)));
            at = end + 1;
        }
    });
    for (const FileRecord& file : opened_.index->files()) plugin::splitCategories(textOf(file.categories), names);
    opened_.index->handOver();
    return plugin::withoutDoubles(names);
}

void CardCategories::keep(const plugin::Names& names)
{
    std::string lines;
    for (const std::u16string& name : names) lines += toUtf8(name) + '\n';
    fileStep(Step::Save, [&] {
        Folder::Draft draft(*opened_.folder);
        draft.write(lines);
        draft.flush();
        draft.replace(list());
        opened_.folder->flush();
    });
}

} // namespace mb::vcard
