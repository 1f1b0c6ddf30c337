#include "foundation/ClassTable.h"

#include "text.h"
#include <utility>

namespace mb {
namespace {

std::span<const com::ClassEntry> moduleRows, overridingRows;

const com::ClassEntry* find(std::span<const com::ClassEntry> rows, REFCLSID clsid) noexcept
{
    for (const com::ClassEntry& row : rows)
        if (*row.clsid == clsid) return &row;
    return nullptr;
}

} // namespace

void SetClassTable(std::span<const com::ClassEntry> rows) noexcept { moduleRows = rows; }

ClassOverride::ClassOverride(std::span<const com::ClassEntry> rows) : former_(std::exchange(overridingRows, rows)) {}
ClassOverride::~ClassOverride() { overridingRows = former_; }

HRESULT createClass(REFCLSID clsid, IUnknown* outer, REFIID riid, void** out) noexcept
{
    *out = nullptr;
    const com::ClassEntry* row = find(overridingRows, clsid);
    if (!row) row = find(moduleRows, clsid);
    if (row) return row->create(outer, riid, out);
    return com::guarded([&] { return CoCreateInstance(clsid, outer, CLSCTX_ALL, riid, out); });
}

HRESULT createClassByName(std::u16string_view progId, com::Ptr<IDispatch>& out) noexcept
{
    return com::guarded([&] {
        const std::u16string_view bare = progId.ends_with(u".1") ? progId.substr(0, progId.size() - 2) : progId;
        CLSID clsid{};
        for (const auto rows : {overridingRows, moduleRows})
            for (const com::ClassEntry& row : rows)
                if (platform::equalNoCase(row.progId, bare)) return createClass(*row.clsid, out);
        const HRESULT hr = CLSIDFromProgID(com::ole(std::u16string(progId).c_str()), &clsid);
        return SUCCEEDED(hr) ? createClass(clsid, out) : hr;
    });
}

} // namespace mb
