// Script commands that draw on the page: single pixels, dabs and lines with the current
// tool, and plain lines straight into the page.
//
// A command stroke is a stroke like one of the pointer: it begins by ending the last one
// (the commit a press makes), so that om_undo takes back exactly the last command, and
// it is clipped to the page before any number reaches the paint engine, so that
// coordinates far outside it cost nothing and cannot overflow.
//
// Sections: strokes from scripts; clipping; commands.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/line_walk.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "script/command_families.h"
#include "script/screen_seam.h"
#include "store/bitmap.h"
#include "store/undo.h"

#include <algorithm>
#include <cmath>

namespace nemu {

// ---- Strokes from scripts ----------------------------------------------------------------------------

namespace {
// What the press of a stroke does: previews go, the last stroke is committed unless wet
// paint is kept over strokes, and the stroke's own state starts afresh.
void BeginCommandStroke() {
    CancelTool(ToolMode);
    if (WetKeep != 2 && (WetKeep == 0 || MustCommit || DrawMode == 13)) {
        BeginStrokeCommit();
        MustCommit = 0;
    }
    if (WetMode && WetKeep == 0) ClearWet();
    ShiftArmed = 0;
    StrokeColourPicked = 0;
}

uint32_t PenColour(int32_t pen) {
    return pen ? BPen : APen;
}

int32_t Level(int32_t v) {
    return std::clamp(v, 0, 255);
}

// ---- Clipping -------------------------------------------------------------------------------------------

// A segment of pointer positions (page pixels, fractions allowed) with a value at each
// end that follows it along (pressures).
struct Segment {
    double X0, Y0, X1, Y1;
    double T0 = 0, T1 = 1; // the part of the original segment that is left
};

// Keeps the part of the segment inside the box that every dab touching the page lies in
// (Liang and Barsky); false when none is left or a number is not finite. The box stays
// inside what 16.16 positions can hold.
bool ClipToReach(Segment& s) {
    if (!std::isfinite(s.X0) || !std::isfinite(s.Y0) || !std::isfinite(s.X1) || !std::isfinite(s.Y1))
        return false;
    const Stamp* stamp = CurrentStamp;
    const double margin = (stamp ? std::max(stamp->Width, stamp->Height) : 1) + 2.0;
    const double limit = 32000.0;
    const double bx0 = std::max(-margin, -limit), by0 = std::max(-margin, -limit);
    const double bx1 = std::min(PageWidth + margin, limit), by1 = std::min(PageHeight + margin, limit);
    const double dx = s.X1 - s.X0, dy = s.Y1 - s.Y0;
    if (!std::isfinite(dx) || !std::isfinite(dy)) return false; // ends near the largest doubles
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {s.X0 - bx0, bx1 - s.X0, s.Y0 - by0, by1 - s.Y0};
    const double edge[4] = {bx0, bx1, by0, by1};
    double t0 = 0, t1 = 1;
    int k0 = -1, k1 = -1; // the sides the ends were cut at
    for (int k = 0; k < 4; ++k) {
        if (p[k] == 0) {
            if (q[k] < 0) return false;
            continue;
        }
        const double t = q[k] / p[k];
        if (p[k] < 0 && t > t0) t0 = t, k0 = k;
        if (p[k] > 0 && t < t1) t1 = t, k1 = k;
    }
    if (t0 > t1) return false;
    // An end cut at a side lies exactly on it: ends far away would lose the digits that
    // matter here in x0 + t * dx.
    const double x0 = s.X0, y0 = s.Y0;
    auto place = [&](double t, int k, double& x, double& y) {
        x = x0 + t * dx, y = y0 + t * dy;
        if (k == 0 || k == 1) x = edge[k];
        if (k == 2 || k == 3) y = edge[k];
    };
    if (k0 >= 0) place(t0, k0, s.X0, s.Y0);
    if (k1 >= 0) place(t1, k1, s.X1, s.Y1);
    s.T0 = t0, s.T1 = t1;
    return std::isfinite(s.X0) && std::isfinite(s.Y0) && std::isfinite(s.X1) && std::isfinite(s.Y1);
}

int32_t Along(int32_t a, int32_t b, double t) {
    return int32_t(std::lround(a + (b - a) * t));
}

// 16.16 position of the stamp's corner whose handle stands at v pixels.
int32_t Corner(double v, int32_t handle) {
    return int32_t(std::floor((v - handle) * 65536.0));
}

// A stroke with the current tool between two pointer positions. Sizes and opacities
// are those of the ends, and follow the clipped part along.
void ToolStroke(double x0, double y0, double x1, double y1, int32_t pen, int32_t first, int32_t size0,
                int32_t size1, int32_t op0, int32_t op1) {
    if (first) BeginCommandStroke();
    Segment s{x0, y0, x1, y1};
    Stamp* stamp = CurrentStamp;
    if (!stamp || !ClipToReach(s)) return;
    const int32_t a0 = Along(size0, size1, s.T0), a1 = Along(size0, size1, s.T1);
    const int32_t o0 = Along(op0, op1, s.T0), o1 = Along(op0, op1, s.T1);
    PaintLine(stamp, Corner(s.X0, stamp->HandleX), Corner(s.Y0, stamp->HandleY), Corner(s.X1, stamp->HandleX),
              Corner(s.Y1, stamp->HandleY), PenColour(pen), pen ? 1 : 0, first, a0, a1, o0, o1);
}
} // namespace

// ---- Commands
// -----------------------------------------------------------------------------------------------

// The pixel word of four byte values given as r g b a, each limited to 0..255 and stored
// as given. A colour above its alpha is not premultiplied: the script asked for exactly
// that pixel, and the reference says what the page makes of it.
static uint32_t GivenPixel(const int32_t* rgba) {
    return uint32_t(Level(rgba[3])) << 24 | uint32_t(Level(rgba[0])) << 16 | uint32_t(Level(rgba[1])) << 8 |
           uint32_t(Level(rgba[2]));
}

// om_writepixel x y r g b a: the bytes as the page keeps them.
static void WritePixel(CommandRequest*, const char* args) {
    ReadArgs(args, 6);
    int x = ArgInt[0], y = ArgInt[1];
    if (!Page || x < 0 || y < 0 || x >= Page->Width || y >= Page->Height) return;
    CancelTool(ToolMode);
    Page->Pixels[size_t(y) * size_t(Page->Width) + size_t(x)] = GivenPixel(ArgInt + 2);
    AddDirtyAndMark(x, y, x, y);
    ShowPageArea(x, y, 1, 1);
}

// om_dot x y pen: one dab of the current tool as a mouse click paints it.
static void Dot(CommandRequest*, const char* args) {
    ReadArgs(args, 3);
    ToolStroke(ArgReal[0], ArgReal[1], ArgReal[0], ArgReal[1], ArgInt[2], 1, 0, 0, 255, 255);
}

// om_zdot x y pen opacity size: one dab with the two values a tablet gives a pen
// (PressureHigh scales opacity, PressureLow size), each 0..255.
static void ZDot(CommandRequest*, const char* args) {
    ReadArgs(args, 5);
    const int32_t op = Level(ArgInt[3]), size = Level(ArgInt[4]);
    ToolStroke(ArgReal[0], ArgReal[1], ArgReal[0], ArgReal[1], ArgInt[2], 1, size, size, op, op);
}

// om_line x1 y1 x2 y2 pen continue: the line tool's line. With continue not 0 it goes on
// from the line before as one stroke: no commit, and the dab spacing carries over.
static void Line(CommandRequest*, const char* args) {
    ReadArgs(args, 6);
    ToolStroke(ArgReal[0], ArgReal[1], ArgReal[2], ArgReal[3], ArgInt[4], ArgInt[5] ? 0 : 1, -LineP1, -LineP2,
               LineP1, LineP2);
}

// om_zline x1 y1 x2 y2 pen z1 z2 continue: a line whose ends have the pressures z1 and
// z2 (0..255), which drive size and opacity as a tablet's pressure does.
static void ZLine(CommandRequest*, const char* args) {
    ReadArgs(args, 8);
    const int32_t z1 = Level(ArgInt[5]), z2 = Level(ArgInt[6]);
    ToolStroke(ArgReal[0], ArgReal[1], ArgReal[2], ArgReal[3], ArgInt[4], ArgInt[7] ? 0 : 1, z1, z2, z1, z2);
}

// om_fastline x1 y1 x2 y2 r g b a: a one-pixel line written straight into the page, no
// tool and no draw mode; the colour as om_writepixel takes it.
static void FastLine(CommandRequest*, const char* args) {
    ReadArgs(args, 8);
    if (!Page) return;
    BeginCommandStroke();
    const uint32_t colour = GivenPixel(ArgInt + 4);
    int64_t minX = INT64_MAX, minY = INT64_MAX, maxX = INT64_MIN, maxY = INT64_MIN;
    Bitmap* page = Page;
    WalkLinePixels(ArgInt[0], ArgInt[1], ArgInt[2], ArgInt[3], 0, 0, int64_t(page->Width) - 1,
                   int64_t(page->Height) - 1, [&](int64_t x, int64_t y) {
                       page->Pixels[size_t(y) * size_t(page->Width) + size_t(x)] = colour;
                       minX = std::min(minX, x), maxX = std::max(maxX, x);
                       minY = std::min(minY, y), maxY = std::max(maxY, y);
                   });
    if (minX > maxX) return;
    AddDirtyAndMark(int32_t(minX), int32_t(minY), int32_t(maxX), int32_t(maxY));
    ShowPageArea(int32_t(minX), int32_t(minY), int32_t(maxX - minX + 1), int32_t(maxY - minY + 1));
}

const ScriptCommand DrawingCommands[] = {
    {"om_writepixel", WritePixel}, {"om_dot", Dot},           {"om_zdot", ZDot},  {"om_line", Line},
    {"om_zline", ZLine},           {"om_fastline", FastLine}, {nullptr, nullptr},
};

} // namespace nemu
