// The Zoom panel: its window and rows, the factor's steps, the navigator, the resize
// that makes a new window of the new size, and its settings.
//
// Sections: rows; the window; factors and navigator; settings.
#include "ui/zoom_panel.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "host/zoom.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <algorithm>
#include <cstdio>
#include <strings.h>
#include <utility>

namespace nemu {

const int32_t ZoomSteps[] = {-16, -8, -6, -4, -3, -2, 2, 3, 4, 6, 8, 12, 16, 24, 32};
const int32_t ZoomStepCount = int32_t(sizeof ZoomSteps / sizeof ZoomSteps[0]);

constexpr const char* ZoomSection = "Zoom";
constexpr uint32_t MsgZoomTitle = 4070, MsgNavigator = 4071, MsgFollow = 4072, MsgIn = 4073, MsgOut = 4074,
                   MsgHelpOut = 4075, MsgHelpIn = 4076, MsgHelpNavigator = 4077, MsgHelpFollow = 4078;

// Layout units: the picture's inset (fixed by the design) and the strip of buttons below.
constexpr int32_t PictureLeft = 4, PictureTop = 19, PictureRight = 4, StripHeight = 26;

enum ZoomRowId : int32_t { ZOOM_OUT = 1, ZOOM_IN = 2, ZOOM_NAVIGATOR = 3, ZOOM_FOLLOW = 4, ZOOM_FACTOR = 5 };
constexpr int32_t ZoomRowCount = 9;

// ---- Rows ------------------------------------------------------------------------------------------------

static Gadget ZoomRows[ZoomRowCount + 1];
static char FactorText[16];
static int32_t SavedFactor = ZoomDefaultFactor; // the magnified factor while the navigator shows
static int32_t PanelW = ZoomPanelWidth, PanelH = ZoomPanelHeight; // layout units

struct ZoomRowSpec {
    int32_t Id;
    int16_t Left, Right; // Right < 0: from the window's right edge
    uint32_t Flags, Label, Help;
};

static const ZoomRowSpec ZoomButtons[] = {
    {ZOOM_OUT, 4, 40, GK_BUTTON, MsgOut, MsgHelpOut},
    {ZOOM_IN, 44, 80, GK_BUTTON, MsgIn, MsgHelpIn},
    {ZOOM_NAVIGATOR, 84, 160, GK_TOGGLE, MsgNavigator, MsgHelpNavigator},
    {ZOOM_FOLLOW, 164, 216, GK_TOGGLE, MsgFollow, MsgHelpFollow},
    {ZOOM_FACTOR, 220, -18, GK_LABEL, 0, 0},
};

static void BuildZoomRows() {
    int32_t n = 0;
    for (int32_t id : {GADGET_DRAG, GADGET_CLOSE, GADGET_DEPTH, GADGET_SIZE}) {
        ZoomRows[n] = Gadget{};
        ZoomRows[n++].Id = id;
    }
    ZoomRows[0].Label = MsgGet(nullptr, MsgZoomTitle);
    const int16_t top = int16_t(PanelH - StripHeight + 4), bottom = int16_t(PanelH - 6);
    for (const ZoomRowSpec& spec : ZoomButtons) {
        Gadget& g = ZoomRows[n++];
        g = Gadget{};
        g.Id = spec.Id;
        g.Left = spec.Left;
        g.Right = int16_t(spec.Right < 0 ? PanelW + spec.Right : spec.Right);
        g.Top = top, g.Bottom = bottom;
        g.Flags = spec.Flags;
        g.LabelFlags = LF_CENTRE;
        g.Label = spec.Label ? MsgGet(nullptr, spec.Label) : FactorText;
        g.Help = spec.Help ? MsgGet(nullptr, spec.Help) : nullptr;
    }
    ZoomRows[n] = Gadget{};
    if (ZoomFactor < 0) GadgetById(ZOOM_NAVIGATOR, ZoomRows)->Flags |= GF_SELECTED;
    if (ZoomAutoCenter) GadgetById(ZOOM_FOLLOW, ZoomRows)->Flags |= GF_SELECTED;
}

static void ShowFactor() {
    if (ZoomFactor > 0)
        std::snprintf(FactorText, sizeof FactorText, "%d:1", int(ZoomFactor));
    else
        std::snprintf(FactorText, sizeof FactorText, "1:%d", int(-ZoomFactor));
    if (Gadget* g = GadgetById(ZOOM_FACTOR, ZoomRows); g && WindowInList(ZoomWindow)) GadgetRefresh(g, ZoomWindow);
}

// ---- The window ------------------------------------------------------------------------------------------

static void ShowSurfacePiece(int32_t x, int32_t y, int32_t w, int32_t h) {
    WindowRefreshRect(ZoomWindow, x, y, w, h);
}

// The picture area of a window of the panel's layout size, in surface pixels.
static void SetArea(const GuiWindow* window) {
    ZoomInsetX = UiPx(PictureLeft);
    ZoomInsetY = UiPx(PictureTop);
    ZoomAreaW = std::max(0, int32_t(window->Width) - ZoomInsetX - UiPx(PictureRight));
    ZoomAreaH = std::max(0, UiPx(PanelH - StripHeight) - ZoomInsetY);
}

static int32_t OnZoomGadget(GuiWindow*, Gadget* gadget, int32_t code) {
    if (!gadget || code != GC_CLICK) return 0;
    switch (gadget->Id) {
    case ZOOM_OUT:
        ZoomStepFactor(-1);
        break;
    case ZOOM_IN:
        ZoomStepFactor(1);
        break;
    case ZOOM_NAVIGATOR:
        ZoomNavigator((gadget->Flags & GF_SELECTED) ? 1 : 0);
        break;
    case ZOOM_FOLLOW:
        ZoomAutoCenter = (gadget->Flags & GF_SELECTED) ? 1 : 0;
        break;
    default:
        break;
    }
    return 0;
}

static void OnZoomClose(GuiWindow*) {
    ZoomClose();
}

static GuiWindow* MakeZoomWindow(int32_t x, int32_t y);

// A resize makes a window of the new size in place of the old one, once the drag is over.
static GuiWindow* OnZoomResize(GuiWindow* window, int32_t* x, int32_t* y, int32_t* w, int32_t* h, int32_t phase) {
    if (phase != 0) return window;
    PanelW = std::max(UiUnit(*w), ZoomPanelMinWidth);
    PanelH = std::max(UiUnit(*h), ZoomPanelMinHeight);
    int32_t centreX = ZoomLeft + ZoomWidth / 2, centreY = ZoomTop + ZoomHeight / 2;
    ZoomClosing = 1;
    GuiWindow* made = MakeZoomWindow(*x, *y);
    if (!made) {
        ZoomClosing = 0;
        return window; // keeps the old size; MakeZoomWindow said why
    }
    WindowDelete(window);
    ZoomClosing = 0;
    ZoomWindow = made;
    WindowOpen(made);
    ZoomCenterOn(centreX, centreY);
    ZoomRedraw();
    return made;
}

static GuiWindow* MakeZoomWindow(int32_t x, int32_t y) {
    BuildZoomRows();
    GuiWindow* window = WindowFromRows(PanelW, PanelH, ZoomRows);
    if (!window) {
        AlertMsg(1000);
        return nullptr;
    }
    window->OnGadget = OnZoomGadget;
    window->OnClose = OnZoomClose;
    window->OnResize = OnZoomResize;
    window->MinWidth = UiPx(ZoomPanelMinWidth);
    window->MinHeight = UiPx(ZoomPanelMinHeight);
    if (x >= 0 && y >= 0) WindowMove(window, x, y);
    SetArea(window);
    return window;
}

int ZoomOpen(int32_t factor, int32_t px, int32_t py) {
    if (!Screen) return 0;
    if (factor) ZoomFactor = ZoomClampFactor(factor);
    if (!WindowInList(ZoomWindow)) {
        int32_t x = ConfigGetInt(ZoomSection, "WIN_X", -1), y = ConfigGetInt(ZoomSection, "WIN_Y", -1);
        GuiWindow* window = MakeZoomWindow(x, y);
        if (!window) return 0;
        ZoomWindow = window;
        ZoomShowHook = ShowSurfacePiece;
        ZoomOn = 1;
        WindowOpen(window);
    } else if (!ZoomWindow->Open) {
        ZoomOn = 1;
        WindowOpen(ZoomWindow);
    }
    SetArea(ZoomWindow);
    if (px >= 0 && py >= 0)
        ZoomCenterOn(px, py);
    else
        ZoomSetView(ZoomFactor, ZoomLeft, ZoomTop);
    // The toggles follow the state.
    for (auto [id, on] : {std::pair{ZOOM_NAVIGATOR, ZoomFactor < 0}, std::pair{ZOOM_FOLLOW, ZoomAutoCenter != 0}})
        if (Gadget* g = GadgetById(id, ZoomRows); g && on != ((g->Flags & GF_SELECTED) != 0)) {
            g->Flags ^= GF_SELECTED;
            GadgetDraw(g, ZoomWindow);
        }
    ShowFactor();
    WindowRefresh(ZoomWindow);
    ZoomRedraw();
    return 1;
}

void ZoomClose() {
    if (!ZoomWindow) return;
    ZoomClosing = 1;
    if (WindowInList(ZoomWindow)) {
        ConfigSetInt(ZoomSection, "WIN_X", ZoomWindow->Left);
        ConfigSetInt(ZoomSection, "WIN_Y", ZoomWindow->Top);
        WindowDelete(ZoomWindow);
    }
    ZoomWindow = nullptr;
    ZoomOn = ZoomCaptured = ZoomClosing = 0;
    if (ZoomShowHook == ShowSurfacePiece) ZoomShowHook = nullptr;
}

void ZoomToggle() {
    if (ZoomShown())
        ZoomClose();
    else
        ZoomOpen(0, PointerX, PointerY);
}

// ---- Factors and navigator -------------------------------------------------------------------------------

int32_t ZoomNextStep(int32_t factor, int direction) {
    if (direction > 0) {
        for (int32_t i = 0; i < ZoomStepCount; i++)
            if (ZoomSteps[i] > factor) return ZoomSteps[i];
    } else {
        for (int32_t i = ZoomStepCount - 1; i >= 0; i--)
            if (ZoomSteps[i] < factor) return ZoomSteps[i];
    }
    return factor;
}

void ZoomSetFactor(int32_t factor) {
    int32_t centreX = ZoomLeft + ZoomWidth / 2, centreY = ZoomTop + ZoomHeight / 2;
    ZoomFactor = ZoomClampFactor(factor);
    if (ZoomFactor < 0) {
        ZoomMarkLeft = ZoomMarkTop = ZoomMarkWidth = ZoomMarkHeight = 0;
    }
    ZoomCenterOn(centreX, centreY);
    if (!ZoomShown()) return;
    if (Gadget* g = GadgetById(ZOOM_NAVIGATOR, ZoomRows)) {
        bool on = ZoomFactor < 0, shown = (g->Flags & GF_SELECTED) != 0;
        if (on != shown) {
            g->Flags ^= GF_SELECTED;
            GadgetRefresh(g, ZoomWindow);
        }
    }
    ShowFactor();
    ZoomRedraw();
}

void ZoomStepFactor(int direction) {
    ZoomSetFactor(ZoomNextStep(ZoomFactor, direction));
}

void ZoomNavigator(int on) {
    if (on && ZoomFactor > 0) {
        // The whole page in the area, and a frame where the magnified view stood.
        int32_t markL = ZoomLeft, markT = ZoomTop, markW = ZoomWidth, markH = ZoomHeight;
        SavedFactor = ZoomFactor;
        int32_t n = 2;
        while (n < -ZoomMinFactor && (int64_t(ZoomAreaW) * n < PageWidth || int64_t(ZoomAreaH) * n < PageHeight)) n++;
        ZoomSetFactor(-n);
        ZoomMarkLeft = markL, ZoomMarkTop = markT, ZoomMarkWidth = markW, ZoomMarkHeight = markH;
        ZoomSetView(ZoomFactor, 0, 0);
        ZoomRedraw();
    } else if (!on && ZoomFactor < 0) {
        int32_t centreX = ZoomMarkLeft + ZoomMarkWidth / 2, centreY = ZoomMarkTop + ZoomMarkHeight / 2;
        ZoomSetFactor(SavedFactor);
        ZoomCenterOn(centreX, centreY);
        ZoomRedraw();
    }
}

// ---- Settings -----------------------------------------------------------------------------------------------

void LoadZoomSettings() {
    PanelW = std::max(ConfigGetInt(ZoomSection, "Win_W", ZoomPanelWidth), ZoomPanelMinWidth);
    PanelH = std::max(ConfigGetInt(ZoomSection, "Win_H", ZoomPanelHeight), ZoomPanelMinHeight);
    // A size beyond the screen is cut to it.
    if (Screen) {
        PanelW = std::min(PanelW, std::max(ZoomPanelMinWidth, UiUnit(Screen->Width)));
        PanelH = std::min(PanelH, std::max(ZoomPanelMinHeight, UiUnit(Screen->Height)));
    }
    ZoomFactor = ZoomClampFactor(ConfigGetInt(ZoomSection, "Factor", ZoomDefaultFactor));
    if (ZoomFactor < 0) ZoomFactor = ZoomDefaultFactor; // the navigator is not a place to start from
    if (ConfigGetOn(ZoomSection, "Display", false)) ZoomOpen(0, PageWidth / 2, PageHeight / 2);
}

void SaveZoomSettings() {
    const bool open = ZoomShown();
    if (open) {
        ConfigSetInt(ZoomSection, "WIN_X", ZoomWindow->Left);
        ConfigSetInt(ZoomSection, "WIN_Y", ZoomWindow->Top);
    }
    ConfigSetInt(ZoomSection, "Win_W", PanelW);
    ConfigSetInt(ZoomSection, "Win_H", PanelH);
    ConfigSetInt(ZoomSection, "Factor", ZoomFactor > 0 ? ZoomFactor : SavedFactor);
    ConfigSetOn(ZoomSection, "Display", open);
}

} // namespace nemu
