// The plug-in's only class and its entry points.
#include "CardCategories.h"
#include "CardStore.h"
#include "FieldTable.h"
#include "PluginExports.h"
#include "StoreTranslator.h"

using namespace mb;

namespace {

constexpr CLSID CLSID_VCardTranslator{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};

LONG kindOf(vcard::Shape shape) { return shape == vcard::Shape::Date ? dtDateTime : shape == vcard::Shape::Image ? dtImage : dtString; }

std::vector<plugin::PluginField> makeFields()
{
    std::vector<plugin::PluginField> made;
    for (const vcard::Field& field : vcard::fields()) {
        if (field.type == ftKind) made.push_back({ftDetails, u"Details"}); // what the card holds besides the other fields
        made.push_back({field.type, field.label, kindOf(field.shape), field.shape == vcard::Shape::Phone ? ULONG{ffPhoneNumber} : 0});
    }
    return made;
}

// A run opens a database for its categories first, and then for its contacts.
vcard::RecentIndexes recentIndexes;

std::unique_ptr<plugin::RecordStore> openStore(const std::string& database, plugin::Report report)
{
    return std::make_unique<vcard::CardStore>(database, vcard::userCacheFolder(), std::move(report), recentIndexes);
}

std::unique_ptr<plugin::RecordStore> openCategories(const std::string& database, plugin::Report report)
{
    const auto categories = std::make_shared<vcard::CardCategories>(database, vcard::userCacheFolder(), report, recentIndexes);
    return std::make_unique<plugin::CategoryStore>(categories->takeNames(),
                                                   [categories](const plugin::Names& names) { categories->keep(names); });
}

const plugin::PluginInfo& info()
{
    static const std::vector<plugin::PluginField> fields = makeFields();
    static const plugin::PluginInfo made{u"vCard",        u"vCard folder or file",
                                         u"vCard folder", {0x38344600, 0, 0x459C, {0xB1, 0xEC, 0xFF, 0x40, 0xD8, 0xC0, 0xDF, 0x27}},
                                         fields,          openStore,
                                         openCategories,  true,
                                         nullptr,         true};
    return made;
}

class VCardTranslator final : public plugin::StoreTranslator {
public:
    explicit VCardTranslator(IUnknown* outer) : StoreTranslator(outer, info()) {}
};

constexpr com::ClassEntry classes[] = {
    {&CLSID_VCardTranslator, u"MBVCard.VCardTranslator", u"vCard folder or file", com::create<VCardTranslator>}};

} // namespace

PLUGIN_EXPORTS(classes)
