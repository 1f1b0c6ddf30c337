#include "translators/CTrServices.h"

#include "foundation/ClassTable.h"

namespace mb {
namespace {

com::Ptr<IUnknown> createPart(REFCLSID clsid, IUnknown* outer)
{
    com::Ptr<IUnknown> part;
    com::check(createClass(clsid, outer, __uuidof(IUnknown), part.putVoid()));
    return part;
}

// Returns an interface of an aggregated part without adding a reference: QueryInterface adds one to the outer object, which is released.
template <class I> IUnknown* interfaceOf(const com::Ptr<IUnknown>& part, IUnknown* outer) noexcept
{
    void* found = nullptr;
    if (FAILED(part->QueryInterface(__uuidof(I), &found))) return nullptr;
    outer->Release();
    return static_cast<I*>(found);
}

} // namespace

CTrServices::CTrServices(IUnknown* outer)
    : Object(outer), manager_(createPart(__uuidof(TrManager), controlling())), dataStream_(createPart(__uuidof(DataStream), controlling())),
      logFile_(createPart(__uuidof(LogFile), controlling()))
{
}

IUnknown* CTrServices::findOther(REFIID riid) noexcept
{
    if (riid == __uuidof(ITrManager)) return interfaceOf<ITrManager>(manager_, controlling());
    if (riid == __uuidof(IDataStream)) return interfaceOf<IDataStream>(dataStream_, controlling());
    if (riid == __uuidof(ILogFile)) return interfaceOf<ILogFile>(logFile_, controlling());
    return nullptr;
}

} // namespace mb
