// Start-up, the main loop and shutdown, and the shared globals they own.
#include "host/main_loop.h"

#include "store/bitmap.h"

namespace nemu {

std::string HomeDir, ProgramDir, TempDir;

std::string HomePath(const char* relative) { return HomeDir + "/" + relative; }
std::string DataPath(const char* relative) { return ProgramDir + "/" + relative; }

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

int32_t WindowPointerFX = 0, WindowPointerFY = 0;
int16_t WindowPointerX = 0, WindowPointerY = 0;
int32_t PointerFX = 0, PointerFY = 0;
int16_t PointerX = 0, PointerY = 0;
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

} // namespace nemu
