// Internal to the gadget drawing's two files: the parts of a row drawn over its body
// (pictures, labels, key texts, string fields, tabs and scrollers).
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct Gadget;
struct GuiWindow;

void DrawPicture(Bitmap* s, const Gadget* g, const Bitmap* picture);
bool LabelOutside(const Gadget* g);
// The label's line: top-left pixel, and the clip rectangle (x1, y1, x2, y2) it may use.
void LabelPlace(const GuiWindow* window, const Gadget* g, const char* text, int* px, int* py, int clip[4]);
const char* LabelText(const Gadget* g);
void DrawCycleChoice(GuiWindow* window, const Gadget* g);
void DrawLabel(GuiWindow* window, const Gadget* g, uint32_t fill);
void DrawCommandKey(GuiWindow* window, const Gadget* g, uint32_t fill);
void DrawString(GuiWindow* window, Gadget* g, uint32_t fill);
void DrawTabs(GuiWindow* window, const Gadget* g);
void DrawScroller(GuiWindow* window, const Gadget* g);

} // namespace nemu
