// toolkit_demo: starts Nemu in its window and shows one piece of the interface toolkit,
// for looking at it and for screenshots (tools/screenshots-toolkit.sh).
//
//   toolkit_demo panel   a panel with every kind of gadget; closes with its close gadget
//   toolkit_demo popup   a popup menu with a submenu, separators, ticks and keys
//   toolkit_demo ask     a yes-or-no question, then a number request
//   toolkit_demo progress  a progress box filling slowly until its Cancel is pressed
//
// NEMU_SCALE=2 shows it at twice the size.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "script/command_host.h"
#include "ui/gadget.h"
#include "ui/requests.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace nemu;

namespace {

const char* Mode = "panel";

PopupItem Brushes[] = {
    {"Round", 0, 11, nullptr, nullptr, nullptr, POPUP_CHECKED},
    {"Square", 0, 12, nullptr, nullptr, nullptr, 0},
    {"Chalk", 0, 13, nullptr, nullptr, nullptr, 0},
    {"From the picture", 0, 14, "B", nullptr, nullptr, 0},
    {nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
};

PopupItem Menu[] = {
    {"New layer", 0, 1, "Ctrl+N", nullptr, nullptr, 0},
    {"Duplicate layer", 0, 2, "Ctrl+D", nullptr, nullptr, 0},
    {"", 0, POPUP_SEPARATOR, nullptr, nullptr, nullptr, 0},
    {"Brush", 0, 3, nullptr, nullptr, Brushes, 0},
    {"Show grid", 0, 4, "G", nullptr, nullptr, POPUP_CHECKED},
    {"Merge down", 0, 5, nullptr, nullptr, nullptr, POPUP_DISABLED},
    {"", 0, POPUP_SEPARATOR, nullptr, nullptr, nullptr, 0},
    {"Red", 0xFFC83C32, 6, nullptr, nullptr, nullptr, 0},
    {"Blue", 0xFF3264C8, 7, nullptr, nullptr, nullptr, 0},
    {nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
};

char NameText[64] = "Background";
StringInfo Name = {0, NameText, sizeof NameText, 0,       0, 0, {0, 0},  -1, 0,      0,
                   0, 0,        nullptr,         nullptr, 0, 0, nullptr, -1, nullptr};
char SizeText[16] = "";
StringInfo Size = {0,   SizeText, sizeof SizeText, STR_INTEGER, 0, 0, {0, 0}, -1, 24,     1,
                   500, 0,        nullptr,         nullptr,     0, 0, "px",   -1, nullptr};
const char* ModeNames[] = {"Normal", "Multiply", "Screen", "Overlay"};
TabsInfo Modes = {0, 4, ModeNames};
const uint32_t Stops[] = {0xFF000000, 0xFFC83C32, 0xFFFFE070};
ColourList Ramp = {3, Stops};

Gadget Rows[] = {
    {.Id = GADGET_DRAG, .Label = "Layer"},
    {.Id = GADGET_DEPTH},
    {.Id = GADGET_CLOSE},
    {.Id = GADGET_FRAME},
    {.Left = 60,
     .Top = 26,
     .Right = 209,
     .Bottom = 41,
     .Id = 1,
     .Flags = GK_STRING,
     .String = &Name,
     .Label = "Name",
     .LabelFlags = LF_LEFT_OF},
    {.Left = 60,
     .Top = 48,
     .Right = 129,
     .Bottom = 63,
     .Id = 2,
     .Flags = GK_NUMBER,
     .String = &Size,
     .Label = "Size",
     .LabelFlags = LF_LEFT_OF},
    {.Left = 132, .Top = 48, .Id = 3, .Flags = GK_DRAG_VALUE},
    {.Left = 60,
     .Top = 70,
     .Right = 169,
     .Bottom = 87,
     .Id = 4,
     .Flags = GK_CYCLE,
     .Label = "Mode",
     .LabelFlags = LF_LEFT_OF,
     .Tabs = &Modes},
    {.Left = 60, .Top = 94, .Id = 5, .Flags = GK_CHECKBOX | GF_SELECTED, .Label = "Visible"},
    {.Left = 150, .Top = 94, .Id = 6, .Flags = GK_CHECKBOX, .Label = "Lock"},
    {.Left = 8, .Top = 116, .Right = 209, .Bottom = 118, .Id = 7, .Flags = GF_INERT | GF_HSEPARATOR},
    {.Left = 8,
     .Top = 124,
     .Right = 69,
     .Bottom = 143,
     .Id = 8,
     .Flags = GK_TOGGLE,
     .Label = "Onion",
     .LabelFlags = LF_CENTRE},
    {.Left = 76,
     .Top = 124,
     .Right = 141,
     .Bottom = 143,
     .Id = 9,
     .Flags = GK_TOGGLE | GF_SELECTED,
     .Label = "Wet",
     .LabelFlags = LF_CENTRE},
    {.Left = 148,
     .Top = 124,
     .Right = 209,
     .Bottom = 143,
     .Id = 10,
     .Flags = GK_COLOUR_BOX,
     .Colour = 0xFFC83C32},
    {.Left = 8,
     .Top = 150,
     .Right = 209,
     .Bottom = 165,
     .Id = 11,
     .Flags = GF_HGRADIENT | GF_SUNKEN,
     .Gradient = &Ramp},
    {.Left = 8,
     .Top = 174,
     .Right = 101,
     .Bottom = 193,
     .Id = 12,
     .Flags = GK_DIALOG_BUTTON,
     .Help = "Keep the changes",
     .Label = "Apply",
     .LabelFlags = LF_CENTRE},
    {.Left = 116,
     .Top = 174,
     .Right = 209,
     .Bottom = 193,
     .Id = 13,
     .Flags = GK_BUTTON,
     .Help = "Put the layer back as it was",
     .Label = "Reset",
     .LabelFlags = LF_CENTRE},
    {},
};

int32_t PanelGadget(GuiWindow* window, Gadget* g, int32_t code) {
    if (g && g->Id == 3 && code == GC_PRESS)
        ValueDrag(window, WindowGadgetById(window, 2), AdjustStringInt, nullptr);
    return 0;
}

void PanelClosed(GuiWindow* window) {
    WindowDelete(window);
    QuitFlag = 1;
}

// Waits (up to three seconds) for the pointer to come over the window, so that a popup
// opens where it stands.
void AwaitPointer() {
    double until = PlatformSeconds() + 3;
    while (WindowPointerX == PointerAwayCoord && PlatformSeconds() < until && !QuitFlag) WaitEvent(10);
}

void Show() {
    if (!std::strcmp(Mode, "popup")) {
        AwaitPointer();
        PopupItem* picked = PopupMenu(Menu, 0);
        std::printf("%s\n", picked ? picked->Text : "(none)");
        QuitFlag = 1;
        return;
    }
    if (!std::strcmp(Mode, "progress")) {
        UserBreak = 0;
        ProgressOpen("Saving \"sketch.nem\"\n24 layers, 1920 by 1080");
        for (int i = 0; i <= 1000 && !UserBreak && !QuitFlag; i++) {
            ProgressStep(i, 1000);
            GuiSleepTicks(1);
        }
        ProgressClose();
        QuitFlag = 1;
        return;
    }
    if (!std::strcmp(Mode, "ask")) {
        int yes = AskYesNo("Save the changes to \"sketch.nem\"\nbefore closing?", "Save", "Discard");
        int32_t value = 24;
        int r = AskNumber("Brush size", &value, 1, 500);
        std::printf("%d %d %d\n", yes, r, value);
        QuitFlag = 1;
        return;
    }
    GuiWindow* w = WindowFromRows(218, 202, Rows);
    if (!w) {
        QuitFlag = 1;
        return;
    }
    w->OnGadget = PanelGadget;
    w->OnClose = PanelClosed;
    WindowOpen(w);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) Mode = argv[1];
    const char* display = std::getenv("DISPLAY");
    StartBackend = display && *display ? BACKEND_X11 : BACKEND_HEADLESS;
    if (StartBackend == BACKEND_HEADLESS) HeadlessDialogs = 1;
    AfterStartHook = Show;
    return ProgramStart("");
}
