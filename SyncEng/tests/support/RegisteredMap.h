// A map with the given field map entries, in its own configuration store. Registers the engine's classes TrManager and FieldMap with the
// component runtime, where a plug-in looks for them. The translators of the map are not loaded.
#pragma once
#include "interfaces.h"
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace mbtest {

class RegisteredMap {
public:
    // Each pair is a field of side 1 and a field of side 2. The configuration store is created in the folder.
    RegisteredMap(const std::filesystem::path& folder, const std::vector<std::pair<GUID, GUID>>& pairs);
    RegisteredMap(const RegisteredMap&) = delete;
    RegisteredMap& operator=(const RegisteredMap&) = delete;
    ~RegisteredMap();
    [[nodiscard]] const GUID& id() const noexcept { return id_; }

private:
    GUID id_;
    std::unique_ptr<com::ClassObject> manager_, fieldMaps_;
};

} // namespace mbtest
