// Row tables of the panels, and their sliders.
#include "ui/panel_rows.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nemu {

Gadget& RowTable::Add() {
    Gadget* g = &Rows[std::min(Count, Capacity - 2)];
    if (Count < Capacity - 1) Count++;
    *g = Gadget{};
    Rows[Count] = Gadget{};
    return *g;
}

void RowTable::Clear() {
    Count = 0;
    Rows[0] = Gadget{};
}

void AddTitleRows(RowTable& t, const char* title) {
    Gadget& drag = t.Add();
    drag.Id = GADGET_DRAG;
    drag.Label = title;
    t.Add().Id = GADGET_DEPTH;
    t.Add().Id = GADGET_CLOSE;
}

Gadget& AddButton(RowTable& t, int32_t id, int16_t l, int16_t top, int16_t r, int16_t b, uint32_t flags,
                  const char* label, const char* help) {
    Gadget& g = t.Add();
    g.Left = l, g.Top = top, g.Right = r, g.Bottom = b;
    g.Id = id;
    g.Flags = flags;
    g.Label = label;
    g.LabelFlags = (flags & GF_CHECKBOX) ? LF_LEFT_OF : LF_CENTRE;
    g.Help = help;
    return g;
}

Gadget& AddLabel(RowTable& t, int16_t x, int16_t y, int16_t w, const char* text) {
    Gadget& g = t.Add();
    g.Left = x, g.Top = y, g.Right = int16_t(x + w), g.Bottom = int16_t(y + 13);
    g.Id = 9999; // inert: never hit, never looked up
    g.Flags = GK_LABEL;
    g.Label = text;
    g.LabelFlags = 0;
    return g;
}

// ---- Sliders ----------------------------------------------------------------------------------------------

// The knob is a tenth of the range wide, and a press beside it moves the value by that much.
static int32_t SliderPage(const SliderState& s) { return std::max(1, (s.Max - s.Min) / 10); }

static void SliderDragged(GuiWindow* window, Gadget* g, void*) {
    if (window->OnGadget) window->OnGadget(window, g, GC_PRESS);
}

static void InitNumber(StringInfo& info, char* text, uint32_t size, int32_t min, int32_t max) {
    info = StringInfo{};
    info.Buffer = text;
    info.MaxLen = size;
    info.StrFlags = STR_INTEGER;
    info.Cursor = -1;
    info.SelectAnchor = -1;
    info.Min = min;
    info.Max = max;
    info.IntValue = min;
    text[0] = 0;
}

void AddNumber(RowTable& t, StringInfo& info, char* text, uint32_t textSize, int32_t id, int16_t l, int16_t top,
               int16_t r, int32_t min, int32_t max, const char* label, const char* help) {
    InitNumber(info, text, textSize, min, max);
    Gadget& g = t.Add();
    g.Left = l, g.Top = top, g.Right = r, g.Bottom = int16_t(top + RowHeight - 1);
    g.Id = id;
    g.Flags = GK_NUMBER;
    g.String = &info;
    g.Label = label;
    g.LabelFlags = LF_LEFT_OF;
    g.Help = help;
}

void AddSlider(RowTable& t, SliderState& s, int32_t id, int16_t x, int16_t y, int16_t w, int32_t min,
               int32_t max, const char* label, const char* help) {
    s.Min = min, s.Max = max;
    s.Scroll = ScrollerInfo{};
    const int32_t page = SliderPage(s);
    s.Scroll.XVisible = page;
    s.Scroll.XTotal = max - min + page;
    s.Scroll.OnDrag = SliderDragged;
    s.Scroll.UserData = &s;
    Gadget& g = t.Add();
    g.Left = x, g.Top = int16_t(y + 2), g.Right = int16_t(x + w - 1), g.Bottom = int16_t(y + RowHeight - 3);
    g.Id = id;
    g.Scroller = &s.Scroll;
    g.Label = label;
    g.LabelFlags = LF_LEFT_OF;
    g.Help = help;
    AddNumber(t, s.Number, s.Text, sizeof s.Text, id + 1, int16_t(x + w + 4), y,
              int16_t(x + w + 4 + SliderFieldWidth - 1), min, max, nullptr, help);
}

static SliderState* StateOf(GuiWindow* window, int32_t id, Gadget** slider, Gadget** field) {
    *slider = WindowGadgetById(window, id);
    *field = WindowGadgetById(window, id + 1);
    if (!*slider || !(*slider)->Scroller || !*field || !(*field)->String) return nullptr;
    return static_cast<SliderState*>((*slider)->Scroller->UserData);
}

void SliderSet(GuiWindow* window, int32_t id, int32_t value) {
    Gadget *slider, *field;
    SliderState* s = StateOf(window, id, &slider, &field);
    if (!s) return;
    value = std::clamp(value, s->Min, s->Max);
    s->Scroll.XPos = value - s->Min;
    field->String->IntValue = value;
    GadgetRefresh(slider, window);
    SetStringInt(window, field);
}

bool IsSlider(const Gadget* g, int32_t id) { return g && (g->Id == id || g->Id == id + 1); }

int32_t SliderTake(GuiWindow* window, Gadget* g) {
    if (!g) return 0;
    const int32_t id = g->Scroller ? g->Id : g->Id - 1;
    Gadget *slider, *field;
    SliderState* s = StateOf(window, id, &slider, &field);
    if (!s) return 0;
    const int32_t value = g->Scroller ? s->Min + s->Scroll.XPos : field->String->IntValue;
    SliderSet(window, id, value);
    return std::clamp(value, s->Min, s->Max);
}

void NumberSet(GuiWindow* window, int32_t id, int32_t value) {
    Gadget* g = WindowGadgetById(window, id);
    if (!g || !g->String) return;
    StringInfo* si = g->String;
    si->IntValue = std::clamp(value, si->Min, si->Max);
    if (si->StrFlags & STR_READONLY) {
        // The toolkit leaves the text of a read-only field to its owner.
        std::snprintf(si->Buffer, si->MaxLen, "%d", si->IntValue);
        GadgetRefresh(g, window);
    } else {
        SetStringInt(window, g);
    }
}

void RowSelect(GuiWindow* window, int32_t id, bool on) {
    Gadget* g = WindowGadgetById(window, id);
    if (!g || ((g->Flags & GF_SELECTED) != 0) == on) return;
    if (on)
        g->Flags |= GF_SELECTED;
    else
        g->Flags &= ~GF_SELECTED;
    GadgetRefresh(g, window);
}

} // namespace nemu
