// Layout-unit drawing primitives and the stock icons.
#include "ui/gadget_paint.h"

#include "store/bitmap.h"
#include "ui/commands.h"
#include "ui/font.h"
#include "ui/ui_scale.h"

#include <algorithm>

namespace nemu {

void UiFill(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b, uint32_t colour) {
    if (!s || r < l || b < t) return;
    FillBox(s, UiPx(l), UiPx(t), UiPx(r + 1) - 1, UiPx(b + 1) - 1, colour);
}

void UiInvert(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b) {
    if (!s || r < l || b < t) return;
    int x1 = std::max(UiPx(l), 0), y1 = std::max(UiPx(t), 0);
    int x2 = std::min(UiPx(r + 1) - 1, s->Width - 1), y2 = std::min(UiPx(b + 1) - 1, s->Height - 1);
    for (int y = y1; y <= y2; y++) {
        uint32_t* row = s->Pixels + size_t(y) * s->Width;
        for (int x = x1; x <= x2; x++) row[x] ^= 0xFFFFFFu; // alpha kept
    }
}

void UiBevel(Bitmap* s, int32_t l, int32_t t, int32_t r, int32_t b, uint32_t topLeft, uint32_t bottomRight) {
    if (!s || r < l || b < t) return;
    int x1 = UiPx(l), y1 = UiPx(t), x2 = UiPx(r + 1) - 1, y2 = UiPx(b + 1) - 1, n = UiLine();
    FillBox(s, x1, y2 - n + 1, x2, y2, bottomRight);
    FillBox(s, x2 - n + 1, y1, x2, y2, bottomRight);
    FillBox(s, x1, y1, x2 - n, y1 + n - 1, topLeft);
    FillBox(s, x1, y1, x1 + n - 1, y2 - n, topLeft);
}

int32_t UiText(Bitmap* s, int32_t x, int32_t y, const char* text, uint32_t colour, int32_t cl, int32_t ct,
               int32_t cr, int32_t cb) {
    if (!s || !text) return x;
    int32_t end = DrawText(s, UiPx(x), UiPx(y), text, -1, colour, UiPx(cl), UiPx(ct), UiPx(cr + 1) - 1,
                           UiPx(cb + 1) - 1);
    return UiUnit(end);
}

int32_t UiTextWidth(const char* text) {
    int32_t px = TextWidth(text);
    int32_t u = UiUnit(px);
    return UiPx(u) < px ? u + 1 : u;
}

const char* CommandKeyText(const char* command, char* buffer, int size) {
    if (!command || !*command || size < 2) return nullptr;
    const char* key = KeyForCommand(command);
    if (!key || !*key) return nullptr;
    if (KeyLabel(key, buffer, size_t(size)) <= 0) return nullptr;
    return buffer;
}

uint32_t LightColour(uint32_t c) {
    uint32_t out = c & 0xFF000000u;
    for (int s = 0; s < 24; s += 8) {
        uint32_t v = ((c >> s) & 255) + 64;
        out |= (v > 255 ? 255 : v) << s;
    }
    return out;
}

uint32_t DarkColour(uint32_t c) {
    uint32_t out = c & 0xFF000000u;
    for (int s = 0; s < 24; s += 8) {
        uint32_t v = (c >> s) & 255;
        out |= (v < 64 ? 0 : v - 64) << s;
    }
    return out;
}

// ---- Stock icons ----------------------------------------------------------------------------------

const IconRef IconArrowRight = {ICON_ARROW_RIGHT, 0, 0, 5, 9, 0, 0};
const IconRef IconArrowLeft = {ICON_ARROW_LEFT, 0, 0, 5, 9, 0, 0};
const IconRef IconArrowUp = {ICON_ARROW_UP, 0, 0, 9, 5, 0, 0};
const IconRef IconArrowDown = {ICON_ARROW_DOWN, 0, 0, 9, 5, 0, 0};
const IconRef IconTick = {ICON_TICK, 0, 0, 9, 8, 0, 0};
const IconRef IconClose = {ICON_CLOSE, 0, 0, 8, 8, 0, 0};
const IconRef IconDepth = {ICON_DEPTH, 0, 0, 11, 9, 0, 0};
const IconRef IconKnob = {ICON_KNOB, 0, 0, 6, 6, 0, 0};
const IconRef IconMark = {ICON_MARK, 0, 0, 9, 5, 0, 0};
const IconRef IconSize = {ICON_SIZE, 0, 0, 12, 12, 0, 0};
const IconRef IconMenu = {ICON_MENU, 0, 0, 9, 7, 0, 0};

// A filled triangle pointing along one axis, w by h layout units, drawn in pixels so its
// slopes stay smooth at any scale: dir 0 right, 1 left, 2 up, 3 down.
static void Triangle(Bitmap* s, int32_t x, int32_t y, int32_t w, int32_t h, int dir, uint32_t colour) {
    int px = UiPx(x), py = UiPx(y), pw = UiPx(x + w) - px, ph = UiPx(y + h) - py;
    bool across = dir >= 2; // the point lies on the vertical axis
    int len = across ? ph : pw, span = across ? pw : ph;
    for (int i = 0; i < len; i++) {
        int k = (dir == 0 || dir == 3) ? i : len - 1 - i; // distance from the base
        int half = (span * (len - k) + len - 1) / len / 2;
        int mid = span / 2;
        if (across)
            FillBox(s, px + mid - half, py + i, px + mid + half - (span % 2 == 0 ? 1 : 0), py + i, colour);
        else
            FillBox(s, px + i, py + mid - half, px + i, py + mid + half - (span % 2 == 0 ? 1 : 0), colour);
    }
}

// A thick line between two layout points, for the tick and the cross.
static void Stroke(Bitmap* s, int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t colour) {
    int n = UiLine() + (UiScaleHalves == 3 ? 1 : 0);
    int ax = UiPx(x1), ay = UiPx(y1), bx = UiPx(x2), by = UiPx(y2);
    for (int dy = 0; dy < n; dy++)
        for (int dx = 0; dx < n; dx++) DrawLine(s, ax + dx, ay + dy, bx + dx, by + dy, colour);
}

void DrawIcon(Bitmap* s, const IconRef* icon, int32_t x, int32_t y, uint32_t colour) {
    if (!s || !icon) return;
    int w = int(icon->Width), h = int(icon->Height);
    switch (icon->Reserved) {
    case ICON_ARROW_RIGHT:
        Triangle(s, x, y, w, h, 0, colour);
        break;
    case ICON_ARROW_LEFT:
        Triangle(s, x, y, w, h, 1, colour);
        break;
    case ICON_ARROW_UP:
        Triangle(s, x, y, w, h, 2, colour);
        break;
    case ICON_ARROW_DOWN:
    case ICON_MARK:
        Triangle(s, x, y, w, h, 3, colour);
        break;
    case ICON_TICK:
        Stroke(s, x, y + 4, x + 3, y + 7, colour);
        Stroke(s, x + 3, y + 7, x + 8, y + 1, colour);
        break;
    case ICON_CLOSE:
        Stroke(s, x, y, x + 7, y + 7, colour);
        Stroke(s, x + 7, y, x, y + 7, colour);
        break;
    case ICON_DEPTH: // two overlapping panes, the front one filled
        UiBevel(s, x, y, x + 6, y + 5, colour, colour);
        UiFill(s, x + 4, y + 3, x + 10, y + 8, colour);
        break;
    case ICON_KNOB:
        UiFill(s, x, y, x + w - 1, y + h - 1, colour);
        break;
    case ICON_MENU:
        for (int i = 0; i < 3; i++) UiFill(s, x, y + i * 3, x + w - 1, y + i * 3, colour);
        break;
    case ICON_SIZE: { // the triangle under the diagonal, with a light and a dark edge
        for (int r = 0; r < 11; r++) UiFill(s, x + 10 - r, y + r, x + 10, y + r, colour);
        break;
    }
    default:
        break;
    }
}

} // namespace nemu
