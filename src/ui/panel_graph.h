// Drawn areas of the panels that show a table of 0..255 values as a graph and let the
// pointer edit it: the response curves of the Pressure panel and the dab profile of the
// Pens panel. The area is a grid of cells, each CellUnits layout units square.
#pragma once
#include <cstdint>

namespace nemu {

struct GuiWindow;
struct Gadget;

constexpr int16_t CellUnits = 2;

// Paints the graph of values (count entries, 0..255, drawn left to right and bottom to
// top) into the area row, with a marker at cell (markX, markY) when markX >= 0, and shows it.
void DrawGraph(GuiWindow* window, Gadget* area, const uint8_t* values, int32_t count, int32_t markX,
               int32_t markY);
// The cell of the area under the pointer, limited to the area (cells 0..cellsX-1 across,
// 0..cellsY-1 from the bottom up).
void GraphCellAtPointer(const GuiWindow* window, const Gadget* area, int32_t cellsX, int32_t cellsY,
                        int32_t* cx, int32_t* cy);
// Runs while the left button stays down: calls step with each new cell under the pointer
// (and the first at once). Returns false when the window vanished.
bool GraphTrack(GuiWindow* window, Gadget* area, int32_t cellsX, int32_t cellsY,
                void (*step)(GuiWindow* window, Gadget* area, int32_t cx, int32_t cy));

} // namespace nemu
