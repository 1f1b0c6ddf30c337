// BSTR and task memory. A BSTR has its byte count (4 bytes) in front and ends with a zero character.
#include "posix/com_abi.h"
#include <cstdlib>
#include <limits>
#include <string>

namespace {
constexpr std::size_t kHead = 8; // the count takes the last 4 bytes; 8 keeps the text aligned
}

BSTR SysAllocStringByteLen(const char* s, UINT n)
{
    auto* raw = static_cast<char*>(std::malloc(kHead + n + sizeof(OLECHAR)));
    if (!raw) return nullptr;
    std::memcpy(raw + kHead - sizeof n, &n, sizeof n);
    if (s)
        std::memcpy(raw + kHead, s, n);
    else
        std::memset(raw + kHead, 0, n);
    std::memset(raw + kHead + n, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(raw + kHead);
}

BSTR SysAllocStringLen(const OLECHAR* s, UINT n)
{
    if (n > std::numeric_limits<UINT>::max() / sizeof(OLECHAR) - kHead) return nullptr;
    return SysAllocStringByteLen(reinterpret_cast<const char*>(s), n * static_cast<UINT>(sizeof(OLECHAR)));
}

BSTR SysAllocString(const OLECHAR* s)
{
    return s ? SysAllocStringLen(s, static_cast<UINT>(std::char_traits<OLECHAR>::length(s))) : nullptr;
}

void SysFreeString(BSTR s)
{
    if (s) std::free(reinterpret_cast<char*>(s) - kHead);
}

UINT SysStringByteLen(BSTR s)
{
    UINT n = 0;
    if (s) std::memcpy(&n, reinterpret_cast<char*>(s) - sizeof n, sizeof n);
    return n;
}

UINT SysStringLen(BSTR s) { return SysStringByteLen(s) / static_cast<UINT>(sizeof(OLECHAR)); }

void* CoTaskMemAlloc(std::size_t n) { return std::malloc(n ? n : 1); }
void CoTaskMemFree(void* p) { std::free(p); }
