// A plug-in's library, which creates objects through its class object as for the engine. It stays loaded until the process ends.
#pragma once
#include "com.h"

#include "library.h"
#include "SyncEngLib.h"
#include <filesystem>

namespace mbtest {

class PluginFile {
public:
    PluginFile(const std::filesystem::path& file, const GUID& clsid);
    // Returns a new translator that is not opened. Throws com::Error.
    [[nodiscard]] com::Ptr<ITranslator> create() const;
    [[nodiscard]] bool allReturned() const;
    [[nodiscard]] const platform::Library& library() const noexcept { return library_; }

private:
    const platform::Library& library_;
    GUID clsid_;
};

} // namespace mbtest
