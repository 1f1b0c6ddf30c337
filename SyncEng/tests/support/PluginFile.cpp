#include "PluginFile.h"

#include <map>

namespace mbtest {
namespace {

const platform::Library& loaded(const std::filesystem::path& file)
{
    static std::map<std::filesystem::path, platform::Library> libraries;
    auto at = libraries.find(file);
    if (at == libraries.end()) at = libraries.emplace(file, platform::Library(file)).first;
    return at->second;
}

} // namespace

PluginFile::PluginFile(const std::filesystem::path& file, const GUID& clsid) : library_(loaded(file)), clsid_(clsid) {}

com::Ptr<ITranslator> PluginFile::create() const
{
    auto* const entry = library_.function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject");
    com::check(entry ? S_OK : E_NOINTERFACE);
    com::Ptr<IClassFactory> factory;
    com::Ptr<ITranslator> made;
    com::check(entry(clsid_, __uuidof(IClassFactory), factory.putVoid()));
    com::check(factory->CreateInstance(nullptr, __uuidof(ITranslator), made.putVoid()));
    return made;
}

bool PluginFile::allReturned() const { return library_.function<HRESULT()>("DllCanUnloadNow")() == S_OK; }

} // namespace mbtest
