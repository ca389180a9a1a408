// Drawing gadget rows into a window's surface: fill, bevel, pictures, label, the string
// field with its caret and selection, and the selected state; showing them on the screen.
//
// Sections: fill and bevel; pictures and label; string fields; tabs and scrollers;
// GadgetDraw; showing, selecting.
#include "host/platform.h"
#include "store/bitmap.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace nemu {

Gadget* FeedbackGadget = nullptr;
GuiWindow* FeedbackWindow = nullptr;
void (*GadgetDrawnHook)(const GuiWindow*, const Gadget*, const char*, int32_t, int32_t, int32_t,
                        int32_t) = nullptr;

constexpr uint32_t PlainFill = 0xFFC0C0C0;
constexpr uint32_t FrameLight = 0xFFD0D0D0, FrameDark = 0xFF505050;
constexpr uint32_t Black = 0xFF000000, White = 0xFFFFFFFF;
constexpr uint32_t CaptionText = 0xFFFFFFFF;
// Text placement in layout units.
constexpr int LabelGap = 4, TextMarginX = 3, CaretHeight = 12;
constexpr int TabPadding = 10;

// ---- Fill and bevel -----------------------------------------------------------------------------

static uint32_t Pair(bool selected, uint32_t normal, uint32_t chosen) {
    return selected ? chosen : normal;
}

static uint32_t FillOf(const Gadget* g, bool sel) {
    uint32_t f = g->Flags;
    if (f & GF_COLOUR) return g->Colour | 0xFF000000u;
    if (f & (GF_SMALL_ACTION | GF_DRAG_COLOURS)) return Pair(sel, DRAGBUTTONCOLOR, DRAGBUTTONSELECTCOLOR);
    if (f & GF_FLAT) return sel ? BACKGROUNDCOLOR ^ 0xFFFFFFu : BACKGROUNDCOLOR;
    if (f & GF_ACTION) return Pair(sel, ACTIONBUTTONCOLOR, ACTIONBUTTONSELECTCOLOR);
    if (f & GF_DIALOG) return Pair(sel, DIALOGBUTTONCOLOR, DIALOGBUTTONSELECTCOLOR);
    if (f & GF_STAT) return Pair(sel, STATBUTTONCOLOR, STATBUTTONSELECTCOLOR);
    if (f & GF_MARKED) return DRAGBUTTONCOLOR;
    if (f & (GF_STRING | GF_SUNKEN)) return INFOAREACOLOR;
    return PlainFill;
}

// Stops spread over the length, each span interpolated channel by channel.
static void FillGradient(Bitmap* s, const Gadget* g, bool across) {
    const ColourList* list = g->Gradient;
    int x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    int n = UiLine();
    x += n, y += n, w -= 2 * n, h -= 2 * n;
    if (w < 1 || h < 1) return;
    if (!list || list->Count < 1 || !list->Colours) return;
    if (list->Count < 2) {
        FillBox(s, x, y, x + w - 1, y + h - 1, list->Colours[0] | 0xFF000000u);
        return;
    }
    int length = across ? w : h;
    for (int i = 0; i < length; i++) {
        // Fixed point of 10 bits along the stops.
        int64_t pos = int64_t(i) * (list->Count - 1) * 1024 / std::max(1, length - 1);
        int k = int(pos >> 10), t = int(pos & 1023);
        if (k >= list->Count - 1) k = list->Count - 2, t = 1024;
        uint32_t a = list->Colours[k], b = list->Colours[k + 1], c = 0xFF000000u;
        for (int sh = 0; sh < 24; sh += 8) {
            int ca = int((a >> sh) & 255), cb = int((b >> sh) & 255);
            c |= uint32_t(ca + ((cb - ca) * t + 512) / 1024) << sh;
        }
        if (across)
            FillBox(s, x + i, y, x + i, y + h - 1, c);
        else
            FillBox(s, x, y + i, x + w - 1, y + i, c);
    }
}

