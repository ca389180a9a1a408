// The parts of a gadget row drawn over its body: the picture, the label in its place, the
// key of its command, the string field with its caret and selection, tabs and scrollers.
#include "ui/gadget_parts.h"
#include "host/platform.h"
#include "store/bitmap.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace nemu {

constexpr uint32_t Black = 0xFF000000, CaptionText = 0xFFFFFFFF;
// Text placement in layout units.
constexpr int LabelGap = 4, TextMarginX = 3, CaretHeight = 12, TabPadding = 10;

// ---- Pictures and label ---------------------------------------------------------------------------

void DrawPicture(Bitmap* s, const Gadget* g, const Bitmap* picture) {
    int x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    int n = UiLine();
    int cx = x + (w - picture->Width) / 2, cy = y + (h - picture->Height) / 2;
    CopyRectInside(picture, 0, 0, s, cx, cy, picture->Width, picture->Height, x + n, y + n, x + w - 1 - n,
                   y + h - 1 - n);
}

static uint32_t LabelColourOf(const GuiWindow* window, const Gadget* g) {
    (void)window;
    if (g->LabelFlags & LF_COLOUR) return g->LabelColour | 0xFF000000u;
    if (g->Id == GADGET_DRAG) return CaptionText;
    return INFOAREATEXTCOLOR;
}

bool LabelOutside(const Gadget* g) {
    return g->LabelFlags & (LF_LEFT_OF | LF_RIGHT_OF | LF_ABOVE | LF_BELOW);
}

// The label's line: top-left pixel and the clip rectangle it may use.
void LabelPlace(const GuiWindow* window, const Gadget* g, const char* text, int* px, int* py, int clip[4]) {
    uint32_t lf = g->LabelFlags;
    int lw = TextWidth(text);
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int x;
    if (lf & LF_LEFT_OF)
        x = gx - UiPx(LabelGap) - lw;
    else if (lf & LF_RIGHT_OF)
        x = gx + gw + UiPx(LabelGap);
    else if (lf & LF_CENTRE)
        x = gx + (gw - lw) / 2;
    else if (lf & LF_RIGHT_IN)
        x = gx + gw - UiPx(LabelGap) - lw;
    else
        x = gx + UiPx(LabelGap);
    int line = FontLineHeight(), y;
    if (lf & LF_TOP)
        y = gy + UiPx(4);
    else if (lf & LF_BOTTOM)
        y = gy + gh - UiPx(2) - line;
    else if (lf & LF_ABOVE)
        y = gy - line - UiPx(1);
    else if (lf & LF_BELOW)
        y = gy + gh + UiPx(1);
    else
        y = gy + (gh - line + 1) / 2;
    *px = x + UiPx(g->LabelDx);
    *py = y + UiPx(g->LabelDy);
    if (LabelOutside(g)) {
        clip[0] = window->ClipLeft;
        clip[1] = window->ClipTop;
        clip[2] = window->ClipLeft + window->ClipWidth - 1;
        clip[3] = window->ClipTop + window->ClipHeight - 1;
    } else {
        int n = UiLine();
        clip[0] = gx + n, clip[1] = gy + n, clip[2] = gx + gw - 1 - n, clip[3] = gy + gh - 1 - n;
    }
}

// The current choice of a cycle row, or null.
static const char* CycleText(const Gadget* g) {
    if (!(g->Flags & GF_CYCLE) || !g->Tabs || !g->Tabs->Labels || g->Tabs->Count < 1) return nullptr;
    int c = std::clamp(g->Tabs->Current, 0, g->Tabs->Count - 1);
    return g->Tabs->Labels[c] ? g->Tabs->Labels[c] : "";
}

const char* LabelText(const Gadget* g) {
    return g->Label;
}

void DrawCycleChoice(GuiWindow* window, const Gadget* g) {
    const char* text = CycleText(g);
    if (!text) return;
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int n = UiLine();
    int right = gx + gw - 1 - UiPx(4 + 9 + 2); // the mark keeps its place
    DrawText(window->Surface, gx + UiPx(LabelGap), gy + (gh - FontLineHeight() + 1) / 2, text, -1,
             INFOAREATEXTCOLOR, gx + n, gy + n, right, gy + gh - 1 - n);
}

