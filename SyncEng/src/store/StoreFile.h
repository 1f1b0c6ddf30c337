// A store file: types, sections of a type, and keys of a section with text values. A write with the save flag saves the whole file
// atomically; a SaveScope combines such saves into one at its end. A save without changes writes nothing.
#pragma once
#include "com.h"
#include "store/StoreContent.h"
#include "store/StoreLock.h"
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace mb {

inline constexpr LONG currentStoreVersion = 4;
// Returned by Open for a store that a later version of the program wrote: ERROR_UNKNOWN_REVISION.
inline constexpr HRESULT storeOfLaterVersion = static_cast<HRESULT>(0x80070519);

// Replaces quotes in a type by &apos; and &quot;, since quotes would break XPath expressions; with encode == false replaces them back.
std::u16string EscapeTypeName(std::u16string_view type, bool encode);

class StoreFile {
public:
    StoreFile() = default;
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    // Opens the file. Without `create`, a missing file leaves the store closed and succeeds; a damaged file fails. With `create`, both
    // become an empty store; a damaged file is first kept as NAME.damaged, and Open fails if that is not possible. A file that cannot be
    // read, or that has a later version (storeOfLaterVersion), always fails and is never replaced.
    HRESULT Open(const std::filesystem::path& path, bool create);
    // Opens a file that several processes change, as Open with `create`. From then on each change, and each SaveScope as a whole, takes the
    // file's lock, reloads the file if another process has saved it, and releases the lock after its save. If the lock or the reload fails,
    // the change fails and has no effect.
    HRESULT OpenShared(const std::filesystem::path& path);
    // Reloads a shared file if another process has saved it. Changes of this process that are not saved are then lost.
    HRESULT Refresh();
    // A sentence for the user that names the file and says why the last Open failed; also written to the log. Empty if it succeeded or the
    // caller was at fault.
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return openFailure_; }
    HRESULT Save(bool release = false);
    HRESULT Close();
    // Closes the store and deletes the file. Returns 0 or the system's error number.
    HRESULT DeleteStoreFile();
    [[nodiscard]] bool isOpen() const noexcept { return content_ != nullptr; }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    HRESULT GetVersion(LONG& version) const;
    HRESULT SetVersion(LONG version);

    // If the key is absent, these return E_FAIL; ReadValue then clears `value`, the others keep it.
    HRESULT ReadValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string& value) const;
    HRESULT ReadInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG& value) const;
    HRESULT ReadDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double& value) const;
    HRESULT ReadGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, GUID& value) const;

    // With `append` a further entry of the key is added; otherwise the first entry is overwritten.
    HRESULT WriteValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                       bool append, bool save);
    HRESULT WriteInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG value, bool append, bool save);
    HRESULT WriteDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double value, bool append,
                        bool save);
    HRESULT WriteGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, const GUID& value, bool append,
                      bool save);

    // WriteValue for several keys of one section with one lookup. Returns E_INVALIDARG for more than four keys. Requires: the keys differ.
    struct KeyValue {
        std::string_view encodedKey;
        std::u16string_view value;
    };
    HRESULT WriteValues(std::u16string_view type, std::u16string_view section, std::initializer_list<KeyValue> values, bool append,
                        bool save);

    HRESULT RemoveKey(std::u16string_view type, std::u16string_view section, std::u16string_view key);
    HRESULT RemoveSection(std::u16string_view type, std::u16string_view section, bool save); // a missing section is no error
    HRESULT RemoveType(std::u16string_view type);
    HRESULT RenameSection(std::u16string_view type, std::u16string_view oldSection, std::u16string_view newSection, bool save);

    // Returns S_FALSE if no key has the value. Quirk kept on purpose: only the first key with the value is compared.
    HRESULT KeyHasValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                        VARIANT_BOOL& has) const;
    HRESULT ListSections(std::u16string_view type, std::vector<std::u16string>& names) const;
    HRESULT ListKeys(std::u16string_view type, std::u16string_view section, std::vector<std::u16string>& keys) const;
    HRESULT ListValues(std::u16string_view type, std::u16string_view section, std::u16string_view key,
                       std::vector<std::u16string>& values) const;
    // Sets FieldMapChanged in every section of the type except SyncInfo.
    HRESULT SetFlagInAllSections(std::u16string_view type, LONG flag, bool save);

    // Hands out the sections of a type in the order of the file, with the first value of each of some keys; all encoded as in the file.
    void listRows(std::u16string_view type, std::span<const std::string_view> encodedKeys, const StoreContent::TakeRow& take) const;
    // Those of them that have `key` with `value`.
    void listRowsHaving(std::u16string_view type, std::u16string_view key, std::u16string_view value,
                        std::span<const std::string_view> encodedKeys, const StoreContent::TakeRow& take) const;
    // Returns whether a section has the key. The arguments are encoded as in the document.
    [[nodiscard]] bool hasEncodedKey(const std::string& type, const std::string& name, std::string_view key) const;
    // Reloads the file and so discards changes that were not saved.
    HRESULT Revert();

    // Writes the document with all names and values decoded, for reading by people. Does nothing if there is no document.
    HRESULT ExportDecoded(const std::filesystem::path& target);

private:
    friend class SaveScope;
    // Locks a shared file for a change and reloads it; does nothing for other files. Changes may be nested. Requires: the writer continues
    // only if result() is success.
    class Change {
    public:
        explicit Change(StoreFile& store) noexcept : store_(store) { store_.beginChange(); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        ~Change() { store_.endChange(); }
        [[nodiscard]] HRESULT result() const noexcept { return store_.changeResult_; }

    private:
        StoreFile& store_;
    };
    void beginChange() noexcept;
    void endChange() noexcept;
    static constexpr std::size_t mostAtOnce = 4;
    enum class FileState { loaded, missing, unreadable, later, damaged };
    struct Found {
        FileState state;
        HRESULT reason = S_OK; // for state `unreadable`
        LONG version = -1;     // for state `later`
    };
    template <class Make> HRESULT change(bool save, Make&& make);
    Found load();
    Found read(std::string bytes, std::unique_ptr<StoreContent>& content);
    HRESULT openFound(const Found& found);
    HRESULT write();
    HRESULT createEmpty(bool damaged);
    HRESULT failToOpen(HRESULT hr, std::u16string sentence);

    std::filesystem::path path_;
    std::u16string openFailure_;
    std::unique_ptr<StoreContent> content_;
    bool dirty_ = false; // the content has changes that are not saved
    int scopes_ = 0;
    bool saveWanted_ = false;

    bool shared_ = false;
    std::string lastBytes_; // of a shared file: the bytes read or saved last
    StoreLock lock_;
    int changes_ = 0;
    HRESULT changeResult_ = S_OK; // of the outermost change
};

// Returns a type as it is stored in the document: quotes escaped, cut at the first zero.
std::string encodedType(std::u16string_view type);

// Formats a number as "%.15f" in every locale: the store's form of a fraction.
std::u16string fixedPoint(double value);

// Combines all saves of a store during its life into one save at its end.
class SaveScope {
public:
    explicit SaveScope(StoreFile& store) noexcept : store_(store), change_(store) { ++store_.scopes_; }
    SaveScope(const SaveScope&) = delete;
    SaveScope& operator=(const SaveScope&) = delete;
    ~SaveScope() { (void)finish(); }
    // Saves if a save was requested and returns its result.
    HRESULT finish() noexcept;

private:
    StoreFile& store_;
    StoreFile::Change change_;
    bool finished_ = false;
};

// Decodes a name or a value of a store.
std::u16string decodedText(std::string_view encoded);

} // namespace mb
