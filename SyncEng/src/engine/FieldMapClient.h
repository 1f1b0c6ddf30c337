// The field map of the map that runs, as the run uses it. The methods named try... ignore a failure: the field map then stays as it was,
// and the next run does the same again.
#pragma once
#include "engine/RunState.h"

namespace mb {

class FieldMapClient {
public:
    // The run must outlive this object.
    explicit FieldMapClient(RunState& run) noexcept : run_(run) {}

    // Whether the user changed the field map since the last run. False where the field map cannot tell.
    [[nodiscard]] bool updated() const
    {
        LONG updated = 0;
        return run_.FieldMap && answered(com::call(run_.FieldMap, &IFieldMap::GetFieldMapUpdated, run_.FieldMapId, &updated)) &&
               updated == 1;
    }
    void tryForgetUpdate() { (void)com::call(run_.FieldMap, &IFieldMap::SetFieldMapUpdated, run_.FieldMapId, 0); }
    void tryCreateDefault() { (void)com::call(run_.FieldMap, &IFieldMap::CreateDefaultMap, run_.FieldMapId); }
    // Loads the identifier of the map's field map, and makes one if there is none. Returns whether there is a field map now.
    bool load(ITrMap* trMap)
    {
        run_.FieldMapId = GUID_NULL;
        if (answered(com::call(trMap, &ITrMap::GetFieldMap, run_.CurrentMap, &run_.FieldMapId))) return static_cast<bool>(run_.FieldMap);
        if (!run_.FieldMap) return false;
        return answered(run_.FieldMapId == GUID_NULL ? com::call(run_.FieldMap, &IFieldMap::Create, run_.side(Side::One).id,
                                                                 run_.side(Side::Two).id, &run_.FieldMapId)
                                                     : com::call(run_.FieldMap, &IFieldMap::CreateDefaultMap, run_.FieldMapId));
    }
    // The mapped fields of both sides that both translators have. Fails the run where they cannot be told.
    void loadPairs(ITranslator* translator1, ITranslator* translator2, LONG& count, com::TaskArray<GUID>& fields1,
                   com::TaskArray<GUID>& fields2) const
    {
        require(com::call(run_.FieldMap, &IFieldMap::EnumerateEntriesExValidate, run_.CurrentMap, run_.FieldMapId, translator1, translator2,
                          &count, fields1.put(), fields2.put()));
    }

    // Adds an entry that the map lacks.
    void tryAddPair(const PerSide<GUID>& pair)
    {
        VARIANT_BOOL known = VARIANT_FALSE;
        if (answered(com::call(run_.FieldMap, &IFieldMap::MapEntryExist, run_.FieldMapId, pair.one, pair.two, &known)) && !known)
            (void)com::call(run_.FieldMap, &IFieldMap::AddMapEntry, run_.FieldMapId, pair.one, pair.two);
    }

    // ---- The numbers of dynamic fields, which are given out anew in each run
    // Nullopt where the field map cannot tell.
    [[nodiscard]] std::optional<LONG> nextFieldType() const
    {
        LONG next = 0;
        if (!answered(com::call(run_.FieldMap, &IFieldMap::GetNextAvailableFieldType, run_.FieldMapId, &next))) return std::nullopt;
        return next;
    }
    void trySetNextFieldType(LONG next) { (void)com::call(run_.FieldMap, &IFieldMap::SetNextAvailableFieldType, run_.FieldMapId, next); }

private:
    RunState& run_;
};

} // namespace mb
