// Building the row tables of the panels in ui/panels.h: a table filled row by row with
// the title bar, buttons, check boxes, cycles, number fields and sliders, and the slider
// that the panels set values with (a scroller row whose knob is the value, and the number
// field beside it that shows and takes the same value).
#pragma once
#include <cstdint>

#include "ui/gadget.h"

namespace nemu {

// A table of at most Capacity rows, always ended by a row of id 0.
struct RowTable {
    Gadget* Rows;
    int32_t Capacity; // rows in the array, the end row included
    int32_t Count = 0;
    // A zeroed row at the end (the last row of the array is reused when full: a table
    // that overflows is a programmer's error, and it stays ended).
    Gadget& Add();
    void Clear();
};

// The drag bar with title, the depth and close gadgets.
void AddTitleRows(RowTable& t, const char* title);
// A button or toggle: rectangle in layout units (inclusive), flags GF_/GK_ bits, label centred.
Gadget& AddButton(RowTable& t, int32_t id, int16_t l, int16_t top, int16_t r, int16_t b, uint32_t flags,
                  const char* label, const char* help);
// A text outside any control, at layout (x, y) as the top of its line.
Gadget& AddLabel(RowTable& t, int16_t x, int16_t y, int16_t w, const char* text);

// ---- Sliders ----------------------------------------------------------------------------------------------
// The storage a slider row and its number field point at; one per slider, static.
struct SliderState {
    ScrollerInfo Scroll;
    StringInfo Number;
    char Text[12];
    int32_t Min, Max;
};
constexpr int16_t SliderFieldWidth = 36; // the number field beside a slider
constexpr int16_t RowHeight = 16;        // a slider or field row, in layout units

// A labelled slider from x to x + w (the label stands to its left), with its number field
// right of it. The slider's id is id, the field's id + 1. Presses and drags of the slider
// call the window's OnGadget with the slider and GC_PRESS; a committed field calls it with
// the field and the commit's code.
void AddSlider(RowTable& t, SliderState& s, int32_t id, int16_t x, int16_t y, int16_t w, int32_t min,
               int32_t max, const char* label, const char* help);
// Puts value (clamped) into both rows and shows them.
void SliderSet(GuiWindow* window, int32_t id, int32_t value);
// The value a slider or its field (either id) holds, after a press or a commit; both rows
// are brought to it. Returns the clamped value.
int32_t SliderTake(GuiWindow* window, Gadget* g);
// Whether g is the slider or the field of a slider row of id.
bool IsSlider(const Gadget* g, int32_t id);

// A number field alone: id, rectangle, range, label to its left.
void AddNumber(RowTable& t, StringInfo& info, char* text, uint32_t textSize, int32_t id, int16_t l, int16_t top,
               int16_t r, int32_t min, int32_t max, const char* label, const char* help);
// Sets a number field's value and shows it.
void NumberSet(GuiWindow* window, int32_t id, int32_t value);

// Selects or deselects a row by id and shows it (no handler runs).
void RowSelect(GuiWindow* window, int32_t id, bool on);

} // namespace nemu
