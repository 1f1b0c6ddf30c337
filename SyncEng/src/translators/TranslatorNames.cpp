// The part of CTrManager that names translators and tells what they can do.
#include "foundation/ClassTable.h"
#include "foundation/RegisteredClass.h"
#include "foundation/Strings.h"
#include "translators/CTrManager.h"

namespace mb {
namespace {

struct NameRow {
    GUID clsid;
    int shortId, longId;
};

// Names of translators that cannot be created or give none.
constexpr NameRow nameRows[] = {
    {{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}}, 207, 138},
    {{0x3D52B2B7, 0x74EB, 0x4DDA, {0x8E, 0x54, 0x56, 0x6B, 0x13, 0x61, 0x66, 0x5C}}, 208, 3},
    {{0x297D3C58, 0x569B, 0x4F38, {0xAC, 0x59, 0xD4, 0xE2, 0x78, 0xD5, 0x47, 0x79}}, 209, 1},
    {{0x0282754C, 0xAEEB, 0x4933, {0x9D, 0xAD, 0xDD, 0xBD, 0x74, 0x28, 0x7C, 0x7B}}, 210, 2},
    {{0x2C0C63AE, 0x10AA, 0x4867, {0x92, 0xA5, 0x65, 0x7D, 0xBB, 0x18, 0x2E, 0x97}}, 211, 4},
    {{0x75391971, 0x8D5D, 0x4C27, {0x97, 0x59, 0x3A, 0x6C, 0x5E, 0xC9, 0xAB, 0xB6}}, 211, 4},
    {{0x5C06CD02, 0x1F21, 0x46BC, {0xAC, 0x38, 0x63, 0xA9, 0xB0, 0xB7, 0x35, 0x69}}, 212, 180},
    {{0x4F275941, 0x3608, 0x45D0, {0x96, 0xDE, 0x53, 0x4B, 0xC6, 0x1D, 0x1C, 0xA1}}, 212, 180},
    {{0xA268D411, 0x2A98, 0x40B8, {0x80, 0x71, 0xB9, 0x48, 0x9A, 0x5D, 0xE4, 0xB2}}, 214, 140},
    {{0x3485B3B6, 0x4564, 0x4A6E, {0xBE, 0xB0, 0xFC, 0xD5, 0x19, 0xDD, 0x95, 0x73}}, 215, 167},
    {{0x65C874BD, 0xDBED, 0x44AC, {0xA5, 0x51, 0xBF, 0x64, 0xCA, 0xAF, 0x65, 0x2D}}, 216, 179},
};

std::u16string fallbackName(REFGUID clsid, bool longName)
{
    for (const NameRow& row : nameRows)
        if (row.clsid == clsid) return LoadText(longName ? row.longId : row.shortId);
    return GetRegisteredClassName(clsid);
}

// The name, and the object that was made to ask for it, if any.
std::u16string nameOf(REFGUID clsid, bool longName, com::Ptr<ITranslatorInfo>& info)
{
    com::Bstr shortText, longText, label;
    if (SUCCEEDED(createClass(clsid, info)) && info &&
        SUCCEEDED(com::call(info, &ITranslatorInfo::GetInfo, shortText.put(), longText.put(), label.put())))
        if (const com::Bstr& given = longName ? longText : shortText; !given.empty()) return given.text();
    return fallbackName(clsid, longName);
}

// What the class offers besides: by the object at hand, or a new one.
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