static void DrawBody(Bitmap* s, const Gadget* g, uint32_t fill) {
    int l = g->Left, t = g->Top, r = g->Right, b = g->Bottom;
    uint32_t f = g->Flags;
    if ((f & (GF_INERT | GF_FRAME)) == (GF_INERT | GF_FRAME)) {
        bool sunken = f & GF_SUNKEN;
        UiBevel(s, l, t, r, b, sunken ? FrameDark : FrameLight, sunken ? FrameLight : FrameDark);
        UiBevel(s, l + 1, t + 1, r - 1, b - 1, sunken ? FrameLight : FrameDark,
                sunken ? FrameDark : FrameLight);
        return;
    }
    uint32_t light = LightColour(BACKGROUNDCOLOR), dark = DarkColour(BACKGROUNDCOLOR);
    if ((f & (GF_INERT | GF_HSEPARATOR)) == (GF_INERT | GF_HSEPARATOR)) {
        UiFill(s, l, t, r, t, dark);
        UiFill(s, l, t + 1, r, t + 1, Black);
        UiFill(s, l, t + 2, r, t + 2, light);
        return;
    }
    if ((f & (GF_INERT | GF_VSEPARATOR)) == (GF_INERT | GF_VSEPARATOR)) {
        UiFill(s, l, t, l, b, dark);
        UiFill(s, l + 1, t, l + 1, b, Black);
        UiFill(s, l + 2, t, l + 2, b, light);
        return;
    }
    if (!(f & GF_NOFILL)) UiFill(s, l, t, r, b, fill);
    if (f & (GF_HGRADIENT | GF_VGRADIENT)) FillGradient(s, g, f & GF_HGRADIENT);
    if (f & GF_FLAT) return;
    uint32_t fl = LightColour(fill), fd = DarkColour(fill);
    if (f & (GF_SUNKEN | GF_STRING)) {
        UiBevel(s, l, t, r, b, fd, fl);
        return;
    }
    UiBevel(s, l + 1, t + 1, r - 1, b - 1, fl, fd);
    UiBevel(s, l, t, r, b, Black, Black);
}

// ---- Pictures and label ---------------------------------------------------------------------------

