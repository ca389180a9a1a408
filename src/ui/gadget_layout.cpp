// Finding rows, the hit test, and the layout of a window's rows: the system gadgets of
// the title bar and frame placed from the right, and the forced sizes of the special kinds.
#include "store/bitmap.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/ui_scale.h"

#include <cstdio>
#include <initializer_list>

namespace nemu {

// ---- Finding rows ------------------------------------------------------------------------------

Gadget* GadgetById(int32_t id, Gadget* rows) {
    for (Gadget* g = rows; g && g->Id != 0; g++)
        if (g->Id == id) return g;
    return nullptr;
}

Gadget* WindowGadgetById(GuiWindow* window, int32_t id) {
    if (!window) return nullptr;
    Gadget* g = GadgetById(id, window->Gadgets);
    return g ? g : GadgetById(id, window->DynGadgets);
}

// Open on the left and top, closed on the right and bottom; hidden rows are still hit.
Gadget* GadgetAt(int32_t x, int32_t y, Gadget* rows) {
    for (Gadget* g = rows; g && g->Id != 0; g++)
        if (!(g->Flags & GF_INERT) && g->Left < x && x <= g->Right && g->Top < y && y <= g->Bottom) return g;
    return nullptr;
}

Gadget* WindowGadgetAt(int32_t x, int32_t y, GuiWindow* window) {
    if (!window) return nullptr;
    // A pixel belongs to the layout unit that covers it.
    int32_t ux = UiUnit(x), uy = UiUnit(y);
    Gadget* g = GadgetAt(ux, uy, window->Gadgets);
    return g ? g : GadgetAt(ux, uy, window->DynGadgets);
}

void GadgetPixelRect(const Gadget* g, int32_t* x, int32_t* y, int32_t* w, int32_t* h) {
    if (!g) {
        *x = *y = *w = *h = 0;
        return;
    }
    UiSpan(g->Left, g->Right, x, w);
    UiSpan(g->Top, g->Bottom, y, h);
}

// ---- Layout ---------------------------------------------------------------------------------------

// Sizes of the title bar, in layout units.
constexpr int16_t TitleBottom = 17, CloseWidth = 14, DepthWidth = 15, OptionWidth = 14, OptionAWidth = 16;
constexpr int16_t SizeGadget = 13;
constexpr int16_t SmallButtonW = 19, SmallButtonH = 16;

static void ForceKinds(Gadget* rows) {
    for (Gadget* g = rows; g && g->Id != 0; g++) {
        if (g->Flags & GF_SMALL_ACTION) {
            g->Right = int16_t(g->Left + SmallButtonW - 1);
            g->Bottom = int16_t(g->Top + SmallButtonH - 1);
            g->Flags |= 0x20080042u;
            if (!g->Image) g->Image = &IconArrowRight;
        }
        if (g->Flags & GF_CHECKBOX) {
            g->Right = int16_t(g->Left + SmallButtonW - 1);
            g->Bottom = int16_t(g->Top + SmallButtonH - 1);
            g->Flags |= GF_STAT;
            if (!(g->LabelFlags & (LF_RIGHT_OF | LF_CENTRE | LF_RIGHT_IN))) g->LabelFlags |= LF_LEFT_OF;
        }
        if ((g->Flags & (GF_INERT | GF_HSEPARATOR)) == (GF_INERT | GF_HSEPARATOR))
            g->Bottom = int16_t(g->Top + 2);
        if ((g->Flags & (GF_INERT | GF_VSEPARATOR)) == (GF_INERT | GF_VSEPARATOR))
            g->Right = int16_t(g->Left + 2);
        if ((g->Flags & GF_CYCLE) && !(g->Flags & GF_MARKED)) g->Flags |= GF_RIGHT;
    }
}

void WindowLayoutRows(GuiWindow* window) {
    if (!window) return;
    Gadget* rows = window->Gadgets;
    ForceKinds(rows);
    ForceKinds(window->DynGadgets);
    bool thin = window->Flags & WINDOW_THIN_FRAME;
    int16_t W = int16_t(window->LayoutWidth), H = int16_t(window->LayoutHeight);
    int16_t r = int16_t(thin ? W - 1 : W - 2), m = thin ? 1 : 2;
    auto titleRow = [&](Gadget* g, int16_t width, const IconRef* icon) {
        g->Left = int16_t(r - width);
        g->Right = r;
        g->Top = int16_t(m + 1);
        g->Bottom = TitleBottom - 1;
        if (!g->Image) g->Image = icon;
    };
    bool title = false;
    if (Gadget* g = GadgetById(GADGET_CLOSE, rows)) {
        titleRow(g, CloseWidth + 2, &IconClose);
        g->Right = int16_t(r - 2);
        g->Flags |= GF_COLOUR;
        g->Colour = SYSBUTTONCOLOR;
        r = int16_t(r - 19);
        title = true;
    }
    if (Gadget* g = GadgetById(GADGET_DEPTH, rows)) {
        titleRow(g, DepthWidth, &IconDepth);
        r = int16_t(r - 15);
        title = true;
    }
    if (Gadget* g = GadgetById(GADGET_TITLE_B, rows)) {
        titleRow(g, OptionWidth, &IconMenu);
        r = int16_t(r - 15);
        title = true;
    }
    if (Gadget* g = GadgetById(GADGET_TITLE_A, rows)) {
        titleRow(g, OptionAWidth, &IconMenu);
        r = int16_t(r - 17);
        title = true;
    }
    if (Gadget* g = GadgetById(GADGET_DRAG, rows)) {
        g->Left = thin ? 1 : 2;
        g->Right = int16_t(r - 1);
        g->Top = m;
        g->Bottom = TitleBottom;
        g->Flags |= GF_FLAT | GF_COLOUR;
        g->Colour = (window->Flags & WINDOW_INACTIVE_TITLE) ? TITLEBARDESELECTCOLOR : TITLEBARCOLOR;
        title = true;
    }
    if (Gadget* g = GadgetById(GADGET_FRAME, rows)) {
        g->Left = 3;
        g->Right = int16_t(W - 4);
        g->Top = title ? 19 : 1;
        g->Bottom = int16_t(H - 4);
        g->Flags |= GF_INERT | GF_FRAME | GF_SUNKEN;
    }
    if (Gadget* g = GadgetById(GADGET_SIZE, rows)) {
        g->Right = int16_t(W - 3);
        g->Bottom = int16_t(H - 3);
        g->Left = int16_t(g->Right - SizeGadget + 1);
        g->Top = int16_t(g->Bottom - SizeGadget + 1);
        g->Flags |= GF_FLAT | GF_NO_FEEDBACK;
        if (!g->Image) g->Image = &IconSize;
        window->Flags |= WINDOW_RESIZABLE;
    }
    window->OnEdgePress = window->OnEdgePress ? window->OnEdgePress : WindowEdgePress;
    window->PointerAt = window->PointerAt ? window->PointerAt : WindowPointerAt;
}

// The title strip behind the title-bar gadgets.
static void PaintTitleStrip(GuiWindow* window) {
    Gadget* bar = WindowGadgetById(window, GADGET_DRAG);
    if (!bar) return;
    int16_t W = int16_t(window->LayoutWidth);
    bool thin = window->Flags & WINDOW_THIN_FRAME;
    UiFill(window->Surface, thin ? 0 : 2, thin ? 0 : 2, thin ? W - 1 : W - 3, TitleBottom, bar->Colour);
}

void WindowDrawRows(GuiWindow* window) {
    if (!window) return;
    PaintTitleStrip(window);
    for (Gadget* list : {window->Gadgets, window->DynGadgets})
        for (Gadget* g = list; g && g->Id != 0; g++) {
            if ((g->Flags & GF_STRING) && g->String && g->String->Cursor < 0) {
                if (g->String->StrFlags & STR_INTEGER)
                    std::snprintf(g->String->Buffer, g->String->MaxLen, "%d", g->String->IntValue);
                else if (g->String->StrFlags & STR_DECIMAL)
                    std::snprintf(g->String->Buffer, g->String->MaxLen, "%.2f", g->String->FloatValue);
            }
            GadgetDraw(g, window);
        }
    if (window->Open) WindowRefresh(window);
}

// ---- System rows ----------------------------------------------------------------------------------------

Gadget* SystemRows(uint32_t mask) {
    // Built afresh on each call; the table is shared, so a panel copies it if it keeps it.
    static Gadget rows[8];
    static const struct {
        uint32_t Bit;
        int32_t Id;
    } Order[] = {{1, GADGET_DRAG},     {2, GADGET_CLOSE},    {4, GADGET_DEPTH}, {8, GADGET_FRAME},
                 {32, GADGET_TITLE_A}, {64, GADGET_TITLE_B}, {16, GADGET_SIZE}};
    int n = 0;
    for (const auto& o : Order)
        if (mask & o.Bit) {
            rows[n] = Gadget{};
            rows[n].Id = o.Id;
            n++;
        }
    rows[n] = Gadget{};
    return rows;
}

} // namespace nemu
