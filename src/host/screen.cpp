// Screen output.
//
// Sections: state and opening; the blitter; the walk around the windows; page
// rectangles and single pixels; the surround and its frame; resize and expose;
// pointer shapes; page placement and coordinates.
#include "host/screen.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "paint/tools.h"
#include "store/bitmap.h"
#include "ui/window.h"

#include <algorithm>
#include <cstdlib>

namespace nemu {

ScreenRecord* Screen = nullptr;
int32_t Border = 1;
int32_t MouseStyle = 0;
int32_t PointerShape = -1;
int32_t DisplayModeValue = -1;
Bitmap* StripBitmap = nullptr;
Bitmap* ColumnBitmap = nullptr;
BlitFn BlitToScreen = Blit32;

// The surround until the interface colours are read from the settings.
constexpr uint32_t DefaultFillColour = 0xFF5A5A5A;

// ---- Opening ------------------------------------------------------------------------------

// What the paint engine calls to show what a stroke changed.
static void ShowPaintedRect(int32_t x, int32_t y, int32_t w, int32_t h) {
    if (Page) ShowPageRect(Page, x, y, Screen, x, y, w, h);
}

int ScreenOpen() {
    if (Screen) return 1;
    auto* s = static_cast<ScreenRecord*>(std::calloc(1, sizeof(ScreenRecord)));
    if (!s) return 0;
    PlatformClientSize(&s->Width, &s->Height);
    PlatformScreenSize(&s->ScreenWidth, &s->ScreenHeight);
    s->FillColour = DefaultFillColour;
    s->Depth = 32;
    Screen = s;
    BlitToScreen = Blit32;
    ShowPageRectFn = ShowPaintedRect;
    if (!ScreenAllocBuffers()) {
        ScreenClose();
        return 0;
    }
    return 1;
}

void ScreenClose() {
    if (ShowPageRectFn == ShowPaintedRect) ShowPageRectFn = nullptr;
    FreeBitmap(StripBitmap);
    FreeBitmap(ColumnBitmap);
    StripBitmap = ColumnBitmap = nullptr;
    std::free(Screen);
    Screen = nullptr;
}

int ScreenAllocBuffers() {
    if (!Screen) return 0;
    int w = std::max({Screen->Width, Screen->ScreenWidth, int(PageWidth), 1});
    int h = std::max({Screen->Height, Screen->ScreenHeight, int(PageHeight), 1});
    Bitmap* strip = NewBitmap(w, StripRows);
    Bitmap* column = NewBitmap(1, h);
    if (!strip || !column) {
        FreeBitmap(strip);
        FreeBitmap(column);
        return 0;
    }
    FreeBitmap(StripBitmap);
    FreeBitmap(ColumnBitmap);
    StripBitmap = strip;
    ColumnBitmap = column;
    return 1;
}

// ---- Blitter ------------------------------------------------------------------------------------
// Every surface the back ends give takes 32-bit pixels as they are: no copy on the way.

void Blit32(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int dx, int dy, int w, int h) {
    if (!bitmap || !screen || screen->Iconic) return;
    ClipNegativeCorner(dx, sx, w);
    ClipNegativeCorner(dy, sy, h);
    w = std::min(w, screen->Width - dx);
    h = std::min(h, screen->Height - dy);
    if (w < 1 || h < 1) return;
    PlatformBlit(bitmap, sx, sy, dx, dy, w, h);
}

// ---- The walk around the windows -------------------------------------------------------------
// A rectangle is cut around every open window on top of it, so that nothing is drawn under
// a panel (which would flicker) and the pieces left over are shown one by one.

void ScreenClipWalk(int x, int y, int w, int h, GuiWindow* window, ScreenPieceFn emit, void* user) {
    for (; window; window = window->Next) {
        if (!window->Open) continue;
        int l = std::max(x, int(window->Left)), t = std::max(y, int(window->Top));
        int r = std::min(x + w, int(window->Right)), b = std::min(y + h, int(window->Bottom));
        if (l >= r || t >= b) continue;
        GuiWindow* next = window->Next;
        if (t > y) ScreenClipWalk(x, y, w, t - y, next, emit, user);             // above
        if (l > x) ScreenClipWalk(x, t, l - x, b - t, next, emit, user);         // left
        if (r < x + w) ScreenClipWalk(r, t, x + w - r, b - t, next, emit, user); // right
        if (b < y + h) ScreenClipWalk(x, b, w, y + h - b, next, emit, user);     // below
        return;
    }
    emit(x, y, w, h, user);
}

// ---- Page rectangles ---------------------------------------------------------------------------

struct PageShow {
    const Bitmap* Source;
    int OffsetX, OffsetY; // source position minus screen position
};

static void ComposeToScreen(int x, int y, int w, int h, void* user) {
    // Pieces are clipped to the screen only after the walk, as windows may lie off it.
    int cx = std::max(x, 0), cy = std::max(y, 0);
    int cw = std::min(x + w, int(Screen->Width)) - cx, ch = std::min(y + h, int(Screen->Height)) - cy;
    if (cw < 1 || ch < 1) return;
    auto* show = static_cast<const PageShow*>(user);
    int sx = cx + show->OffsetX, sy = cy + show->OffsetY;
    if (!ComposeNeeded()) {
        BlitToScreen(show->Source, sx, sy, Screen, cx, cy, cw, ch);
        return;
    }
    if (!StripBitmap || StripBitmap->Width < cw) return;
    for (int r = 0; r < ch; r += StripRows) {
        int rows = std::min(StripRows, ch - r);
        ComposeRows(show->Source, sx, sy + r, cx - PageX, cy + r - PageY, cw, rows, StripBitmap);
        BlitToScreen(StripBitmap, 0, 0, Screen, cx, cy + r, cw, rows);
    }
}

void ShowPageRect(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int px, int py, int w, int h) {
    if (DisplayHold > 0 || !bitmap || !screen || screen != Screen) return;
    ClipNegativeCorner(sx, px, w);
    ClipNegativeCorner(sy, py, h);
    ClipNegativeCorner(px, sx, w);
    ClipNegativeCorner(py, sy, h);
    w = std::min(w, PageWidth - px);
    h = std::min(h, PageHeight - py);
    if (w < 1 || h < 1) return;
    PageShow show{bitmap, sx - (px + PageX), sy - (py + PageY)};
    ScreenClipWalk(px + PageX, py + PageY, w, h, WindowListHead, ComposeToScreen, &show);
    PlatformFlush();
}

static bool PixelVisible(int x, int y, int* screenX, int* screenY) {
    if (DisplayHold > 0 || !Screen || !Page || x < 0 || y < 0 || x >= PageWidth || y >= PageHeight)
        return false;
    *screenX = x + PageX;
    *screenY = y + PageY;
    if (*screenX < 0 || *screenY < 0 || *screenX >= Screen->Width || *screenY >= Screen->Height) return false;
    return WindowAt(*screenX, *screenY) == nullptr;
}

static void ShowOnePixel(uint32_t colour, int screenX, int screenY) {
    Bitmap one;
    InitBitmap(&one, 1, 1, &colour);
    BlitToScreen(&one, 0, 0, Screen, screenX, screenY, 1, 1);
    PlatformFlush();
}

void ShowPagePixel(ScreenRecord* screen, uint32_t colour, int x, int y) {
    int sx, sy;
    if (screen == Screen && PixelVisible(x, y, &sx, &sy)) ShowOnePixel(colour, sx, sy);
}

void ShowInverse(ScreenRecord* screen, int x, int y) {
    int sx, sy;
    if (screen != Screen || !PixelVisible(x, y, &sx, &sy)) return;
    // The two high bits of each channel are forced before the complement, so that a
    // preview line stands out on mid greys too.
    uint32_t p = Page->Pixels[size_t(y) * Page->Width + x];
    ShowOnePixel(~((p & 0xCFCFCFCFu) | 0x0F0F0F0Fu), sx, sy);
}

void RefreshAll() {
    if (!Screen) return;
    if (Page) ShowPageRect(Page, 0, 0, Screen, 0, 0, PageWidth, PageHeight);
    RepaintSurround(0, 0, Screen->Width, Screen->Height);
}

void EndDisplayHold() {
    DisplayHold = 0;
    RefreshAll();
}

// ---- Surround and frame ---------------------------------------------------------------------------

struct FrameLine {
    int Offset, Grow; // from the page's corner, and added to its size
    uint32_t Colour;
};

// A sunken bevel, drawn in this order, each a one-pixel outline; what falls on the page
// is covered by the page.
static const FrameLine FrameLines[] = {
    {-3, 6, 0xFF666666}, {0, 3, 0xFFAAAAAA},  {-2, 4, 0xFF333333},
    {1, 1, 0xFFDDDDDD},  {-1, 1, 0xFF000000}, {3, -2, 0xFFFFFFFF},
};

uint32_t SurroundColourAt(int x, int y) {
    uint32_t fill = Screen ? Screen->FillColour : DefaultFillColour;
    if (!Border) return fill;
    int rx = x - PageX, ry = y - PageY;
    if (rx < -3 || ry < -3 || rx > PageWidth + 2 || ry > PageHeight + 2) return fill;
    for (int i = int(sizeof FrameLines / sizeof FrameLines[0]) - 1; i >= 0; i--) {
        const FrameLine& f = FrameLines[i];
        int l = f.Offset, r = f.Offset + PageWidth + f.Grow - 1;
        int t = f.Offset, b = f.Offset + PageHeight + f.Grow - 1;
        if (rx < l || rx > r || ry < t || ry > b) continue;
        if (rx == l || rx == r || ry == t || ry == b) return f.Colour;
    }
    return fill;
}

static void SurroundToScreen(int x, int y, int w, int h, void*) {
    int cx = std::max(x, 0), cy = std::max(y, 0);
    int cw = std::min(x + w, int(Screen->Width)) - cx, ch = std::min(y + h, int(Screen->Height)) - cy;
    if (cw < 1 || ch < 1 || !StripBitmap || StripBitmap->Width < cw) return;
    for (int r = 0; r < ch; r += StripRows) {
        int rows = std::min(StripRows, ch - r);
        for (int j = 0; j < rows; j++) {
            uint32_t* d = StripBitmap->Pixels + size_t(j) * StripBitmap->Width;
            for (int i = 0; i < cw; i++) d[i] = SurroundColourAt(cx + i, cy + r + j);
        }
        BlitToScreen(StripBitmap, 0, 0, Screen, cx, cy + r, cw, rows);
    }
}

void RepaintSurround(int x, int y, int w, int h) {
    if (!Screen || DisplayHold > 0) return;
    int pl = PageX, pt = PageY, pr = PageX + PageWidth, pb = PageY + PageHeight;
    if (!Page || PageNotReady) pl = pr = pt = pb = 0; // no page shown yet: all is surround
    int r = x + w, b = y + h;
    auto band = [](int bx, int by, int bw, int bh) {
        if (bw > 0 && bh > 0) ScreenClipWalk(bx, by, bw, bh, WindowListHead, SurroundToScreen, nullptr);
    };
    int midTop = std::max(y, pt), midBottom = std::min(b, pb);
    if (midTop >= midBottom) { // the rectangle misses the page's rows
        band(x, y, w, h);
    } else {
        band(x, y, w, midTop - y);
        band(x, midBottom, w, b - midBottom);
        band(x, midTop, std::min(r, pl) - x, midBottom - midTop);
        int rightStart = std::max(x, pr);
        band(rightStart, midTop, r - rightStart, midBottom - midTop);
    }
    PlatformFlush();
}

void RestoreScreenRect(int x, int y, int w, int h) {
    if (!Screen) return;
    if (Page && !PageNotReady) ShowPageRect(Page, x - PageX, y - PageY, Screen, x - PageX, y - PageY, w, h);
    RepaintSurround(x, y, w, h);
}

// ---- Resize and expose ------------------------------------------------------------------------------

void ScreenResize(int width, int height) {
    if (!Screen || Screen->Iconic) return;
    Screen->Width = width;
    Screen->Height = height;
    PlatformScreenSize(&Screen->ScreenWidth, &Screen->ScreenHeight);
    if (!ScreenAllocBuffers()) {
        // Nothing can be shown without the strip: leave as cleanly as a quit does.
        PlatformMessageBox("Arrg !! Enter in Plokta mode !", "Nemu");
        QuitFlag = 1;
        return;
    }
    BlitToScreen = Blit32;
    PlacePage(0);
}

void ScreenPaint(int x, int y, int w, int h) {
    if (!Screen || Screen->Iconic) return;
    int former = SetPointerShape(2);
    RestoreScreenRect(x - 1, y - 1, w + 1, h + 1);
    SetPointerShape(former);
}

// ---- Pointer shapes -----------------------------------------------------------------------------------

int SetPointerShape(int shape) {
    int former = PointerShape;
    if (InputLocked || DisplayHold > 0) return former;
    if (shape == PointerShape) return former;
    PointerShape = shape;
    static const int ToolPointers[4] = {1, 0, 6, 7};
    int shown = shape;
    if (shape == 1 && MouseStyle >= 0 && MouseStyle < 4) shown = ToolPointers[MouseStyle];
    PlatformSetPointerShape(shown);
    return former;
}

// ---- Placement and coordinates -------------------------------------------------------------------------

static int FitAxis(int screen, int page, int x) {
    const int margin = 20;
    if (page <= screen) {
        int spare = screen - page;
        if (spare < 2 * margin) return spare / 2;
        if (x < margin) x = margin;
        if (x + page > screen - margin) x = screen - margin - page;
        return x;
    }
    // Larger than the screen: keep the margin at one end and no gap at the other.
    if (x > margin) x = margin;
    if (x + page < screen - margin) x = screen - margin - page;
    return x;
}

int PlacePage(int centre) {
    if (PageNotReady || !Screen) return 0;
    int W = Screen->Width, H = Screen->Height;
    int x = centre ? (W - PageWidth) / 2 : PageX;
    int y = centre ? (H - PageHeight) / 2 : PageY;
    x = FitAxis(W, PageWidth, x);
    y = FitAxis(H, PageHeight, y);
    int moved = x != PageX || y != PageY;
    PageX = x;
    PageY = y;
    return moved;
}

void ScreenToPage(int32_t fx, int32_t fy, int32_t* px, int32_t* py) {
    *px = int32_t(int64_t(fx) - int64_t(PageX) * 65536);
    *py = int32_t(int64_t(fy) - int64_t(PageY) * 65536);
}

} // namespace nemu
