#include "string_module.h"

#include <windows.h>

namespace platform {
namespace {

std::optional<std::u16string> textOf(HMODULE module, int id)
{
    // With buffer size 0 the function returns a pointer to the resource itself, which has no terminating zero.
    const wchar_t* found = nullptr;
    const int length = LoadStringW(module, static_cast<UINT>(id), reinterpret_cast<LPWSTR>(&found), 0);
    return length > 0 && found ? std::optional(std::u16string(found, found + length)) : std::nullopt;
}

HMODULE thisModule() noexcept
{
    static const int inThisModule = 0;
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&inThisModule), &module);
    return module;
}

} // namespace

struct StringModule::Texts {
    explicit Texts(HMODULE loaded) noexcept : module(loaded) {}
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    ~Texts() { FreeLibrary(module); }
    HMODULE module;
};

StringModule::StringModule() noexcept = default;
StringModule::StringModule(StringModule&&) noexcept = default;
StringModule& StringModule::operator=(StringModule&&) noexcept = default;
StringModule::~StringModule() = default;

StringModule::StringModule(const std::filesystem::path& file)
{
    // Loaded as a data file: none of its code runs.
    HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (module) texts_ = std::make_unique<Texts>(module);
}

std::optional<std::u16string> StringModule::text(int id) const { return texts_ ? textOf(texts_->module, id) : std::nullopt; }

std::optional<std::u16string> ownText(int id) { return textOf(thisModule(), id); }

} // namespace platform
