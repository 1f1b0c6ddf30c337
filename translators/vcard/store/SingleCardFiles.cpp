#include "SingleCardFiles.h"

#include "Charset.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace mb::vcard {

SingleCard SingleCardFiles::read(const Place& place, Step step)
{
    const std::string& name = cards_.index->fileAt(place).name;
    try {
        return readCard(*cards_.folder, name);
    } catch (const CardFault& fault) {
        throw cards_.unreadable(name + ", line " + std::to_string(fault.line), fault.text, step);
    }
}

StoredCard SingleCardFiles::make(const std::string& uuid, Version version)
{
    StoredCard record;
    record.id = uuid + ".vcf";
    record.card = Card::make(uuid, "\r\n", version);
    return record;
}

Place SingleCardFiles::add(StoredCard& record)
{
    requireReadBack(cards_, record, record.file.form);
    FileRecord file;
    file.name = record.id;
    file.categories = toUtf8(record.card.get(kCategoriesField));
    record.state = writeNew(file.name, record.bytes);
    cards_.unflushed = true;
    file.state = record.state;
    file.stamp = record.state.modified;
    file.uid = safeToken(record.card.uid());
    std::vector<FileRecord>& files = cards_.index->files();
    files.push_back(std::move(file));
    cards_.index->noteChanged();
    return {files.size() - 1, -1};
}

FileState SingleCardFiles::writeNew(const std::string& name, std::string_view bytes)
{
    constexpr std::size_t kFew = 32;
    if (++added_ > kFew && !drafts_) drafts_ = std::make_unique<DraftPool>(*cards_.folder);
    const auto draft = drafts_ ? drafts_->take() : std::make_unique<Folder::Draft>(*cards_.folder);
    draft->write(bytes);
    return draft->place(name);
}

std::string SingleCardFiles::replace(const Place& place, StoredCard& record, const RecordIds&)
{
    requireReadBack(cards_, record, record.file.form);
    FileRecord& file = cards_.index->fileAt(place);
    std::string categories = toUtf8(record.card.get(kCategoriesField));
    record.state = rewrite(file, record);
    cards_.unflushed = true;
    file.stamp = cards_.index->nextStamp(record.state.modified, file.stamp);
    file.categories = std::move(categories);
    cards_.index->noteWritten(file, record.state);
    return record.id;
}

FileState SingleCardFiles::rewrite(const FileRecord& file, const StoredCard& record)
{
    if (cards_.folder->stateOf(file.name) != record.state) throw cards_.changedMeanwhile(file, Step::Save);
    Folder::Draft draft(*cards_.folder);
    draft.write(closeText(record.file, record.bytes));
    try {
        return draft.replaceIfSame(file.name, closeText(record.file, record.onDisk));
    } catch (const FileError& e) {
        if (e.why() != FileError::Why::Changed) throw;
        throw StoreError(Step::Save, std::string(e.what()) + ". Synchronize again.");
    }
}

void SingleCardFiles::remove(const Place& place)
{
    FileRecord& file = cards_.index->fileAt(place);
    try {
        if (cards_.folder->stateOf(file.name) != file.state) throw cards_.changedMeanwhile(file, Step::Delete);
        cards_.folder->removeIfSame(file.name, file.state);
    } catch (const FileError& e) {
        if (e.why() != FileError::Why::Changed) throw;
        throw StoreError(Step::Delete, std::string(e.what()) + ". Synchronize again.");
    }
    cards_.unflushed = true;
    file.gone = true;
    cards_.index->noteChanged();
}

bool SingleCardFiles::commit()
{
    drafts_.reset();
    added_ = 0;
    return false;
}

} // namespace mb::vcard
