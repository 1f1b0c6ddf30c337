// Replaces the card file plug-in in builds without it: the text file of the Notebook plug-in, under the class of the host's card file.
#include "files.h"
#include "NotebookStore.h"
#include "PluginExports.h"
#include "StoreTranslator.h"
#include "text.h"

namespace {

namespace plugin = mb::plugin;

constexpr GUID hostClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};
constexpr GUID fieldBase{0x5a0c2b11, 0, 0x4b1c, {0x8e, 0x6f, 0x7a, 0x20, 0xc4, 0x5d, 0x91, 0x38}};

constexpr plugin::PluginField fields[] = {{ftFirstName, u"First name"}, {ftLastName, u"Last name"}, {ftEmail1, u"E-mail"}};

// A transfer passes card identifiers in lower case, so identifiers are compared ignoring case.
class CardFile final : public plugin::RecordStore {
public:
    explicit CardFile(std::filesystem::path file) : cards_(std::move(file)) {}
    [[nodiscard]] std::size_t count() const override { return cards_.count(); }
    [[nodiscard]] const std::string& idAt(std::size_t index) const override { return cards_.idAt(index); }
    [[nodiscard]] bool exists(const std::string& id) const override { return cards_.exists(kept(id)); }
    [[nodiscard]] std::int64_t created(const std::string& id) const override { return cards_.created(kept(id)); }
    [[nodiscard]] std::int64_t modified(const std::string& id) const override { return cards_.modified(kept(id)); }
    void beginRead(const std::string& id) override { cards_.beginRead(kept(id)); }
    [[nodiscard]] std::u16string read(const std::string& id, int type) const override { return cards_.read(kept(id), type); }
    void endRead(const std::string& id) override { cards_.endRead(kept(id)); }
    void beginBatch() override { cards_.beginBatch(); }
    void endBatch(bool abort) override { cards_.endBatch(abort); }
    std::string beginAdd() override { return cards_.beginAdd(); }
    void beginEdit(const std::string& id) override { cards_.beginEdit(kept(id)); }
    void write(const std::string& id, int type, std::u16string_view text) override { cards_.write(kept(id), type, text); }
    std::string save(const std::string& id) override { return cards_.save(kept(id)); }
    void remove(const std::string& id) override { cards_.remove(kept(id)); }
    void close() override { cards_.close(); }

private:
    static std::string kept(std::string id)
    {
        for (char& c : id)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        return id;
    }
    notebook::NotebookStore cards_;
};

std::unique_ptr<plugin::RecordStore> openStore(const std::string& database, plugin::Report)
{
    return std::make_unique<CardFile>(platform::pathOf(platform::utf16(database)));
}

void makeStore(const std::string& database) { notebook::NotebookStore::make(platform::pathOf(platform::utf16(database))); }

constexpr plugin::PluginInfo info{u"Mirabook", u"Card file", u"Card file", fieldBase, fields, openStore, nullptr, false, makeStore};

class CardFileTranslator final : public plugin::StoreTranslator {
public:
    explicit CardFileTranslator(IUnknown* outer) : StoreTranslator(outer, info) {}
};

constexpr com::ClassEntry classes[] = {{&hostClass, u"Mirabook.CardFileStandIn", u"Card file", com::create<CardFileTranslator>}};

} // namespace

PLUGIN_EXPORTS(classes)
