// Reads a field of a translator as text.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <string>

namespace mb {

// `text` becomes empty on failure and for a value that is not a text.
inline HRESULT readText(ITranslator* translator, BSTR recordId, REFGUID field, std::u16string& text)
{
    com::Variant value;
    const HRESULT hr = com::call(translator, &ITranslator::ReadField, recordId, field, value.put());
    text = SUCCEEDED(hr) ? value.text() : std::u16string_view();
    return hr;
}

} // namespace mb
