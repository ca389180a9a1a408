// Routing of input records, the pointer state, the pass's tool phase and the pressure
// computed from pointer speed.
//
// Sections: remote commands and pictures; DispatchInput; UpdatePointerState;
// DispatchTool and the stroke commit; SpeedPressure; hooks and input locks.
#include "files/image_import.h"
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "script/command_host.h"
#include "store/bitmap.h"
#include "store/undo.h"
#include "ui/commands.h"
#include "ui/window.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- Remote commands and delivered pictures ------------------------------------------------

// Once SIGINT or SIGTERM has asked the program to end, requests still queued are not
// run, and one broken off on the way is told so: both hear "BREAK".
static void RunThroughCommandHost(RemoteRequest* request) {
    if (!PlatformStopSignal())
        request->HasResult = RunRemoteText(request->Text, request->ResultText, sizeof request->ResultText,
                                           &request->Faulty)
                                 ? 1
                                 : 0;
    if (PlatformStopSignal()) BreakRequested = 1;
    ReplyRemote(request);
}

void (*RunRemoteCommand)(RemoteRequest* request) = RunThroughCommandHost;

static void TakePicture(Bitmap* picture) {
    if (!picture) return;
    // Keep it as it stands: a copy to the page's corner, clipped to the page. Choosing to
    // resize the page or scale the picture needs the dialog of the toolkit.
    if (Page) {
        CopyRectClipped(picture, 0, 0, Page, 0, 0, picture->Width, picture->Height);
        CommitWholePage();
        RefreshAll();
    }
    FreeBitmap(picture);
}

// Each dropped file comes in as a further layer, and goes in the recent list.
static void TakeDrop(char* names) {
    if (!names) return;
    for (const char* name = names; *name; name += std::strlen(name) + 1) ImportFile(name);
    std::free(names);
}

// ---- DispatchInput ---------------------------------------------------------------------------

static void TakeQualifiers(const InputMsg* msg) {
    ShiftHeld = (msg->Qualifiers & QUAL_SHIFT) ? 1 : 0;
    CtrlHeld = (msg->Qualifiers & QUAL_CTRL) ? 1 : 0;
    AltHeld = (msg->Qualifiers & QUAL_ALT) ? 1 : 0;
}

// The text a key record gives the key map: at most 15 bytes.
constexpr int KeyTextSize = 16;

static void DispatchKey(InputMsg* msg) {
    if (InputLocked) {
        if (ShiftHeld && CtrlHeld) UnlockInput();
        return;
    }
    if (DisplayHold > 0) {
        char text[16] = {};
        InputCharacters(msg, text, 15, 0);
        if (text[0] == ' ') EndDisplayHold();
        return;
    }
    // A modal window has the keys to itself, and a key pressed while a button is held
    // belongs to the stroke. The active field, or the window under the pointer, takes a
    // key first; the key map takes the rest.
    if (ModalWindow) return;
    TakeQualifiers(msg);
    if (LeftHeld || RightHeld) return;
    char text[KeyTextSize] = {};
    const int length = InputCharacters(msg, text, KeyTextSize - 1, 0);
    if (WindowKey(text, length, msg->Code, msg->Qualifiers)) return;
    HandleKey(msg->Code, text, msg->Qualifiers, length);
}

void DispatchInput(InputMsg* msg) {
    TakeQualifiers(msg);
    switch (msg->Type) {
    case IM_POINTER:
    case IM_BUTTON:
        // The third button hides every panel, or shows them again.
        if (UpdatePointerState(msg, 1) == -3 && !InputLocked) WindowToggleAll();
        break;
    case IM_KEY:
        DispatchKey(msg);
        break;
    case IM_REMOTE:
        RunRemoteCommand(msg->Request);
        break;
    case IM_PICTURE:
        TakePicture(static_cast<Bitmap*>(msg->Payload));
        break;
    case IM_DROP:
        TakeDrop(static_cast<char*>(msg->Payload));
        break;
    default:
        break; // the wheel steps gadgets and the brush size once those exist
    }
}

// ---- UpdatePointerState --------------------------------------------------------------------------

static int PressButton(bool left, int forTools) {
    int32_t& held = left ? LeftHeld : RightHeld;
    int32_t other = left ? RightHeld : LeftHeld;
    // The second button pressed while the first is held is not the tools' business.
    if (forTools && other) return 0;
    held = 1;
    if (forTools) {
        PressureLow = 0;
        PressureHigh = 255;
        PressFX = PointerFX;
        PressFY = PointerFY;
        (left ? LeftPressed : RightPressed) = 1;
        ButtonEdge = left ? 1 : 2;
    }
    return left ? 1 : 2;
}

static int ReleaseButton(bool left) {
    int32_t& held = left ? LeftHeld : RightHeld;
    if (!held) return 0;
    held = 0;
    ButtonEdge = left ? -1 : -2;
    return left ? -1 : -2;
}

