#include "categories.h"

#include "registry.h"

namespace platform {
namespace {

std::u16string categoryKey(REFGUID category) { return u"Component Categories\\" + com::guidText(category); }

std::u16string implementedKey(REFCLSID clsid, REFGUID category)
{
    return u"CLSID\\" + com::guidText(clsid) + u"\\Implemented Categories\\" + com::guidText(category);
}

HRESULT removeKey(const std::u16string& path)
{
    if (!RegistryKey::open(Root::ClassesRoot, path)) return S_FALSE;
    return RegistryKey::remove(Root::ClassesRoot, path) ? S_OK : E_ACCESSDENIED;
}

} // namespace

HRESULT registerCategory(REFGUID category, std::u16string_view description) noexcept
{
    return com::guarded([&] {
        if (!createKeyPath(Root::ClassesRoot, categoryKey(category))) return E_ACCESSDENIED;
        const auto key = RegistryKey::open(Root::ClassesRoot, categoryKey(category));
        return key && key->setText(u"409", description) ? S_OK : E_ACCESSDENIED;
    });
}

HRESULT unregisterCategory(REFGUID category) noexcept
{
    return com::guarded([&] { return removeKey(categoryKey(category)); });
}

HRESULT registerClassInCategory(REFCLSID clsid, REFGUID category) noexcept
{
    return com::guarded([&] { return createKeyPath(Root::ClassesRoot, implementedKey(clsid, category)) ? S_OK : E_ACCESSDENIED; });
}

HRESULT unregisterClassInCategory(REFCLSID clsid, REFGUID category) noexcept
{
    return com::guarded([&] { return removeKey(implementedKey(clsid, category)); });
}

HRESULT CategoryClasses::open(REFGUID category) noexcept
{
    classes_.clear();
    position_ = 0;
    return com::guarded([&] {
        const auto all = RegistryKey::open(Root::ClassesRoot, u"CLSID");
        if (!all) return;
        for (const std::u16string& name : all->subkeys()) {
            CLSID clsid{};
            if (FAILED(com::parseGuid(name, &clsid))) continue;
            if (RegistryKey::open(Root::ClassesRoot, implementedKey(clsid, category))) classes_.push_back(clsid);
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