void DrawLabel(GuiWindow* window, const Gadget* g, uint32_t fill) {
    const char* text = LabelText(g);
    if (!text || !*text) return;
    int x, y, clip[4];
    LabelPlace(window, g, text, &x, &y, clip);
    Bitmap* s = window->Surface;
    if (g->LabelFlags & LF_EMBOSSED) {
        DrawText(s, x + 1, y + 1, text, -1, LightColour(fill), clip[0], clip[1], clip[2], clip[3]);
        DrawText(s, x, y, text, -1, DarkColour(fill), clip[0], clip[1], clip[2], clip[3]);
        return;
    }
    if (LabelOutside(g)) {
        // Drawn over the window's background: cleared first, or antialiased edges would
        // darken with every redraw.
        int x2 = std::min(x + TextWidth(text) - 1, clip[2]), y2 = std::min(y + FontLineHeight() - 1, clip[3]);
        FillBox(s, std::max(x, clip[0]), std::max(y, clip[1]), x2, y2, BACKGROUNDCOLOR);
    }
    DrawText(s, x, y, text, -1, LabelColourOf(window, g), clip[0], clip[1], clip[2], clip[3]);
}

void DrawCommandKey(GuiWindow* window, const Gadget* g, uint32_t fill) {
    char label[64];
    const char* key = CommandKeyText(g->Command, label, sizeof label);
    if (!key || !*key) return;
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int x = gx + gw - UiPx(LabelGap) - TextWidth(key), y = gy + (gh - FontLineHeight() + 1) / 2;
    DrawText(window->Surface, x, y, key, -1, DarkColour(fill), gx, gy, gx + gw - 1, gy + gh - 1);
}

// ---- String fields ---------------------------------------------------------------------------------------

static bool Active(const GuiWindow* window, const Gadget* g) {
    return ActiveGadget == g && ActiveGadgetWindow == window;
}

// Keeps the caret inside the visible part: the first shown character follows it.
static void ScrollToCaret(StringInfo* si, int room) {
    const char* text = si->Buffer;
    int len = int(std::strlen(text));
    int cursor = std::clamp(si->Cursor, 0, len);
    if (TextWidth(text) <= room) {
        si->FirstVisible = 0;
        return;
    }
    if (int(si->FirstVisible) > cursor) si->FirstVisible = uint32_t(cursor);
    if (int(si->FirstVisible) > len) si->FirstVisible = uint32_t(len);
    while (int(si->FirstVisible) < cursor &&
           TextWidth(text + si->FirstVisible, cursor - int(si->FirstVisible)) > room) {
        si->FirstVisible++;
        while ((uint8_t(text[si->FirstVisible]) & 0xC0) == 0x80) si->FirstVisible++;
    }
}

void DrawString(GuiWindow* window, Gadget* g, uint32_t fill) {
    StringInfo* si = g->String;
    if (!si || !si->Buffer) return;
    si->MarginX = TextMarginX;
    si->MarginY = 5;
    Bitmap* s = window->Surface;
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int n = UiLine(), margin = UiPx(TextMarginX);
    int cl = gx + n, cr = gx + gw - 1 - n, ct = gy + n, cb = gy + gh - 1 - n;
    int room = gw - 2 * margin;
    bool active = Active(window, g);
    if (active)
        ScrollToCaret(si, room);
    else
        si->FirstVisible = 0;
    const char* shown = si->Buffer + std::min<size_t>(si->FirstVisible, std::strlen(si->Buffer));
    uint32_t colour = (si->StrFlags & STR_READONLY) ? Black
                      : si->TextColour              ? si->TextColour
                                                    : COLORPENTEXTBOXCOLOR;
    int x = gx + margin, y = gy + (gh - FontLineHeight() + 1) / 2;
    int end = DrawText(s, x, y, shown, -1, colour, cl, ct, cr, cb);
    if (si->Suffix) DrawText(s, end + UiPx(2), y, si->Suffix, -1, colour, cl, ct, cr, cb);
    if (!active) return;
    int base = int(si->FirstVisible);
    if (si->SelectAnchor >= 0 && si->SelectAnchor != si->Cursor) {
        int a = std::min(si->SelectAnchor, si->Cursor), b = std::max(si->SelectAnchor, si->Cursor);
        a = std::max(a, base);
        if (b > a) {
            int sx = x + TextWidth(shown, a - base), ex = x + TextWidth(shown, b - base) - 1;
            FillBox(s, std::max(sx, cl), y, std::min(ex, cr), std::min(y + FontLineHeight() - 1, cb), colour);
            DrawText(s, sx, y, si->Buffer + a, b - a, fill, cl, ct, cr, cb);
        }
    }
    double phase = std::floor(2.0 * (PlatformSeconds() - si->LastActivity));
    if (std::fmod(phase, 2.0) == 0.0) {
        int cx = x + TextWidth(shown, std::max(0, si->Cursor - base));
        int ch = UiPx(CaretHeight), cy = gy + (gh - ch + 1) / 2;
        if (cx >= cl && cx <= cr)
            FillBox(s, cx, std::max(cy, ct), cx + n - 1, std::min(cy + ch - 1, cb), Black);
    }
}

