// The window list: stacking, clamping, refresh with clipping, dragging with the magnet,
// and modal loops that nest and survive their window vanishing.
#include "store/bitmap.h"
#include "toolkit_fixture.h"
#include "ui/settings.h"

using namespace nemu;

namespace {

GuiWindow* Solid(int x, int y, int w, int h, uint32_t colour, uint32_t flags = 0) {
    GuiWindow* win = WindowNew(w, h, flags);
    ClearBitmap(win->Surface, colour);
    WindowMove(win, x, y);
    WindowOpen(win);
    return win;
}

TEST(Windows, StackingKeepsBackdropsAtTheBottomAndFindsTheTopmost) {
    ToolkitHost host;
    GuiWindow* a = Solid(100, 100, 100, 100, 0xFFFF0000);
    GuiWindow* b = Solid(150, 150, 100, 100, 0xFF00FF00);
    GuiWindow* back = Solid(120, 120, 50, 50, 0xFF0000FF, WINDOW_BACKDROP);
    EXPECT_EQ(WindowListHead, back);
    EXPECT_EQ(WindowListTail, b);
    EXPECT_EQ(WindowAt(160, 160), b);
    EXPECT_EQ(WindowAt(130, 130), a);
    EXPECT_EQ(ScreenPixel(160, 160), 0xFF00FF00u);
    EXPECT_EQ(ScreenPixel(130, 130), 0xFFFF0000u);
    WindowToFront(a, 0);
    EXPECT_EQ(WindowListTail, a);
    EXPECT_EQ(ScreenPixel(160, 160), 0xFFFF0000u);
    WindowToFront(back, 0); // never raised
    EXPECT_EQ(WindowListHead, back);
    WindowToBack(a);
    EXPECT_EQ(WindowListHead, back); // below every other window, above no backdrop
    EXPECT_EQ(back->Next, a);
    EXPECT_EQ(ScreenPixel(160, 160), 0xFF00FF00u);
}

TEST(Windows, HidingRestoresThePageAndTheWindowsBelow) {
    ToolkitHost host;
    std::fill(Page->Pixels, Page->Pixels + PageWidth * PageHeight, 0xFF123456u);
    RefreshAll();
    GuiWindow* a = Solid(40, 40, 60, 60, 0xFFFF0000);
    GuiWindow* b = Solid(70, 70, 60, 60, 0xFF00FF00);
    EXPECT_EQ(ScreenPixel(80, 80), 0xFF00FF00u);
    WindowHide(b);
    EXPECT_TRUE(WindowInList(b));
    EXPECT_EQ(ScreenPixel(80, 80), 0xFFFF0000u);
    EXPECT_EQ(ScreenPixel(120, 120), 0xFF123456u);
    WindowDelete(a);
    EXPECT_EQ(ScreenPixel(80, 80), 0xFF123456u);
    // Opening one window opens every closed one.
    GuiWindow* c = Solid(300, 300, 20, 20, 0xFF0000FF);
    (void)c;
    EXPECT_EQ(b->Open, 1u);
    EXPECT_EQ(ScreenPixel(80, 80), 0xFF00FF00u);
}

TEST(Windows, MovesAreClampedAndOpeningPullsLostWindowsBack) {
    ToolkitHost host;
    GuiWindow* w = Solid(100, 100, 80, 60, 0xFFFF0000);
    WindowMove(w, 5000, -5000);
    EXPECT_EQ(w->Left, Screen->Width - 10);
    EXPECT_EQ(w->Top, 5 - 60);
    WindowHide(w);
    w->Left = 20000, w->Right = 20080, w->Top = 9000, w->Bottom = 9060; // as from a settings file
    WindowOpen(w);
    EXPECT_LE(w->Left, Screen->Width - 30);
    EXPECT_LE(w->Top, Screen->Height - 20);
    EXPECT_EQ(w->Right - w->Left, 80);
}

TEST(Windows, AMoveRepaintsWhatTheWindowUncovered) {
    ToolkitHost host;
    std::fill(Page->Pixels, Page->Pixels + PageWidth * PageHeight, 0xFF808080u);
    RefreshAll();
    GuiWindow* w = Solid(60, 60, 50, 50, 0xFFFF0000);
    WindowMove(w, 70, 65);
    EXPECT_EQ(ScreenPixel(62, 62), 0xFF808080u);
    EXPECT_EQ(ScreenPixel(75, 70), 0xFFFF0000u);
    EXPECT_EQ(ScreenPixel(115, 112), 0xFFFF0000u);
    WindowMove(w, 400, 300); // far away: the whole old place comes back
    EXPECT_EQ(ScreenPixel(80, 80), 0xFF808080u);
}

Gadget TitleRows[] = {{.Id = GADGET_DRAG, .Label = "Panel"}, {.Id = GADGET_CLOSE}, {}};

TEST(Windows, DraggingTheTitleBarMovesAndSnapsToAnotherWindow) {
    ToolkitHost host;
    GuiWindow* fixed = Solid(300, 100, 100, 100, 0xFF0000FF);
    Gadget rows[3] = {TitleRows[0], TitleRows[1], {}};
    GuiWindow* w = WindowFromRows(120, 80, rows);
    WindowMove(w, 100, 120);
    WindowOpen(w);
    WindowToFront(fixed, 0);
    const DrawnGadget* bar = FindGadget("Panel");
    ASSERT_NE(bar, nullptr);
    int x = bar->CentreX(), y = bar->CentreY();
    // Dragged so that its right edge stands 3 pixels short of the other's left edge.
    HeadlessQueuePointer(x, y, WM_LBUTTONDOWN);
    for (int i = 1; i <= 6; i++) HeadlessQueuePointer(x + i * 12, y + i);
    HeadlessQueuePointer(x + 77, y + 6);
    HeadlessQueuePointer(x + 77, y + 6, WM_LBUTTONUP);
    RunQueued();
    EXPECT_EQ(w->Right, fixed->Left); // snapped: 3 is within reach of a window's edge
    EXPECT_EQ(w->Top, 126);
    EXPECT_EQ(WindowListTail, fixed); // five steps or more leave the depth alone

    // A press without movement is a click: it raises the window.
    HeadlessQueuePointer(w->Left + 20, w->Top + 8, WM_LBUTTONDOWN);
    HeadlessQueuePointer(w->Left + 20, w->Top + 8, WM_LBUTTONUP);
    RunQueued();
    EXPECT_EQ(WindowListTail, w);
}

TEST(Windows, TheWorkAreaEdgeSnapsOnlyWhenStrictlyNearer) {
    ToolkitHost host;
    GuiWindow* w = WindowNew(50, 50, 0);
    int32_t x = 3, y = 2;
    WindowSnap(w, &x, &y);
    EXPECT_EQ(x, 3); // exactly 3 from the edge stays
    EXPECT_EQ(y, 0);
    WindowMagnet = 0;
    x = 2, y = 2;
    WindowSnap(w, &x, &y);
    EXPECT_EQ(x, 2);
}

// ---- Modal loops ----------------------------------------------------------------------------------

int32_t InnerResult = 0;

int32_t InnerHandler(GuiWindow*, Gadget* g, int32_t code) {
    return g && code == GC_CLICK ? 50 + g->Id : 0;
}

int32_t OuterHandler(GuiWindow* window, Gadget* g, int32_t code) {
    if (!g || code != GC_CLICK) return 0;
    if (g->Id == 1) {
        static Gadget inner[] = {{.Left = 10,
                                  .Top = 10,
                                  .Right = 69,
                                  .Bottom = 29,
                                  .Id = 2,
                                  .Flags = GK_BUTTON,
                                  .Label = "Inner",
                                  .LabelFlags = LF_CENTRE},
                                 {}};
        GuiWindow* w = WindowFromRows(80, 40, inner);
        w->OnGadget = InnerHandler;
        InnerResult = ModalLoop(w);
        EXPECT_EQ(ModalWindow, window); // the outer loop's window is modal again
        WindowDelete(w);
        return 0;
    }
    if (g->Id == 3) {
        WindowDelete(window); // closes itself from inside its own handler
        return 9;
    }
    return 7;
}

TEST(Windows, ModalLoopsNestAndEndWhenTheirWindowVanishes) {
    ToolkitHost host;
    Gadget rows[] = {
        {.Left = 10, .Top = 10, .Right = 69, .Bottom = 29, .Id = 1, .Flags = GK_BUTTON, .Label = "Open"},
        {.Left = 10, .Top = 40, .Right = 69, .Bottom = 59, .Id = 3, .Flags = GK_BUTTON, .Label = "Vanish"},
        {.Left = 80, .Top = 10, .Right = 139, .Bottom = 29, .Id = 4, .Flags = GK_BUTTON, .Label = "Done"},
        {},
    };
    GuiWindow* outer = WindowFromRows(150, 70, rows);
    outer->OnGadget = OuterHandler;
    WindowOpen(outer);
    bool innerClicked = false, doneClicked = false;
    OnGadgetDrawn() = [&](const DrawnGadget& d) {
        if (d.Label == "Inner" && !innerClicked) {
            innerClicked = true;
            QueueClickAt(d.CentreX(), d.CentreY());
            QueueClick("Done"); // then the outer window's own button
            doneClicked = true;
        }
    };
    ASSERT_TRUE(QueueClick("Open"));
    EXPECT_EQ(ModalLoop(outer), 7);
    EXPECT_TRUE(doneClicked);
    EXPECT_EQ(InnerResult, 52);
    EXPECT_EQ(ModalWindow, nullptr);

    OnGadgetDrawn() = nullptr;
    ASSERT_TRUE(QueueClick("Vanish"));
    EXPECT_EQ(ModalLoop(outer), 0);
    EXPECT_FALSE(WindowInList(outer));
}

TEST(Windows, APressOutsideAModalWindowIsRefused) {
    ToolkitHost host;
    Gadget rows[] = {
        {.Left = 10, .Top = 10, .Right = 69, .Bottom = 29, .Id = 1, .Flags = GK_BUTTON, .Label = "OK"}, {}};
    GuiWindow* w = WindowFromRows(80, 40, rows);
    w->OnGadget = [](GuiWindow*, Gadget* g, int32_t code) -> int32_t {
        return g && code == GC_CLICK ? 1 : 0;
    };
    WindowOpen(w);
    QueueClickAt(5, 5); // on the page: beeps, does nothing
    QueueClick("OK");
    EXPECT_EQ(ModalLoop(w), 1);
}

TEST(Windows, TheMiddleButtonHidesAllAndShowsThemAgain) {
    ToolkitHost host;
    GuiWindow* a = Solid(10, 10, 30, 30, 0xFFFF0000);
    GuiWindow* b = Solid(60, 60, 30, 30, 0xFF00FF00);
    HeadlessQueuePointer(300, 300, WM_MBUTTONDOWN);
    HeadlessQueuePointer(300, 300, WM_MBUTTONUP);
    RunQueued();
    EXPECT_EQ(a->Open + b->Open, 0u);
    HeadlessQueuePointer(300, 300, WM_MBUTTONDOWN);
    HeadlessQueuePointer(300, 300, WM_MBUTTONUP);
    RunQueued();
    EXPECT_EQ(a->Open + b->Open, 2u);
    EXPECT_EQ(ScreenPixel(70, 70), 0xFF00FF00u);
}

} // namespace

