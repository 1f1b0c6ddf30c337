#include "MapName.h"

#include "Failure.h"
#include "files.h"
#include "Output.h"
#include "registry.h"
#include "StoreName.h"
#include "text.h"

namespace mbhost {
namespace {

std::string lowerName(std::string_view text) { return platform::utf8(platform::lowered(platform::utf16(text))); }

// The text of a GUID in lower case and without braces, to compare beginnings.
std::string barePart(std::string_view text)
{
    std::string bare = lowerName(text);
    std::erase_if(bare, [](char c) { return c == '{' || c == '}'; });
    return bare;
}

std::string textOf(const com::Bstr& text) { return platform::utf8(text.view()); }

// The library that is registered for the class; empty if none is.
std::filesystem::path libraryOf(const GUID& clsid)
{
    const std::u16string path = u"CLSID\\" + com::guidText(clsid) + u"\\InprocServer32";
    const auto key = platform::RegistryKey::open(platform::Root::ClassesRoot, path);
    const auto file = key ? key->text(u"") : std::nullopt;
    return file ? platform::pathOf(*file) : std::filesystem::path();
}

bool isLibraryGone(const GUID& clsid)
{
    const std::filesystem::path library = libraryOf(clsid);
    return !library.empty() && !platform::fileExists(library);
}

// The maps without the hidden maps of transfers. `onDamage` is called for a map that cannot tell its translators; E_FAIL says that it has
// none.
template <class OnDamage> std::vector<GUID> mapsOf(const Engine& engine, OnDamage&& onDamage)
{
    com::TaskArray<GUID> maps;
    const HRESULT hr = engine.manager()->EnumerateMaps(maps.putCount(), maps.put());
    if (FAILED(hr)) throw Failure("The configuration cannot be read: " + describe(hr));
    std::vector<GUID> listed;
    const auto store = engine.maps();
    for (const GUID& map : maps.items()) {
        GUID first{}, second{};
        const HRESULT told = store->GetTranslators(map, &first, &second);
        if (FAILED(told) && told != E_FAIL) onDamage(map, told);
        if (FAILED(told) || second != map) listed.push_back(map);
    }
    return listed;
}

} // namespace

std::string guidName(const GUID& guid) { return platform::utf8(com::guidText(guid)); }

std::string storeName(const MapInfo& map, int side)
{
    const TranslatorInfo& translator = map.translators[side];
    if (translator.name == guidName(translator.clsid)) return translator.name + " (no plug-in is registered)";
    if (!translator.available && map.databases[side].empty()) return printable(translator.name) + " (its plug-in cannot be loaded)";
    return printable(translator.name + "=" + map.databases[side]);
}

std::vector<GUID> listMaps(const Engine& engine)
{
    return mapsOf(engine, [](const GUID& map, HRESULT reason) {
        throw Failure("The entry of the map " + guidName(map) + " in the configuration is damaged: " + describe(reason) + " mb remove \"" +
                      guidName(map) + "\" removes the map and leaves its stores as they are.");
    });
}

std::vector<GUID> listRemovableMaps(const Engine& engine)
{
    return mapsOf(engine, [](const GUID&, HRESULT) {});
}

TranslatorInfo describeTranslator(ITrMap* maps, const GUID& clsid)
{
    TranslatorInfo info{clsid, {}, {}, false};
    com::Bstr name, longName, description, again;
    LONG available = 0;
    if (SUCCEEDED(maps->GetShortLongNameDescription(clsid, name.put(), longName.put(), description.put()))) {
        info.name = textOf(name);
        info.longName = textOf(longName);
    }
    if (info.name.empty()) info.name = guidName(clsid);
    info.available = SUCCEEDED(maps->GetNameAvailability(clsid, VARIANT_FALSE, again.put(), &available)) && available == 1;
    return info;
}

std::vector<TranslatorInfo> listTranslators(const Engine& engine)
{
    com::TaskArray<GUID> ids;
    const HRESULT hr = engine.manager()->EnumerateTranslators(ids.putCount(), ids.put());
    if (FAILED(hr)) throw Failure("The registered plug-ins cannot be listed: " + describe(hr));
    const auto maps = engine.maps();
    std::vector<TranslatorInfo> translators;
    for (const GUID& id : ids.items()) translators.push_back(describeTranslator(maps.get(), id));
    return translators;
}

MapInfo describeMap(ITrMap* maps, const GUID& map)
{
    MapInfo info{map, {}, {}};
    GUID ids[2]{};
    if (FAILED(maps->GetTranslators(map, &ids[0], &ids[1]))) return info;
    com::Bstr databases[2];
    (void)maps->GetCurrentDatabase(map, databases[0].put(), databases[1].put());
    for (const int i : {0, 1}) {
        info.translators[i] = describeTranslator(maps, ids[i]);
        info.databases[i] = textOf(databases[i]);
    }
    return info;
}

GUID resolveMap(const std::vector<GUID>& maps, const std::string& text)
{
    const std::string wanted = barePart(text);
    std::vector<GUID> found;
    for (const GUID& map : maps)
        if (!wanted.empty() && barePart(guidName(map)).starts_with(wanted)) found.push_back(map);
    if (found.size() == 1) return found.front();
    if (found.empty()) throw Failure("There is no map " + quote(text) + "; mb maps lists the maps.");
    std::string sentence = "The identifiers of several maps begin with " + quote(text) + ":";
    for (const GUID& map : found) sentence += " " + guidName(map);
    throw Failure(sentence + ". Type more characters of the one that you mean.", exitUsage);
}

TranslatorInfo resolveTranslator(const std::vector<TranslatorInfo>& translators, const std::string& text)
{
    const std::string wanted = lowerName(text);
    for (const TranslatorInfo& t : translators)
        if (lowerName(t.name) == wanted || lowerName(t.longName) == wanted || barePart(guidName(t.clsid)) == barePart(text)) return t;
    std::string sentence = "There is no plug-in " + quote(text) + ".";
    if (translators.empty()) throw Failure(sentence + " No plug-in is registered yet; see mb register --help.");
    sentence += " The registered plug-ins are: ";
    for (const TranslatorInfo& t : translators)
        sentence +=
            (&t == &translators.front() ? "" : ", ") + printable(t.name) + (isLibraryGone(t.clsid) ? " (its library is missing)" : "");
    throw Failure(sentence + ".");
}

std::string missingPlugin(ITrMap* maps, const TranslatorInfo& info)
{
    com::Ptr<ITranslator> translator;
    const auto loader = com::Ptr<ITrMap>(maps).as<ITrMapEntry>();
    if (SUCCEEDED(loader->Load(info.clsid, translator.put())) && translator) return {};
    if (info.name == guidName(info.clsid))
        return "No plug-in is registered for the kind of store " + info.name + "; mb register PLUGIN registers one.";
    const std::filesystem::path library = libraryOf(info.clsid);
    if (isLibraryGone(info.clsid))
        return "The plug-in " + quote(info.name) + " is missing: there is no library " + quote(textOf(library)) +
               ". Put it back, or register it at its new place: mb register PLUGIN.";
    return "The plug-in " + quote(info.name) + " cannot be loaded from " + quote(textOf(library)) +
           ". Register it again: mb register PLUGIN.";
}

void expectPlugins(ITrMap* maps, const MapInfo& map)
{
    for (const TranslatorInfo& translator : map.translators)
        if (const std::string missing = missingPlugin(maps, translator); !missing.empty()) throw Failure(missing);
}

} // namespace mbhost
