// The spine of the program: start-up, the main loop and the way down, and the globals
// that nearly every part shares (the page, the pointer, the pressure and the flow).
#pragma once
#include <cstdint>
#include <string>

namespace nemu {

struct Bitmap;
struct InputMsg;

// ---- Places -------------------------------------------------------------------------
extern std::string HomeDir;    // settings and profiles: $XDG_CONFIG_HOME/nemu
extern std::string ProgramDir; // read-only data beside the binary (build data/, or share/nemu)
extern std::string TempDir;    // temporary and cache files, ends with '/'
std::string HomePath(const char* relative);
std::string DataPath(const char* relative);

// ---- Page and screen ----------------------------------------------------------------
extern Bitmap* Page;      // the picture every tool writes to
extern Bitmap* PageBase;  // the page's own bitmap; Page equals it unless retargeted
extern Bitmap* BackPage;  // undo copy of the page, null when WetKeep is 2
extern Bitmap* SparePage; // the second page, null until made
extern int32_t PageWidth, PageHeight;
extern int32_t PageX, PageY; // page corner on the screen; -1000 when not placed yet
extern uint8_t* WetBuffer;   // (PageHeight + 2) * PageWidth + 2 bytes, one per pixel
extern uint8_t* ScratchList; // 320000 bytes shared by the fill and selection code
extern int32_t PageNotReady;
extern int32_t WetKeep;
extern uint32_t PageVersion;
extern uint32_t PreviewStale;

// ---- Pointer (X, Y pairs in 16.16) ----------------------------------------------------
extern int32_t WindowPointerFX, WindowPointerFY;
extern int16_t WindowPointerX, WindowPointerY;
extern int32_t PointerFX, PointerFY;
extern int16_t PointerX, PointerY;
extern int32_t PressFX, PressFY;
extern int16_t PressX, PressY;
extern int32_t LeftHeld, RightHeld;
extern int32_t LeftPressed, RightPressed;
extern int32_t ButtonEdge; // 1 left down, 2 right down, -1 left up, -2 right up, 0 none
extern int32_t ShiftHeld, CtrlHeld, AltHeld;
extern int32_t TabletActive;

// ---- Pressure -------------------------------------------------------------------------
extern int32_t PressureHigh, PressureLow;
extern int32_t SpeedPressureValue; // the last pressure computed from pointer speed
extern int32_t StrokePressure;
extern int32_t ToolUsesPressure, ToolUsesSpeed, ToolInvertPressure;
extern int32_t SpeedScale;
extern uint8_t SpeedCurve[256];
extern uint8_t PressureCurve[256];

// ---- Flow -------------------------------------------------------------------------------
extern int32_t QuitFlag;
extern int32_t CloseRequest;
extern int32_t InputLocked;
extern int32_t DisplayHold;
extern int32_t ToolMode;
extern int32_t ToolIsPassive;
using PointerHookFn = int (*)();
using HookFn = void (*)();
extern PointerHookFn PointerHook;
extern HookFn PointerHookEnd;
extern HookFn AfterCommitHook, AfterUndoHook;

// ---- Start-up ---------------------------------------------------------------------------
extern std::string StartFiles; // blank separated, double-quoted where a name holds blanks
extern std::string StartSpare;
extern char LastConfig[256];

// Grey from colour: (LumaRed[r] + LumaGreen[g] + LumaBlue[b]) >> 16.
extern uint32_t LumaRed[256], LumaGreen[256], LumaBlue[256];

} // namespace nemu
