// The registry in one text file. A change locks the registry, reads the file, edits the keys, and replaces the file.
#include "registry.h"
#include "files.h"
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <variant>

namespace platform {
namespace {

namespace fs = std::filesystem;
using Value = std::variant<std::string, std::uint32_t>;

std::string utf8(std::u16string_view text)
{
    const auto u8 = fs::path(text).u8string();
    return {u8.begin(), u8.end()};
}

std::u16string utf16(const std::string& text) { return fs::path(std::u8string(text.begin(), text.end())).u16string(); }

// Compares names ignoring the case of ASCII letters; the names of keys and values used here are ASCII.
struct NoCase {
    bool operator()(const std::string& a, const std::string& b) const noexcept
    {
        auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) < lower(y); });
    }
};
using Values = std::map<std::string, Value, NoCase>;
using Keys = std::map<std::string, Values, NoCase>; // by full path, beginning with the root

std::string rootName(Root root)
{
    switch (root) {
    case Root::ClassesRoot: return "HKEY_CLASSES_ROOT";
    case Root::CurrentUser: return "HKEY_CURRENT_USER";
    case Root::LocalMachine: return "HKEY_LOCAL_MACHINE";
    case Root::Users: return "HKEY_USERS";
    }
    return {};
}

std::string fullPath(Root root, std::u16string_view path)
{
    while (path.ends_with(u'\\')) path.remove_suffix(1);
    return path.empty() ? rootName(root) : rootName(root) + "\\" + utf8(path);
}

std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\\' || c == '"') out += '\\';
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
    return out;
}

// Reads a quoted text that begins at `at`, and moves `at` behind the closing quote.
bool readQuoted(const std::string& line, std::size_t& at, std::string& out)
{
    if (at >= line.size() || line[at] != '"') return false;
    for (++at; at < line.size(); ++at) {
        if (line[at] == '"') {
            ++at;
            return true;
        }
        if (line[at] == '\\' && at + 1 < line.size()) {
            const char c = line[++at];
            out += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
        } else
            out += line[at];
    }
    return false;
}

// Ignores a line that cannot be parsed, so that one bad line does not lose the others.
void readValue(const std::string& line, Values& values)
{
    std::string name, text;
    std::size_t at = 0;
    if (line[0] == '@')
        at = 1;
    else if (!readQuoted(line, at, name))
        return;
    if (at >= line.size() || line[at] != '=') return;
    ++at;
    if (line.compare(at, 6, "dword:") == 0) {
        char* end = nullptr;
        const auto n = std::strtoul(line.c_str() + at + 6, &end, 16);
        if (end != line.c_str() + at + 6) values[name] = static_cast<std::uint32_t>(n);
    } else if (readQuoted(line, at, text))
        values[name] = text;
}

// Thrown if the registry cannot be read. The message names the file.
class Unreadable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void fail(const fs::path& file, const std::string& reason)
{
    throw Unreadable("The registry file \"" + file.native() + "\" cannot be read: " + reason +
                     ". It is left as it is. Correct it, or move it away to begin a new one.");
}

// Returns the file's bytes; empty if the file does not exist.
std::string bytesOf(const fs::path& file)
{
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0 && (errno == ENOENT || errno == ENOTDIR)) return {};
    std::string bytes;
    char piece[1 << 14];
    ssize_t n = fd < 0 ? -1 : 1;
    while (n > 0 || (n < 0 && fd >= 0 && errno == EINTR)) {
        n = ::read(fd, piece, sizeof piece);
        if (n > 0) bytes.append(piece, static_cast<std::size_t>(n));
    }
    const int error = errno;
    if (fd >= 0) ::close(fd);
    if (n < 0) fail(file, std::generic_category().message(error));
    return bytes;
}

