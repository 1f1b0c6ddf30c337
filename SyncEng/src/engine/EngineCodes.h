// The engine's own result codes that change its course. Translators use the same numbers.
#pragma once
#include "store/StoreLock.h"

namespace mb {

inline constexpr HRESULT engineCode(unsigned low) noexcept { return static_cast<HRESULT>(0x80040200u + low); }

inline constexpr HRESULT codeInitialize = engineCode(0x01);    // a translator or a field map could not be made ready
inline constexpr HRESULT codeSilentStop = engineCode(0x11);    // the run ends, nothing is said
inline constexpr HRESULT codeRunAgain = engineCode(0x12);      // the map is run again from an empty history
inline constexpr HRESULT codeRebuildFields = engineCode(0x13); // the same, after the field map was made anew
inline constexpr HRESULT codeStopSchedule = engineCode(0x14);  // no message, failed stamp
inline constexpr HRESULT codeNoMessage = engineCode(0x15);     // no message, failed stamp
inline constexpr HRESULT codeReSync = engineCode(0x16);        // Re-Sync was chosen in the confirmation dialog
inline constexpr HRESULT codeNotInstalled = engineCode(0x18);  // a translator could not be loaded, a text was composed

// Of our own, outside of the codes that translators use.
inline constexpr HRESULT codeDeletionsRefused = engineCode(0x40); // a store would lose more records than the map allows
// What GetLastError gives for codeInUse where the run that holds a store asks nothing: it ends by itself, and is worth a long wait.
inline constexpr HRESULT codeInUseSilently = engineCode(0x43);
static_assert(codeInUse == engineCode(0x41) &&
              codeNoLocks == engineCode(0x42)); // a map, a store or the configuration is locked, or cannot be

} // namespace mb
