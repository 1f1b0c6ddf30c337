// The result code of a file operation.
#pragma once
#include "com.h"
#include <system_error>

namespace mb {

HRESULT resultOf(const std::error_code& error) noexcept;

} // namespace mb
