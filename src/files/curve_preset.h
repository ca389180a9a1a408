// Presets of the curve panel, kept in a TagFile: one tag holding the active channel, the
// constraint switch and the six percentages of every channel.
#pragma once
#include <cstdint>

namespace nemu {

constexpr uint32_t CURVE_PRESET_ID = 0x82364623;
constexpr int CURVE_CHANNELS = 6; // gadgets 40 red, 41 green, 42 blue, 43 unused, 44 light, 45 density

struct CurvePreset {
    uint32_t Channel = 44;                  // gadget of the active curve: 40, 41, 42, 44 or 45
    uint32_t Constraint = 0;                // the panel's constraint switch
    int32_t Values[CURVE_CHANNELS][6] = {}; // by gadget - 40; percentages 0 to 100
};

// 0 on success, -1 on failure (the tag layer has reported the system's error).
int SaveCurvePreset(const char* path, const CurvePreset* preset);
// Refuses any other tag, version or revision; a channel outside the panel's reads as
// 44 and a percentage is kept within 0..100.
int LoadCurvePreset(const char* path, CurvePreset* preset);

} // namespace nemu
