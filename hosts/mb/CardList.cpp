#include "CardList.h"

#include "Failure.h"
#include "Output.h"
#include "text.h"
#include <set>

namespace mbhost {
com::Ptr<IDataStream> cardFileSettings(const Engine& engine, const GUID& map)
{
    auto settings = engine.create<ITrServices>(__uuidof(TrServices)).as<IDataStream>();
    com::check(settings->SetParams(com::Bstr(u"Trans1Cfg").get(), map));
    return settings;
}

CardList::CardList(const Engine& engine, const GUID& target, const std::string& file, const std::string& password) : file_(file)
{
    const auto settings = cardFileSettings(engine, target);
    const auto services = settings.as<ITrServices>();
    const auto set = [&](const char16_t* key, const std::string& value) {
        com::check(settings->SetString(com::Bstr(key).get(), com::Bstr(platform::utf16(value)).get()));
    };
    set(u"Database", file);
    set(u"Password", password);
    if (FAILED(engine.create<ITrMapEntry>(__uuidof(TrManager))->Load(hostClass, translator_.put())) || !translator_)
        throw Failure("The plug-in for card files cannot be loaded. Register it again: mb register PLUGIN.");
    check(translator_->Initialize(services.get(), nullptr, VARIANT_FALSE), "cannot be opened");
    const auto list = translator_.as<IFieldList>();
    const auto field = translator_.as<IField>();
    LONG count = 0, type = 0;
    (void)list->GetCount(&count);
    for (LONG i = 0; i < count; ++i) {
        GUID guid{};
        if (SUCCEEDED(list->GetFieldByIndex(i, &guid)) && SUCCEEDED(field->GetFieldType(guid, &type))) fields_[type] = guid;
    }
}

CardList::~CardList()
{
    if (translator_) (void)translator_->Cleanup();
}

void CardList::check(HRESULT hr, const std::string& what)
{
    if (SUCCEEDED(hr)) return;
    com::Variant code;
    com::Bstr message1, message2;
    if (const auto info = translator_.tryAs<ITranslatorInfo>()) (void)info->GetLastError(code.put(), message1.put(), message2.put());
    const std::string reason = message1.empty() ? describe(hr) : printable(message1.view());
    throw Failure("The card file " + quote(file_) + " " + what + ": " + reason);
}

std::vector<std::u16string> CardList::all()
{
    LONG count = 0;
    check(translator_->GetRecordCount(&count), "cannot be read");
    std::vector<std::u16string> ids;
    for (LONG i = 0; i < count; ++i) {
        com::Bstr id;
        check(translator_->GetRecordID(i, id.put()), "cannot be read");
        ids.push_back(id.text());
    }
    return ids;
}

std::u16string CardList::read(BSTR id, LONG type)
{
    com::Variant value;
    const auto field = fields_.find(type);
    if (field == fields_.end() || FAILED(translator_->ReadField(id, field->second, value.put()))) return {};
    return std::u16string(value.text());
}

// The names by which a user may name a card: first and last name, display name, company.
CardList::Names CardList::names()
{
    Names found;
    for (const std::u16string& id : all()) {
        const com::Bstr key(id);
        check(translator_->BeginReadRecord(key.get()), "cannot be read");
        const std::u16string first = read(key.get(), ftFirstName), last = read(key.get(), ftLastName);
        std::u16string full = first;
        if (!first.empty() && !last.empty()) full += u' ';
        full += last;
        std::set<std::u16string> own; // two equal names of one card count once
        for (const std::u16string& name : {full, read(key.get(), ftDisplayName), read(key.get(), ftCompany)})
            if (!name.empty()) own.insert(platform::lowered(name));
        (void)translator_->EndReadRecord(key.get());
        for (const std::u16string& name : own) found.emplace(name, id);
    }
    return found;
}

std::u16string CardList::named(const Names& names, const std::string& text) const
{
    const auto [begin, end] = names.equal_range(platform::lowered(platform::utf16(text)));
    if (begin == end)
        throw Failure("There is no card " + quote(text) + " in " + quote(file_) + "; give a name or the identifier of a card.");
    if (std::next(begin) == end) return begin->second;
    std::string sentence = "There are several cards named " + quote(text) + "; give the identifier of one of them:";
    for (auto at = begin; at != end; ++at) sentence += " " + printable(at->second);
    throw Failure(sentence, exitUsage);
}

std::vector<std::u16string> CardList::resolve(const std::vector<std::string>& texts)
{
    std::optional<Names> names; // read at the first text that is not an identifier
    std::set<std::u16string> seen;
    std::vector<std::u16string> ids;
    for (const std::string& text : texts) {
        std::u16string id = platform::utf16(text);
        if (id.empty() || FAILED(translator_->FindRecord(com::Bstr(id).get()))) {
            if (!names) names = this->names();
            id = named(*names, text);
        }
        if (seen.insert(platform::lowered(id)).second) ids.push_back(std::move(id));
    }
    return ids;
}

} // namespace mbhost