// Returns the file's text in UTF-8. An editor or an export of another system may have saved it as UTF-16 with a byte order mark.
std::string contentOf(const fs::path& file)
{
    std::string bytes = bytesOf(file);
    const bool little = bytes.starts_with("\xFF\xFE"), big = bytes.starts_with("\xFE\xFF");
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
    if (little || big) {
        std::u16string units;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
            const auto first = static_cast<unsigned char>(bytes[i]), second = static_cast<unsigned char>(bytes[i + 1]);
            units += static_cast<char16_t>(little ? second << 8 | first : first << 8 | second);
        }
        bool whole = bytes.size() % 2 == 0;
        for (std::size_t i = 0; whole && i < units.size(); ++i)
            if ((units[i] & 0xF800) == 0xD800) {
                whole = (units[i] & 0x0400) == 0 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
                ++i;
            }
        if (!whole) fail(file, "it begins as UTF-16 and is not");
        bytes = utf8(units);
    }
    if (bytes.find('\0') != bytes.npos) fail(file, "it is no text");
    return bytes;
}

Keys load(const fs::path& file)
{
    Keys keys;
    std::istringstream in(contentOf(file));
    std::string line;
    Values* current = nullptr;
    while (std::getline(in, line)) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.size() > 2 && line.front() == '[' && line.back() == ']')
            current = &keys[line.substr(1, line.size() - 2)];
        else if (current && !line.empty())
            readValue(line, *current);
    }
    return keys;
}

// The replaced file keeps its permissions and owner; a link to it stays a link.
bool save(const fs::path& file, const Keys& keys)
{
    std::string text = "Windows Registry Editor Version 5.00\n";
    for (const auto& [path, values] : keys) {
        text += "\n[" + path + "]\n";
        for (const auto& [name, value] : values) {
            text += name.empty() ? "@=" : "\"" + escaped(name) + "\"=";
            if (const auto* n = std::get_if<std::uint32_t>(&value)) {
                char digits[16];
                std::snprintf(digits, sizeof digits, "dword:%08x\n", *n);
                text += digits;
            } else
                text += "\"" + escaped(std::get<std::string>(value)) + "\"\n";
        }
    }
    removeStaleTemporaries(file.parent_path());
    AtomicFile replaced(file);
    replaced.write(text);
    return !replaced.commit();
}

// Creates the folder and its parents, accessible to their owner only. A failure shows when a file in the folder is opened.
void makeFolders(const fs::path& folder)
{
    std::error_code error;
    if (folder.empty() || fs::exists(folder, error)) return;
    makeFolders(folder.parent_path());
    (void)::mkdir(folder.c_str(), 0700);
}

