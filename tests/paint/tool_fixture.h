// A headless screen with a small white page and the one-pixel round pen, driven through
// the main loop one input record a pass, as the tools see a user.
#pragma once
#include "host/host_fixture.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/line_walk.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/undo.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

namespace nemu::test {

constexpr int PageLeft = 10, PageTop = 10; // where the page stands on the screen
constexpr uint32_t White = 0xFFFFFFFF, Red = 0xFFFF0000, Blue = 0xFF0000FF;

struct ToolHost : HeadlessHost {
    explicit ToolHost(int w = 40, int h = 30)
        : HeadlessHost(std::max(120, w + 20), std::max(100, h + 20), w, h, PageLeft, PageTop) {
        ResetPenSettings();
        // Pressure from the pointer's speed would make every stroke depend on the clock.
        RoundPen.PressureOn = RoundPen.SpeedOn = 0;
        PointePen.PressureOn = PointePen.SpeedOn = 0;
        for (PenSettings& p : MediaPens) p.PressureOn = p.SpeedOn = 0;
        DrawMode = 0, AntiAlias = 0, WetKeep = 0;
        // Tool state as the program starts it, so that tests run together in one process
        // stay apart.
        ToolState = ToolStateRecord();
        Freehand = FreehandRecord();
        PointMode = POINT_CONTINUE, LineP1 = LineP2 = 255, LockAxis = 0, GridOn = 0;
        HeadlessSetQualifiers(0);
        APen = Red, BPen = Blue;
        ClearBitmap(Page, White);
        CopyBitmap(Page, BackPage);
        RefreshAll();
        SetPen(PenRound);
        SetPenSize(0);
        SelectToolMode(TOOL_FREEHAND);
    }

    // One record, one pass of the main loop; positions are page pixels.
    static void Send(uint32_t message, int x, int y) {
        HeadlessQueuePointer(x + PageLeft, y + PageTop, message);
        MainLoopPass();
    }
    static void Move(int x, int y) { Send(WM_MOUSEMOVE, x, y); }
    static void Press(int x, int y) { Send(WM_LBUTTONDOWN, x, y); }
    static void Release(int x, int y) { Send(WM_LBUTTONUP, x, y); }
    static void RightPress(int x, int y) { Send(WM_RBUTTONDOWN, x, y); }
    static void RightRelease(int x, int y) { Send(WM_RBUTTONUP, x, y); }

    static uint32_t At(int x, int y) { return Page->Pixels[size_t(y) * Page->Width + x]; }
    static uint32_t Shown(int x, int y) { return ScreenPixel(x + PageLeft, y + PageTop); }

    // The pixels whose screen differs from the page: previews still standing.
    static int Traces() {
        int n = 0;
        for (int y = 0; y < PageHeight; y++)
            for (int x = 0; x < PageWidth; x++) n += Shown(x, y) != At(x, y);
        return n;
    }
    // The page as text, '#' for each pixel not white: shapes read at a glance in a
    // failure message.
    static std::string Picture() {
        std::string s;
        for (int y = 0; y < PageHeight; y++) {
            for (int x = 0; x < PageWidth; x++) s += At(x, y) == White ? '.' : '#';
            s += '\n';
        }
        return s;
    }
    static int Painted() {
        int n = 0;
        for (int y = 0; y < PageHeight; y++)
            for (int x = 0; x < PageWidth; x++) n += At(x, y) != White;
        return n;
    }
};

using PixelSet = std::set<std::pair<int, int>>;

// The pixels of the page that are not white.
inline PixelSet PaintedPixels() {
    PixelSet s;
    for (int y = 0; y < PageHeight; y++)
        for (int x = 0; x < PageWidth; x++)
            if (ToolHost::At(x, y) != White) s.insert({x, y});
    return s;
}

// The pixels of a one-pixel line on the page, as the engine picks them.
inline PixelSet LinePixels(int64_t x0, int64_t y0, int64_t x1, int64_t y1) {
    PixelSet s;
    WalkLinePixels(x0, y0, x1, y1, 0, 0, PageWidth - 1, PageHeight - 1, [&](int64_t x, int64_t y) {
        s.insert({int(x), int(y)});
    });
    return s;
}

} // namespace nemu::test
