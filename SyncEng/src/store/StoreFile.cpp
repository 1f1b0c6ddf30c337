#include "store/StoreFile.h"

#include "files.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/CBase64.h"
#include "store/FileResult.h"
#include "store/StoreText.h"
#include "store/StoreTree.h"
#include "store/StoreVersion.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace mb {
namespace {

constexpr std::uint64_t largestStore = std::uint64_t(1) << 30;
constexpr HRESULT guidTextAccepted = static_cast<HRESULT>(0x80040151);

void replaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::u16string::npos; at += to.size()) text.replace(at, from.size(), to);
}

std::u16string decimal(LONG value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

const std::string& syncInfoName()
{
    static const std::string name = encodeBase64(u"SyncInfo");
    return name;
}

// Returns the first unused name of NAME.ending, NAME.ending.2, NAME.ending.3, ..., so that no kept file is overwritten.
std::filesystem::path freeNameBeside(const std::filesystem::path& path, const char* ending)
{
    std::filesystem::path first = path;
    first += ending;
    std::filesystem::path name = first;
    std::error_code unknown;
    for (int i = 2; std::filesystem::exists(std::filesystem::symlink_status(name, unknown)); ++i) {
        name = first;
        name += "." + std::to_string(i);
    }
    return name;
}

} // namespace

std::u16string EscapeTypeName(std::u16string_view type, bool encode)
{
    std::u16string out(type);
    if (encode) {
        replaceAll(out, u"'", u"&apos;");
        replaceAll(out, u"\"", u"&quot;");
    } else {
        replaceAll(out, u"&apos;", u"'");
        replaceAll(out, u"&quot;", u"\"");
    }
    return out;
}

std::string encodedType(std::u16string_view type)
{
    type = type.substr(0, type.find(u'\0'));
    return type.find_first_of(u"'\"") == type.npos ? platform::utf8(type) : platform::utf8(EscapeTypeName(type, true));
}

std::u16string fixedPoint(double value)
{
    char buffer[400];
    const auto end = std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed, 15).ptr;
    return {buffer, end};
}

std::u16string decodedText(std::string_view encoded) { return encoded.empty() ? std::u16string() : decodeBase64(encoded); }

bool sameEncodedName(std::string_view a, std::string_view b)
{
    const auto low = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(a, b, {}, low, low);
}

// ---- The file ----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::Open(const std::filesystem::path& path, bool create)
{
    openFailure_.clear();
    if (path.empty()) return E_FAIL;
    path_ = path;
    Found found = load();
    if (found.state != FileState::missing && found.state != FileState::damaged) return openFound(found);
    if (!create) return found.state == FileState::damaged ? E_FAIL : S_OK;
    const Change change(*this);
    if (FAILED(change.result())) return failToOpen(change.result(), lock_.failure());
    if (shared_) found = load(); // another process may have created the file by now
    if (found.state != FileState::missing && found.state != FileState::damaged) return openFound(found);
    const HRESULT hr = createEmpty(found.state == FileState::damaged);
    return SUCCEEDED(hr) ? hr
                         : failToOpen(hr, Format(LoadText(Text::StoreNotCreated), platform::textOf(path_), platform::systemMessage(hr)));
}

HRESULT StoreFile::openFound(const Found& found)
{
    const std::u16string name = platform::textOf(path_);
    switch (found.state) {
    case FileState::later:
        return failToOpen(storeOfLaterVersion, Format(LoadText(Text::StoreOfLaterVersion), name, found.version, currentStoreVersion));
    case FileState::unreadable:
        return failToOpen(found.reason, Format(LoadText(Text::StoreUnreadable), name, platform::systemMessage(found.reason)));
    case FileState::damaged: return E_FAIL;
    default: return S_OK;
    }
}

HRESULT StoreFile::failToOpen(HRESULT hr, std::u16string sentence)
{
    WriteLogText(logFailures, u"%s", sentence);
    openFailure_ = std::move(sentence);
    return hr;
}

// Loads the file. Without success no content is open.
StoreFile::Found StoreFile::load()
{
    content_.reset();
    dirty_ = false;
    std::error_code error;
    std::string bytes = platform::readFile(path_, error, largestStore);
    if (error == std::errc::no_such_file_or_directory) return {FileState::missing};
    if (error == std::errc::file_too_large) return {FileState::damaged};
    if (error) return {FileState::unreadable, readingResultOf(error)};
    return read(std::move(bytes), content_);
}

// Reads the file's bytes. Without success `content` stays as it is.
StoreFile::Found StoreFile::read(std::string bytes, std::unique_ptr<StoreContent>& content)
{
    const LONG announced = announcedVersion(bytes);
    if (shared_) lastBytes_ = bytes;
    std::unique_ptr<StoreContent> found = StoreText::read(bytes);
    if (!found) found = StoreTree::read(std::move(bytes));
    const LONG version = found ? versionFrom(found->version()) : announced;
    if (version > currentStoreVersion) return {FileState::later, S_OK, version};
    if (!found) return {FileState::damaged};
    content = std::move(found);
    return {FileState::loaded};
}

