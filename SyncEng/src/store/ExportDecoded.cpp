#include "store/ExportDecoded.h"

#include "error_text.h"
#include "files.h"
#include "registry.h"
#include "store/CBase64.h"
#include "store/FieldData.h"
#include "store/FileResult.h"
#include "store/StoreFile.h"
#include "store/StoreTree.h"
#include "text.h"

namespace mb {
namespace {

std::u16string readable(std::u16string text)
{
    for (std::size_t at = 0; (at = text.find(FieldSeparator, at)) != std::u16string::npos; ++at)
        text.replace(at, FieldSeparator.size(), u"/");
    return text;
}

// Removes control characters that XML cannot contain.
std::u16string withoutControls(std::u16string text)
{
    std::erase_if(text, [](char16_t c) { return c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r'; });
    return text;
}

} // namespace

HRESULT StoreFile::ExportDecoded(const std::filesystem::path& target)
{
    if (target.empty()) return E_FAIL;
    if (!isOpen() || !content_->isStore()) return S_OK;
    const auto copy = StoreTree::read(content_->bytes());
    if (!copy) return E_FAIL;
    copy->decode([](std::string_view text) { return platform::utf8(withoutControls(readable(decodeBase64(text)))); });
    platform::AtomicFile file(target);
    copy->writeTo([&](std::string_view piece) { file.write(piece); });
    return resultOf(file.commit());
}

HRESULT DecryptHistoryFile(const std::filesystem::path& source, const std::filesystem::path& target)
{
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng");
    if (!key || key->number(u"EnableDecrypt").value_or(0) == 0) return E_FAIL;
    if (source.empty() || target.empty()) return E_FAIL;
    StoreFile store;
    const HRESULT hr = store.Open(source, false);
    if (SUCCEEDED(hr)) return store.ExportDecoded(target);
    platform::leaveErrorText(store.openFailure());
    return hr;
}

} // namespace mb
