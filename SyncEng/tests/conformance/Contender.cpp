#include "Contender.h"

#include "FakeTranslator.h"
#include "PluginFile.h"

#include <gtest/gtest.h>

namespace mbtest {
namespace {

namespace fs = std::filesystem;

constexpr GUID vcardClass{0x86705195, 0xe5f6, 0x4fbc, {0xad, 0x43, 0xe8, 0x5e, 0xd5, 0x84, 0x3b, 0x9a}};
constexpr GUID cardFileClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
constexpr GUID notebookClass{0x6d0ffa1e, 0x3c57, 0x4d0e, {0x9a, 0x42, 0x51, 0x8e, 0x0b, 0x7c, 0x23, 0x94}};
constexpr GUID fakeClass{0xFA4E0003, 0x3333, 0x4333, {0x83, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33}};

class PluginSubject final : public Subject {
public:
    PluginSubject(const char* file, const GUID& clsid, const std::string& database, bool isFolder) : plugin_(file, clsid)
    {
        const fs::path path = folder.path() / database;
        fs::create_directories(isFolder ? path : path.parent_path());
        if (path.extension() == ".vcf") folder.write(database, ""); // Initialize creates the other kinds of store
        services->values[u"Database"] = path.u16string();
        const com::Ptr<ITranslator> translator = plugin_.create();
        EXPECT_EQ(translator->Initialize(services.get(), nullptr, VARIANT_TRUE), S_OK);
        EXPECT_EQ(translator->Cleanup(), S_OK);
    }
    com::Ptr<ITranslator> create() override { return plugin_.create(); }
    bool allReturned() const override { return plugin_.allReturned(); }

private:
    PluginFile plugin_;
};

class FakeSubject final : public Subject {
public:
    explicit FakeSubject(const std::function<void(FakeOptions&)>& configure)
    {
        store_->addImageFields(capJPEGFile);
        store_->options.imageFolder = folder.path();
        store_->options.categories = true;
        configure(store_->options);
        class_.emplace(fakeClass, FakeSide{"1", store_, log_});
        alive_ = com::moduleLocks;
    }
    com::Ptr<ITranslator> create() override
    {
        com::Ptr<ITranslator> made;
        com::check(com::createInstance(fakeClass, made));
        return made;
    }
    bool allReturned() const override { return com::moduleLocks == alive_; }
    std::vector<std::string> violations() const override { return log_->violations; }

private:
    std::shared_ptr<FakeStore> store_ = std::make_shared<FakeStore>(u"A");
    std::shared_ptr<CallLog> log_ = std::make_shared<CallLog>();
    std::optional<RegisteredFake> class_;
    LONG alive_ = 0;
};

Contender fake(const std::string& name, std::function<void(FakeOptions&)> configure)
{
    return {name, [configure] { return std::make_unique<FakeSubject>(configure); }, true, false};
}

Contender plugin(const std::string& name, const char* file, const GUID& clsid, const std::string& database, bool isFolder = false)
{
    return {name, [=] { return std::make_unique<PluginSubject>(file, clsid, database, isFolder); }, true, true};
}

template <class F> std::vector<Contender> without(std::vector<Contender> all, F&& unwanted)
{
    std::erase_if(all, unwanted);
    return all;
}

} // namespace

std::vector<Contender> contenders()
{
    std::vector<Contender> all{
        fake("Fake", [](FakeOptions&) {}),
        fake("FakeThatRenames", [](FakeOptions& o) { o.newIdOnAdd = o.newIdOnSave = true; }),
        fake("FakeWithoutBatches", [](FakeOptions& o) { o.batches = false; }),
        plugin("VCardFolder", VCARD_PLUGIN, vcardClass, "cards", true),
        plugin("VCardFile", VCARD_PLUGIN, vcardClass, "cards/all.vcf"),
        {"Notebook", plugin("", NOTEBOOK_PLUGIN, notebookClass, "notes/contacts.txt").make, false, true},
    };
    const std::string cardFile = CARDFILE_PLUGIN; // empty if the plug-in is not built
    if (!cardFile.empty()) all.push_back(plugin("CardFile", CARDFILE_PLUGIN, cardFileClass, "cards/contacts.mbc"));
    return all;
}

std::vector<Contender> contendersWithPictures()
{
    return without(contenders(), [](const Contender& c) { return !c.hasPictures; });
}
std::vector<Contender> plugins()
{
    return without(contenders(), [](const Contender& c) { return !c.isPlugin; });
}
std::vector<Contender> pluginsWithPictures()
{
    return without(plugins(), [](const Contender& c) { return !c.hasPictures; });
}

} // namespace mbtest
