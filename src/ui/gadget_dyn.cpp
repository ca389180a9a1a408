// Dynamic rows: a second table of gadgets a window builds at run time (plug-in requesters
// do), owned by the window and freed with it, together with what each row owns: its
// label and help copies, its StringInfo, scroller, tabs and pictures.
#include "store/bitmap.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

constexpr uint32_t MsgOutOfMemory = 1000;
constexpr int16_t DynRowHeight = 16, DynTabHeight = 17;

static int RowCount(const Gadget* rows) {
    int n = 0;
    while (rows && rows[n].Id != 0) n++;
    return n;
}

static char* Copy(const char* text) {
    return text ? strdup(text) : nullptr;
}

static void FreeRow(Gadget* g) {
    std::free(const_cast<char*>(g->Label));
    std::free(const_cast<char*>(g->Help));
    if (g->String) {
        std::free(g->String->Buffer);
        std::free(g->String->UndoText);
        std::free(g->String);
    }
    if (g->Scroller) {
        std::free(g->Scroller->Knob);
        std::free(g->Scroller);
    }
    if (g->Tabs) {
        for (int i = 0; i < g->Tabs->Count; i++) std::free(const_cast<char*>(g->Tabs->Labels[i]));
        std::free(g->Tabs->Labels);
        std::free(g->Tabs);
    }
    FreeBitmap(g->Picture);
    FreeBitmap(g->PictureOn);
}

Gadget* DynGadgetAdd(GuiWindow* window, int32_t id) {
    if (!WindowInList(window) || id == 0) return nullptr;
    StringDeactivate();
    int n = RowCount(window->DynGadgets);
    auto* rows = static_cast<Gadget*>(std::realloc(window->DynGadgets, sizeof(Gadget) * size_t(n + 2)));
    if (!rows) {
        AlertMsg(MsgOutOfMemory);
        return nullptr;
    }
    if (ActiveGadgetWindow == window) ActiveGadget = nullptr; // rows may have moved
    window->DynGadgets = rows;
    rows[n] = Gadget{};
    rows[n].Id = id;
    rows[n + 1] = Gadget{};
    return &rows[n];
}

Gadget* DynButton(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, int32_t h,
                  const char* label) {
    Gadget* g = DynGadgetAdd(window, id);
    if (!g) return nullptr;
    g->Left = int16_t(x), g->Top = int16_t(y), g->Right = int16_t(x + w - 1), g->Bottom = int16_t(y + h - 1);
    g->Flags = GK_BUTTON;
    g->Label = Copy(label);
    g->LabelFlags = LF_CENTRE;
    GadgetRefresh(g, window);
    return g;
}

Gadget* DynString(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, uint32_t maxLen,
                  const char* label) {
    if (maxLen < 1) maxLen = 1;
    auto* si = static_cast<StringInfo*>(std::calloc(1, sizeof(StringInfo)));
    char* buffer = static_cast<char*>(std::calloc(maxLen, 1));
    Gadget* g = si && buffer ? DynGadgetAdd(window, id) : nullptr;
    if (!g) {
        std::free(si);
        std::free(buffer);
        if (!si || !buffer) AlertMsg(MsgOutOfMemory);
        return nullptr;
    }
    si->Buffer = buffer;
    si->MaxLen = maxLen;
    si->Cursor = -1;
    si->SelectAnchor = -1;
    g->String = si;
    g->Left = int16_t(x), g->Top = int16_t(y), g->Right = int16_t(x + w - 1),
    g->Bottom = int16_t(y + DynRowHeight - 1);
    g->Flags = GK_STRING;
    g->Label = Copy(label);
    g->LabelFlags = LF_LEFT_OF;
    GadgetRefresh(g, window);
    return g;
}

Gadget* DynScroller(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, int32_t h) {
    auto* sc = static_cast<ScrollerInfo*>(std::calloc(1, sizeof(ScrollerInfo)));
    Gadget* g = sc ? DynGadgetAdd(window, id) : nullptr;
    if (!g) {
        std::free(sc);
        if (!sc) AlertMsg(MsgOutOfMemory);
        return nullptr;
    }
    sc->X = x, sc->Y = y, sc->BarW = w, sc->BarH = h;
    g->Scroller = sc;
    g->Left = int16_t(x), g->Top = int16_t(y), g->Right = int16_t(x + w - 1), g->Bottom = int16_t(y + h - 1);
    g->Flags = GF_IMMEDIATE | GF_NO_FEEDBACK;
    return g;
}

Gadget* DynTabs(GuiWindow* window, int32_t id, int32_t x, int32_t y, const char** labels, int32_t count) {
    if (count < 0) count = 0;
    auto* tabs = static_cast<TabsInfo*>(std::calloc(1, sizeof(TabsInfo)));
    auto** copies = static_cast<const char**>(std::calloc(size_t(count) + 1, sizeof(char*)));
    Gadget* g = tabs && copies ? DynGadgetAdd(window, id) : nullptr;
    if (!g) {
        std::free(tabs);
        std::free(copies);
        if (!tabs || !copies) AlertMsg(MsgOutOfMemory);
        return nullptr;
    }
    int width = 0;
    for (int i = 0; i < count; i++) {
        copies[i] = Copy(labels && labels[i] ? labels[i] : "");
        width += UiTextWidth(copies[i]) + 10;
    }
    tabs->Labels = copies;
    tabs->Count = count;
    g->Tabs = tabs;
    g->Left = int16_t(x), g->Top = int16_t(y), g->Right = int16_t(x + width - 1),
    g->Bottom = int16_t(y + DynTabHeight - 1);
    g->Flags = GF_IMMEDIATE | GF_NO_FEEDBACK;
    GadgetRefresh(g, window);
    return g;
}

void DynGadgetRemove(GuiWindow* window, int32_t id) {
    if (!WindowInList(window)) return;
    Gadget* g = GadgetById(id, window->DynGadgets);
    if (!g) return;
    if (ActiveGadget == g) {
        ActiveGadget = nullptr;
        ActiveGadgetWindow = nullptr;
    }
    UiFill(window->Surface, g->Left, g->Top, g->Right, g->Bottom, BACKGROUNDCOLOR);
    int x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    FreeRow(g);
    int n = RowCount(window->DynGadgets);
    int at = int(g - window->DynGadgets);
    std::memmove(g, g + 1, sizeof(Gadget) * size_t(n - at)); // the end row moves down too
    WindowRefreshRect(window, x, y, w, h);
}

void DynGadgetsFree(GuiWindow* window) {
    if (!window || !window->DynGadgets) return;
    for (Gadget* g = window->DynGadgets; g->Id != 0; g++) FreeRow(g);
    std::free(window->DynGadgets);
    window->DynGadgets = nullptr;
}

} // namespace nemu
