// One store file: types, sections within a type, and keys within a section, each key with a text value. Its XML document is the truth,
// the index beside it makes it fast. A write that carries the save flag saves the whole file, atomically; inside a SaveScope such saves
// are put off and done once at its end. A save with nothing to say is none.
#pragma once
#include "com.h"
#include "store/EntryFinder.h"
#include "store/StoreIndex.h"
#include "store/StoreLock.h"
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mb {

inline constexpr LONG currentStoreVersion = 4;
// The result of opening a store that a later version of the program wrote: ERROR_UNKNOWN_REVISION.
inline constexpr HRESULT storeOfLaterVersion = static_cast<HRESULT>(0x80070519);

// The two characters that stand in place of the quotes in a type: they would break the expressions. Decoding reverses it.
std::u16string EscapeTypeName(std::u16string_view type, bool encode);

class StoreFile {
public:
    StoreFile() = default;
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    // Without the create flag a missing file leaves no document open and is no failure; a damaged one is a failure. With the flag
    // either becomes an empty store; the bytes of a damaged file are first kept beside it as NAME.damaged, and where that fails the
    // open fails.
    // A file that cannot be read, and one of a later version (storeOfLaterVersion), are a failure with the flag and without it, and are
    // left as they are: what they hold must neither read as nothing nor be replaced.
    HRESULT Open(const std::filesystem::path& path, bool create);
    // As Open with the flag, for a file that several processes change. From then on each change, and each SaveScope as a whole, takes the
    // lock of the file, reads the file again if it is another one than was read or saved last, and saves before it releases the lock. A
    // change that cannot do so fails and changes nothing.
    HRESULT OpenShared(const std::filesystem::path& path);
    // Takes over what other processes have saved in a shared file. What this one has not saved is dropped if there is any of theirs.
    HRESULT Refresh();
    // Why the last Open failed: a sentence for the user that names the file, also written to the log. Empty where the failure is the
    // caller's, or where there was none.
    [[nodiscard]] const std::u16string& openFailure() const noexcept { return openFailure_; }
    HRESULT Save(bool release = false);
    HRESULT Close();
    // Drops the document and deletes the file; 0 or the system's error number.
    HRESULT DeleteStoreFile();
    [[nodiscard]] bool isOpen() const noexcept { return document_.has_value(); }
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    HRESULT GetVersion(LONG& version) const;
    HRESULT SetVersion(LONG version);

    // An absent key is E_FAIL with an empty text; the numbers keep their value then.
    HRESULT ReadValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string& value) const;
    HRESULT ReadInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG& value) const;
    HRESULT ReadDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double& value) const;
    HRESULT ReadGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, GUID& value) const;

    // With the append flag a further entry of the key is made, else the first one is overwritten.
    HRESULT WriteValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                       bool append, bool save);
    HRESULT WriteInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG value, bool append, bool save);
    HRESULT WriteDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double value, bool append,
                        bool save);
    HRESULT WriteGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, const GUID& value, bool append,
                      bool save);

    // WriteValue for up to four keys of one section, which is looked for once; more are E_INVALIDARG. The keys differ.
    struct KeyValue {
        std::string_view encodedKey;
        std::u16string_view value;
    };
    HRESULT WriteValues(std::u16string_view type, std::u16string_view section, std::initializer_list<KeyValue> values, bool append,
                        bool save);

    HRESULT RemoveKey(std::u16string_view type, std::u16string_view section, std::u16string_view key);
    HRESULT RemoveSection(std::u16string_view type, std::u16string_view section, bool save); // one that does not exist is no error
    HRESULT RemoveType(std::u16string_view type);
    HRESULT RenameSection(std::u16string_view type, std::u16string_view oldSection, std::u16string_view newSection, bool save);

    // Wanted: only the first key under the value is looked at.
    HRESULT KeyHasValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                        VARIANT_BOOL& has) const;
    HRESULT ListSections(std::u16string_view type, std::vector<std::u16string>& names) const;
    HRESULT ListKeys(std::u16string_view type, std::u16string_view section, std::vector<std::u16string>& keys) const;
    HRESULT ListValues(std::u16string_view type, std::u16string_view section, std::u16string_view key,
                       std::vector<std::u16string>& values) const;
    // Sets FieldMapChanged in every section of the type but SyncInfo.
    HRESULT SetFlagInAllSections(std::u16string_view type, LONG flag, bool save);

    // The sections of a type in document order, for readers that walk them all.
    [[nodiscard]] std::vector<platform::XmlElement> sectionsOfType(std::u16string_view type) const;
    // The sections that hold the key with the value, in document order.
    [[nodiscard]] std::vector<platform::XmlElement> sectionsWithValue(std::u16string_view type, std::u16string_view key,
                                                                      std::u16string_view value) const;
    // Whether a section has the key; all three as they stand in the document.
    [[nodiscard]] bool hasEncodedKey(const std::string& type, const std::string& name, std::string_view key) const;
    // Goes back to what the file holds: what was written and not saved is forgotten.
    HRESULT Revert();

    // Writes the document with all names and values decoded, for people to read; nothing where there is none.
    HRESULT ExportDecoded(const std::filesystem::path& target);

