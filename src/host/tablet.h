// Tablet input: pressure and sub-pixel position merged into each input record. There is
// no tablet thread: packets are taken when a record is made.
#pragma once
#include <cstdint>

#include "host/platform.h"

namespace nemu {

extern int32_t ForceTablet;    // every record claims a tablet (start-up key ForceTablet)
extern int32_t TabletDisabled; // start-up key Tablet=no: packets are never read
extern int32_t HeldPressure;   // last good pressure
extern int32_t HeldCount;      // records that may still reuse it when packets pause
extern int32_t LastCursor;     // cursor whose axes were last read, -1 for none
extern int32_t NormalBase;     // its pressure axis: minimum,
extern int32_t NormalRange;    // and maximum minus minimum (0: no usable axis)

// Merges the tablet into a record; returns non-zero when the pen's second end is in use.
// native is the message for pointer, button and wheel records, null for the others.
int TabletMerge(int32_t* x, int32_t* y, int32_t* pressureHigh, int32_t* pressureLow, const NativeMsg* native,
                int32_t* azimuth, int32_t* altitude, int32_t* flag);
// The device changed: its axes are read again with the next packet.
void TabletInfoChanged();

} // namespace nemu
