// The brush ghost: the dab that would be painted, shown under the pointer between
// strokes. The whole form paints the dab into the page, shows that rectangle and puts
// the page back, so the page never keeps it; the outline form is a rubber band.
//
// Sections: form; the whole dab; show and hide; moving without flicker.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/panto.h"
#include "paint/tools.h"
#include "store/bitmap.h"

#include <algorithm>

namespace nemu {

int32_t GhostAreaLimit = 200000;

// ---- Form ---------------------------------------------------------------------------------------

namespace {
bool IsBrush(const Stamp* s) {
    return s->Kind == 3 || s->Kind == 5;
}

bool AsOutline(const Stamp* s) {
    const int64_t area = int64_t(s->Width) * s->Height;
    return ToolState.BrushGhostMode == 2 || (ToolState.BrushGhostMode == 0 && area > GhostAreaLimit) ||
           !s->Mask || !s->Under || !s->Under->Pixels;
}

// The rectangle of the stamp whose handle stands at (x, y), clipped to the page; false
// when none of it is on the page.
struct Box {
    int64_t X0, Y0, X1, Y1; // X1, Y1 exclusive
};
Box StampBox(const Stamp* s, int64_t x, int64_t y) {
    int64_t x0 = x - s->HandleX, y0 = y - s->HandleY;
    return {x0, y0, x0 + s->Width, y0 + s->Height};
}
bool ClipToPage(Box& b) {
    if (!Page) return false;
    b.X0 = std::max<int64_t>(b.X0, 0), b.Y0 = std::max<int64_t>(b.Y0, 0);
    b.X1 = std::min<int64_t>(b.X1, Page->Width), b.Y1 = std::min<int64_t>(b.Y1, Page->Height);
    return b.X0 < b.X1 && b.Y0 < b.Y1;
}
void Refresh(Box b) {
    if (ClipToPage(b))
        RefreshPageRect(int32_t(b.X0), int32_t(b.Y0), int32_t(b.X1 - b.X0), int32_t(b.Y1 - b.Y0));
}

// ---- The whole dab ------------------------------------------------------------------------------------

inline uint32_t Channel(uint32_t p, int shift) {
    return (p >> shift) & 255;
}

// A pen shows its mask in flat APen; a brush its own colours at full strength, or in
// `stamp` mode its shape in APen.
uint32_t GhostPixel(const Stamp* s, uint32_t page, int32_t i, int32_t j) {
    const int m = s->Mask[size_t(j) * s->Width + i];
    if (!m) return page;
    uint32_t out = 0;
    if (!IsBrush(s) || !s->Image || DrawMode == 1) {
        for (int shift = 0; shift < 32; shift += 8)
            out |= uint32_t(Lerp(int(Channel(page, shift)), int(Channel(APen, shift)), m)) << shift;
        return out;
    }
    const uint32_t src = s->Image->Pixels[size_t(j) * s->Image->Width + i];
    const int k = Mul(int(src >> 24), m); // how much of the page the brush covers here
    for (int shift = 0; shift < 32; shift += 8) {
        int c =
            Mul(int(Channel(src, shift)), m) + int(Channel(page, shift)) - Mul(int(Channel(page, shift)), k);
        out |= uint32_t(std::clamp(c, 0, 255)) << shift;
    }
    return out;
}

void ShowWholeDab(Stamp* s, int64_t x, int64_t y) {
    const Box full = StampBox(s, x, y);
    Box b = full;
    if (!ClipToPage(b)) return;
    const int32_t w = int32_t(b.X1 - b.X0), h = int32_t(b.Y1 - b.Y0);
    const int32_t ox = int32_t(b.X0 - full.X0), oy = int32_t(b.Y0 - full.Y0);
    CopyRectRaw(Page, int32_t(b.X0), int32_t(b.Y0), s->Under, ox, oy, w, h);
    for (int32_t j = 0; j < h; ++j) {
        uint32_t* row = Page->Pixels + size_t(b.Y0 + j) * Page->Width + b.X0;
        for (int32_t i = 0; i < w; ++i) row[i] = GhostPixel(s, row[i], ox + i, oy + j);
    }
    Refresh(b);
    CopyRectRaw(s->Under, ox, oy, Page, int32_t(b.X0), int32_t(b.Y0), w, h);
}

// ---- Outlines
// -----------------------------------------------------------------------------------------------

void OutlineRect(const Box& b, bool draw) {
    if (!draw) {
        Refresh({b.X0, b.Y0, b.X1, b.Y0 + 1}), Refresh({b.X0, b.Y1 - 1, b.X1, b.Y1});
        Refresh({b.X0, b.Y0, b.X0 + 1, b.Y1}), Refresh({b.X1 - 1, b.Y0, b.X1, b.Y1});
        return;
    }
    auto at = [](int64_t v) { return int32_t(std::clamp<int64_t>(v, INT32_MIN / 2, INT32_MAX / 2)); };
    const int32_t x0 = at(b.X0), y0 = at(b.Y0), x1 = at(b.X1 - 1), y1 = at(b.Y1 - 1);
    DrawXorLine(x0, y0, x1, y0), DrawXorLine(x1, y0, x1, y1);
    DrawXorLine(x1, y1, x0, y1), DrawXorLine(x0, y1, x0, y0);
}

void OutlineCircle(const Stamp* s, const Box& b, bool draw) {
    const int64_t cx = b.X0 + s->Width / 2, cy = b.Y0 + s->Height / 2;
    if (cx < INT32_MIN / 2 || cx > INT32_MAX / 2 || cy < INT32_MIN / 2 || cy > INT32_MAX / 2) return;
    (draw ? DrawXorCircle : EraseXorCircle)(int32_t(cx), int32_t(cy), s->Width / 2);
}

// Panto's source point: a cross of arms of 10 pixels.
void PantoCross(int64_t x, int64_t y, bool draw) {
    if (x < INT32_MIN / 2 || x > INT32_MAX / 2 || y < INT32_MIN / 2 || y > INT32_MAX / 2) return;
    int32_t cx = int32_t(x), cy = int32_t(y);
    if (draw) {
        DrawXorLine(cx - 10, cy, cx + 10, cy), DrawXorLine(cx, cy - 10, cx, cy + 10);
        return;
    }
    EraseXorLine(cx - 10, cy, cx + 10, cy), EraseXorLine(cx, cy - 10, cx, cy + 10);
}
} // namespace

// ---- Show and hide
// --------------------------------------------------------------------------------------------

void ShowGhost(int32_t x, int32_t y) {
    Stamp* s = CurrentStamp;
    if (!s) return;
    const Box b = StampBox(s, x, y);
    if (AsOutline(s)) {
        if (IsBrush(s)) {
            OutlineRect(b, true);
            s->GhostFlags |= GHOST_OUTLINE;
        } else {
            OutlineCircle(s, b, true);
            s->GhostFlags |= GHOST_OUTLINE | GHOST_CIRCLE;
        }
    } else {
        ShowWholeDab(s, x, y);
    }
    s->GhostFlags |= GHOST_SHOWN;
    s->GhostX = x, s->GhostY = y;
    if (DrawMode == 17) {
        PantoCross(int64_t(x) + PantoX, int64_t(y) + PantoY, true);
        s->GhostFlags |= GHOST_CROSS;
    }
}

namespace {
void HideCross(Stamp* s) {
    if (!(s->GhostFlags & GHOST_CROSS)) return;
    PantoCross(int64_t(s->GhostX) + PantoX, int64_t(s->GhostY) + PantoY, false);
    s->GhostFlags &= ~GHOST_CROSS;
}
} // namespace

void HideGhost(Stamp* stamp) {
    if (!stamp) return;
    HideCross(stamp);
    if (stamp->GhostFlags & GHOST_SHOWN) {
        const Box b = StampBox(stamp, stamp->GhostX, stamp->GhostY);
        if (!(stamp->GhostFlags & GHOST_OUTLINE))
            Refresh(b);
        else if (stamp->GhostFlags & GHOST_CIRCLE)
            OutlineCircle(stamp, b, false);
        else
            OutlineRect(b, false);
    }
    stamp->GhostFlags = 0;
}

// ---- Moving without flicker
// --------------------------------------------------------------------------------------

void MoveGhost(int32_t x, int32_t y) {
    Stamp* s = CurrentStamp;
    if (!s) return;
    const bool wholeShown = (s->GhostFlags & GHOST_SHOWN) && !(s->GhostFlags & GHOST_OUTLINE);
    if (!wholeShown || AsOutline(s)) {
        // An outline is a thin line: hiding it first shows no gap.
        HideGhost(s);
        ShowGhost(x, y);
        return;
    }
    HideCross(s);
    Box old = StampBox(s, s->GhostX, s->GhostY);
    const Box now = StampBox(s, x, y);
    ShowGhost(x, y);
    // What of the old rectangle the new one does not cover shows the page again: the
    // strips left and right of the new one, then above and below it.
    if (old.X1 <= now.X0 || now.X1 <= old.X0 || old.Y1 <= now.Y0 || now.Y1 <= old.Y0) {
        Refresh(old);
        return;
    }
    if (old.X0 < now.X0) Refresh({old.X0, old.Y0, now.X0, old.Y1});
    if (old.X1 > now.X1) Refresh({now.X1, old.Y0, old.X1, old.Y1});
    const int64_t mx0 = std::max(old.X0, now.X0), mx1 = std::min(old.X1, now.X1);
    if (old.Y0 < now.Y0) Refresh({mx0, old.Y0, mx1, now.Y0});
    if (old.Y1 > now.Y1) Refresh({mx0, now.Y1, mx1, old.Y1});
}

} // namespace nemu
