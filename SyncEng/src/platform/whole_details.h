// A field of a translator that offers ftDetails, besides those that it lists: the same details with the whole values of embedded files,
// where ReadField of ftDetails gives them by length and hash. It is read only.
//
// - IField::GetFieldType answers ftDetails for it. A translator that answers otherwise gives no files.
// - ReadField returns the lines of ftDetails, in the same order. Only the values of hashed lines differ.
// Requires: the record is open for reading. The engine reads it for one record at a time, where it writes a file to the other store.
#pragma once
#include "interfaces.h"

namespace mb {

inline constexpr GUID wholeDetailsField{0x6E3A75BB, 0xF80F, 0x4055, {0x8D, 0x7E, 0xC5, 0x88, 0xE8, 0x8C, 0x82, 0x41}};

} // namespace mb
