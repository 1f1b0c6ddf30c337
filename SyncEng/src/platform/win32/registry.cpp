#include "registry.h"

#include <windows.h>

namespace platform {
namespace {

HKEY rootKey(Root root) noexcept
{
    switch (root) {
    case Root::ClassesRoot: return HKEY_CLASSES_ROOT;
    case Root::CurrentUser: return HKEY_CURRENT_USER;
    case Root::LocalMachine: return HKEY_LOCAL_MACHINE;
    case Root::Users: break;
    }
    return HKEY_USERS;
}

std::wstring wide(std::u16string_view text) { return {text.begin(), text.end()}; }
std::u16string narrowUnits(const std::wstring& text) { return {text.begin(), text.end()}; }

// An open registry key; empty if the key could not be opened.
class Key {
public:
    Key(Root root, std::u16string_view path, REGSAM access)
    {
        if (RegOpenKeyExW(rootKey(root), wide(path).c_str(), 0, access, &key_) != ERROR_SUCCESS) key_ = nullptr;
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key()
    {
        if (key_) RegCloseKey(key_);
    }
    explicit operator bool() const noexcept { return key_ != nullptr; }
    [[nodiscard]] HKEY get() const noexcept { return key_; }

private:
    HKEY key_ = nullptr;
};

bool set(Root root, std::u16string_view path, std::u16string_view name, DWORD type, const void* data, std::size_t size)
{
    const Key key(root, path, KEY_SET_VALUE);
    return key && RegSetValueExW(key.get(), wide(name).c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)) ==
                      ERROR_SUCCESS;
}

std::u16string_view withoutLastSeparator(std::u16string_view path)
{
    while (path.ends_with(u'\\')) path.remove_suffix(1);
    return path;
}

// Creates the key with its missing parents.
bool makeKey(Root root, std::u16string_view path)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(rootKey(root), wide(path).c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

} // namespace

std::optional<RegistryKey> RegistryKey::open(Root root, std::u16string_view path)
{
    path = withoutLastSeparator(path);
    if (!Key(root, path, KEY_READ)) return std::nullopt;
    return RegistryKey(root, std::u16string(path));
}

std::optional<RegistryKey> RegistryKey::create(Root root, std::u16string_view path)
{
    path = withoutLastSeparator(path);
    const std::size_t last = path.rfind(u'\\');
    if (last != std::u16string_view::npos && !Key(root, path.substr(0, last), KEY_READ)) return std::nullopt;
    return makeKey(root, path) ? open(root, path) : std::nullopt;
}

bool RegistryKey::remove(Root root, std::u16string_view path)
{
    return RegDeleteTreeW(rootKey(root), wide(withoutLastSeparator(path)).c_str()) == ERROR_SUCCESS;
}

std::optional<std::u16string> RegistryKey::text(std::u16string_view name) const
{
    const std::wstring path = wide(path_), value = wide(name);
    std::wstring buffer(256, L'\0');
    for (;;) {
        auto size = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
        const LSTATUS status = RegGetValueW(rootKey(root_), path.c_str(), value.c_str(), RRF_RT_REG_SZ, nullptr, buffer.data(), &size);
        if (status == ERROR_MORE_DATA) { // another process may lengthen it between two calls
            buffer.resize(std::max<std::size_t>(size / sizeof(wchar_t) + 1, buffer.size() * 2));
            continue;
        }
        if (status != ERROR_SUCCESS) return std::nullopt;
        buffer.resize(size / sizeof(wchar_t));
        if (!buffer.empty() && buffer.back() == L'\0') buffer.pop_back();
        return narrowUnits(buffer);
    }
}

std::optional<std::uint32_t> RegistryKey::number(std::u16string_view name) const
{
    DWORD value = 0, size = sizeof value;
    const LSTATUS status = RegGetValueW(rootKey(root_), wide(path_).c_str(), wide(name).c_str(), RRF_RT_REG_DWORD, nullptr, &value, &size);
    return status == ERROR_SUCCESS ? std::optional<std::uint32_t>(value) : std::nullopt;
}

std::vector<std::u16string> RegistryKey::subkeys() const
{
    std::vector<std::u16string> names;
    const Key key(root_, path_, KEY_ENUMERATE_SUB_KEYS);
    constexpr DWORD longestName = 256;
    wchar_t name[longestName];
    for (DWORD i = 0; key; ++i) {
        DWORD length = longestName;
        if (RegEnumKeyExW(key.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        names.emplace_back(name, name + length);
    }
    return names;
}

bool RegistryKey::setText(std::u16string_view name, std::u16string_view value) const
{
    const std::wstring text = wide(value);
    return set(root_, path_, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

bool RegistryKey::setNumber(std::u16string_view name, std::uint32_t value) const
{
    return set(root_, path_, name, REG_DWORD, &value, sizeof value);
}

bool RegistryKey::removeValue(std::u16string_view name) const
{
    const Key key(root_, path_, KEY_SET_VALUE);
    return key && RegDeleteValueW(key.get(), wide(name).c_str()) == ERROR_SUCCESS;
}

bool createKeyPath(Root root, std::u16string_view path)
{
    path = withoutLastSeparator(path);
    return path.find(u'\\') != std::u16string_view::npos && makeKey(root, path);
}

std::filesystem::path registryFile() { return {}; }
std::string registryFailure() { return {}; }

} // namespace platform
