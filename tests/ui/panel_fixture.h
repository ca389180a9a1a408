// A headless screen with a small project for the panels' tests. Gadgets are found by
// their label through the toolkit's drawing hook and pressed with queued pointer records,
// through the main loop, as a user presses them.
#pragma once
#include "host/host_fixture.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "ui/catalog.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/panels.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace nemu::test {

constexpr int PanelScreenW = 1024, PanelScreenH = 768;

struct DrawnGadget {
    const GuiWindow* Window;
    const Gadget* Row;
    std::string Label;
    int X, Y, W, H; // screen pixels
};

inline std::vector<DrawnGadget> Drawn;

inline void RecordGadget(const GuiWindow* window, const Gadget* g, const char* label, int32_t x, int32_t y,
                         int32_t w, int32_t h) {
    for (DrawnGadget& d : Drawn)
        if (d.Window == window && d.Row == g) {
            d = {window, g, label ? label : "", x, y, w, h};
            return;
        }
    Drawn.push_back({window, g, label ? label : "", x, y, w, h});
}

struct PanelHost : HeadlessHost {
    PanelHost() : HeadlessHost(PanelScreenW, PanelScreenH, 64, 48, 600, 600) {
        ProgramDir = NEMU_SOURCE_DIR "/data";
        if (!GlobalCatalog) EXPECT_EQ(CatalogLoadGlobal(), 1);
        const char* cache = std::getenv("XDG_CACHE_HOME");
        TempDir = std::string(cache ? cache : "/tmp") + "/nemu/";
        EXPECT_EQ(OpenCache(), 1);
        BuildDrawTables();
        EXPECT_EQ(InitLayers(), 1);
        SavedCounter = ChangeCounter;
        FrameRate = 25.0;
        UiScaleHalves = 2;
        LoadSysColors();
        FontOpen();
        ResetPenSettings();
        SetPen(PenRound);
        PressureX = PressureY = SpeedX = SpeedY = 0;
        LineP1 = LineP2 = 255;
        PointMode = POINT_CONTINUE;
        Drawn.clear();
        GadgetDrawnHook = RecordGadget;
    }
    ~PanelHost() {
        ClosePanels();
        GadgetDrawnHook = nullptr;
        PenChangedHook = nullptr;
        AskYesNoHook = nullptr;
        Drawn.clear();
        LoadProfile(nullptr); // the settings in memory go with the test
    }

    // The last drawing of the row labelled label in window; fails the test when none.
    static const DrawnGadget* Find(const GuiWindow* window, const std::string& label) {
        const DrawnGadget* found = nullptr;
        for (const DrawnGadget& d : Drawn)
            if (d.Window == window && d.Label == label) found = &d;
        EXPECT_NE(found, nullptr) << "no gadget labelled \"" << label << "\"";
        return found;
    }
    static bool Has(const GuiWindow* window, const std::string& label) {
        for (const DrawnGadget& d : Drawn)
            if (d.Window == window && d.Label == label) {
                // Only rows of the window's table as it stands now count.
                for (Gadget* g = window->Gadgets; g && g->Id; g++)
                    if (g == d.Row && g->Label && label == g->Label) return true;
            }
        return false;
    }

    // Runs the main loop until the queue is empty.
    static void Run() {
        for (int i = 0; i < 100 && HeadlessPending() > 0; i++) MainLoopPass();
    }
    static void ClickAt(int x, int y, bool right = false) {
        HeadlessQueuePointer(x, y, right ? WM_RBUTTONDOWN : WM_LBUTTONDOWN);
        HeadlessQueuePointer(x, y, right ? WM_RBUTTONUP : WM_LBUTTONUP);
        Run();
    }
    // Presses the middle of the row labelled label.
    static void Click(const GuiWindow* window, const std::string& label, bool right = false) {
        const DrawnGadget* d = Find(window, label);
        if (d) ClickAt(d->X + d->W / 2, d->Y + d->H / 2, right);
    }
};

} // namespace nemu::test
