#include "OpenStore.h"

#include "host.h"
#include "text.h"
#include <algorithm>

namespace mbsamples {
namespace {

constexpr GUID cardFileClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

} // namespace

OpenStore::OpenStore(const std::string& database, IfMissing ifMissing) : library_(platform::executablePath().parent_path() / "cardfile.so")
{
    const auto getClassObject = library_ ? library_.function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject") : nullptr;
    if (!getClassObject) throw Problem("The plug-in cardfile.so is not beside this program.");
    library_.release();
    com::Ptr<IClassFactory> factory;
    com::check(getClassObject(cardFileClass, __uuidof(IClassFactory), factory.putVoid()));
    com::check(factory->CreateInstance(nullptr, __uuidof(ITranslator), translator_.putVoid()));
    list_ = translator_.as<IFieldList>();
    field_ = translator_.as<IField>();
    LONG count = 0;
    com::check(list_->GetCount(&count));
    for (LONG i = 0; i < count; ++i) {
        GUID guid{};
        LONG type = 0;
        com::check(list_->GetFieldByIndex(i, &guid));
        com::check(field_->GetFieldType(guid, &type));
        byType_.emplace_back(type, guid);
    }
    if (ifMissing == IfMissing::Make) {
        platform::setEnvironment(u"MB_STORE_MIRABOOK", platform::utf16(database)); // names the store of a translator without settings
        check(translator_->Initialize(nullptr, nullptr, VARIANT_TRUE));
        check(translator_->Cleanup());
    }
    const com::Bstr none;
    check(translator_.as<ITranslatorTest>()->InitializeDatabase(com::Bstr(platform::utf16(database)).get(), none.get(), none.get()));
}

OpenStore::~OpenStore() { (void)translator_->Cleanup(); }

// Throws a Problem with the plug-in's message for its last failure.
void OpenStore::check(HRESULT hr)
{
    if (SUCCEEDED(hr)) return;
    com::Variant code;
    com::Bstr message1, message2;
    (void)translator_.as<ITranslatorInfo>()->GetLastError(code.put(), message1.put(), message2.put());
    throw Problem(platform::utf8(message1.empty() ? platform::systemMessage(hr) : message1.text()));
}

GUID OpenStore::fieldOfType(LONG type)
{
    const auto at = std::ranges::find(byType_, type, &std::pair<LONG, GUID>::first);
    if (at == byType_.end()) throw Problem("The store has no field of type " + std::to_string(type) + ".");
    return at->second;
}

GUID OpenStore::fieldNamed(const std::string& name)
{
    GUID guid{};
    if (FAILED(list_->GetFieldByName(com::Bstr(platform::utf16(name)).get(), &guid)))
        throw Problem("The store has no field \"" + name + "\"; mb fields MAP --available lists them.");
    return guid;
}

void OpenStore::write(const com::Bstr& id, const GUID& field, const std::string& value)
{
    check(translator_->WriteField(id.get(), field, com::Variant(platform::utf16(value))));
}

void OpenStore::beginUpdate() { check(translator_->BeginUpdate()); }
void OpenStore::endUpdate() { check(translator_->EndUpdate(VARIANT_FALSE)); }

void OpenStore::add(const Values& values)
{
    com::Bstr id;
    check(translator_->BeginAddRecord(id.put()));
    for (const auto& [type, value] : values)
        if (!value.empty()) write(id, fieldOfType(type), value);
    check(translator_->SaveRecord(id.inOut()));
}

std::string OpenStore::readText(const com::Bstr& id, LONG type)
{
    com::Variant value;
    check(translator_->ReadField(id.get(), fieldOfType(type), value.put()));
    return platform::utf8(value.text());
}

std::string OpenStore::nameOf(const com::Bstr& id)
{
    check(translator_->BeginReadRecord(id.get()));
    const std::string first = readText(id, ftFirstName), last = readText(id, ftLastName);
    check(translator_->EndReadRecord(id.get()));
    return first.empty() || last.empty() ? first + last : first + " " + last;
}

std::vector<com::Bstr> OpenStore::records()
{
    LONG count = 0;
    check(translator_->GetRecordCount(&count));
    std::vector<com::Bstr> ids(static_cast<std::size_t>(count));
    for (LONG i = 0; i < count; ++i) check(translator_->GetRecordID(i, ids[static_cast<std::size_t>(i)].put()));
    return ids;
}

com::Bstr OpenStore::recordNamed(const std::string& name)
{
    for (const com::Bstr& id : records())
        if (nameOf(id) == name) return id;
    throw Problem("The store has no contact \"" + name + "\".");
}

std::vector<std::string> OpenStore::names()
{
    std::vector<std::string> found;
    for (const com::Bstr& id : records()) found.push_back(nameOf(id));
    std::ranges::sort(found);
    return found;
}

std::string OpenStore::shownValue(const com::Bstr& id, const GUID& field)
{
    LONG kind = 0;
    check(field_->GetDataType(field, &kind));
    if (kind != dtImage) {
        com::Variant value;
        check(translator_->ReadField(id.get(), field, value.put()));
        return platform::utf8(value.text());
    }
    const auto pictures = translator_.as<IImageSupport>();
    VARIANT_BOOL has = VARIANT_FALSE;
    LONGLONG size = 0;
    com::Bstr hash;
    check(pictures->HasFieldValue(id.get(), field, &has));
    if (!has) return {};
    check(pictures->BeginReadImageData(id.get(), field));
    check(pictures->GetImageDataSize(&size));
    check(pictures->GetImageDataHash(hash.put()));
    check(pictures->EndReadImageData(id.get(), field));
    return "a picture of " + std::to_string(size) + " bytes, " + platform::utf8(hash.view());
}

std::vector<std::string> OpenStore::valuesOf(const std::string& name) { return valuesOf(recordNamed(name)); }

std::vector<std::vector<std::string>> OpenStore::valuesOfAll()
{
    std::vector<std::vector<std::string>> all;
    for (const com::Bstr& id : records()) all.push_back(valuesOf(id));
    return all;
}

std::vector<std::string> OpenStore::valuesOf(const com::Bstr& id)
{
    std::vector<std::string> lines;
    check(translator_->BeginReadRecord(id.get()));
    for (const auto& [type, guid] : byType_) {
        const std::string value = shownValue(id, guid);
        if (value.empty()) continue;
        com::Bstr label;
        check(field_->GetName(guid, label.put()));
        lines.push_back(platform::utf8(label.view()) + ": " + value);
    }
    check(translator_->EndReadRecord(id.get()));
    return lines;
}

void OpenStore::edit(const std::string& name, const std::string& fieldName, const std::string& value)
{
    const GUID field = fieldNamed(fieldName);
    com::Bstr id = recordNamed(name);
    check(translator_->BeginEditRecord(id.get()));
    write(id, field, value);
    check(translator_->SaveRecord(id.inOut()));
}

void OpenStore::remove(const std::string& name) { check(translator_->DeleteRecord(recordNamed(name).get())); }

} // namespace mbsamples
