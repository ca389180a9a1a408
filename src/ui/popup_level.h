// Internal to the popup menu's two files: one open menu window (a level) with its rows'
// geometry, and what the tracking loop asks of it.
#pragma once
#include <cstdint>
#include <vector>

#include "ui/requests.h"

namespace nemu {

struct GuiWindow;

// Layout units.
constexpr int PopupRowHeight = 16, PopupPadding = 4, PopupScrollListLimit = 40;

struct Level {
    GuiWindow* Window = nullptr;
    PopupItem* Items = nullptr;
    int Count = 0;
    int Hot = -1;
    int ColumnWidth = 0;
    bool Swatches = false;
    std::vector<int> X, Y, H;   // each item's cell, layout units inside the window
    int First = 0, Visible = 0; // a scrolling list shows Visible rows from First
    bool Scrolls() const { return Visible < Count; }
};

bool Pickable(const PopupItem& item);
int ScreenUnits(bool height); // the screen's height (or width) in layout units
// The item's row on the window, in layout units; false when scrolled out of sight.
bool Cell(const Level& L, int i, int* x, int* y, int* w, int* h);
void DrawLevel(Level& L);
void SetHot(Level& L, int hot);
// Makes, places (by mode against the screen rectangle) and opens the window of a level.
bool OpenLevel(Level& L, PopupItem* items, int selected, bool scrollList, int mode, int x, int y, int w,
               int h);
void CloseLevelsFrom(std::vector<Level>& levels, size_t from);
// The deepest level whose window holds the pointer, and its row there (-1 for none).
bool ItemAtPointer(std::vector<Level>& levels, int* level, int* item);
void OpenSubmenu(std::vector<Level>& levels, size_t k, int item);
int StepHot(const Level& L, int from, int direction); // the next pickable row, or -1

} // namespace nemu
