#include "Engine.h"

#include "error_text.h"
#include "Failure.h"
#include "files.h"
#include "host.h"
#include "Output.h"
#include "product_server.h"
#include "registry.h"
#include "StoreName.h"
#include "text.h"

namespace mbhost {
namespace {

platform::Library loadEngine()
{
    const std::filesystem::path here = platform::executablePath().parent_path();
    const std::string name = platform::libraryFileName("MBSync");
    for (const auto& folder : {here, here.parent_path() / "lib"}) {
        if (!platform::fileExists(folder / name)) continue;
        if (platform::Library library(folder / name); library) return library;
        throw Failure("The engine " + textOf(folder / name) + " cannot be loaded; install mb again.");
    }
    throw Failure("The engine " + name + " was not found beside " + textOf(platform::executablePath()) + "; install mb again.");
}

} // namespace

Engine::Engine() : library_(loadEngine()), getClassObject_(library_.function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject"))
{
    // The engine and the plug-ins treat an unreadable registry as an empty one.
    if (const std::string why = platform::registryFailure(); !why.empty()) throw Failure(why);
    if (!getClassObject_) throw Failure("The library of the engine is damaged or of another program; install mb again.");
    library_.release(); // the library stays loaded until the process ends, and writes the last line of the log then
    expectConfiguration();
    offerToPlugins();
    platform::registerUnlessTaken(u"TwinWiz.CMergeDialog", enginePath().parent_path() / platform::pluginFileName("merge"));
}

std::filesystem::path Engine::enginePath() const { return platform::modulePathOf(reinterpret_cast<const void*>(getClassObject_)); }

com::Ptr<IClassFactory> Engine::factoryOf(REFCLSID clsid) const
{
    com::Ptr<IClassFactory> factory;
    expect(getClassObject_(clsid, __uuidof(IClassFactory), factory.putVoid()));
    return factory;
}

// Plug-ins create TrManager and FieldMap through the component runtime, which does not know an engine that was loaded by its path.
void Engine::offerToPlugins()
{
    manager_.emplace(__uuidof(TrManager), factoryOf(__uuidof(TrManager)).get());
    fieldMaps_.emplace(__uuidof(FieldMap), factoryOf(__uuidof(FieldMap)).get());
}

// Without its configuration the engine still creates objects, but each of their methods fails and leaves no message.
void Engine::expectConfiguration() const
{
    com::TaskArray<GUID> maps;
    const HRESULT hr = manager()->EnumerateMaps(maps.putCount(), maps.put());
    if (SUCCEEDED(hr)) return;
    if (const std::u16string why = platform::takeErrorText(); !why.empty()) throw Failure(printable(why));
    throw Failure("The engine cannot open its configuration in " + quote(textOf(dataFolder())) +
                  ". Check that you may write there and that the disk is not full.");
}

void Engine::expect(HRESULT hr)
{
    if (FAILED(hr)) throw Failure("The engine could not be started: " + describe(hr));
}

std::filesystem::path dataFolder() { return platform::userDataFolder() / "Zorel" / "MBSync"; }

std::string describe(HRESULT hr) { return platform::utf8(platform::systemMessage(hr)); }

std::string reasonFor(HRESULT hr)
{
    const std::u16string left = platform::takeErrorText();
    return left.empty() ? describe(hr) : printable(left);
}

} // namespace mbhost