// Locks a separate file during a change, since the registry's file is itself replaced.
class Lock {
public:
    explicit Lock(const fs::path& file)
    {
        makeFolders(file.parent_path());
        fd_ = ::open((file.native() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        while (fd_ >= 0 && ::flock(fd_, LOCK_EX) != 0)
            if (errno != EINTR) {
                ::close(fd_);
                fd_ = -1;
            }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock()
    {
        if (fd_ >= 0) ::close(fd_);
    }
    explicit operator bool() const noexcept { return fd_ >= 0; }

private:
    int fd_ = -1;
};

// Changes nothing if the registry cannot be read; a rewrite would lose the other registrations.
bool change(const std::function<bool(Keys&)>& edit)
{
    const fs::path file = registryFile();
    const Lock lock(file);
    if (!lock) return false;
    try {
        Keys keys = load(file);
        return edit(keys) && save(file, keys);
    } catch (const Unreadable&) {
        return false;
    }
}

// Returns no keys if the registry cannot be read; registryFailure() gives the reason.
Keys present()
{
    try {
        return load(registryFile());
    } catch (const Unreadable&) {
        return {};
    }
}

bool isBelow(const std::string& path, const std::string& key)
{
    if (path.size() <= key.size() || path[key.size()] != '\\') return false;
    const std::string head = path.substr(0, key.size());
    return !NoCase{}(head, key) && !NoCase{}(key, head);
}

bool exists(const Keys& keys, const std::string& path)
{
    if (path.find('\\') == std::string::npos || keys.contains(path)) return true;
    const auto next = keys.upper_bound(path + "\\");
    return next != keys.end() && isBelow(next->first, path);
}

bool addKey(Keys& keys, const std::string& path, bool withParents)
{
    const auto slash = path.rfind('\\');
    if (slash == std::string::npos) return true;
    const std::string parent = path.substr(0, slash);
    if (withParents ? !addKey(keys, parent, true) : !exists(keys, parent)) return false;
    keys[path];
    return true;
}

// Changes the values of an existing key. A key that another process has removed is not created again.
bool changeValues(const std::string& path, const std::function<bool(Values&)>& edit)
{
    return change([&](Keys& keys) {
        const auto key = keys.find(path);
        return key != keys.end() && edit(key->second);
    });
}

} // namespace

std::filesystem::path registryFile()
{
    if (const char* file = std::getenv("MB_REGISTRY"); file && *file) return file;
    if (const char* folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder) return fs::path(folder) / "zorel" / "mbsync.reg";
    const char* home = std::getenv("HOME");
    return fs::path(home && *home ? home : "/") / ".config" / "zorel" / "mbsync.reg";
}

std::string registryFailure()
{
    try {
        (void)load(registryFile());
        return {};
    } catch (const Unreadable& e) {
        return e.what();
    }
}

std::optional<RegistryKey> RegistryKey::open(Root root, std::u16string_view path)
{
    if (!exists(present(), fullPath(root, path))) return std::nullopt;
    return RegistryKey(root, std::u16string(path));
}

std::optional<RegistryKey> RegistryKey::create(Root root, std::u16string_view path)
{
    if (!change([&](Keys& keys) { return addKey(keys, fullPath(root, path), false); })) return std::nullopt;
    return RegistryKey(root, std::u16string(path));
}

bool createKeyPath(Root root, std::u16string_view path)
{
    if (path.substr(0, path.size() - (path.ends_with(u'\\') ? 1 : 0)).find(u'\\') == std::u16string_view::npos) return false;
    return change([&](Keys& keys) { return addKey(keys, fullPath(root, path), true); });
}

bool RegistryKey::remove(Root root, std::u16string_view path)
{
    const std::string key = fullPath(root, path);
    return change([&](Keys& keys) {
        return std::erase_if(keys, [&](const auto& entry) {
                   return isBelow(entry.first, key) || (!NoCase{}(entry.first, key) && !NoCase{}(key, entry.first));
               }) > 0;
    });
}

std::optional<std::u16string> RegistryKey::text(std::u16string_view name) const
{
    const Keys keys = present();
    const auto key = keys.find(fullPath(root_, path_));
    if (key == keys.end()) return std::nullopt;
    const auto value = key->second.find(utf8(name));
    if (value == key->second.end() || !std::holds_alternative<std::string>(value->second)) return std::nullopt;
    return utf16(std::get<std::string>(value->second));
}

std::optional<std::uint32_t> RegistryKey::number(std::u16string_view name) const
{
    const Keys keys = present();
    const auto key = keys.find(fullPath(root_, path_));
    if (key == keys.end()) return std::nullopt;
    const auto value = key->second.find(utf8(name));
    if (value == key->second.end() || !std::holds_alternative<std::uint32_t>(value->second)) return std::nullopt;
    return std::get<std::uint32_t>(value->second);
}

std::vector<std::u16string> RegistryKey::subkeys() const
{
    const Keys keys = present();
    const std::string key = fullPath(root_, path_);
    std::vector<std::u16string> names;
    for (auto at = keys.upper_bound(key + "\\"); at != keys.end() && isBelow(at->first, key); ++at) {
        const auto end = at->first.find('\\', key.size() + 1);
        const std::u16string name = utf16(at->first.substr(key.size() + 1, end == std::string::npos ? end : end - key.size() - 1));
        if (names.empty() || names.back() != name) names.push_back(name);
    }
    return names;
}

bool RegistryKey::setText(std::u16string_view name, std::u16string_view value) const
{
    return changeValues(fullPath(root_, path_), [&](Values& values) {
        values[utf8(name)] = utf8(value);
        return true;
    });
}

bool RegistryKey::setNumber(std::u16string_view name, std::uint32_t value) const
{
    return changeValues(fullPath(root_, path_), [&](Values& values) {
        values[utf8(name)] = value;
        return true;
    });
}

bool RegistryKey::removeValue(std::u16string_view name) const
{
    return changeValues(fullPath(root_, path_), [&](Values& values) { return values.erase(utf8(name)) > 0; });
}

} // namespace platform