static void DrawPicture(Bitmap* s, const Gadget* g, const Bitmap* picture) {
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

static bool LabelOutside(const Gadget* g) {
    return g->LabelFlags & (LF_LEFT_OF | LF_RIGHT_OF | LF_ABOVE | LF_BELOW);
}

// The label's line: top-left pixel and the clip rectangle it may use.
static void LabelPlace(const GuiWindow* window, const Gadget* g, const char* text, int* px, int* py,
                       int clip[4]) {
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

static const char* LabelText(const Gadget* g) {
    return g->Label;
}

static void DrawCycleChoice(GuiWindow* window, const Gadget* g) {
    const char* text = CycleText(g);
    if (!text) return;
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int n = UiLine();
    int right = gx + gw - 1 - UiPx(4 + 9 + 2); // the mark keeps its place
    DrawText(window->Surface, gx + UiPx(LabelGap), gy + (gh - FontLineHeight() + 1) / 2, text, -1,
             INFOAREATEXTCOLOR, gx + n, gy + n, right, gy + gh - 1 - n);
}

static void DrawLabel(GuiWindow* window, const Gadget* g, uint32_t fill) {
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

static void DrawCommandKey(GuiWindow* window, const Gadget* g, uint32_t fill) {
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

static void DrawString(GuiWindow* window, Gadget* g, uint32_t fill) {
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

static void DrawTabs(GuiWindow* window, const Gadget* g) {
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

static void DrawScroller(GuiWindow* window, const Gadget* g) {
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

// ---- GadgetDraw
// ----------------------------------------------------------------------------------------------

void GadgetDraw(Gadget* g, GuiWindow* window) {
    if (!g || !window || !window->Surface || (g->Flags & GF_HIDDEN)) return;
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    if (gx >= int(window->Width) || gy >= int(window->Height) || gx + gw <= 0 || gy + gh <= 0) return;
    if (g->Id == GADGET_DEPTH && !(g->Flags & GF_COLOUR)) {
        g->Colour = 0xFF9696FF;
        g->Flags |= GF_COLOUR;
    }
    Bitmap* s = window->Surface;
    // The press feedback shows the other state for as long as the button is held.
    bool selected = ((g->Flags & GF_SELECTED) != 0) != (g == FeedbackGadget && window == FeedbackWindow);
    uint32_t fill = FillOf(g, selected);
    if (g->Scroller) {
        DrawScroller(window, g);
    } else if (g->Tabs && !(g->Flags & GF_CYCLE)) {
        DrawTabs(window, g);
    } else {
        DrawBody(s, g, fill);
    }
    const IconRef* image = selected && g->ImageOn ? g->ImageOn : g->Image;
    if ((g->Flags & GF_CHECKBOX) && !selected) image = nullptr;
    if ((g->Flags & GF_CHECKBOX) && selected && !image) image = &IconTick;
    if (image) {
        int w = g->Right - g->Left + 1, h = g->Bottom - g->Top + 1;
        int x = g->Left + (w - int(image->Width)) / 2 + g->ImageDx;
        int y = g->Top + (h - int(image->Height)) / 2 + g->ImageDy;
        uint32_t ink = g->Id == GADGET_CLOSE      ? White
                       : (g->Flags & GF_CHECKBOX) ? INFOAREATEXTCOLOR
                                                  : DarkColour(DarkColour(fill));
        if (g->Id == GADGET_SIZE) ink = DRAGBUTTONCOLOR;
        DrawIcon(s, image, x, y, ink);
    }
    const Bitmap* picture = selected && g->PictureOn ? g->PictureOn : g->Picture;
    if (picture) DrawPicture(s, g, picture);
    if (g->Flags & (GF_MARKED | GF_CYCLE))
        DrawIcon(s, &IconMark, g->Right - 4 - int(IconMark.Width) + 1,
                 g->Top + (g->Bottom - g->Top + 1 - 5) / 2, DarkColour(DarkColour(fill)));
    DrawCommandKey(window, g, fill);
    if ((g->Flags & GF_STRING) && g->String) DrawString(window, g, fill);
    DrawCycleChoice(window, g);
    DrawLabel(window, g, fill);
    if (selected && !(g->Flags & GF_COLOURED_STATE) && !(g->Flags & GF_STRING)) {
        if ((g->Flags & GF_MARKED) && !(g->Flags & GF_FLAT)) {
            UiInvert(s, g->Left + 1, g->Top + 1, g->Right, g->Bottom);
            UiInvert(s, g->Left + 2, g->Top + 2, g->Right - 2, g->Bottom - 2);
        } else if (!(g->Flags & GF_FLAT)) {
            UiInvert(s, g->Left + 1, g->Top + 1, g->Right - 1, g->Bottom - 1);
        }
    }
    if (GadgetDrawnHook)
        GadgetDrawnHook(window, g, LabelText(g), window->Left + gx, window->Top + gy, gw, gh);
}

// ---- Showing and selecting
// ------------------------------------------------------------------------------------

void GadgetShow(GuiWindow* window, Gadget* g) {
    if (!g || !WindowInList(window)) return;
    int x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    WindowRefreshRect(window, x, y, w, h);
    const char* text = LabelText(g);
    if (LabelOutside(g) && text && *text) {
        int lx, ly, clip[4];
        LabelPlace(window, g, text, &lx, &ly, clip);
        WindowRefreshRect(window, lx, ly, TextWidth(text) + 2, FontLineHeight() + 1);
    }
}

void GadgetRefresh(Gadget* g, GuiWindow* window) {
    if (!g || !window) return;
    GadgetDraw(g, window);
    GadgetShow(window, g);
}

void WindowDrawText(GuiWindow* window, int32_t x, int32_t y, const char* text, uint32_t colour) {
    if (!window || !window->Surface) return;
    UiText(window->Surface, x, y, text, colour, 0, 0, window->LayoutWidth - 1, window->LayoutHeight - 1);
}

int GadgetSelect(GuiWindow* window, Gadget* g) {
    if (!g) return -1;
    if (g->Flags & GF_NO_FEEDBACK) return 0;
    if (g->Flags & GF_SELECTED) return 0;
    g->Flags |= GF_SELECTED;
    GadgetRefresh(g, window);
    return 1;
}

int GadgetDeselect(GuiWindow* window, Gadget* g) {
    if (!g || (g->Flags & GF_LOCKED) || !(g->Flags & GF_SELECTED)) return 0;
    g->Flags &= ~GF_SELECTED;
    GadgetRefresh(g, window);
    return 1;
}

} // namespace nemu
