// The zoom window's view of the page: which part of the page it shows, at what factor,
// where on its surface, and how a screen position inside it maps back to the page.
// Every page refresh passes through here, so the window stays true to the page without
// the painting code knowing it exists.
//
// A positive ZoomFactor f shows each page pixel as an f by f block (pixel replication); a
// negative one, -n, shows every n-th page pixel of every n-th row (sampling), which is the
// navigator: the whole page small, with a frame where the screen stands. Page pixels are
// composed by the screen's rules first (background behind alpha, check-board anchored on
// the page, onion skins, density, monitor tables), so the zoom looks like the page.
//
// Geometry, in surface pixels of the window: the picture area starts at (ZoomInsetX,
// ZoomInsetY) and is ZoomAreaW by ZoomAreaH; page pixel (ZoomLeft, ZoomTop) stands at the
// area's corner plus (ZoomOffsetX, ZoomOffsetY), which are above 0 only when the page is
// smaller than the area and is centred in it. What the area shows beyond the page is the
// surround colour.
//
// The panel (ui/zoom_panel) makes the window, sets the insets and the area, and installs
// ZoomShowHook; this module never draws a window frame.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct GuiWindow;

extern GuiWindow* ZoomWindow;            // the window that shows the zoom, or null
extern int32_t ZoomOn;                   // 1 while the zoom window is open
extern int32_t ZoomClosing;              // 1 while it is being closed: it maps no pointer
extern int32_t ZoomCaptured;             // a stroke began inside the picture: keep mapping through it
extern int32_t ZoomLeft, ZoomTop;        // page position of the area's first pixel
extern int32_t ZoomWidth, ZoomHeight;    // page pixels shown, across and down
extern int32_t ZoomOffsetX, ZoomOffsetY; // surface offset of the page inside the area
extern int32_t ZoomFactor;               // > 0 magnification, < 0 reduction by its absolute value
extern int32_t ZoomAutoCenter;           // the view follows the pointer (section Main's, ui/main_settings)
extern int32_t ZoomInsetX, ZoomInsetY;   // the picture area's corner on the surface (4, 19 at scale 1)
extern int32_t ZoomAreaW, ZoomAreaH;     // its size in surface pixels
extern int32_t ZoomFittedWidth, ZoomFittedHeight; // the page size the view was last fitted to

// The navigator (a negative factor) outlines this page rectangle in ZoomMarkColour: the
// part that the magnified view showed when the navigator took over.
extern int32_t ZoomMarkLeft, ZoomMarkTop, ZoomMarkWidth, ZoomMarkHeight;
constexpr uint32_t ZoomMarkColour = 0xFFFF4040;

constexpr int32_t ZoomMaxFactor = 32;   // the largest magnification
constexpr int32_t ZoomMinFactor = -16;  // the strongest reduction
constexpr int32_t ZoomDefaultFactor = 4;

// Copies a rectangle of the zoom window's surface (surface pixels) to the screen; the
// panel installs it. Null: the surface is updated and nothing is shown.
extern void (*ZoomShowHook)(int32_t x, int32_t y, int32_t w, int32_t h);

// ---- The view -------------------------------------------------------------------------------------
// A factor brought into range: 0, 1 and -1 become 1 (one to one), beyond the limits the limit.
int32_t ZoomClampFactor(int32_t factor);
// Sets the factor and the shown part's corner, clamped to the page; recomputes the shown
// size and the offsets. Does not draw.
void ZoomSetView(int32_t factor, int32_t left, int32_t top);
// The view with page point (px, py) in the middle of the area. Does not draw. 1 when it moved.
int ZoomCenterOn(int32_t px, int32_t py);
// Page pixels across (or down) that an area of `area` surface pixels holds at a factor.
int32_t ZoomPagePixelsIn(int32_t area, int32_t factor);

// Whether the zoom is on and its window is in the list and open.
bool ZoomShown();

// ---- Mapping ---------------------------------------------------------------------------------------
// Whether screen pixel (x, y) lies in the open zoom's picture area.
bool ZoomHolds(int32_t x, int32_t y);
// The screen's 16.16 position through the zoom to the page's 16.16 position; 1 when the
// zoom took it (inside the area, or a stroke that began there), 0 to leave it to the page.
int ZoomScreenToPage(int32_t fx, int32_t fy, int32_t* px, int32_t* py);
// A button went down (1, 2) or up (-1, -2) at screen pixel (x, y): a press in the picture
// captures the pointer for the stroke, any release lets it go.
void ZoomTrackButton(int32_t edge, int32_t x, int32_t y);
// With ZoomAutoCenter, the view follows page point (px, py) while the pointer is outside
// the zoom; redraws when the view moved.
void ZoomFollow(int32_t px, int32_t py);

// ---- Refresh ------------------------------------------------------------------------------------------
// Shows what a page rectangle (w by h at page position px, py, read from bitmap at sx, sy)
// looks like in the zoom: intersected with the shown part, composed, scaled onto the
// surface and handed to ZoomShowHook. Called by ShowPageRect.
void ZoomRefreshPage(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w, int32_t h);
// Fills the whole area again from the page, with the surround where the page ends, and
// the navigator's frame; shows it.
void ZoomRedraw();
// The scaling kernel: the page rectangle as it appears on a surface laid out as the view
// in force, written into target. Returns the surface rectangle touched (w = 0: none).
// ZoomRenderPlain is the reference, pixel by pixel; ZoomRender is the fast form, and both
// must write the same bytes.
struct ZoomRect {
    int32_t X, Y, W, H;
};
ZoomRect ZoomRender(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w, int32_t h,
                    Bitmap* target);
ZoomRect ZoomRenderPlain(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w, int32_t h,
                         Bitmap* target);
void ZoomFreeBuffers(); // the render's scratch rows

} // namespace nemu
