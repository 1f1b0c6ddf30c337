#include "Engine.h"

#include "Failure.h"
#include "host.h"
#include "text.h"

namespace mbhost {
namespace {

platform::Library loadEngine()
{
    const std::filesystem::path here = platform::executablePath().parent_path();
    const std::string name = platform::libraryFileName("MBSync");
    for (const auto& folder : {here, here.parent_path() / "lib"})
        if (platform::Library library(folder / name); library) return library;
    throw Failure("The engine " + name + " was not found beside " + platform::executablePath().string() + "; install both together.");
}

} // namespace

Engine::Engine() : library_(loadEngine()), getClassObject_(library_.function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject"))
{
    if (!getClassObject_) throw Failure("The library beside this program is not the engine; install both together.");
    library_.release(); // it stays to the end of the process: its own end writes the log's last line
}

void Engine::expect(HRESULT hr)
{
    if (FAILED(hr)) throw Failure("The engine could not be started: " + describe(hr));
}

std::string describe(HRESULT hr) { return platform::utf8(platform::systemMessage(hr)); }

} // namespace mbhost
