// What a store file holds: sections, each with a type and a name, and in a section keys with values, in the order of the file. All texts
// are as in the file: types with their quotes escaped, names, keys and values in Base64.
//
// There are two forms of it. StoreText is the text of a file that this program wrote; StoreTree is a document of any other file. Their
// answers are the same.
#pragma once
#include <array>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace mb {

class StoreContent {
public:
    StoreContent() = default;
    StoreContent(const StoreContent&) = delete;
    StoreContent& operator=(const StoreContent&) = delete;
    virtual ~StoreContent() = default;

    struct KeyValue {
        std::string_view key, value;
    };
    // A section, and the first value of each wanted key. Valid until the callback returns.
    static constexpr std::size_t mostInRow = 3;
    struct Row {
        std::string_view name;
        std::array<std::optional<std::string_view>, mostInRow> values;
    };
    using TakeText = std::function<void(std::string_view)>;
    using TakeRow = std::function<void(const Row&)>;
    // NeedsTree: nothing was changed, because this form cannot hold the change. A StoreTree never says so.
    enum class Change { None, Made, Impossible, NeedsTree };

    // Whether the root has a store's name. No section is found under any other root.
    [[nodiscard]] virtual bool isStore() const = 0;
    // The version that the root names, whatever its name is; empty if it names none.
    [[nodiscard]] virtual std::string version() const = 0;
    virtual Change setVersion(const std::string& version) = 0;
    // Whether the file has anything to save: a document without a root has not.
    [[nodiscard]] virtual bool hasRoot() const = 0;

    // The first value of the key. `buffer` may hold the text; it is valid until then, or until a change.
    [[nodiscard]] virtual std::optional<std::string_view> value(const std::string& type, const std::string& name, std::string_view key,
                                                                std::string& buffer) const = 0;
    // Whether the first key that has the value is `key`; nullopt if no key has it.
    [[nodiscard]] virtual std::optional<bool> firstHolderIs(const std::string& type, const std::string& name, std::string_view key,
                                                            std::string_view value) const = 0;
    virtual void listSections(const std::string& type, const TakeText& take) const = 0;
    virtual void listKeys(const std::string& type, const std::string& name, const TakeText& take) const = 0;
    virtual void listValues(const std::string& type, const std::string& name, std::string_view key, const TakeText& take) const = 0;
    // The sections of the type, or those of them that have the key with the value. Requires: at most mostInRow keys.
    virtual void listRows(const std::string& type, std::span<const std::string_view> keys, const KeyValue* having,
                          const TakeRow& take) const = 0;

    // Overwrites the first value of each key, or adds the key; with `append` it is always added. A missing section is made.
    virtual Change write(const std::string& type, const std::string& name, std::span<const KeyValue> values, bool append) = 0;
    virtual Change removeKey(const std::string& type, const std::string& name, std::string_view key) = 0;
    virtual Change removeSections(const std::string& type, const std::string& name) = 0;
    virtual Change removeType(const std::string& type) = 0;
    // Renames the first section of the name. Impossible if there is none.
    virtual Change renameSection(const std::string& type, const std::string& oldName, const std::string& newName) = 0;
    // Sets the key in each section of the type but those with this name.
    virtual Change setInAll(const std::string& type, const KeyValue& value, std::string_view exceptName) = 0;

    // Hands out the file's bytes, piece by piece.
    virtual void writeTo(const TakeText& take) const = 0;
    [[nodiscard]] std::string bytes() const
    {
        std::string all;
        writeTo([&](std::string_view piece) { all += piece; });
        return all;
    }
};

// Quirk kept on purpose: encoded names that differ only in case count as equal, although Base64 is case-sensitive.
bool sameEncodedName(std::string_view a, std::string_view b);

} // namespace mb
