// The spine of the program: start-up, the main loop and the way down, and the globals
// that nearly every part shares (the page, the pointer, the pressure and the flow).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "host/platform.h"

namespace nemu {

struct Bitmap;
struct InputMsg;
struct RemoteRequest;

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
// The names of a file list such as StartFiles, quotes taken off.
std::vector<std::string> SplitFileList(const std::string& list);
// The size of the first start file when it is a picture or project that can be opened.
bool IdentifyStartFile(int32_t* width, int32_t* height);
// The prologue's opening of the start files and of the spare page's file.
void OpenStartFiles();

// Grey from colour: (LumaRed[r] + LumaGreen[g] + LumaBlue[b]) >> 16.
extern uint32_t LumaRed[256], LumaGreen[256], LumaBlue[256];
void BuildLumaTables();

// ---- What the process entry asks for, before ProgramStart -----------------------------------
extern PlatformBackend StartBackend;
extern int32_t StartPageWidth, StartPageHeight; // page size when no file is opened
// Run once at the end of the main loop's prologue, after the start files are loaded
// (batch mode runs its commands here).
extern void (*AfterStartHook)();

// ---- Settings read at start (section Main) ----------------------------------------------------
extern int32_t MainPanelX, MainPanelY; // WIN_X, WIN_Y of section Main, clamped to the screen
extern int32_t SaveConfigOn;           // SaveConfig of section Main: 0 keeps the profile as it was

// ---- Idle work ---------------------------------------------------------------------------------
// Panels that show a preview of the page refresh from here while the program is idle, one
// row at a time; a row runs when the activity sum has changed since it last ran.
struct IdleRefreshRow {
    void (*Function)();
    uint32_t LastSum;
};
constexpr int IdleRefreshRowCount = 26;
extern IdleRefreshRow IdleRefreshTable[IdleRefreshRowCount];
extern int32_t IdleCallDepth; // above 0 while an idle row runs

// The remote command of an IM_REMOTE record: run it and answer with ReplyRemote. It goes
// through the command host; tests of the transport put their own answer here.
extern void (*RunRemoteCommand)(RemoteRequest* request);

// ---- The spine ------------------------------------------------------------------------------------
int SetupPlaces(); // HomeDir, ProgramDir, TempDir and Nemu.INI; 1 on success
void SetupTempDir(); // TempDir alone: the user's cache folder, made if need be
int ProgramStart(const char* commandLine);
int AppMain();
int AppStart();   // builds everything up to the main loop; 0 on success, else the exit status
void AppFinish(); // what follows the main loop
int MainLoop();
void MainLoopPrologue();
void MainLoopPass();
void Cleanup();
int PumpAndDispatch(int deferredOk);
void DispatchInput(InputMsg* msg);
int UpdatePointerState(const InputMsg* msg, int forTools);
void DispatchTool();
int SpeedPressure();
void SetPointerHook(PointerHookFn function, HookFn endFunction);
void LockInput();
void UnlockInput();
int AskQuit();
// The host's part of a change of page size: page bitmaps, wet buffer and display strips.
// 0 (with everything as it was) when memory is short.
int ResizePageBuffers(int width, int height);

} // namespace nemu
