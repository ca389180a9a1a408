// Interface scale: every window, gadget and the font are drawn at 1, 1.5, 2 or 3 times the
// layout sizes, for screens of high density. The scale is kept in halves so that all
// arithmetic stays whole: 2, 3, 4 or 6.
//
// A layout coordinate c becomes pixel UiPx(c) = floor(c * halves / 2); layout pixel c
// covers pixels UiPx(c) .. UiPx(c + 1) - 1, so neighbouring rows never overlap or gap.
#pragma once
#include <cstdint>

namespace nemu {

extern int32_t UiScaleHalves; // 2 at scale 1

constexpr int32_t UiScaleChoices[] = {2, 3, 4, 6};

// Layout units to pixels (floor, also for negative values).
inline int32_t UiPx(int32_t c) {
    int64_t v = int64_t(c) * UiScaleHalves;
    return int32_t(v >= 0 ? v / 2 : -((-v + 1) / 2));
}
// Pixels to the layout unit that covers them.
inline int32_t UiUnit(int32_t p) {
    int64_t v = int64_t(p) * 2;
    return int32_t(v >= 0 ? v / UiScaleHalves : -((-v + UiScaleHalves - 1) / UiScaleHalves));
}
// Width of a one-unit line: whole pixels, at least one.
inline int32_t UiLine() {
    return UiScaleHalves >= 4 ? UiScaleHalves / 2 : 1;
}

// Parses "1", "1.5", "2", "3" (also "150%"); 0 for anything else.
int32_t ParseUiScale(const char* text);
// The scale in force at start: NEMU_SCALE, else the setting Scale of section Interface,
// else from the screen's resolution (dpi, 0 when unknown): 96 and below 1, 144 1.5,
// 192 2, 288 3. Sets UiScaleHalves and returns it.
int32_t ChooseUiScale(int dpi);

} // namespace nemu
