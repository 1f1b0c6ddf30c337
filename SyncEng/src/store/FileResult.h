// The result code of a file operation.
#pragma once
#include "com.h"
#include <system_error>

namespace mb {

HRESULT resultOf(const std::error_code& error) noexcept;
// Of a file that is there and cannot be read: never E_FAIL, which means a missing value to the callers of a store.
HRESULT readingResultOf(const std::error_code& error) noexcept;

} // namespace mb
