// The editor of field maps. It is a dialog in a higher layer, so the module installs it here at its start.
#pragma once
#include "com.h"

namespace mb {

using FieldMappingEditor = HRESULT (*)(HWND parent, REFGUID map, bool setFlagForHistory);

void SetFieldMappingEditor(FieldMappingEditor editor) noexcept;
// Returns E_NOTIMPL if no editor is installed.
HRESULT RunFieldMappingEditor(HWND parent, REFGUID map, bool setFlagForHistory);

} // namespace mb
