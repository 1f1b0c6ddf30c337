#include "engine/MapOptions.h"

#include "foundation/ClassTable.h"
#include "translators/SideSettings.h"

namespace mb {
namespace {

// Quirk kept on purpose: a boolean is true if its 16 bits, unsigned, exceed 65534.
bool isTrue(const VARIANT& value) { return value.uiVal > 65534; }

} // namespace

void ReadMapOptions(RunState& run, const MapClient& map)
{
    const auto read = [&](_SyncOptions option, com::Variant& value) { return map.option(run.CurrentMap, option, value); };
    const auto readFlag = [&](_SyncOptions option, bool& flag) {
        com::Variant value;
        if (read(option, value)) flag = isTrue(value);
    };
    const auto readNumber = [&](_SyncOptions option, LONG& number) {
        com::Variant value;
        if (read(option, value)) number = value.lVal;
    };
    MapOptions& options = run.options;
    if (run.CategoryPass) return readNumber(soDeletionLimit, options.deletionLimit);
    readFlag(soConfirmAdds, options.ConfirmAdds);
    readFlag(soConfirmUpdates, options.ConfirmUpdates);
    readFlag(soConfirmDeletes, options.ConfirmDeletes);
    readFlag(soSyncVerified, options.SyncVerifiedOnly);
    readFlag(soSyncImages, options.SyncImages);
    bool imageOptionChanged = false;
    readFlag(soSyncImageOptionChanged, imageOptionChanged);
    if (imageOptionChanged) run.ImageOptionChanged = true;
    readNumber(soSyncType, options.SyncType);
    readNumber(soConflictResolution, options.ConflictResolution);
    readNumber(soDelConflictResolution, options.DelConflictResolution);
    readNumber(soDeletionLimit, options.deletionLimit);
    readNumber(soCardVersion, options.cardVersion);
}

void BroadcastImageOption(std::u16string_view key, std::u16string_view value)
{
    com::Ptr<ITrManager> manager;
    com::Ptr<ITrMap> trMap;
    com::TaskArray<GUID> maps;
    if (!answered(createClass(__uuidof(TrManager), manager)) || !answered(createClass(__uuidof(TrManager), trMap))) return;
    if (!answered(com::call(manager, &ITrManager::EnumerateMaps, maps.putCount(), maps.put()))) return;
    for (const GUID& map : maps.items()) {
        GUID id1{}, id2{};
        if (!MapClient(trMap).translators(map, id1, id2)) continue;
        if (!SettingsClient(map, Side::One)) continue; // the settings of side 1 are opened, and not written
        SettingsClient(map, Side::Two).trySetText(key, value);
    }
}

} // namespace mb
