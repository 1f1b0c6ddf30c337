#include "EqualRecordFinder.h"

#include <utility>

namespace mb::plugin {
namespace {

// The content of a record as one text, which is equal for equal records only.
class Content {
public:
    Content() { text_.reserve(usualLength); }

    // Empty fields add nothing, because most fields of a contact are empty.
    void addText(std::size_t field, std::u16string_view text)
    {
        if (text.empty()) return;
        const std::u16string folded = platform::foldedAlnum(text);
        if (folded.empty()) return;
        // A line feed separates the fields, as it is neither letter nor digit.
        text_ += u'\n';
        text_ += static_cast<char16_t>(field);
        text_ += folded;
    }
    void addImage(std::size_t field, std::uint64_t size)
    {
        if (size != 0) addText(field, platform::utf16(std::to_string(size)));
    }
    [[nodiscard]] std::u16string_view text() const noexcept { return text_; }

private:
    static constexpr std::size_t usualLength = 512;
    std::u16string text_;
};

// The fields in which most contacts differ.
bool isKey(const MappedField& field)
{
    return field.own == ftFirstName || field.own == ftLastName || field.own == ftCompany || field.own == ftEmail1;
}

// A record of the store while it is being read.
class OpenRecord {
public:
    OpenRecord(RecordStore& store, const std::string& id) : store_(store), id_(id) { store_.beginRead(id_); }
    OpenRecord(const OpenRecord&) = delete;
    OpenRecord& operator=(const OpenRecord&) = delete;
    ~OpenRecord()
    {
        (void)com::guarded([&] { store_.endRead(id_); });
    }

private:
    RecordStore& store_;
    const std::string& id_;
};

// Returns 0 for no image. Fails if the size is unknown, because the image could not be compared.
std::uint64_t readImageSize(const com::Ptr<IImageSupport>& images, BSTR id, REFGUID field)
{
    VARIANT_BOOL has = VARIANT_FALSE;
    com::check(com::call(images, &IImageSupport::HasFieldValue, id, field, &has));
    if (has == VARIANT_FALSE) return 0;
    com::check(com::call(images, &IImageSupport::BeginReadImageData, id, field));
    LONGLONG size = 0;
    const HRESULT measured = com::call(images, &IImageSupport::GetImageDataSize, &size);
    const HRESULT ended = com::call(images, &IImageSupport::EndReadImageData, id, field);
    com::check(measured);
    com::check(ended);
    if (size <= 0) throw com::Error(E_FAIL);
    return static_cast<std::uint64_t>(size);
}

} // namespace

EqualRecordFinder::EqualRecordFinder(RecordStore& store, std::vector<MappedField> fields, KnownRecords known)
    : store_(store), fields_(std::move(fields)), known_(std::move(known))
{
    if (std::all_of(fields_.begin(), fields_.end(), [](const MappedField& field) { return field.image; })) throw com::Error(E_FAIL);
    keyCount_ = static_cast<std::size_t>(std::stable_partition(fields_.begin(), fields_.end(), isKey) - fields_.begin());
}

std::optional<std::string> EqualRecordFinder::take(ITranslator* other, BSTR id)
{
    if (!std::exchange(storeRead_, true)) readStore();
    if (byContent_.empty()) return std::nullopt;
    const auto hash = hashOf(other, id);
    const auto found = hash ? byContent_.find(*hash) : byContent_.end();
    if (found == byContent_.end()) return std::nullopt;
    const Entry entry = entries_[found->second];
    if (entry.next == none)
        byContent_.erase(found);
    else
        found->second = entry.next;
    return store_.idAt(entry.position);
}

void EqualRecordFinder::readStore()
{
    std::vector<KeyedHash::Value> hashes; // of the entries
    for (std::size_t position = 0; position < store_.count(); ++position) {
        const std::string& id = store_.idAt(position);
        if (known_.contains(platform::utf16(id))) continue;
        const auto hash = hashOf(id);
        if (!hash) continue;
        entries_.push_back({position, none});
        hashes.push_back(*hash);
    }
    known_.clear();
    byContent_.reserve(entries_.size());
    // In reverse order, so that equal records are returned in the order of the store.
    for (std::size_t i = entries_.size(); i-- > 0;) {
        const auto [first, isNew] = byContent_.try_emplace(hashes[i], i);
        if (!isNew) entries_[i].next = std::exchange(first->second, i);
    }
}

std::optional<KeyedHash::Value> EqualRecordFinder::hashOf(const std::string& id)
{
    try {
        const OpenRecord record(store_, id);
        Content content;
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (i == keyCount_) keys_.insert(hash_(content.text()).first);
            const LONG field = fields_[i].own;
            if (fields_[i].image)
                content.addImage(i, store_.imageSize(id, field));
            else
                content.addText(i, store_.read(id, field));
        }
        return hash_(content.text());
    } catch (const StoreError&) {
        return std::nullopt;
    }
}

std::optional<KeyedHash::Value> EqualRecordFinder::hashOf(ITranslator* other, BSTR id) const
{
    com::check(com::call(other, &ITranslator::BeginReadRecord, id));
    Content content;
    bool keyFound = true;
    const HRESULT read = com::guarded([&] {
        com::Ptr<IImageSupport> images;
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (i == keyCount_) keyFound = keys_.contains(hash_(content.text()).first);
            if (!keyFound) return;
            const GUID& field = fields_[i].other;
            if (fields_[i].image) {
                if (!images) images = com::Ptr(other).as<IImageSupport>();
                content.addImage(i, readImageSize(images, id, field));
                continue;
            }
            com::Variant value;
            com::check(com::call(other, &ITranslator::ReadField, id, field, value.put()));
            content.addText(i, value.text());
        }
    });
    const HRESULT ended = com::call(other, &ITranslator::EndReadRecord, id);
    com::check(read);
    com::check(ended);
    return keyFound ? std::optional(hash_(content.text())) : std::nullopt;
}

} // namespace mb::plugin