// ---- Tabs and scrollers
// ------------------------------------------------------------------------------------

void DrawTabs(GuiWindow* window, const Gadget* g) {
    const TabsInfo* tabs = g->Tabs;
    Bitmap* s = window->Surface;
    int x = g->Left;
    for (int i = 0; i < tabs->Count; i++) {
        const char* label = tabs->Labels && tabs->Labels[i] ? tabs->Labels[i] : "";
        int w = UiTextWidth(label) + TabPadding;
        bool current = i == tabs->Current;
        uint32_t fill = current ? BACKGROUNDCOLOR : DarkColour(BACKGROUNDCOLOR);
        int top = current ? g->Top : g->Top + 2;
        UiFill(s, x, top, x + w - 1, g->Bottom, fill);
        UiBevel(s, x, top, x + w - 1, g->Bottom + 1, LightColour(fill), Black);
        UiText(s, x + TabPadding / 2, top + (g->Bottom - top + 1 - 13) / 2, label, INFOAREATEXTCOLOR, x, top,
               x + w - 1, g->Bottom);
        x += w;
    }
}

void ScrollerKnob(int32_t bar, int32_t total, int32_t visible, int32_t position, int32_t* knob,
                  int32_t* pos) {
    constexpr int32_t MinKnob = 10;
    int32_t k = total > 0 ? int32_t(int64_t(bar) * std::min(visible, total) / total) : bar;
    k = std::clamp(k, std::min(MinKnob, bar), bar);
    int32_t range = total - visible;
    *knob = k;
    *pos = range > 0 ? int32_t(int64_t(bar - k) * std::clamp(position, 0, range) / range) : 0;
}

void DrawScroller(GuiWindow* window, const Gadget* g) {
    const ScrollerInfo* sc = g->Scroller;
    Bitmap* s = window->Surface;
    UiFill(s, g->Left, g->Top, g->Right, g->Bottom, INFOAREACOLOR);
    UiBevel(s, g->Left, g->Top, g->Right, g->Bottom, DarkColour(INFOAREACOLOR), LightColour(INFOAREACOLOR));
    bool vertical = sc->YTotal > 0;
    int bar = vertical ? g->Bottom - g->Top - 1 : g->Right - g->Left - 1;
    int knob, pos;
    if (vertical)
        ScrollerKnob(bar, sc->YTotal, sc->YVisible, sc->YPos, &knob, &pos);
    else
        ScrollerKnob(bar, sc->XTotal, sc->XVisible, sc->XPos, &knob, &pos);
    int l = vertical ? g->Left + 1 : g->Left + 1 + pos, t = vertical ? g->Top + 1 + pos : g->Top + 1;
    int r = vertical ? g->Right - 1 : l + knob - 1, b = vertical ? t + knob - 1 : g->Bottom - 1;
    UiFill(s, l, t, r, b, DRAGBUTTONCOLOR);
    UiBevel(s, l, t, r, b, LightColour(DRAGBUTTONCOLOR), DarkColour(DRAGBUTTONCOLOR));
}

} // namespace nemu
