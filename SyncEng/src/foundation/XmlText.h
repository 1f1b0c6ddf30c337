// Texts in the elements of the exchange XML. A text with control characters is stored as Base64, marked by the attribute Base64Encoded.
// Part of the documented interface: nothing in the module reads or writes exchange XML; the tests fix the format.
#pragma once
#include "xml.h"
#include <string>
#include <string_view>

namespace mb {

std::u16string GetNodeText(const platform::XmlElement& node);
// The text of the first element that the expression `name` selects, or of the node itself if `name` is empty. Empty if the element is
// missing.
std::u16string GetChildText(const platform::XmlElement& node, std::u16string_view name);

// Does nothing if the element is missing. With useCData, the first text of an element is stored as a CDATA section.
void SetNodeText(const platform::XmlElement& node, std::u16string_view value, bool forceEncoding, bool useCData);
void SetChildText(const platform::XmlElement& node, std::u16string_view name, std::u16string_view value, bool forceEncoding, bool useCData);

} // namespace mb
