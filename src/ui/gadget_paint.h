// Drawing in layout units: the small set of primitives the gadgets, frames and dialogs
// paint with, each turning a layout rectangle (inclusive corners) into the pixels that
// cover it at the interface scale. Also the stock icons, drawn as shapes so that they stay
// crisp at every scale.
#pragma once
#include <cstdint>

#include "ui/gadget.h"

namespace nemu {

struct Bitmap;

// Pixel span of the layout span a..b inclusive: first pixel and count.
inline void UiSpan(int32_t a, int32_t b, int32_t* first, int32_t* count);
void UiFill(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b, uint32_t colour);
void UiInvert(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b);
// A one-unit outline: top and left lines in one colour, bottom and right in the other.
void UiBevel(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b, uint32_t topLeft, uint32_t bottomRight);
// Text with the top of its line at layout (x, y), clipped to the layout rectangle.
int32_t UiText(Bitmap* s, int32_t x, int32_t y, const char* text, uint32_t colour, int32_t cl, int32_t ct,
               int32_t cr, int32_t cb);
// Text at a pixel position, clipped to a pixel rectangle: for text that must not snap to
// the layout grid (scrolled fields).
int32_t UiTextWidth(const char* text); // in layout units, rounded up

// The key that runs command, as a label ("Ctrl+N") in buffer; null when no key runs it.
const char* CommandKeyText(const char* command, char* buffer, int size);

// Stock icons: IconRef::Reserved holds the shape, Width and Height its layout size.
enum StockIcon : uint32_t {
    ICON_NONE = 0,
    ICON_ARROW_RIGHT, // small action buttons and submenus
    ICON_ARROW_LEFT,
    ICON_ARROW_UP,
    ICON_ARROW_DOWN,
    ICON_TICK,  // check boxes and checked menu rows
    ICON_CLOSE, // the close gadget
    ICON_DEPTH, // the depth gadget
    ICON_KNOB,  // scroller and slider knobs
    ICON_MARK,  // the 9x5 mark of marked rows
    ICON_SIZE,  // the size gadget's triangle
    ICON_MENU,  // title-bar option buttons
};
extern const IconRef IconArrowRight, IconArrowLeft, IconArrowUp, IconArrowDown, IconTick, IconClose,
    IconDepth, IconKnob, IconMark, IconSize, IconMenu;
// Draws icon with its top-left corner at layout (x, y) in colour (some shapes add shades).
void DrawIcon(Bitmap* s, const IconRef* icon, int32_t x, int32_t y, uint32_t colour);

} // namespace nemu

namespace nemu {
inline void UiSpan(int32_t a, int32_t b, int32_t* first, int32_t* count) {
    extern int32_t UiScaleHalves;
    auto px = [](int32_t c) {
        int64_t v = int64_t(c) * UiScaleHalves;
        return int32_t(v >= 0 ? v / 2 : -((-v + 1) / 2));
    };
    *first = px(a);
    *count = px(b + 1) - *first;
}
} // namespace nemu
