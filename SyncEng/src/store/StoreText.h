// A store's content as the text of its file, for a file in exactly the form that this program writes: no declaration, no white space, no
// entity, and each section once. Sections are found by an index and read where they stand; a changed section has a text of its own, and
// a save copies the others.
#pragma once
#include "store/StoreContent.h"
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace mb {

class StoreText final : public StoreContent {
public:
    // Takes over the bytes. Returns null, and leaves them as they are, if they are in any other form.
    static std::unique_ptr<StoreText> read(std::string& bytes);
    // A store without sections and without a version.
    static std::unique_ptr<StoreText> create();
    // Whether a section of the type can be written in this form. One that cannot needs a StoreTree.
    static bool canHold(std::string_view type);

    [[nodiscard]] bool isStore() const override { return true; }
    [[nodiscard]] std::string version() const override { return version_; }
    Change setVersion(const std::string& version) override;
    [[nodiscard]] bool hasRoot() const override { return true; }
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

private:
    // Lookups walk over the keys of a section, so a section of more keys needs a StoreTree, which has an index of them.
    static constexpr std::uint32_t mostKeys = 256;
    static constexpr std::uint32_t none = UINT32_MAX;
    struct Section {
        std::string_view text;            // from <Sc> to </Sc>: in `own`, or of an unchanged section in bytes_
        std::unique_ptr<char[]> own;      // the text of a changed section
        std::uint32_t type = 0, hash = 0; // a number; of type and name
        std::uint32_t next = none;        // the next section with the same slot
        std::uint32_t keys = 0;
        bool removed = false;
    };

    StoreText() = default;
    bool index();
    std::uint32_t numberOf(std::string_view type);
    [[nodiscard]] std::uint32_t knownNumber(std::string_view type) const;
    [[nodiscard]] const Section* find(std::string_view type, std::string_view name) const;
    Section* find(std::string_view type, std::string_view name);
    bool link(std::uint32_t section);
    void unlink(std::uint32_t section);
    void relink();
    void remove(Section& section);
    template <class Visit> void eachOfType(std::string_view type, Visit&& visit) const;
    Section& addSection(const std::string& type, const std::string& name);
    static void replace(Section& section, std::size_t begin, std::size_t length, std::string_view with);
    static bool overwrite(Section& section, const KeyValue& value, Change& change);
    static void append(Section& section, std::string_view keys, std::size_t count);

    std::string bytes_;
    std::string version_;
    std::vector<Section> sections_;
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    };
    std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> numbers_; // by type
    std::vector<std::string_view> types_;                                               // by number
    std::vector<std::uint32_t> slots_;                                                  // the first section of each slot
    std::size_t living_ = 0;                                                            // sections that are not removed
};

} // namespace mb