namespace {

TEST(Windows, PlacesFromTheSettingsAreKeptOnTheScreen) {
    ToolkitHost host;
    GuiWindow* w = WindowNew(100, 80, 0);
    ConfigSet("Probe", "WIN_X", "99999");
    ConfigSet("Probe", "WIN_Y", "-400");
    EXPECT_EQ(WindowLoadPlace(w, "Probe"), 1);
    EXPECT_EQ(w->Left, Screen->Width - 100);
    EXPECT_EQ(w->Top, 0);
    ConfigSet("Probe", "WIN_X", "not a number");
    ConfigSet("Probe", "WIN_Y", "12");
    EXPECT_EQ(WindowLoadPlace(w, "Probe"), 1);
    EXPECT_EQ(w->Left, 0);
    EXPECT_EQ(w->Top, 12);
    WindowOpen(w);
    WindowSavePlace(w, "Probe");
    EXPECT_EQ(ConfigGetInt("Probe", "WIN_Y", 0), 12);
    EXPECT_TRUE(ConfigGetOn("Probe", "Display", false));
    EXPECT_EQ(WindowLoadPlace(w, "Nowhere"), 0);
}

TEST(Windows, AHelpBubbleShowsTheTextBesideItsGadget) {
    ToolkitHost host;
    Gadget rows[] = {{.Left = 10,
                      .Top = 10,
                      .Right = 69,
                      .Bottom = 29,
                      .Id = 1,
                      .Flags = GK_BUTTON,
                      .Help = "First line\nSecond line",
                      .Label = "Helped"},
                     {.Id = GADGET_CLOSE},
                     {}};
    GuiWindow* w = WindowFromRows(100, 60, rows);
    WindowOpen(w);
    HelpBubble(w, &rows[0]);
    ASSERT_NE(HelpBubbleWindow, nullptr);
    EXPECT_GE(HelpBubbleWindow->Top, w->Top + 29); // below the gadget
    int twoLines = int(HelpBubbleWindow->Height);
    HelpBubble(w, &rows[1]); // a system gadget's own text, one line
    ASSERT_NE(HelpBubbleWindow, nullptr);
    EXPECT_LT(int(HelpBubbleWindow->Height), twoLines);
    HelpMode = 0;
    HelpBubble(w, &rows[0]);
    EXPECT_EQ(HelpBubbleWindow, nullptr);
    HelpMode = 2;
}

} // namespace
