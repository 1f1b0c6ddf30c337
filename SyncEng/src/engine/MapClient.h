// The settings of the map that runs, as the run uses them: the map itself (MapClient) and the settings of one of its sides
// (SettingsClient). A setting that cannot be read is empty, and the run goes on with its default. The methods named try... ignore a failure
// to write: the next run writes the setting again.
#pragma once
#include "engine/RunFailure.h"
#include "engine/Side.h"
#include "interfaces.h"
#include "translators/SideSettings.h"
#include <optional>
#include <string>

namespace mb {

class MapClient {
public:
    MapClient() noexcept = default;
    explicit MapClient(com::Ptr<ITrMap> map) noexcept : map_(std::move(map)) {}
    [[nodiscard]] explicit operator bool() const noexcept { return static_cast<bool>(map_); }
    [[nodiscard]] ITrMap* get() const noexcept { return map_.get(); }

    // The classes of both translators. False where the map cannot tell.
    bool translators(const GUID& map, GUID& id1, GUID& id2) const
    {
        return answered(com::call(map_, &ITrMap::GetTranslators, map, &id1, &id2));
    }
    // The same; a map that cannot tell ends the run.
    void requireTranslators(const GUID& map, GUID& id1, GUID& id2) const
    {
        require(com::call(map_, &ITrMap::GetTranslators, map, &id1, &id2));
    }
    // Where the store of side 2 is, as its translator tells; nullopt where the map cannot tell.
    [[nodiscard]] std::optional<std::u16string> currentDatabase2(const GUID& map) const
    {
        com::Bstr database1, database2;
        if (!answered(com::call(map_, &ITrMap::GetCurrentDatabase, map, database1.put(), database2.put()))) return std::nullopt;
        return database2.text();
    }
    // Sets the direction of the map's runs; a map that cannot store it ends the run.
    void requireSyncType(const GUID& map, _SynchronizationTypes type) const
    {
        VARIANT direction;
        VariantInit(&direction);
        direction.vt = VT_I4;
        direction.lVal = type;
        require(com::call(map_, &ITrMap::SetOption, map, static_cast<LONG>(soSyncType), direction));
    }
    // The short or long name of a translator.
    [[nodiscard]] std::u16string translatorName(const GUID& id, bool longName) const
    {
        com::Bstr name;
        (void)com::call(map_, &ITrMap::GetName, id, longName ? VARIANT_TRUE : VARIANT_FALSE, name.put());
        return name.text();
    }
    // The identifier of the history of the category pass; a new one where none is stored.
    [[nodiscard]] GUID categoryHistory(const GUID& map)
    {
        GUID id{};
        if (answered(com::call(map_, &ITrMap::GetCategoryGuid, map, &id))) return id;
        id = com::newGuid();
        (void)com::call(map_, &ITrMap::SetCategoryGuid, map, id);
        return id;
    }
    // False where the option cannot be read.
    bool option(const GUID& map, _SyncOptions option, com::Variant& value) const
    {
        return answered(com::call(map_, &ITrMap::GetOption, map, static_cast<LONG>(option), value.put()));
    }
    void trySetOption(const GUID& map, _SyncOptions option, bool value)
    {
        VARIANT set;
        VariantInit(&set);
        set.vt = VT_BOOL;
        set.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
        (void)com::call(map_, &ITrMap::SetOption, map, static_cast<LONG>(option), set);
    }

private:
    com::Ptr<ITrMap> map_;
};

class SettingsClient {
public:
    SettingsClient() noexcept = default;
    explicit SettingsClient(com::Ptr<IDataStream> settings) noexcept : settings_(std::move(settings)) {}
    // The settings behind a services object; none where it offers none.
    explicit SettingsClient(const com::Ptr<ITrServices>& services) noexcept : settings_(services.tryAs<IDataStream>()) {}
    // The settings of a side of a map; none where they cannot be opened.
    SettingsClient(const GUID& map, Side side)
    {
        if (!answered(MakeSettings(map, side == Side::One ? idTrans1 : idTrans2, settings_))) settings_.reset();
    }
    [[nodiscard]] explicit operator bool() const noexcept { return static_cast<bool>(settings_); }

    // Binds the settings to a side of a map.
    void tryBind(const GUID& map, Side side)
    {
        const com::Bstr type(settingsTypeOf(side == Side::One ? idTrans1 : idTrans2));
        if (settings_) (void)com::call(settings_, &IDataStream::SetParams, type.get(), map);
    }
    [[nodiscard]] std::u16string text(std::u16string_view key) const
    {
        com::Bstr text;
        if (settings_) (void)com::call(settings_, &IDataStream::GetString, com::Bstr(key).get(), text.put());
        return text.text();
    }
    // The same, but settings that cannot be read end the run. E_FAIL says that the settings have no such text.
    [[nodiscard]] std::u16string requireText(std::u16string_view key) const
    {
        if (!settings_) throw RunFailure(E_NOINTERFACE);
        com::Bstr text;
        const HRESULT hr = com::call(settings_, &IDataStream::GetString, com::Bstr(key).get(), text.put());
        if (hr != E_FAIL) require(hr);
        return text.text();
    }
    void trySetText(std::u16string_view key, std::u16string_view text)
    {
        if (settings_) (void)com::call(settings_, &IDataStream::SetString, com::Bstr(key).get(), com::Bstr(text).get());
    }
    void trySetNumber(std::u16string_view key, LONG number)
    {
        if (settings_) (void)com::call(settings_, &IDataStream::SetInt, com::Bstr(key).get(), number);
    }

private:
    com::Ptr<IDataStream> settings_;
};

} // namespace mb
