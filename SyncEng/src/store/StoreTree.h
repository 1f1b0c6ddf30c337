// A store's content as a document, for a file in any form: one that another program wrote or edited. The document is authoritative; an
// index speeds up lookups.
#pragma once
#include "store/EntryFinder.h"
#include "store/StoreContent.h"
#include "store/StoreIndex.h"
#include "xml.h"
#include <memory>
#include <vector>

namespace mb {

class StoreTree final : public StoreContent {
public:
    // Takes over the bytes. Returns null if they are no acceptable document.
    static std::unique_ptr<StoreTree> read(std::string&& bytes);

    [[nodiscard]] bool isStore() const override;
    [[nodiscard]] std::string version() const override;
    Change setVersion(const std::string& version) override;
    [[nodiscard]] bool hasRoot() const override { return static_cast<bool>(document_.root()); }
    [[nodiscard]] std::optional<std::string_view> value(const std::string& type, const std::string& name, std::string_view key,
                                                        std::string& buffer) const override;
    [[nodiscard]] std::optional<bool> firstHolderIs(const std::string& type, const std::string& name, std::string_view key,
                                                    std::string_view value) const override;
    void listSections(const std::string& type, const TakeText& take) const override;
    void listKeys(const std::string& type, const std::string& name, const TakeText& take) const override;
    void listValues(const std::string& type, const std::string& name, std::string_view key, const TakeText& take) const override;
    void listRows(const std::string& type, std::span<const std::string_view> keys, const KeyValue* having,
                  const TakeRow& take) const override;
    Change write(const std::string& type, const std::string& name, std::span<const KeyValue> values, bool append) override;
    Change removeKey(const std::string& type, const std::string& name, std::string_view key) override;
    Change removeSections(const std::string& type, const std::string& name) override;
    Change removeType(const std::string& type) override;
    Change renameSection(const std::string& type, const std::string& oldName, const std::string& newName) override;
    Change setInAll(const std::string& type, const KeyValue& value, std::string_view exceptName) override;
    void writeTo(const TakeText& take) const override;
    // Replaces every name, key and value by its decoded text, for reading by people.
    template <class Decode> void decode(Decode&& decode)
    {
        for (const char* path : {".//SN", ".//KN", ".//KV"})
            for (const platform::XmlElement& element : document_.root().select(path))
                if (const std::string text = element.text(); !text.empty()) element.setText(decode(text));
    }

private:
    StoreTree() = default;
    [[nodiscard]] platform::XmlElement findValue(const std::string& type, const std::string& name, std::string_view key) const;
    [[nodiscard]] platform::XmlElement findValue(const std::string& type, const std::string& name, const StoreIndex::Match& found,
                                                 std::string_view key) const;
    [[nodiscard]] std::vector<platform::XmlElement> findEntries(const std::string& type, const std::string& name,
                                                                std::string_view key) const;
    [[nodiscard]] platform::XmlElement appendSection(const std::string& type, const std::string& name); // empty without a root
    void appendEntry(const platform::XmlElement& section, std::string_view key, std::string_view value);
    Change remove(const std::vector<platform::XmlElement>& sections);
    void releaseRemoved();
    void rebuildIndex();

    platform::XmlDocument document_;
    StoreIndex index_;
    mutable EntryFinder entries_;
};

} // namespace mb
