// Graph areas: a framed grid, a quarter grid, the diagonal, the curve and its marker.
#include "ui/panel_graph.h"

#include "host/input.h"
#include "host/main_loop.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/ui_scale.h"

#include <algorithm>

namespace nemu {

constexpr int32_t GridParts = 4;       // quarter lines across and down
constexpr int32_t MarkerHalf = 2;      // the marker is 2 * MarkerHalf + 1 units square
constexpr uint32_t CurveColour = 0xFF202020;

void DrawGraph(GuiWindow* window, Gadget* g, const uint8_t* values, int32_t count, int32_t markX,
               int32_t markY) {
    if (!WindowInList(window) || !g || !window->Surface || count < 2) return;
    Bitmap* s = window->Surface;
    const int32_t l = g->Left + 1, t = g->Top + 1, r = g->Right - 1, b = g->Bottom - 1;
    const int32_t w = r - l + 1, h = b - t + 1;
    UiFill(s, l, t, r, b, INFOAREACOLOR);
    UiBevel(s, g->Left, g->Top, g->Right, g->Bottom, DarkColour(BACKGROUNDCOLOR), LightColour(BACKGROUNDCOLOR));
    const uint32_t grid = DarkColour(INFOAREACOLOR) | 0xFF000000;
    for (int i = 1; i < GridParts; i++) {
        UiFill(s, l + w * i / GridParts, t, l + w * i / GridParts, b, grid);
        UiFill(s, l, t + h * i / GridParts, r, t + h * i / GridParts, grid);
    }
    // The straight answer, for comparison, then the curve as a line of unit squares with
    // the gaps between neighbouring columns filled upright.
    for (int32_t x = 0; x < w; x++) {
        const int32_t y = b - x * (h - 1) / std::max(1, w - 1);
        UiFill(s, l + x, y, l + x, y, LightColour(grid));
    }
    int32_t last = -1;
    for (int32_t x = 0; x < w; x++) {
        const int32_t i = x * (count - 1) / std::max(1, w - 1);
        const int32_t y = b - values[i] * (h - 1) / 255;
        const int32_t from = last < 0 ? y : last;
        UiFill(s, l + x, std::min(from, y), l + x, std::max(from, y), CurveColour);
        last = y;
    }
    if (markX >= 0) {
        const int32_t mx = l + markX * CellUnits + CellUnits / 2, my = b - markY * CellUnits - CellUnits / 2;
        const int32_t ml = std::max(l, mx - MarkerHalf), mr = std::min(r, mx + MarkerHalf);
        const int32_t mt = std::max(t, my - MarkerHalf), mb = std::min(b, my + MarkerHalf);
        UiFill(s, ml, mt, mr, mb, DRAGBUTTONCOLOR);
        UiBevel(s, ml, mt, mr, mb, CurveColour, CurveColour);
    }
    GadgetShow(window, g);
}

void GraphCellAtPointer(const GuiWindow* window, const Gadget* g, int32_t cellsX, int32_t cellsY, int32_t* cx,
                        int32_t* cy) {
    const int32_t ux = UiUnit(WindowPointerX - window->Left) - (g->Left + 1);
    const int32_t uy = UiUnit(WindowPointerY - window->Top) - (g->Top + 1);
    *cx = std::clamp(ux / CellUnits, 0, cellsX - 1);
    *cy = cellsY - 1 - std::clamp(uy / CellUnits, 0, cellsY - 1);
}

bool GraphTrack(GuiWindow* window, Gadget* g, int32_t cellsX, int32_t cellsY,
                void (*step)(GuiWindow* window, Gadget* area, int32_t cx, int32_t cy)) {
    int32_t lastX = -1, lastY = -1;
    for (;;) {
        int32_t cx, cy;
        GraphCellAtPointer(window, g, cellsX, cellsY, &cx, &cy);
        if (cx != lastX || cy != lastY) {
            step(window, g, cx, cy);
            if (!WindowInList(window)) return false;
            lastX = cx, lastY = cy;
        }
        if (!LeftHeld || QuitFlag) return true;
        WaitEvent(1);
        if (!WindowInList(window)) return false;
    }
}

} // namespace nemu
