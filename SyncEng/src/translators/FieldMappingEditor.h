// Who lets the user edit a field map: a dialog above this layer. While there is none, the map cannot be edited.
#pragma once
#include "com.h"

namespace mb {

using FieldMappingEditor = HRESULT (*)(HWND parent, REFGUID map, bool setFlagForHistory);

void SetFieldMappingEditor(FieldMappingEditor editor) noexcept;
// E_NOTIMPL without an editor.
HRESULT RunFieldMappingEditor(HWND parent, REFGUID map, bool setFlagForHistory);

} // namespace mb
