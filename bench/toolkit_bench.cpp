// The interface toolkit, measured:
// - one step of dragging a 400 by 300 panel over a 1920 by 1080 page of eight layers,
//   working on the middle one: the uncovered strips restored from the composed stack, the
//   panel shown at its new place, all blitted to the screen (target: under 2 ms);
// - redrawing a panel of 40 gadgets with text into its surface and onto the screen
//   (target: under 1 ms).
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "paint/tools.h"
#include "project/layer_edit.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/window.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

namespace nemu {
namespace {

constexpr int PageW = 1920, PageH = 1080, Layers = 8;

// Each layer a soft diagonal band of its own colour, half transparent; the last is paper.
void PaintBand(Bitmap* b, int index) {
    uint32_t colour = 0x00402010u * uint32_t(index + 1) & 0x00FFFFFFu;
    for (int y = 0; y < PageH; y++)
        for (int x = 0; x < PageW; x++) {
            uint32_t a = uint32_t((x + y + index * 97) % 512);
            a = a > 255 ? 511 - a : a;
            uint32_t r = ((colour >> 16) & 255) * a / 255, g = ((colour >> 8) & 255) * a / 255, bl = (colour & 255) * a / 255;
            b->Pixels[size_t(y) * PageW + x] = a << 24 | r << 16 | g << 8 | bl;
        }
}

bool OpenStack() {
    static int state = 0;
    if (state) return state > 0;
    state = -1;
    SetupTempDir();
    if (!OpenCache()) return false;
    BuildDrawTables();
    if (!PlatformOpen(BACKEND_HEADLESS, PageW, PageH) || !ScreenOpen()) return false;
    if (!ResizePageBuffers(PageW, PageH) || !InitLayers()) return false;
    PageNotReady = 0;
    PageX = PageY = 0;
    for (int i = 1; i < Layers; i++) CreateLayer("", 0, 0, 0, 1);
    for (int i = 0; i < Layers; i++) {
        SelectLayerImage(i, 0, 1);
        if (i == Layers - 1)
            ClearBitmap(Page, 0xFFF0E8D8);
        else
            PaintBand(Page, i);
        MarkPageChanged();
    }
    SelectLayerImage(Layers / 2, 0, 1); // work on a middle layer: the display mixes the rest
    FontOpen();
    RefreshAll();
    state = 1;
    return true;
}

void BM_DragPanelStep(benchmark::State& state) {
    if (!OpenStack()) {
        state.SkipWithError("no project");
        return;
    }
    GuiWindow* w = WindowNew(400, 300, 0);
    if (!w) {
        state.SkipWithError("no window");
        return;
    }
    WindowMove(w, 600, 300);
    WindowOpen(w);
    int step = 0;
    for (auto _ : state) {
        // A pointer's step: a few pixels along, as a hand drags.
        int dx = (step / 50) % 2 ? -6 : 6, dy = (step / 25) % 2 ? -3 : 3;
        WindowMove(w, w->Left + dx, w->Top + dy);
        benchmark::DoNotOptimize(HeadlessScreen()->Pixels);
        step++;
    }
    WindowDelete(w);
}
BENCHMARK(BM_DragPanelStep)->Unit(benchmark::kMillisecond);

void BM_RedrawPanel40(benchmark::State& state) {
    if (!OpenStack()) {
        state.SkipWithError("no project");
        return;
    }
    static std::vector<std::string> labels;
    static std::vector<Gadget> rows;
    static char texts[10][32];
    static StringInfo fields[10];
    rows.clear();
    labels.clear();
    for (int i = 0; i < 40; i++) labels.push_back("Setting " + std::to_string(i + 1));
    for (int i = 0; i < 40; i++) {
        Gadget g{};
        int col = i % 4, row = i / 4;
        g.Left = int16_t(8 + col * 100), g.Right = int16_t(g.Left + 95);
        g.Top = int16_t(24 + row * 24), g.Bottom = int16_t(g.Top + 19);
        g.Id = i + 1;
        g.Label = labels[size_t(i)].c_str();
        g.LabelFlags = LF_CENTRE;
        g.Flags = i % 3 == 0 ? GK_TOGGLE : GK_BUTTON;
        if (col == 3) {
            StringInfo& si = fields[row];
            std::snprintf(texts[row], sizeof texts[row], "Value %d", row);
            si.Buffer = texts[row];
            si.MaxLen = sizeof texts[row];
            g.String = &si;
            g.Flags = GK_STRING;
            g.LabelFlags = 0;
        }
        rows.push_back(g);
    }
    rows.push_back(Gadget{});
    GuiWindow* w = WindowFromRows(410, 270, rows.data());
    WindowOpen(w);
    for (auto _ : state) {
        WindowDrawRows(w);
        benchmark::DoNotOptimize(HeadlessScreen()->Pixels);
    }
    state.counters["glyphs_made"] = double(FontRasterCount);
    WindowDelete(w);
}
BENCHMARK(BM_RedrawPanel40)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace nemu
