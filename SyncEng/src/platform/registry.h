// Registry keys and values. Paths use backslashes; names are case-insensitive. On Linux the registry is one text file in the format of a
// .reg export; a change locks it and replaces it atomically.
#pragma once
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

enum class Root { ClassesRoot, CurrentUser, LocalMachine, Users };

// A key that existed when it was opened. Reads see what other processes have written since. Writes return false if the registry refuses
// them. The empty name means the key's default value.
class RegistryKey {
public:
    [[nodiscard]] static std::optional<RegistryKey> open(Root root, std::u16string_view path);
    // Creates the last part of the path. Requires: the parent exists.
    [[nodiscard]] static std::optional<RegistryKey> create(Root root, std::u16string_view path);
    // Removes the key and all its subkeys. Returns false if the key does not exist or may not be removed.
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

// Creates a key with its missing parents. Returns false for a path of one part, which has no parent: use RegistryKey::create for it.
bool createKeyPath(Root root, std::u16string_view path);

// The registry's file: $MB_REGISTRY if set, otherwise zorel/mbsync.reg below $XDG_CONFIG_HOME or ~/.config. Empty on Windows, which has a
// registry editor.
std::filesystem::path registryFile();

// Returns a sentence that names the file and says why the registry cannot be read; empty if it can be read or does not exist yet. While it
// cannot be read, no key is found and no change is written.
std::string registryFailure();

} // namespace platform
