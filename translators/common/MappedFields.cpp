#include "MappedFields.h"

#include <map>

namespace mb::plugin {
namespace {

template <class I> com::Ptr<I> engineObject(REFCLSID clsid)
{
    com::Ptr<I> object;
    com::check(com::createInstance(clsid, object, CLSCTX_INPROC_SERVER));
    return object;
}

bool isImage(LONG type) { return type == ftImage1 || type == ftImage2; }

LONG typeOf(const com::Ptr<IField>& fields, REFGUID field)
{
    LONG type = 0;
    com::check(com::call(fields, &IField::GetFieldType, field, &type));
    return type;
}

} // namespace

std::vector<MappedField> mappedFields(REFGUID map, ITranslator* side1, ITranslator* side2)
{
    GUID fieldMap{};
    com::check(com::call(engineObject<ITrMap>(__uuidof(TrManager)), &ITrMap::GetFieldMap, map, &fieldMap));
    LONG count = 0;
    com::TaskArray<GUID> fields1, fields2;
    com::check(com::call(engineObject<IFieldMap>(__uuidof(FieldMap)), &IFieldMap::EnumerateEntriesEx, fieldMap, side1, side2, &count,
                         fields1.put(), fields2.put()));

    const auto types1 = com::Ptr(side1).as<IField>(), types2 = com::Ptr(side2).as<IField>();
    std::vector<MappedField> made;
    std::map<LONG, GUID> byType1;
    std::vector<LONG> order1;
    for (LONG i = 0; i < count; ++i) {
        const LONG type1 = typeOf(types1, fields1.data()[i]), type2 = typeOf(types2, fields2.data()[i]);
        if (type1 == ftDetails && type2 == ftDetails) continue; // the engine merges them, and equal records may differ in them
        if (isImage(type1) != isImage(type2)) throw com::Error(E_FAIL);
        made.push_back({fields1.data()[i], type2, isImage(type2)});
        order1.push_back(type1);
        byType1[type1] = fields1.data()[i];
    }
    // The engine keeps a record's values by type: of several fields of one type it compares the last one.
    for (std::size_t i = 0; i < made.size(); ++i) made[i].other = byType1[order1[i]];
    return made;
}

} // namespace mb::plugin
