#include "translators/FieldMappingEditor.h"

namespace mb {
namespace {

FieldMappingEditor installed = nullptr;

} // namespace

void SetFieldMappingEditor(FieldMappingEditor editor) noexcept { installed = editor; }

HRESULT RunFieldMappingEditor(HWND parent, REFGUID map, bool setFlagForHistory)
{
    return installed ? installed(parent, map, setFlagForHistory) : E_NOTIMPL;
}

} // namespace mb
