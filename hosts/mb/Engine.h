// Loads the engine's library, which is installed with this program, and creates the engine's objects by class.
#pragma once
#include "interfaces.h"
#include "library.h"
#include <filesystem>
#include <optional>
#include <string>

namespace mbhost {

class Engine {
public:
    // Throws a Failure that names the library if it cannot be loaded, or the folder if its configuration cannot be opened.
    Engine();

    template <class I> com::Ptr<I> create(REFCLSID clsid) const
    {
        com::Ptr<I> object;
        expect(factoryOf(clsid)->CreateInstance(nullptr, __uuidof(I), object.putVoid()));
        return object;
    }
    [[nodiscard]] com::Ptr<ITrManager> manager() const { return create<ITrManager>(__uuidof(TrManager)); }
    [[nodiscard]] com::Ptr<ITrMap> maps() const { return create<ITrMap>(__uuidof(TrManager)); }
    [[nodiscard]] com::Ptr<IFieldMap> fieldMaps() const { return create<IFieldMap>(__uuidof(FieldMap)); }

private:
    static void expect(HRESULT hr);
    [[nodiscard]] com::Ptr<IClassFactory> factoryOf(REFCLSID clsid) const;
    void expectConfiguration() const;
    void offerToPlugins();
    [[nodiscard]] std::filesystem::path enginePath() const;
    platform::Library library_;
    HRESULT (*getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
    std::optional<com::ClassObject> manager_, fieldMaps_;
};

// The folder of the engine's configuration, histories and log.
std::filesystem::path dataFolder();

// The system's message for a result code.
std::string describe(HRESULT hr);
// The error text that the engine's last failure left on this thread; without one, the system's message for the result code.
std::string reasonFor(HRESULT hr);

} // namespace mbhost
