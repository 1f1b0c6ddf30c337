#include "RegisteredMap.h"

#include "store/ConfigStore.h"
#include "translators/CFieldMap.h"
#include "translators/CTrManager.h"

namespace mbtest {
namespace {

constexpr com::ClassEntry rows[] = {{&__uuidof(TrManager), u"", u"", com::create<mb::CTrManager>},
                                    {&__uuidof(FieldMap), u"", u"", com::create<mb::CFieldMap>}};

std::unique_ptr<com::ClassObject> offer(REFCLSID clsid)
{
    com::Ptr<IUnknown> factory;
    com::check(com::getClassObject(rows, clsid, __uuidof(IUnknown), factory.putVoid()));
    return std::make_unique<com::ClassObject>(clsid, factory.get());
}

} // namespace

RegisteredMap::RegisteredMap(const std::filesystem::path& folder, const std::vector<std::pair<GUID, GUID>>& pairs)
    : id_(com::newGuid()), manager_(offer(__uuidof(TrManager))), fieldMaps_(offer(__uuidof(FieldMap)))
{
    com::check(mb::OpenConfigStore(folder / "maps.xml"));
    com::Ptr<ITrMap> maps;
    com::Ptr<IFieldMap> fieldMaps;
    com::check(com::createInstance(__uuidof(TrManager), maps));
    com::check(com::createInstance(__uuidof(FieldMap), fieldMaps));
    GUID fieldMap{};
    com::check(fieldMaps->Create(com::newGuid(), com::newGuid(), &fieldMap));
    for (const auto& [field1, field2] : pairs) com::check(fieldMaps->AddMapEntry(fieldMap, field1, field2));
    com::check(maps->SetFieldMap(id_, fieldMap));
}

RegisteredMap::~RegisteredMap() { (void)mb::CloseConfigStore(); }

} // namespace mbtest