int UpdatePointerState(const InputMsg* msg, int forTools) {
    // The position comes first, so that a press remembers where it happened even when no
    // pointer move came before it.
    if (msg->Type == IM_POINTER || msg->Type == IM_BUTTON) {
        WindowPointerFX = msg->X;
        WindowPointerFY = msg->Y;
    }
    WindowPointerX = int16_t(WindowPointerFX >> 16);
    WindowPointerY = int16_t(WindowPointerFY >> 16);
    ScreenToPage(WindowPointerFX, WindowPointerFY, &PointerFX, &PointerFY);
    SnapToGrid(&PointerFX, &PointerFY);
    PointerX = int16_t(PointerFX >> 16);
    PointerY = int16_t(PointerFY >> 16);
    int result = 0;
    if (msg->Type == IM_BUTTON) {
        static const struct {
            int32_t Code;
            int (*Handle)(bool left, int forTools);
            bool Left;
        } Buttons[] = {
            {BUTTON_LEFT_UP, [](bool l, int) { return ReleaseButton(l); }, true},
            {BUTTON_LEFT_DOWN, PressButton, true},
            {BUTTON_RIGHT_UP, [](bool l, int) { return ReleaseButton(l); }, false},
            {BUTTON_RIGHT_DOWN, PressButton, false},
            {BUTTON_MIDDLE_UP, [](bool, int) { return -3; }, false}, // toggles the panels once they exist
        };
        for (const auto& b : Buttons)
            if (b.Code == msg->Code) result = b.Handle(b.Left, forTools);
    }
    // The record's own pressure stands, over what a press reset.
    if (msg->Type == IM_POINTER || msg->Type == IM_BUTTON) {
        PressureHigh = msg->PressureHigh;
        PressureLow = msg->PressureLow;
    }
    return result;
}

// ---- DispatchTool --------------------------------------------------------------------------------

// The hook between the tools and undo: a fresh press ends the last stroke and keeps its
// state for undo, unless wet paint is kept over strokes and nothing asked for a commit.
static void StrokeCommit() {
    if (ToolIsPassive || WetKeep == 2 || !ToolState.CommitAllowed) return;
    const bool left = LeftPressed && !RightHeld && (DrawMode == 13 || WetKeep == 0 || MustCommit);
    const bool right = RightPressed && !LeftHeld;
    if (!left && !right) return;
    BeginStrokeCommit();
    MustCommit = left ? 0 : 1;
    if (WetMode) ClearWet();
}

void DispatchTool() {
    if (LeftPressed || RightPressed) {
        // A press on a window belongs to its gadgets and edges; the press runs there until
        // the release. A press anywhere else goes to the page.
        if (WindowPressAt(WindowPointerX, WindowPointerY, LeftPressed ? 1 : 2)) {
            LeftPressed = RightPressed = 0;
            ButtonEdge = 0;
            return;
        }
        CurrentWindow = nullptr;
    }
    if (!LeftHeld && !RightHeld) {
        GuiWindow* over = WindowAt(WindowPointerX, WindowPointerY);
        int shape = 1;
        if (over) {
            int x = WindowPointerX - over->Left, y = WindowPointerY - over->Top;
            shape = over->PointerAt ? int(over->PointerAt(over, x, y)) : int(over->DefaultPointer);
        }
        SetPointerShape(shape);
    }
    if (CurrentWindow && (LeftHeld || RightHeld)) return;
    StrokeCommit();
    if (!PointerHook || PointerHook() == 42) RunToolMode();
}

// ---- SpeedPressure -------------------------------------------------------------------------------

static int32_t SpeedLastFX = 0, SpeedLastFY = 0;
static int16_t SpeedLastX = 0, SpeedLastY = 0;
static double SpeedLastTime = 0;
static int32_t SpeedTableResult = 0;
static int32_t SpeedStill = 0;

int SpeedPressure() {
    int result;
    if (PointerFX == SpeedLastFX && PointerFY == SpeedLastFY) {
        // The first still pass keeps the last value; after that a pen at rest presses fully.
        if (!SpeedStill) {
            SpeedStill = 1;
            return SpeedPressureValue;
        }
        result = ToolInvertPressure > 0 ? 0 : 255;
    } else {
        double t = PlatformSeconds() * 100.0;
        double dt = t - SpeedLastTime;
        if (std::fabs(dt) >= 0.001) {
            double dx = double(PointerX) - SpeedLastX, dy = double(PointerY) - SpeedLastY;
            int distance = int(std::sqrt(dx * dx + dy * dy));
            dt *= SpeedScale;
            int index = dt != 0 ? int(distance * 255 / dt) : 0;
            if (index < 0) index = 0;
            if (index > 255) index = 255;
            SpeedLastTime = t;
            SpeedTableResult = SpeedCurve[index];
        }
        result = ToolInvertPressure ? SpeedTableResult : 255 - SpeedTableResult;
        SpeedLastFX = PointerFX;
        SpeedLastFY = PointerFY;
        SpeedLastX = PointerX;
        SpeedLastY = PointerY;
    }
    SpeedStill = 0;
    SpeedPressureValue = result < 256 ? result : 255;
    return result;
}

// ---- Hooks and input locks ---------------------------------------------------------------------------

static int32_t HookSavedShape = -1;
static int32_t HookSavedPassive = 0;
static int32_t LockSavedShape = -1;

void SetPointerHook(PointerHookFn function, HookFn endFunction) {
    CancelTool(ToolMode);
    if (function) {
        if (PointerHook) SetPointerHook(nullptr, nullptr);
        PointerHook = function;
        PointerHookEnd = endFunction;
        AfterCommitHook = AfterUndoHook = nullptr;
        HookSavedShape = PointerShape;
        HookSavedPassive = ToolIsPassive;
        return;
    }
    if (!PointerHook) return;
    HookFn end = PointerHookEnd;
    PointerHook = nullptr;
    PointerHookEnd = nullptr;
    AfterCommitHook = AfterUndoHook = nullptr;
    if (end) end();
    SetPointerShape(HookSavedShape);
    ToolIsPassive = HookSavedPassive;
}

void LockInput() {
    if (InputLocked) return;
    LockSavedShape = SetPointerShape(2);
    InputLocked = 1;
}

void UnlockInput() {
    if (!InputLocked) return;
    InputLocked = 0;
    SetPointerShape(LockSavedShape);
}

} // namespace nemu
