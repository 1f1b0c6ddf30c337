// Result codes of file operations.
#pragma once
#include "com.h"
#include <system_error>

namespace mb {

HRESULT resultOf(const std::error_code& error) noexcept;
// The result for an existing file that cannot be read. Never E_FAIL, which means "no such value" to the callers of a store.
HRESULT readingResultOf(const std::error_code& error) noexcept;

} // namespace mb