// Renames a damaged file, and renames it back if the empty store cannot be written.
HRESULT StoreFile::createEmpty(bool damaged)
{
    std::error_code error;
    const std::filesystem::path kept = freeNameBeside(path_, ".damaged");
    const bool inTheWay = damaged && platform::fileExists(path_) && std::filesystem::file_size(path_, error) != 0;
    if (inTheWay) {
        std::filesystem::rename(path_, kept, error);
        if (error) return resultOf(error);
    }
    content_ = StoreText::create();
    dirty_ = true;
    HRESULT hr = SetVersion(currentStoreVersion);
    if (SUCCEEDED(hr)) hr = Save();
    if (SUCCEEDED(hr)) return hr;
    content_.reset();
    dirty_ = false;
    if (inTheWay && !platform::fileExists(path_)) std::filesystem::rename(kept, path_, error);
    return hr;
}

HRESULT StoreFile::Revert()
{
    if (!isOpen()) return E_POINTER;
    return !dirty_ || load().state == FileState::loaded ? S_OK : E_FAIL;
}

HRESULT StoreFile::Save(bool release)
{
    if (!isOpen()) return E_POINTER;
    HRESULT hr = S_OK;
    if (scopes_ > 0 && !release) {
        saveWanted_ = true;
        return S_OK;
    }
    if (dirty_ || (content_->hasRoot() && !platform::fileExists(path_))) hr = write();
    if (release) content_.reset();
    return hr;
}

HRESULT StoreFile::write()
{
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    if (!dirty_ && platform::fileExists(path_)) return S_OK; // Refresh() replaced the unsaved changes by another process's file
    platform::AtomicFile file(path_);
    std::string bytes;
    content_->writeTo([&](std::string_view piece) {
        file.write(piece);
        if (shared_) bytes += piece;
    });
    const HRESULT hr = resultOf(file.commit());
    if (FAILED(hr)) return hr;
    dirty_ = false;
    lastBytes_ = std::move(bytes);
    return hr;
}

HRESULT StoreFile::Close()
{
    const HRESULT hr = isOpen() ? Save(true) : S_OK;
    path_.clear();
    return hr;
}

HRESULT StoreFile::DeleteStoreFile()
{
    if (!isOpen()) return E_POINTER;
    content_.reset();
    dirty_ = false;
    std::error_code error;
    if (!std::filesystem::remove(path_, error) && !error) error = std::make_error_code(std::errc::no_such_file_or_directory);
    return error.value();
}

HRESULT SaveScope::finish() noexcept
{
    if (std::exchange(finished_, true) || --store_.scopes_ > 0) return change_.result();
    if (!std::exchange(store_.saveWanted_, false)) return change_.result();
    return com::guarded([&] { return store_.Save(); });
}

HRESULT StoreFile::GetVersion(LONG& version) const
{
    version = -1;
    if (!isOpen() || !content_->isStore()) return E_FAIL;
    const std::string text = content_->version();
    version = versionFrom(text);
    return text.empty() ? S_FALSE : S_OK;
}

HRESULT StoreFile::SetVersion(LONG version)
{
    return change(true, [&] { return content_->setVersion(std::to_string(version)); });
}

// Makes a change under the file's lock, and saves the file if `save` is set.
template <class Make> HRESULT StoreFile::change(bool save, Make&& make)
{
    if (!isOpen()) return E_POINTER;
    const Change locked(*this);
    if (FAILED(locked.result())) return locked.result();
    StoreContent::Change made = make();
    if (made == StoreContent::Change::NeedsTree) {
        auto tree = StoreTree::read(content_->bytes());
        if (!tree) return E_FAIL;
        content_ = std::move(tree);
        made = make();
    }
    if (made == StoreContent::Change::Impossible) return E_FAIL;
    if (made == StoreContent::Change::Made) dirty_ = true;
    return save ? Save() : S_OK;
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

bool StoreFile::hasEncodedKey(const std::string& type, const std::string& name, std::string_view key) const
{
    std::string buffer;
    return isOpen() && content_->value(type, name, key, buffer);
}

void StoreFile::listRows(std::u16string_view type, std::span<const std::string_view> encodedKeys, const StoreContent::TakeRow& take) const
{
    if (isOpen()) content_->listRows(encodedType(type), encodedKeys, nullptr, take);
}

void StoreFile::listRowsHaving(std::u16string_view type, std::u16string_view key, std::u16string_view value,
                               std::span<const std::string_view> encodedKeys, const StoreContent::TakeRow& take) const
{
    const std::string encodedKey = encodeBase64(key), encodedValue = encodeBase64(value);
    const StoreContent::KeyValue having{encodedKey, encodedValue};
    if (isOpen()) content_->listRows(encodedType(type), encodedKeys, &having, take);
}

HRESULT StoreFile::ReadValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string& value) const
{
    value.clear();
    if (!isOpen()) return E_POINTER;
    std::string buffer;
    const auto found = content_->value(encodedType(type), encodeBase64(section), encodeBase64(key), buffer);
    if (!found) return E_FAIL;
    value = decodedText(*found);
    return S_OK;
}

