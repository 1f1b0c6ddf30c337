// The list of categories beside the cards: a text file of one name a line, hidden among them. It holds what no card bears yet, too.
#include "CardStore.h"

#include "Charset.h"

#include <algorithm>

namespace mb::vcard {
namespace {

std::u16string textOf(std::string_view utf8) { return decode(utf8, kUtf8).value_or(std::u16string()); }

} // namespace

std::string CardStore::categoryList() const
{
    return singleFile_.empty() ? ".mbsync-categories" : "." + singleFile_ + ".mbsync-categories";
}

plugin::Names CardStore::categories() const
{
    plugin::Names names;
    try {
        if (folder_->stateOf(categoryList())) {
            FileState state;
            const std::string lines = folder_->read(categoryList(), state);
            for (std::size_t at = 0; at < lines.size();) {
                const std::size_t end = std::min(lines.find_first_of("\r\n", at), lines.size());
                if (end != at) names.push_back(textOf(std::string_view(lines).substr(at, end - at)));
                at = end + 1;
            }
        }
    } catch (const FileError& e) {
        throw StoreError(Step::Open, e.what());
    }
    for (const FileRecord& file : index_->files())
        if (!file.gone) plugin::splitCategories(textOf(file.categories), names);
    return plugin::withoutDoubles(names);
}

void CardStore::keepCategories(const plugin::Names& names)
{
    std::string lines;
    for (const std::u16string& name : names) lines += toUtf8(name) + '\n';
    try {
        Folder::Draft draft(*folder_);
        draft.write(lines);
        draft.flush();
        draft.replace(categoryList());
        folder_->flush();
    } catch (const FileError& e) {
        throw StoreError(Step::Save, e.what());
    }
}

} // namespace mb::vcard
