// The Pens panel's values: one row per setting a pen may have, with the pens that have it.
// The panel (panel_pens.cpp) lays out, for the page of a pen, the rows whose Field
// answers for that pen.
#pragma once
#include <cstdint>

namespace nemu {

enum PenValueKind : int32_t { PV_SLIDER, PV_CHECK, PV_CYCLE, PV_NUMBER };

struct PenValue {
    int32_t Id;        // gadget id (a slider's field is Id + 1)
    PenValueKind Kind;
    uint32_t Label, Help; // catalog messages
    int32_t Min, Max;     // as shown
    bool Percent;         // kept 0..255, shown 1..100 percent
    int32_t* (*Field)(int32_t pen); // the pen's value, or null when the pen has none
};

constexpr int32_t PenValueCount = 14;
extern const PenValue PenValues[PenValueCount];

// A stored value as the panel shows it, and back.
int32_t PenValueShown(const PenValue& v, int32_t stored);
int32_t PenValueStored(const PenValue& v, int32_t shown);
// Puts one pen's settings back to its defaults, leaving the others alone.
void ResetOnePen(int32_t pen);

} // namespace nemu
