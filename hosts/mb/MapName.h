// Maps and translators as the user names them.
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

// The maps that the user made. Those of transfers, which are named by their target's class, are not among them.
std::vector<GUID> listMaps(const Engine& engine);
std::vector<TranslatorInfo> listTranslators(const Engine& engine);
TranslatorInfo describeTranslator(ITrMap* maps, const GUID& clsid);
MapInfo describeMap(ITrMap* maps, const GUID& map);

// The map of that GUID, or of an unambiguous beginning of it, with or without the brace, ignoring case. Throws a Failure that names
// the text and what it could have meant.
GUID resolveMap(const std::vector<GUID>& maps, const std::string& text);
// The translator of that name, ignoring case, or of that class identifier.
TranslatorInfo resolveTranslator(const std::vector<TranslatorInfo>& translators, const std::string& text);

// A sentence for the user if the plug-in cannot be loaded; empty if it can.
std::string missingPlugin(ITrMap* maps, const TranslatorInfo& translator);
// Throws that sentence as a Failure if a plug-in of the map cannot be loaded.
void expectPlugins(ITrMap* maps, const MapInfo& map);

std::string guidName(const GUID& guid);
// One side of a map as the user gave it, NAME=DATABASE, fit to be shown.
std::string storeName(const MapInfo& map, int side);

} // namespace mbhost
