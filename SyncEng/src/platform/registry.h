// Keys and values under the four roots. Paths are written with backslashes; names ignore case, as everywhere in a registry.
// On Linux everything lies in one text file in the format of a .reg export, locked while it changes and replaced atomically.
#pragma once
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

enum class Root { ClassesRoot, CurrentUser, LocalMachine, Users };

// A key that existed when it was opened. Reads see what other processes have written since; a write reports false where
// it is refused. The empty name is the key's default value.
class RegistryKey {
public:
    [[nodiscard]] static std::optional<RegistryKey> open(Root root, std::u16string_view path);
    // Makes the last part of the path; the parent must exist.
    [[nodiscard]] static std::optional<RegistryKey> create(Root root, std::u16string_view path);
    // Removes the key and all below it; false if there was none or it may not be removed.
    static bool remove(Root root, std::u16string_view path);

    [[nodiscard]] std::optional<std::u16string> text(std::u16string_view name) const;
    [[nodiscard]] std::optional<std::uint32_t> number(std::u16string_view name) const;
    [[nodiscard]] std::vector<std::u16string> subkeys() const;
    bool setText(std::u16string_view name, std::u16string_view value) const;
    bool setNumber(std::u16string_view name, std::uint32_t value) const;
    bool removeValue(std::u16string_view name) const;

private:
    RegistryKey(Root root, std::u16string path) : root_(root), path_(std::move(path)) {}
    Root root_;
    std::u16string path_;
};

// Makes a key with all its missing parents. False also for a path of one part, which has no parent: RegistryKey::create makes that.
bool createKeyPath(Root root, std::u16string_view path);

// Where the user finds the values as a file: $MB_REGISTRY if set, else zorel/mbsync.reg below $XDG_CONFIG_HOME or ~/.config. Empty on
// Windows, which has an editor for them.
std::filesystem::path registryFile();

// Why the registry cannot be read, as a sentence that names its file; empty where it can, or where there is none yet. While it cannot
// be read, no key is found and none is written.
std::string registryFailure();

} // namespace platform
