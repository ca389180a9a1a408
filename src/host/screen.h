// Screen output: takes rectangles of the page to the window, clipped to the page and to
// the panels on top, composed over the background, through the monitor tables, and handed
// to the blitter. Also the page frame around it, the pointer shape and page placement.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct GuiWindow;

struct ScreenRecord {
    int32_t Width, Height;             // client size
    int32_t ScreenWidth, ScreenHeight; // the whole display
    uint32_t FillColour;               // the surround of the page
    int32_t Depth;                     // 32 on every surface the back ends give
    int32_t Iconic;                    // drawing is skipped while set
    int32_t BestDisplay;               // dithered 16-bit mode; never set on a 32-bit surface
    int32_t FullScreen;
};

extern ScreenRecord* Screen; // null before start-up and after shutdown

// DisplayFlags bits.
constexpr uint32_t DISPLAY_UNMULTIPLY = 2;  // transparent parts show their colour unmultiplied
constexpr uint32_t DISPLAY_OVER_COLOUR = 4; // the page over BackColour
constexpr uint32_t DISPLAY_ONION_BEFORE = 0x80;
constexpr uint32_t DISPLAY_ONION_AFTER = 0x100;
constexpr uint32_t DISPLAY_ONION_BOTH = 0x400;
constexpr uint32_t DISPLAY_MONITOR = 0x1000;    // through the monitor tables
constexpr uint32_t DISPLAY_OVER_CHECK = 0x2000; // the page over a check-board
constexpr uint32_t DISPLAY_ONION = DISPLAY_ONION_BEFORE | DISPLAY_ONION_AFTER | DISPLAY_ONION_BOTH;

extern uint32_t DisplayFlags; // 33 at start
extern uint32_t BackColour;   // FF005F9F
extern uint32_t BackColour2;  // the check-board's second colour
extern int32_t PageOpacity;   // density of the current layer, 255 at start
extern uint8_t MonitorRed[256], MonitorGreen[256], MonitorBlue[256], MonitorAlpha[256];
extern int32_t Border;           // draw the page frame
extern int32_t MouseStyle;       // setting Mouse, 0 to 3: which pointer the tools show
extern int32_t PointerShape;     // the program's current shape number, -1 for none yet
extern int32_t DisplayModeValue; // 0 Best, 1 Fast, -1 Test
extern Bitmap* StripBitmap;      // 16 rows as wide as the larger of screen and page
extern Bitmap* ColumnBitmap;     // 1 wide, as high as the larger of screen and page
constexpr int StripRows = 16;

using BlitFn = void (*)(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int dx, int dy, int w,
                        int h);
extern BlitFn BlitToScreen;
void Blit32(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int dx, int dy, int w, int h);

// Layer composition with the images before and after (onion skins) belongs to the project
// model; until it sets this, those display bits show the page alone. It composes w by h
// page pixels at (px, py) into dst rows from (0, 0), over the background in force, and
// returns 1, or 0 to leave them.
extern int (*OnionCompose)(int px, int py, int w, int h, Bitmap* dst);

// ---- Opening ------------------------------------------------------------------------------
int ScreenOpen(); // after the platform is open; 0 on failure
void ScreenClose();
int ScreenAllocBuffers(); // the scratch bitmaps, for the larger of screen and page
void ScreenResize(int width, int height);
void ScreenPaint(int x, int y, int w, int h); // an exposed rectangle, screen coordinates

// ---- The walk around the windows ----------------------------------------------------------
// Cuts the screen rectangle around every open window from `from` to the top of the stack,
// and hands each piece left uncovered to emit. Page output and the windows' own refresh
// share this one walk.
using ScreenPieceFn = void (*)(int x, int y, int w, int h, void* user);
void ScreenClipWalk(int x, int y, int w, int h, GuiWindow* from, ScreenPieceFn emit, void* user);

// ---- Output ----------------------------------------------------------------------------------
void ShowPageRect(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int px, int py, int w, int h);
void ShowPagePixel(ScreenRecord* screen, uint32_t colour, int x, int y);
void ShowInverse(ScreenRecord* screen, int x, int y);
void RefreshAll();
void RepaintSurround(int x, int y, int w, int h);
// Repaints a screen rectangle from what lies there: the page and its surround.
void RestoreScreenRect(int x, int y, int w, int h);
// Ends a hold of the display and shows everything that was held back.
void EndDisplayHold();

// ---- Compose rules (exposed for tests and benchmarks) ----------------------------------------
uint32_t OverColour(uint32_t pixel, uint32_t background);
uint32_t CheckColourAt(int px, int py); // the check-board square under a page position
uint32_t UnmultiplyPixel(uint32_t pixel);
uint32_t ScaleByOpacity(uint32_t pixel, int opacity);
// n pixels through the monitor tables, in place.
void ThroughMonitorRow(uint32_t* row, int n);
// Composes w by h pixels of src from (sx, sy), which stand at page position (px, py), into
// dst from (0, 0) by the DisplayFlags, PageOpacity and monitor tables in force.
void ComposeRows(const Bitmap* src, int sx, int sy, int px, int py, int w, int h, Bitmap* dst);
// Whether the display needs composing at all, or the page can go to the screen as it is.
bool ComposeNeeded();
uint32_t SurroundColourAt(int x, int y); // screen position outside the page

// ---- Coordinates, pointer, placement ------------------------------------------------------------
void ScreenToPage(int32_t fx, int32_t fy, int32_t* px, int32_t* py);
int SetPointerShape(int shape); // returns the former shape
int PlacePage(int centre);      // 1 when the page moved

} // namespace nemu
