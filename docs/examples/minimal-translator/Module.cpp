// The plug-in: what it calls itself, its fields, its class, and its four entry points.
#include "files.h"
#include "NotebookStore.h"
#include "PluginExports.h"
#include "StoreTranslator.h"
#include "text.h"

using namespace mb;

namespace {

// Made once, and never changed: maps and histories name them.
constexpr CLSID CLSID_NotebookTranslator{0x6d0ffa1e, 0x3c57, 0x4d0e, {0x9a, 0x42, 0x51, 0x8e, 0x0b, 0x7c, 0x23, 0x94}};
constexpr GUID fieldBase{0x2f9b7d10, 0, 0x4b1c, {0x8e, 0x6f, 0x7a, 0x20, 0xc4, 0x5d, 0x91, 0x38}};

// In ascending order of their types. A type tells the engine which fields of two stores mean the same.
constexpr plugin::PluginField fields[] = {
    {ftFirstName, u"First name"}, {ftLastName, u"Last name"}, {ftCompany, u"Company"},
    {ftStreet1, u"Street"},       {ftCity1, u"City"},         {ftZipCode1, u"Zip code"},
    {ftCountry1, u"Country"},     {ftNotes, u"Notes"},        {ftPhone, u"Phone", dtString, ffPhoneNumber},
    {ftEmail1, u"E-mail"}};

std::unique_ptr<plugin::RecordStore> openStore(const std::string& database, plugin::Report)
{
    return std::make_unique<notebook::NotebookStore>(platform::pathOf(platform::utf16(database)));
}

// Called when a map is set up, never by a run.
void makeStore(const std::string& database) { notebook::NotebookStore::make(platform::pathOf(platform::utf16(database))); }

constexpr plugin::PluginInfo info{u"Notebook", u"Notebook file", u"Notebook file", fieldBase, fields, openStore, nullptr, false, makeStore};

class NotebookTranslator final : public plugin::StoreTranslator {
public:
    explicit NotebookTranslator(IUnknown* outer) : StoreTranslator(outer, info) {}
};

constexpr com::ClassEntry classes[] = {
    {&CLSID_NotebookTranslator, u"Notebook.NotebookTranslator", u"Notebook file", com::create<NotebookTranslator>}};

} // namespace

PLUGIN_EXPORTS(classes)
