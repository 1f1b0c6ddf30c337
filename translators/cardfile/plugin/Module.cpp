// The plug-in's only class and its entry points.
#include "CardFields.h"
#include "CardFile.h"
#include "PluginExports.h"
#include "StoreTranslator.h"

using namespace mb;

namespace {

constexpr CLSID CLSID_CardFileTranslator{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

std::unique_ptr<plugin::RecordStore> openStore(const std::string& database, plugin::Report report)
{
    return std::make_unique<cardfile::CardFile>(database, std::move(report));
}

std::unique_ptr<plugin::RecordStore> openCategories(const std::string& database, plugin::Report report)
{
    const auto file = std::make_shared<cardfile::CardFile>(database, std::move(report));
    return std::make_unique<plugin::CategoryStore>(file->categories(), [file](const plugin::Names& names) { file->keepCategories(names); });
}

constexpr plugin::PluginInfo info{u"Mirabook",
                                  u"Mirabook 6.0.4 or later",
                                  u"Mirabook file",
                                  {0x2B9D6C40, 0, 0x4D1E, {0x8A, 0x57, 0x1C, 0x93, 0x6F, 0x0E, 0xB2, 0x48}},
                                  cardfile::cardFields,
                                  openStore,
                                  openCategories,
                                  true,
                                  cardfile::CardFile::make};

class CardFileTranslator final : public plugin::StoreTranslator {
public:
    explicit CardFileTranslator(IUnknown* outer) : StoreTranslator(outer, info) {}
};

constexpr com::ClassEntry classes[] = {
    {&CLSID_CardFileTranslator, u"MBCardFile.CardFileTranslator", u"Mirabook card file", com::create<CardFileTranslator>}};

} // namespace

PLUGIN_EXPORTS(classes)