HRESULT StoreFile::ReadInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (SUCCEEDED(hr)) value = platform::toInt(text);
    return hr;
}

HRESULT StoreFile::ReadDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (SUCCEEDED(hr)) value = platform::toDouble(text);
    return hr;
}

HRESULT StoreFile::ReadGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, GUID& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (FAILED(hr)) return hr;
    const HRESULT parsed = com::parseGuid(text, &value);
    return SUCCEEDED(parsed) || parsed == guidTextAccepted ? S_OK : parsed;
}

HRESULT StoreFile::KeyHasValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                               VARIANT_BOOL& has) const
{
    has = VARIANT_FALSE;
    if (!isOpen()) return E_POINTER;
    const auto same = content_->firstHolderIs(encodedType(type), encodeBase64(section), encodeBase64(key), encodeBase64(value));
    if (!same) return S_FALSE;
    if (*same) has = VARIANT_TRUE;
    return S_OK;
}

namespace {

// Appends the decoded form of each text that it is given.
auto decodedInto(std::vector<std::u16string>& texts)
{
    return [&texts](std::string_view encoded) { texts.push_back(decodedText(encoded)); };
}

} // namespace

HRESULT StoreFile::ListSections(std::u16string_view type, std::vector<std::u16string>& names) const
{
    names.clear();
    if (!isOpen()) return E_POINTER;
    content_->listSections(encodedType(type), decodedInto(names));
    return S_OK;
}

HRESULT StoreFile::ListKeys(std::u16string_view type, std::u16string_view section, std::vector<std::u16string>& keys) const
{
    keys.clear();
    if (!isOpen()) return E_POINTER;
    content_->listKeys(encodedType(type), encodeBase64(section), decodedInto(keys));
    return S_OK;
}

HRESULT StoreFile::ListValues(std::u16string_view type, std::u16string_view section, std::u16string_view key,
                              std::vector<std::u16string>& values) const
{
    values.clear();
    if (!isOpen()) return E_POINTER;
    content_->listValues(encodedType(type), encodeBase64(section), encodeBase64(key), decodedInto(values));
    return S_OK;
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::WriteValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                              bool append, bool save)
{
    const std::string encodedKey = encodeBase64(key);
    return WriteValues(type, section, {{encodedKey, value}}, append, save);
}

HRESULT StoreFile::WriteValues(std::u16string_view type, std::u16string_view section, std::initializer_list<KeyValue> values, bool append,
                               bool save)
{
    if (isOpen() && values.size() > mostAtOnce) return E_INVALIDARG;
    const std::string encoded = encodedType(type), name = encodeBase64(section);
    std::array<std::string, mostAtOnce> texts;
    std::array<StoreContent::KeyValue, mostAtOnce> encodedValues;
    for (std::size_t i = 0; i < values.size(); ++i) {
        texts[i] = encodeBase64(values.begin()[i].value);
        encodedValues[i] = {values.begin()[i].encodedKey, texts[i]};
    }
    return change(save, [&] { return content_->write(encoded, name, std::span(encodedValues).first(values.size()), append); });
}

HRESULT StoreFile::WriteInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG value, bool append,
                            bool save)
{
    return WriteValue(type, section, key, decimal(value), append, save);
}

HRESULT StoreFile::WriteDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double value, bool append,
                               bool save)
{
    return WriteValue(type, section, key, fixedPoint(value), append, save);
}

HRESULT StoreFile::WriteGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, const GUID& value, bool append,
                             bool save)
{
    return WriteValue(type, section, key, com::guidText(value), append, save);
}

HRESULT StoreFile::RemoveKey(std::u16string_view type, std::u16string_view section, std::u16string_view key)
{
    return change(true, [&] { return content_->removeKey(encodedType(type), encodeBase64(section), encodeBase64(key)); });
}

HRESULT StoreFile::RemoveSection(std::u16string_view type, std::u16string_view section, bool save)
{
    return change(save, [&] { return content_->removeSections(encodedType(type), encodeBase64(section)); });
}

HRESULT StoreFile::RemoveType(std::u16string_view type)
{
    return change(true, [&] { return content_->removeType(encodedType(type)); });
}

HRESULT StoreFile::RenameSection(std::u16string_view type, std::u16string_view oldSection, std::u16string_view newSection, bool save)
{
    return change(save, [&] { return content_->renameSection(encodedType(type), encodeBase64(oldSection), encodeBase64(newSection)); });
}

HRESULT StoreFile::SetFlagInAllSections(std::u16string_view type, LONG flag, bool save)
{
    const std::string key = encodeBase64(u"FieldMapChanged"), value = encodeBase64(flag == 1 ? u"1" : u"0");
    return change(save, [&] { return content_->setInAll(encodedType(type), {key, value}, syncInfoName()); });
}

} // namespace mb
