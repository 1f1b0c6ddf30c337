// The engine, loaded from the library beside this program, and its objects by class.
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

// Where the engine keeps its configuration, the histories of the maps and its log.
std::filesystem::path dataFolder();

// The system's sentence for a result code.
std::string describe(HRESULT hr);
// The sentence that the engine left for this failure, as components do; without one, the system's.
std::string reasonFor(HRESULT hr);

} // namespace mbhost
