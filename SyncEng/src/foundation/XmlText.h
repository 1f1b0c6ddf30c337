// Texts in the elements of the exchange XML. A text with control characters in it is written as Base64, and the element says so in
// its attribute Base64Encoded.
#pragma once
#include "xml.h"
#include <string>
#include <string_view>

namespace mb {

std::u16string GetNodeText(const platform::XmlElement& node);
// Of the first element that the expression names, or of the node itself for an empty one. A missing element has the empty text.
std::u16string GetChildText(const platform::XmlElement& node, std::u16string_view name);

// Nothing happens to an element that is not there. With useCData a text for an element that has none yet becomes a CDATA section.
void SetNodeText(const platform::XmlElement& node, std::u16string_view value, bool forceEncoding, bool useCData);
void SetChildText(const platform::XmlElement& node, std::u16string_view name, std::u16string_view value, bool forceEncoding, bool useCData);

} // namespace mb
