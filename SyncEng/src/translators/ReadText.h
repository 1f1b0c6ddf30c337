// The text of a field, as it is taken from a translator.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <string>

namespace mb {

// A value that is no text counts as the empty text. On failure the text is empty.
inline HRESULT readText(ITranslator* translator, BSTR recordId, REFGUID field, std::u16string& text)
{
    com::Variant value;
    const HRESULT hr = com::call(translator, &ITranslator::ReadField, recordId, field, value.put());
    text = SUCCEEDED(hr) ? value.text() : std::u16string_view();
    return hr;
}

} // namespace mb
