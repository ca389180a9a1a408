// Drawing gadget rows into a window's surface: fill, bevel, pictures and the selected
// state, then the parts of gadget_parts.cpp; showing rows on the screen, selecting them.
#include "host/platform.h"
#include "store/bitmap.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/gadget_parts.h"
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
