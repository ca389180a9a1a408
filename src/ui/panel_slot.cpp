// Panel slots: making, placing, closing and remembering the panels of ui/panels.h.
#include "ui/panel_slot.h"

#include "host/screen.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <cstdlib>

namespace nemu {

namespace {
constexpr int MaxSlots = 16;
PanelSlot* Slots[MaxSlots];
int SlotCount = 0;

// A stored place keeps the whole panel on this screen: negative becomes 0, and past the
// edge becomes the screen's size less the panel's.
void ClampToScreen(const GuiWindow* w, int32_t* x, int32_t* y) {
    const int32_t sw = Screen ? int32_t(Screen->Width) : 0, sh = Screen ? int32_t(Screen->Height) : 0;
    const int32_t maxX = sw - int32_t(w->Width), maxY = sh - int32_t(w->Height);
    if (*x > maxX) *x = maxX;
    if (*y > maxY) *y = maxY;
    if (*x < 0) *x = 0;
    if (*y < 0) *y = 0;
}

// Reads a whole number; false for an empty or malformed text.
bool ReadNumber(const char* section, const char* key, int32_t* out) {
    char text[32];
    ConfigGet(section, key, text, "", sizeof text);
    if (!*text) return false;
    char* end = nullptr;
    long v = std::strtol(text, &end, 10);
    if (end == text) return false;
    *out = int32_t(v < -1000000 ? -1000000 : v > 1000000 ? 1000000 : v);
    return true;
}
} // namespace

void PanelRegister(PanelSlot& slot) {
    for (int i = 0; i < SlotCount; i++)
        if (Slots[i] == &slot) return;
    if (SlotCount < MaxSlots) Slots[SlotCount++] = &slot;
}

GuiWindow* PanelWindow(PanelSlot& slot) {
    if (slot.Window && (!WindowInList(slot.Window) || slot.Window->Serial != slot.Serial)) slot.Window = nullptr;
    return slot.Window;
}

GuiWindow* PanelOpen(PanelSlot& slot) {
    PanelRegister(slot);
    GuiWindow* w = PanelWindow(slot);
    if (!w) {
        w = slot.Build ? slot.Build() : nullptr;
        if (!w) {
            AlertMsg(1000);
            return nullptr;
        }
        slot.Window = w;
        slot.Serial = w->Serial;
        w->OnClose = PanelCloseWindow;
        if (slot.Placed || slot.Home.FromRight >= 0) {
            int32_t x = slot.X, y = slot.Y;
            if (!slot.Placed) {
                x = (Screen ? int32_t(Screen->Width) : 0) - UiPx(slot.Home.FromRight) - int32_t(w->Width);
                y = UiPx(slot.Home.FromTop);
            }
            ClampToScreen(w, &x, &y);
            WindowMove(w, x, y);
        }
    }
    if (slot.Sync) slot.Sync(w);
    if (!WindowInList(w)) return nullptr;
    WindowOpen(w);
    WindowToFront(w, 0);
    return PanelWindow(slot);
}

void PanelClose(PanelSlot& slot) {
    GuiWindow* w = PanelWindow(slot);
    if (!w) return;
    slot.Placed = true;
    slot.X = w->Left;
    slot.Y = w->Top;
    slot.Window = nullptr;
    WindowDelete(w);
}

void PanelCloseWindow(GuiWindow* window) {
    for (int i = 0; i < SlotCount; i++)
        if (PanelWindow(*Slots[i]) == window) {
            PanelClose(*Slots[i]);
            return;
        }
    WindowDelete(window);
}

void PanelLoad(PanelSlot& slot) {
    PanelRegister(slot);
    int32_t x, y;
    if (ReadNumber(slot.Section, "WIN_X", &x) && ReadNumber(slot.Section, "WIN_Y", &y)) {
        slot.Placed = true;
        slot.X = x;
        slot.Y = y;
    }
    if (ConfigGetOn(slot.Section, "Display", false)) PanelOpen(slot);
}

void PanelSave(PanelSlot& slot) {
    GuiWindow* w = PanelWindow(slot);
    if (w) {
        slot.Placed = true;
        slot.X = w->Left;
        slot.Y = w->Top;
    }
    if (slot.Placed) {
        ConfigSetInt(slot.Section, "WIN_X", slot.X);
        ConfigSetInt(slot.Section, "WIN_Y", slot.Y);
    }
    ConfigSetOn(slot.Section, "Display", w && w->Open);
}

} // namespace nemu
