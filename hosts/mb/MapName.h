// Finds maps and translators by what the user typed, and describes them for the user.
#pragma once
#include "Engine.h"
#include <string>
#include <vector>

namespace mbhost {

struct TranslatorInfo {
    GUID clsid{};
    std::string name, longName;
    bool available = false;
};

struct MapInfo {
    GUID guid{};
    TranslatorInfo translators[2];
    std::string databases[2];
};

// The maps that the user made, without the hidden maps of transfers. The identifier of a hidden map is the class of its target. Throws
// Failure if the entry of a map is damaged, because it may be a hidden map.
std::vector<GUID> listMaps(const Engine& engine);
// The same maps, and those whose entry is damaged.
std::vector<GUID> listRemovableMaps(const Engine& engine);
std::vector<TranslatorInfo> listTranslators(const Engine& engine);
TranslatorInfo describeTranslator(ITrMap* maps, const GUID& clsid);
MapInfo describeMap(ITrMap* maps, const GUID& map);

// Returns the one map whose GUID is the text or begins with it; braces and case are ignored. Throws a Failure that names the text, and the
// maps that it fits if there are several.
GUID resolveMap(const std::vector<GUID>& maps, const std::string& text);
// Returns the translator with that short or long name, ignoring case, or that class identifier. Otherwise throws a Failure.
TranslatorInfo resolveTranslator(const std::vector<TranslatorInfo>& translators, const std::string& text);

// Returns a sentence for the user if the plug-in cannot be loaded, otherwise an empty text.
std::string missingPlugin(ITrMap* maps, const TranslatorInfo& translator);
// Throws that sentence as a Failure if a plug-in of the map cannot be loaded.
void expectPlugins(ITrMap* maps, const MapInfo& map);

std::string guidName(const GUID& guid);
// One side of a map as the user gave it, NAME=DATABASE, printable. Without its plug-in the text says so.
std::string storeName(const MapInfo& map, int side);

} // namespace mbhost