private:
    friend class SaveScope;
    // A change of a shared file, from its lock on; of another file, nothing. Changes may be nested. Requires of each writer: result() is
    // success.
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
        HRESULT reason = S_OK; // of an unreadable file
        LONG version = -1;     // of a file of a later version
    };
    struct SectionKey {
        std::string type, name; // as they stand in the document
    };
    static SectionKey sectionKey(std::u16string_view type, std::u16string_view section);
    [[nodiscard]] platform::XmlElement findValue(const SectionKey& section, std::string_view key) const;
    [[nodiscard]] std::vector<platform::XmlElement> findEntries(const SectionKey& section, std::string_view key) const;
    [[nodiscard]] platform::XmlElement findValue(const SectionKey& section, const StoreIndex::Match& found, std::string_view key) const;
    void findValues(const SectionKey& section, const StoreIndex::Match& found, std::span<const std::string_view> keys,
                    std::span<platform::XmlElement> values) const;
    [[nodiscard]] platform::XmlElement appendSection(const SectionKey& place); // none in a document without a root
    void appendEntry(const platform::XmlElement& section, std::string_view key, std::string_view value);
    void removeSections(const std::vector<platform::XmlElement>& sections);
    void releaseRemoved();
    Found load();
    Found read(std::string bytes, platform::XmlDocument& document);
    HRESULT openFound(const Found& found);
    HRESULT write();
    HRESULT createEmpty(bool damaged);
    HRESULT failToOpen(HRESULT hr, std::u16string sentence);
    HRESULT saved(bool save); // the end of an operation that changed the document
    void rebuildIndex();

    std::filesystem::path path_;
    std::u16string openFailure_;
    std::optional<platform::XmlDocument> document_;
    StoreIndex index_;
    mutable EntryFinder entries_;
    bool dirty_ = false; // the document is ahead of the file
    int scopes_ = 0;
    bool saveWanted_ = false;

    bool shared_ = false;
    std::string lastBytes_; // of a shared file: what was read or saved last
    StoreLock lock_;
    int changes_ = 0;
    HRESULT changeResult_ = S_OK; // of the change that is open
};

// A type as it stands in the document, where no text holds a zero.
std::string encodedType(std::u16string_view type);

// "%.15f", whatever the locale: how a store holds a number with a fraction.
std::u16string fixedPoint(double value);

// Puts the saves of a store off to its own end: many writes, one file written.
class SaveScope {
public:
    explicit SaveScope(StoreFile& store) noexcept : store_(store), change_(store) { ++store_.scopes_; }
    SaveScope(const SaveScope&) = delete;
    SaveScope& operator=(const SaveScope&) = delete;
    ~SaveScope() { (void)finish(); }
    // The result of the save, if one was asked for.
    HRESULT finish() noexcept;

private:
    StoreFile& store_;
    StoreFile::Change change_;
    bool finished_ = false;
};

// What Ky[KN = K]/KV answers inside one section, for several keys in one walk: the element of the first value, left none if it is absent.
void valuesInSection(const platform::XmlElement& section, std::span<const std::string_view> encodedKeys,
                     std::span<platform::XmlElement> values);

// The value that an element of a store holds, decoded.
std::u16string decodedText(const platform::XmlElement& element);
// Until the section or the buffer changes.
std::string_view encodedNameOf(const platform::XmlElement& section, std::string& buffer);
// Wanted: names of sections that differ in case only are alike here, although their encoding tells case apart.
bool sameEncodedName(std::string_view a, std::string_view b);

} // namespace mb
