// The pictures of the cards, and the category list. The bytes of a picture are read only on request.
#include "CardFile.h"

#include "text.h"

namespace mb::cardfile {

using plugin::Step;

std::string CardFile::readImage(const std::string& id, int type)
{
    const Open& record = openFor(id);
    if (const auto changed = record.images.find(type); changed != record.images.end()) return changed->second;
    return guarded(Step::ReadField, [&] {
        readImage_.bind(1, record.key).bind(2, std::int64_t{type});
        Rows rows(readImage_);
        std::string bytes = rows.next() ? readImage_.bytes(0) : std::string();
        requireSnapshot(Step::ReadField);
        return bytes;
    });
}

std::uint64_t CardFile::imageSize(const std::string& id, int type) { return sizeOfImage(openFor(id), type, Step::ReadField); }

std::uint64_t CardFile::sizeOfImage(const Open& record, int type, Step step) const
{
    if (const auto changed = record.images.find(type); changed != record.images.end()) return changed->second.size();
    return guarded(step, [&] {
        measureImage_.bind(1, record.key).bind(2, std::int64_t{type});
        Rows rows(measureImage_);
        return rows.next() ? static_cast<std::uint64_t>(measureImage_.number(0)) : std::uint64_t{0};
    });
}

void CardFile::writeImage(const std::string& id, int type, std::string_view bytes)
{
    Open& record = openForWriting(id, Step::WriteField);
    record.images.erase(type);
    const bool held = !record.isNew && imageSize(id, type) == bytes.size() && readImage(id, type) == bytes;
    if (!held && !(record.isNew && bytes.empty())) record.images[type] = bytes;
}

void CardFile::writeImages(const Open& record)
{
    for (const auto& [type, bytes] : record.images) {
        if (bytes.empty())
            dropImage_.bind(1, record.key).bind(2, std::int64_t{type}).run();
        else
            putImage_.bind(1, record.key).bind(2, std::int64_t{type}).bindBytes(3, bytes).run();
    }
}

plugin::Names CardFile::categories()
{
    return guarded(Step::Open, [&] {
        plugin::Names names;
        Statement kept = database_->prepare("SELECT name FROM category ORDER BY rowid");
        while (kept.step()) names.push_back(platform::utf16(kept.text(0)));
        Statement used = database_->prepare("SELECT DISTINCT value FROM field WHERE type = 19");
        while (used.step()) plugin::splitCategories(platform::utf16(used.text(0)), names);
        return plugin::withoutDoubles(names);
    });
}

void CardFile::keepCategories(const plugin::Names& names)
{
    change(Step::Save, [&] {
        database_->execute("DELETE FROM category");
        Statement put = database_->prepare("INSERT INTO category (name) VALUES (?1)");
        for (const std::u16string& name : names) put.bind(1, platform::utf8(name)).run();
    });
}

} // namespace mb::cardfile
