// The progress box, the note box and the busy note. The box is a window of its own with a
// bar, three captions and a Cancel button; each step drains the input, so the user can
// stop a long operation with the button, Space, Escape or Delete.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "script/command_host.h"
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"

#include <algorithm>
#include <string>
#include <vector>

namespace nemu {

ProgressHooks ProgressBox = {nullptr, nullptr, nullptr};
GuiWindow* ProgressWindow = nullptr;
int32_t GaugeOn = 1;

static int32_t PauseDepth = 0;
static int64_t LastFill = 0;
static GuiWindow* BusyWindow = nullptr;
static Gadget ProgressRows[4];

constexpr uint32_t MsgCancelProgress = 1007, MsgBusy = 7400, MsgLow = 7420, MsgMiddle = 7421, MsgHigh = 7422;
constexpr int BarWidth = 205, BarHeight = 16, LineHeight = 13, MinWidth = 250;
constexpr int CancelId = 1, BarId = 2;

static std::vector<std::string> Lines(const char* text) {
    std::vector<std::string> out;
    std::string t = text ? text : "";
    size_t start = 0;
    for (;;) {
        size_t nl = t.find('\n', start);
        out.push_back(t.substr(start, nl == std::string::npos ? std::string::npos : nl - start));
        if (nl == std::string::npos) break;
        start = nl + 1;
    }
    return out;
}

static int Widest(const std::vector<std::string>& lines) {
    int w = 0;
    for (const auto& l : lines) w = std::max(w, UiTextWidth(l.c_str()));
    return w;
}

static void CloseBox() {
    GuiWindow* w = ProgressWindow;
    ProgressWindow = nullptr;
    if (WindowInList(w)) WindowDelete(w);
}

// A box with the text's lines; with a bar and Cancel unless it is a note.
static void OpenBox(const char* text, bool withBar) {
    CloseBox();
    if (!DialogsShown() || !GaugeOn) return;
    BusyEnd();
    std::vector<std::string> lines = Lines(text);
    int W = std::max(MinWidth, Widest(lines) + 20 + 16);
    int H = int(lines.size()) * LineHeight + (withBar ? 82 : 30);
    for (Gadget& g : ProgressRows) g = Gadget{};
    if (withBar) {
        const char* cancel = MsgGet(nullptr, MsgCancelProgress);
        int bw = std::max(UiTextWidth(cancel) + 16, 60);
        Gadget& c = ProgressRows[0];
        c.Id = CancelId, c.Flags = GF_ACTION, c.Label = cancel, c.LabelFlags = LF_CENTRE;
        c.Left = int16_t((W - bw) / 2), c.Right = int16_t(c.Left + bw - 1), c.Top = int16_t(H - 30),
        c.Bottom = int16_t(H - 11);
        Gadget& b = ProgressRows[1];
        b.Id = BarId, b.Flags = GF_INERT | GF_SUNKEN;
        b.Left = int16_t((W - BarWidth) / 2), b.Right = int16_t(b.Left + BarWidth - 1);
        b.Top = int16_t(H - 52), b.Bottom = int16_t(H - 37);
    }
    ProgressRows[withBar ? 2 : 0].Id = GADGET_FRAME;
    GuiWindow* w = WindowFromRows(W, H, ProgressRows);
    if (!w) return;
    int y = 12;
    for (const auto& l : lines) {
        WindowDrawText(w, 16, y, l.c_str(), 0xFF000000);
        y += LineHeight;
    }
    if (withBar) {
        const Gadget& b = ProgressRows[1];
        const char* low = MsgGet(nullptr, MsgLow);
        const char* mid = MsgGet(nullptr, MsgMiddle);
        const char* high = MsgGet(nullptr, MsgHigh);
        int cy = b.Top - 14;
        WindowDrawText(w, b.Left, cy, low, INFOAREATEXTCOLOR);
        WindowDrawText(w, (b.Left + b.Right - UiTextWidth(mid)) / 2, cy, mid, INFOAREATEXTCOLOR);
        WindowDrawText(w, b.Right + 1 - UiTextWidth(high), cy, high, INFOAREATEXTCOLOR);
    }
    ProgressWindow = w;
    LastFill = 0;
    WindowOpen(w);
}

void ProgressOpen(const char* text) {
    if (PauseDepth <= 0) OpenBox(text, true);
    if (ProgressBox.Open) ProgressBox.Open(text);
}

void ProgressNote(const char* text) {
    if (PauseDepth <= 0) OpenBox(text, false);
}

// Reads what came in: the Cancel button, Space, Escape and Delete ask to stop.
static void DrainForBreak() {
    for (int code; (code = WaitEvent(0)) != 0;) {
        if (code == 1 && WindowInList(ProgressWindow)) {
            GuiWindow* w = ProgressWindow;
            Gadget* g = WindowGadgetAt(WindowPointerX - w->Left, WindowPointerY - w->Top, w);
            if (g && g->Id == CancelId) UserBreak = 1;
        }
        if (code == 4 && !KeyIsRelease(EventKeyCode)) {
            char c = EventKeyLength == 1 ? EventKeyText[0] : 0;
            if (c == ' ' || c == 27 || c == 127 || EventKeyCode == int32_t(VK_DELETE)) UserBreak = 1;
        }
    }
    if (BreakRequested) UserBreak = 1;
}

void ProgressStep(int64_t position, int64_t total) {
    if (PauseDepth <= 0 && WindowInList(ProgressWindow)) {
        DrainForBreak();
        if (!UserBreak && total >= 1 && WindowInList(ProgressWindow)) {
            const Gadget& b = ProgressRows[1];
            int64_t fill = (BarWidth - 2) * std::clamp<int64_t>(position, 0, total) / total;
            Bitmap* s = ProgressWindow->Surface;
            if (fill < LastFill) UiFill(s, b.Left + 1, b.Top + 1, b.Right - 1, b.Bottom - 1, INFOAREACOLOR);
            if (fill != LastFill) {
                if (fill > 0) UiFill(s, b.Left + 1, b.Top + 1, b.Left + int(fill), b.Bottom - 1, 0xFF000000);
                int x, y, w, h;
                GadgetPixelRect(&b, &x, &y, &w, &h);
                WindowRefreshRect(ProgressWindow, x, y, w, h);
                LastFill = fill;
            }
        }
    }
    if (ProgressBox.Step) ProgressBox.Step(position, total);
    // SIGINT or SIGTERM breaks off long work as the box's Cancel does, box or no box.
    if (PlatformStopSignal()) UserBreak = 1;
}

void ProgressClose() {
    if (PauseDepth <= 0) CloseBox();
    if (ProgressBox.Close) ProgressBox.Close();
}

void ProgressPause() {
    PauseDepth++;
}
void ProgressResume() {
    if (PauseDepth > 0) PauseDepth--;
}

// ---- The busy note ----------------------------------------------------------------------------------------

void BusyNote(const char* text) {
    BusyEnd();
    if (!DialogsShown()) return;
    const char* t = text && *text ? text : MsgGet(nullptr, MsgBusy);
    int W = UiTextWidth(t) + 32, H = 30;
    GuiWindow* w = WindowNew(W, H, WINDOW_KEEP_STRING);
    if (!w) return;
    WindowDrawText(w, 16, 8, t, 0xFF000000);
    BusyWindow = w;
    WindowOpen(w);
}

void BusyEnd() {
    GuiWindow* w = BusyWindow;
    BusyWindow = nullptr;
    if (WindowInList(w)) WindowDelete(w);
}

} // namespace nemu
