// Part of CTrManager: names of translators and their optional interfaces.
#include "foundation/ClassTable.h"
#include "foundation/RegisteredClass.h"
#include "foundation/Strings.h"
#include "translators/CTrManager.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

struct NameRow {
    GUID clsid;
    Text shortName, longName;
};

// Names for translators that cannot be created or return no name.
constexpr NameRow nameRows[] = {
    {hostTranslator, Text::NameHost, Text::SourceHost},
    {outlookTranslator, Text::NameOutlook, Text::SourceOutlook},
    {lotusNotesTranslator, Text::NameNotes, Text::SourceNotes},
    {formerActTranslator, Text::NameFormerAct, Text::SourceFormerAct},
    {goldMineTranslator, Text::NameGoldMine, Text::SourceGoldMine},
    {goldMineOtherTranslator, Text::NameGoldMine, Text::SourceGoldMine},
    {goldMineCorporateTranslator, Text::NameGoldMineCorporate, Text::SourceGoldMineCorporate},
    {goldMineCorporateOtherTranslator, Text::NameGoldMineCorporate, Text::SourceGoldMineCorporate},
    {outlookExpressTranslator, Text::NameOutlookExpress, Text::SourceOutlookExpress},
    {actTranslator, Text::NameAct, Text::SourceAct},
    {laterActTranslator, Text::NameLaterAct, Text::SourceLaterAct},
};

std::u16string fallbackName(REFGUID clsid, bool longName)
{
    for (const NameRow& row : nameRows)
        if (row.clsid == clsid) return LoadText(longName ? row.longName : row.shortName);
    return GetRegisteredClassName(clsid);
}

// Returns the name; `info` becomes the object that was created to ask for it, or null.
std::u16string nameOf(REFGUID clsid, bool longName, com::Ptr<ITranslatorInfo>& info)
{
    com::Bstr shortText, longText, label;
    if (SUCCEEDED(createClass(clsid, info)) && info &&
        SUCCEEDED(com::call(info, &ITranslatorInfo::GetInfo, shortText.put(), longText.put(), label.put())))
        if (const com::Bstr& given = longName ? longText : shortText; !given.empty()) return given.text();
    return fallbackName(clsid, longName);
}

// Returns an optional interface of the translator, from `info` or else from a new object; null if it has none.
template <class I> com::Ptr<I> abilityOf(REFGUID clsid, const com::Ptr<ITranslatorInfo>& info)
{
    if (info) return info.tryAs<I>();
    com::Ptr<ITranslator> translator;
    return SUCCEEDED(createClass(clsid, translator)) && translator ? translator.tryAs<I>() : com::Ptr<I>();
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::GetName(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName)
{
    if (!ppName) return E_POINTER;
    *ppName = nullptr;
    return com::guarded([&] {
        com::Ptr<ITranslatorInfo> info;
        com::give(ppName, nameOf(clsId, bLongName != VARIANT_FALSE, info));
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetShortLongNameDescription(REFGUID clsId, BSTR* ppName, BSTR* ppLongName, BSTR* ppDescription)
{
    if (!ppName || !ppLongName || !ppDescription) return E_POINTER;
    *ppName = *ppLongName = *ppDescription = nullptr;
    return com::guarded([&] {
        com::Bstr shortText, longText, description, label;
        com::Ptr<ITranslatorInfoEx> infoEx;
        com::Ptr<ITranslatorInfo> info;
        const bool described =
            SUCCEEDED(createClass(clsId, infoEx)) && infoEx &&
            SUCCEEDED(com::call(infoEx, &ITranslatorInfoEx::GetInfoEx, shortText.put(), longText.put(), description.put(), label.put()));
        const bool named =
            described || (SUCCEEDED(createClass(clsId, info)) && info &&
                          SUCCEEDED(com::call(info, &ITranslatorInfo::GetInfo, shortText.put(), longText.put(), label.put())));
        if (!named || shortText.empty()) shortText = com::Bstr(fallbackName(clsId, false));
        if (!named || longText.empty()) longText = com::Bstr(fallbackName(clsId, true));
        com::give(ppName, shortText.view());
        com::give(ppLongName, longText.view());
        com::give(ppDescription, described ? description.view() : longText.view());
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetNameAvailability(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName, LONG* pPimAvailability)
{
    if (!ppName || !pPimAvailability) return E_POINTER;
    *ppName = nullptr;
    *pPimAvailability = 0;
    return com::guarded([&] {
        com::Ptr<ITranslatorInfo> info;
        com::give(ppName, nameOf(clsId, bLongName != VARIANT_FALSE, info));
        VARIANT_BOOL available = VARIANT_FALSE;
        const auto setUp = abilityOf<IPIMSetUp>(clsId, info);
        if (setUp && SUCCEEDED(com::call(setUp, &IPIMSetUp::IsPIMAvailable, &available)) && available != VARIANT_FALSE)
            *pPimAvailability = 1;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetNameImageSupport(REFGUID clsId, VARIANT_BOOL bLongName, BSTR* ppName, VARIANT_BOOL* pSupportImage)
{
    if (!ppName || !pSupportImage) return E_POINTER;
    *ppName = nullptr;
    *pSupportImage = VARIANT_FALSE;
    return com::guarded([&] {
        com::Ptr<ITranslatorInfo> info;
        com::give(ppName, nameOf(clsId, bLongName != VARIANT_FALSE, info));
        if (abilityOf<IImageSupport>(clsId, info)) *pSupportImage = VARIANT_TRUE;
    });
}

} // namespace mb
