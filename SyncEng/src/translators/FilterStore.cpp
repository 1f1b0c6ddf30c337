#include "translators/FilterStore.h"

#include "foundation/Paths.h"

namespace mb {
namespace {

constexpr char16_t filterType[] = u"Filter";

} // namespace

HRESULT FilterStore::open()
{
    std::filesystem::path folder;
    const HRESULT hr = GetUserDataFolder(folder);
    return SUCCEEDED(hr) ? store_.Open(folder / "CNFilter.xml", true) : hr;
}

HRESULT FilterStore::add(std::u16string_view file, std::u16string_view recordId)
{
    listed_.reset();
    return store_.WriteInt(filterType, file, recordId, 1, false, false);
}

HRESULT FilterStore::at(std::u16string_view file, ULONG index, std::u16string& recordId)
{
    if (!listed_ || listed_->file != file) {
        Listed fresh{std::u16string(file), {}};
        const HRESULT hr = store_.ListKeys(filterType, file, fresh.ids);
        if (FAILED(hr)) return hr;
        listed_ = std::move(fresh);
    }
    if (index >= listed_->ids.size()) return E_FAIL;
    recordId = listed_->ids[index];
    return S_OK;
}

HRESULT FilterStore::remove(std::u16string_view file, std::u16string_view recordId)
{
    listed_.reset();
    return store_.RemoveKey(filterType, file, recordId);
}

HRESULT FilterStore::removeFile(std::u16string_view file)
{
    listed_.reset();
    return store_.RemoveSection(filterType, file, true);
}

HRESULT FilterStore::removeAll()
{
    listed_.reset();
    return store_.RemoveType(filterType);
}

} // namespace mb
