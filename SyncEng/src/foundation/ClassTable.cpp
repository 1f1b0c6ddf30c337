#include "foundation/ClassTable.h"

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

} // namespace mb
