// Writes a history as readable XML, for support. Fails unless the user's registry value EnableDecrypt allows it.
#pragma once
#include "com.h"
#include <filesystem>

namespace mb {

HRESULT DecryptHistoryFile(const std::filesystem::path& source, const std::filesystem::path& target);

} // namespace mb
