// The Clock panel: the time of day in a small window, for an artist who paints full screen
// with the desktop's clock hidden. It takes the idle ticks of the main loop and redraws
// only when the shown second changes, so it costs nothing while the pen moves.
#include "ui/catalog.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"

#include <cstdio>
#include <ctime>
#include <string_view>

namespace nemu {

namespace {
enum ClockId : int32_t { IdTime = 1 };
constexpr int16_t PanelW = 96, PanelH = 44;

Gadget Rows[8];
char TimeText[16];

// "hh:mm:ss" of the local time now; false when the system cannot say.
bool FormatNow(char* text, size_t size) {
    const std::time_t t = std::time(nullptr);
    std::tm local{};
    if (!localtime_r(&t, &local)) return false;
    std::snprintf(text, size, "%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
    return true;
}

int32_t ClockGadget(GuiWindow* w, Gadget* g, int32_t code);

GuiWindow* BuildClock() {
    RowTable t{Rows, int32_t(sizeof Rows / sizeof Rows[0])};
    t.Clear();
    AddTitleRows(t, MsgGet(nullptr, 6251));
    if (!FormatNow(TimeText, sizeof TimeText)) TimeText[0] = 0;
    Gadget& time = AddButton(t, IdTime, 8, 22, PanelW - 9, PanelH - 6, GK_LABEL | GF_SUNKEN, TimeText,
                             MsgGet(nullptr, 6252));
    time.LabelFlags = LF_CENTRE | LF_VCENTRE;
    GuiWindow* w = WindowFromRows(PanelW, PanelH, Rows);
    if (w) {
        w->OnGadget = ClockGadget;
        w->Notify |= NOTIFY_IDLE;
    }
    return w;
}

int32_t ClockGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (g || code != GC_IDLE) return 0;
    char now[sizeof TimeText];
    if (!FormatNow(now, sizeof now)) return 0;
    if (std::string_view(now) == TimeText) return 0;
    std::snprintf(TimeText, sizeof TimeText, "%s", now);
    if (Gadget* row = WindowGadgetById(w, IdTime)) GadgetRefresh(row, w);
    return 0;
}

PanelSlot Slot{"Clock", BuildClock, nullptr};
} // namespace

void OpenClock() { PanelOpen(Slot); }

GuiWindow* ClockPanel() { return PanelWindow(Slot); }

PanelSlot& ClockSlot() { return Slot; }

} // namespace nemu
