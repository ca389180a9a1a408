// The main loop and the shared globals of the spine.
//
// Sections: globals; the drain and its score; one pass of the loop (drain, idle wait,
// pressure, tool phase); the prologue; quitting.
// Start-up and shutdown are in main_loop_start.cpp, the routing of records and the
// pointer state in main_loop_dispatch.cpp.
#include "host/main_loop.h"

#include "host/input.h"
#include "host/platform.h"
#include "paint/draw_modes.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "ui/window.h"

namespace nemu {

std::string HomeDir, ProgramDir, TempDir;

Bitmap* Page = nullptr;
Bitmap* PageBase = nullptr;
Bitmap* BackPage = nullptr;
Bitmap* SparePage = nullptr;
int32_t PageWidth = 0, PageHeight = 0;
int32_t PageX = -1000, PageY = -1000;
uint8_t* WetBuffer = nullptr;
uint8_t* ScratchList = nullptr;
int32_t PageNotReady = 1;
int32_t WetKeep = 0;
uint32_t PageVersion = 0;
uint32_t PreviewStale = 0;

int32_t WindowPointerFX = PointerAwayFixed, WindowPointerFY = PointerAwayFixed;
int16_t WindowPointerX = PointerAwayCoord, WindowPointerY = PointerAwayCoord;
int32_t PointerFX = PointerAwayFixed, PointerFY = PointerAwayFixed;
int16_t PointerX = PointerAwayCoord, PointerY = PointerAwayCoord;
int32_t PressFX = 0, PressFY = 0;
int16_t PressX = 0, PressY = 0;
int32_t LeftHeld = 0, RightHeld = 0;
int32_t LeftPressed = 0, RightPressed = 0;
int32_t ButtonEdge = 0;
int32_t ShiftHeld = 0, CtrlHeld = 0, AltHeld = 0;
int32_t TabletActive = 0;

int32_t PressureHigh = 255, PressureLow = 0;
int32_t SpeedPressureValue = 255;
int32_t StrokePressure = 255;
int32_t ToolUsesPressure = 0, ToolUsesSpeed = 0, ToolInvertPressure = 0;
int32_t SpeedScale = 35;
uint8_t SpeedCurve[256];
uint8_t PressureCurve[256];

int32_t QuitFlag = 0;
int32_t CloseRequest = 0;
int32_t InputLocked = 0;
int32_t DisplayHold = 0;
int32_t ToolMode = 0;
int32_t ToolIsPassive = 0;
PointerHookFn PointerHook = nullptr;
HookFn PointerHookEnd = nullptr;
HookFn AfterCommitHook = nullptr, AfterUndoHook = nullptr;

std::string StartFiles, StartSpare;
char LastConfig[256] = "";

uint32_t LumaRed[256], LumaGreen[256], LumaBlue[256];

PlatformBackend StartBackend = BACKEND_HEADLESS;
int32_t StartPageWidth = 640, StartPageHeight = 480;
void (*AfterStartHook)() = nullptr;
int32_t MainPanelX = 0, MainPanelY = 0;
int32_t SaveConfigOn = 1;
IdleRefreshRow IdleRefreshTable[IdleRefreshRowCount] = {};
int32_t IdleCallDepth = 0;

// ---- The drain ------------------------------------------------------------------------------
// The score sums up what a drain did: -1 when only pointer moves came, positive when
// anything else came, 0 for nothing.

static int Drain(int idle) {
    ButtonEdge = LeftPressed = RightPressed = 0;
    int score = 0;
    while (InputMsg* taken = GetInputMsg(idle)) {
        InputMsg msg = *taken;
        FreeInputMsg(taken);
        TabletActive = msg.TabletFlag;
        if (msg.Type == IM_POINTER) {
            if (score < 1) score = -1;
        } else {
            score += 2;
        }
        DispatchInput(&msg);
        // Later messages wait for the tool phase, which must see this edge first.
        if (ButtonEdge || QuitFlag) break;
    }
    if (CloseRequest) {
        AskQuit();
        score = 1;
    }
    return score;
}

int PumpAndDispatch(int deferredOk) {
    return Drain(deferredOk);
}

// ---- Idle work ---------------------------------------------------------------------------------

static uint32_t LastCompleteSum = 0;

// The activity sum that decides whether preview panels are stale. Colour and palette-list
// changes join it when the colour module counts them.
static uint32_t ActivitySum() {
    return PageVersion;
}

// Runs the rows that are due; true when input arrived and the wait must end.
static bool RunIdleRows() {
    uint32_t sum = ActivitySum();
    if (sum == LastCompleteSum) return false;
    for (IdleRefreshRow& row : IdleRefreshTable) {
        if (!row.Function || row.LastSum == sum) continue;
        IdleCallDepth++;
        row.Function();
        IdleCallDepth--;
        row.LastSum = sum;
        if (PumpAndDispatch(1) != 0) return true; // the rows not yet run stay due
    }
    LastCompleteSum = sum;
    return false;
}

// Writes the cache behind in slices of 0.05 s, with a drain before each, so that a press
// is never kept waiting longer than one slice. Returns the score of a drain that ended it.
static int WriteBehind() {
    double slice = PlatformSeconds();
    for (;;) {
        int score = Drain(1);
        if (score != 0) return score;
        bool more = true;
        while ((more = CacheWriteStep() != 0) && PlatformSeconds() - slice < 0.05) {
        }
        if (PlatformSeconds() - slice >= 0.05) slice = PlatformSeconds();
        if (!more) return 0;
    }
}

// The wait while nothing happens: wakes every 20 ms to do idle work in small slices.
// Returns the score of the drain that ended it.
static int IdleWait() {
    double waitStart = PlatformSeconds();
    int score = 0;
    while (!QuitFlag && !WaitForInput(3)) {
        WindowIdle(); // help bubbles, the caret's blink, the panels' idle ticks
        double waited = PlatformSeconds() - waitStart;
        if (waited >= 0.45) {
            score = Drain(1);
            if (score != 0) break;
        }
        if (waited >= 0.5 && RunIdleRows()) {
            score = 2;
            break;
        }
        if (waited >= 0.51 && CacheWriteStep()) {
            score = WriteBehind();
            if (score != 0) break;
        }
        score = Drain(1);
        if (score != 0 || QuitFlag) break;
    }
    return score;
}

// ---- One pass --------------------------------------------------------------------------------------

static void PressureStep() {
    if (PressureHigh < 0 || !ToolUsesPressure) {
        PressureHigh = 255;
        PressureLow = 0;
    }
    int speed = SpeedPressure();
    StrokePressure = PressureHigh == PressureLow ? PressureHigh : speed;
    if (!ToolUsesSpeed) {
        if (ToolInvertPressure && PressureHigh == PressureLow) PressureHigh = 255 - PressureHigh;
    } else if (PressureHigh != PressureLow) {
        // A pointer without pressure: its speed stands in.
        PressureHigh = PressureLow = speed;
    }
}

void MainLoopPass() {
    if (QuitFlag > 0) return;
    int idle = (!LeftHeld && !RightHeld) ? 1 : 0;
    BreakRequested = 0;
    for (;;) {
        int score = Drain(idle);
        if (score > 0 || QuitFlag) break;
        // Only pointer moves: straight to the tool phase (the help bubbles of the panels
        // hook in here).
        if (score == -1) break;
        if (!idle) {
            // A stroke never spins: it sleeps until the next message.
            WaitForInput(0);
            continue;
        }
        score = IdleWait();
        if (score == 0 && !QuitFlag) continue;
        break;
    }
    if (QuitFlag > 0) return;
    PressureStep();
    if (!InputLocked) DispatchTool();
    PressFX = PointerFX;
    PressFY = PointerFY;
    PressX = PointerX;
    PressY = PointerY;
    if (CloseRequest) AskQuit();
}

// ---- The loop ------------------------------------------------------------------------------------------

void MainLoopPrologue() {
    // The switch starts off and is turned on here, once, so that a session paints
    // anti-aliased from its first stroke; the switch's gadget shows it when there is one.
    AntiAlias = !AntiAlias;
    DrainInput();
    OpenStartFiles();
    // The start script and the plug-in notice join here with the script host and the
    // plug-ins.
    TrimCache();
    if (AfterStartHook) AfterStartHook();
}

int MainLoop() {
    MainLoopPrologue();
    while (QuitFlag <= 0) MainLoopPass();
    return 0;
}

// ---- Quitting --------------------------------------------------------------------------------------------

int AskQuit() {
    PlatformRaise();
    if (InputLocked) {
        QuitFlag = 1;
        return 1;
    }
    CloseRequest = 0;
    // A modal loop is running: the request is dropped, as the dialog has the user.
    if (ModalWindow) return 1;
    // The quit dialog joins here with the toolkit; until then a close request is the
    // user's answer.
    QuitFlag = 1;
    return 1;
}

} // namespace nemu
