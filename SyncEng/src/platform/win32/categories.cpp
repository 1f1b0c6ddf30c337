#include "categories.h"

#include <comcat.h>

namespace platform {
namespace {

constexpr LCID systemLocale = 0x800;

com::Ptr<ICatRegister> registrar()
{
    com::Ptr<ICatRegister> manager;
    com::check(com::createInstance(CLSID_StdComponentCategoriesMgr, manager, CLSCTX_INPROC_SERVER));
    return manager;
}

} // namespace

HRESULT registerCategory(REFGUID category, std::u16string_view description) noexcept
{
    return com::guarded([&] {
        CATEGORYINFO info{category, systemLocale, {}};
        description = description.substr(0, std::size(info.szDescription) - 1);
        std::copy(description.begin(), description.end(), info.szDescription);
        return registrar()->RegisterCategories(1, &info);
    });
}

HRESULT unregisterCategory(REFGUID category) noexcept
{
    return com::guarded([&] {
        CATID id = category;
        return registrar()->UnRegisterCategories(1, &id);
    });
}

HRESULT registerClassInCategory(REFCLSID clsid, REFGUID category) noexcept
{
    return com::guarded([&] {
        CATID id = category;
        return registrar()->RegisterClassImplCategories(clsid, 1, &id);
    });
}

HRESULT unregisterClassInCategory(REFCLSID clsid, REFGUID category) noexcept
{
    return com::guarded([&] {
        CATID id = category;
        return registrar()->UnRegisterClassImplCategories(clsid, 1, &id);
    });
}

HRESULT CategoryClasses::open(REFGUID category) noexcept
{
    classes_.clear();
    position_ = 0;
    end_ = S_FALSE;
    return com::guarded([&]() -> HRESULT {
        com::Ptr<ICatInformation> information;
        com::check(com::createInstance(CLSID_StdComponentCategoriesMgr, information, CLSCTX_INPROC_SERVER));
        com::Ptr<IEnumGUID> found;
        CATID id = category;
        com::check(information->EnumClassesOfCategories(1, &id, 0, nullptr, found.put()));
        if (!found) return E_FAIL;
        for (CLSID clsid{};;) {
            end_ = found->Next(1, &clsid, nullptr);
            if (end_ != S_OK) return S_OK; // next() reports a failure after the classes that were found
            classes_.push_back(clsid);
        }
    });
}

HRESULT CategoryClasses::next(CLSID* clsid) noexcept
{
    if (position_ == classes_.size()) return end_;
    *clsid = classes_[position_++];
    return S_OK;
}

} // namespace platform
