// The toolkit's headless screen with a small project, for the panels' tests. Gadgets are
// found by their label through the toolkit's drawing hook and pressed with queued pointer
// records, through the main loop, as a user presses them.
#pragma once
#include "paint/draw_modes.h"
#include "paint/panto.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "project/layers.h"
#include "store/cache_file.h"
#include "ui/catalog.h"
#include "ui/panels.h"
#include "ui/settings.h"
#include "ui/sys_colours.h"
#include "ui/toolkit_fixture.h"

#include <cstdlib>
#include <string>

namespace nemu::test {

constexpr int PanelScreenW = 800, PanelScreenH = 600; // the toolkit fixture's screen

struct PanelHost : ToolkitHost {
    // What the panels change and other tests rely on, put back at the end.
    const double KeptFrameRate = FrameRate;
    const int32_t KeptLineP1 = LineP1, KeptLineP2 = LineP2, KeptPointMode = PointMode;
    const int32_t KeptPantoX = PantoX, KeptPantoY = PantoY;

    PanelHost() {
        ProgramDir = NEMU_SOURCE_DIR "/data";
        if (!GlobalCatalog) EXPECT_EQ(CatalogLoadGlobal(), 1);
        const char* cache = std::getenv("XDG_CACHE_HOME");
        TempDir = std::string(cache ? cache : "/tmp") + "/nemu/";
        EXPECT_EQ(OpenCache(), 1);
        BuildDrawTables();
        EXPECT_EQ(InitLayers(), 1);
        SavedCounter = ChangeCounter;
        FrameRate = 25.0;
        LoadSysColoursFromCatalog();
        ResetPenSettings();
        SetPen(PenRound);
        PressureX = PressureY = SpeedX = SpeedY = 0;
        LineP1 = LineP2 = 255;
        PointMode = POINT_CONTINUE;
    }
    ~PanelHost() {
        ClosePanels();
        PenChangedHook = nullptr;
        AskYesNoHook = nullptr;
        LoadProfile(nullptr); // the settings in memory go with the test
        FrameRate = KeptFrameRate;
        LineP1 = KeptLineP1, LineP2 = KeptLineP2, PointMode = KeptPointMode;
        PantoX = KeptPantoX, PantoY = KeptPantoY;
        PressureX = PressureY = SpeedX = SpeedY = 0;
        ResetPenSettings();
    }

    // The last drawing of the row labelled label in window; fails the test when none.
    static const DrawnGadget* Find(const GuiWindow* window, const std::string& label) {
        const DrawnGadget* found = nullptr;
        for (const DrawnGadget& d : DrawnGadgets())
            if (d.Window == window && d.Label == label) found = &d;
        EXPECT_NE(found, nullptr) << "no gadget labelled \"" << label << "\"";
        return found;
    }
    // Whether the window's rows, as they stand, hold one labelled label.
    static bool Has(GuiWindow* window, const std::string& label) {
        for (Gadget* g = window->Gadgets; g && g->Id; g++)
            if (g->Label && label == g->Label) return true;
        return false;
    }
    // Screen position of a point of a drawn row, (fx, fy) from its top left.
    static int X(const DrawnGadget* d, int fx) { return d->Window->Left + d->X + fx; }
    static int Y(const DrawnGadget* d, int fy) { return d->Window->Top + d->Y + fy; }

    static void ClickAt(int x, int y, bool right = false) {
        QueueClickAt(x, y, right);
        RunQueued();
    }
    // Presses the middle of the row labelled label.
    static void Click(const GuiWindow* window, const std::string& label, bool right = false) {
        if (const DrawnGadget* d = Find(window, label)) ClickAt(d->CentreX(), d->CentreY(), right);
    }
};

} // namespace nemu::test
