// A plug-in's library as the engine uses it: objects are made by its class object. It stays loaded for the life of the process.
#pragma once
#include "com.h"

#include "library.h"
#include "SyncEngLib.h"
#include <filesystem>

namespace mbtest {

class PluginFile {
public:
    PluginFile(const std::filesystem::path& file, const GUID& clsid);
    // An object, not opened. Throws com::Error.
    [[nodiscard]] com::Ptr<ITranslator> create() const;
    [[nodiscard]] bool allReturned() const;
    [[nodiscard]] const platform::Library& library() const noexcept { return library_; }

private:
    const platform::Library& library_;
    GUID clsid_;
};

} // namespace mbtest
