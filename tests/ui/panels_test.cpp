// The panels of the pens and the project, pressed by label as a user presses them.
#include "ui/panel_fixture.h"

#include "host/screen.h"
#include "project/page_size.h"
#include "store/bitmap.h"
#include "support/run_script.h"
#include "ui/commands.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"

#include <cstring>
#include <gtest/gtest.h>

namespace nemu::test {
namespace {

std::string Setting(const char* section, const char* key) {
    char text[256];
    ConfigGet(section, key, text, "", sizeof text);
    return text;
}

class PanelsTest : public ::testing::Test {
  protected:
    PanelHost Host;
};

TEST_F(PanelsTest, EachPanelOpensByItsCommand) {
    KeyMapInit();
    const struct {
        const char* Command;
        GuiWindow* (*Panel)();
    } rows[] = {{"OpenTools", ToolsPanel},
                {"OpenPressure", PressurePanel},
                {"NewProject", NewProjectPanel},
                {"OpenProjectSize", PageSizePanel}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Command);
        EXPECT_EQ(row.Panel(), nullptr);
        EXPECT_EQ(RunScript(std::string("om_runcommand ") + row.Command), "");
        ASSERT_NE(row.Panel(), nullptr);
        EXPECT_NE(row.Panel()->Open, 0u);
        EXPECT_EQ(row.Panel(), WindowListTail); // on top of the others
    }
    // A second time brings the panel forward rather than making another.
    GuiWindow* tools = ToolsPanel();
    RunScript("om_runcommand OpenTools");
    EXPECT_EQ(ToolsPanel(), tools);
    EXPECT_EQ(WindowListTail, tools);
    KeyMapFree();
}

TEST_F(PanelsTest, ToolsChoosesThePenAndOpensItsPage) {
    OpenTools();
    GuiWindow* w = ToolsPanel();
    ASSERT_NE(w, nullptr);
    PanelHost::Click(w, "Airbrush");
    EXPECT_EQ(Pen, PenAirbrush);
    EXPECT_NE(WindowGadgetById(w, 1 + PenAirbrush)->Flags & GF_SELECTED, 0u);
    EXPECT_EQ(WindowGadgetById(w, 1 + PenRound)->Flags & GF_SELECTED, 0u);
    // A pen chosen elsewhere shows in the panel too.
    ToolChalk();
    EXPECT_NE(WindowGadgetById(w, 1 + PenChalk)->Flags & GF_SELECTED, 0u);
    EXPECT_EQ(WindowGadgetById(w, 1 + PenAirbrush)->Flags & GF_SELECTED, 0u);
    // The right button opens the pen's page of the Pens panel without choosing it.
    PanelHost::Click(w, "Oil", true);
    EXPECT_EQ(Pen, PenChalk);
    ASSERT_NE(PensPanel(), nullptr);
    EXPECT_TRUE(PanelHost::Has(PensPanel(), "Bristles"));
}

TEST_F(PanelsTest, ToolsSizeSliderSizesThePenInUse) {
    ToolAirBrush();
    OpenTools();
    GuiWindow* w = ToolsPanel();
    const DrawnGadget* size = PanelHost::Find(w, "Size");
    ASSERT_NE(size, nullptr);
    // A press right of the knob moves a tenth of the range.
    PanelHost::ClickAt(PanelHost::X(size, size->W - 3), PanelHost::Y(size, size->H / 2));
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 22);
    EXPECT_EQ(CurrentStamp->Width, 2 * 22 + 1);
    EXPECT_EQ(Setting("Pens", "Airbrush").rfind("1 1 25 22 ", 0), 0u) << Setting("Pens", "Airbrush");
    // The point has no size: the slider stays at nothing.
    PanelHost::Click(w, "Point");
    PanelHost::ClickAt(PanelHost::X(size, size->W - 3), PanelHost::Y(size, size->H / 2));
    EXPECT_EQ(WindowGadgetById(w, 11)->String->IntValue, 0);
}

TEST_F(PanelsTest, ToolsLineEndsAndDotMode) {
    OpenTools();
    GuiWindow* w = ToolsPanel();
    const DrawnGadget* start = PanelHost::Find(w, "Line start");
    ASSERT_NE(start, nullptr);
    PanelHost::ClickAt(PanelHost::X(start, 3), PanelHost::Y(start, start->H / 2)); // left of the knob at 100 %
    EXPECT_EQ(LineP1, (90 * 255 + 50) / 100);
    EXPECT_EQ(Setting("Tools", "LineP1"), std::to_string(LineP1));
    // The right button steps the cycle to the next choice.
    Gadget* dot = WindowGadgetById(w, 12);
    int x, y, gw, gh;
    GadgetPixelRect(dot, &x, &y, &gw, &gh);
    PanelHost::ClickAt(w->Left + x + gw / 2, w->Top + y + gh / 2, true);
    EXPECT_EQ(PointMode, POINT_SINGLE);
    EXPECT_EQ(Setting("Tools", "PointMode"), "Single");
}

TEST_F(PanelsTest, PensSliderChangesThePenAndItsSettingsKey) {
    ToolAirBrush();
    OpenPens();
    GuiWindow* w = PensPanel();
    ASSERT_NE(w, nullptr);
    const DrawnGadget* power = PanelHost::Find(w, "Power");
    ASSERT_NE(power, nullptr);
    PanelHost::ClickAt(PanelHost::X(power, power->W - 3), PanelHost::Y(power, power->H / 2));
    // 128 shows as 50 %; a tenth of the range on is 59 %, kept as (59 * 255 + 49) / 100.
    EXPECT_EQ(MediaPens[PenAirbrush].Power, (59 * 255 + 49) / 100);
    EXPECT_EQ(nemu::Power, MediaPens[PenAirbrush].Power);
    EXPECT_EQ(Setting("Pens", "Airbrush"), "1 1 25 12 150 0 1 0 4 100");
    // A check box switches pressure off for this pen, and the stroke sees it at once.
    PanelHost::Click(w, "Pressure");
    EXPECT_EQ(MediaPens[PenAirbrush].PressureOn, 0);
    EXPECT_EQ(ToolUsesPressure, 0);
    // A pen not in use changes only its own record.
    PanelHost::Click(w, "Pencil");
    const DrawnGadget* size = PanelHost::Find(w, "Size");
    ASSERT_NE(size, nullptr);
    PanelHost::ClickAt(PanelHost::X(size, size->W - 3), PanelHost::Y(size, size->H / 2));
    EXPECT_EQ(MediaPens[PenPencil].Size, 5 + 9);
    EXPECT_EQ(Pen, PenAirbrush);
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 12);
    EXPECT_EQ(Setting("Pens", "Pencil").rfind("1 1 25 14 ", 0), 0u);
}

TEST_F(PanelsTest, PensPagesShowWhatEachPenHas) {
    OpenPensAt(PenRound);
    GuiWindow* w = PensPanel();
    EXPECT_TRUE(PanelHost::Has(w, "Radius"));
    EXPECT_FALSE(PanelHost::Has(w, "Profile"));
    EXPECT_FALSE(PanelHost::Has(w, "Invert"));
    PanelHost::Click(w, "Gouache");
    EXPECT_TRUE(PanelHost::Has(w, "Profile"));
    EXPECT_TRUE(PanelHost::Has(w, "Bristles"));
    EXPECT_TRUE(PanelHost::Has(w, "Keep wet"));
    EXPECT_FALSE(PanelHost::Has(w, "Radius"));
    PanelHost::Click(w, "Brush");
    EXPECT_TRUE(PanelHost::Has(w, "Margin"));
    EXPECT_FALSE(PanelHost::Has(w, "Size"));
    // A pen chosen elsewhere turns the panel to its page.
    ToolOil();
    EXPECT_TRUE(PanelHost::Has(w, "Bristles"));
    EXPECT_NE(WindowGadgetById(w, 1 + PenOil)->Flags & GF_SELECTED, 0u);
}

TEST_F(PanelsTest, PensProfilePresetAndDefault) {
    ToolChalk();
    OpenPens();
    GuiWindow* w = PensPanel();
    int x, y, gw, gh; // the arrow to the next preset, which has no label
    GadgetPixelRect(WindowGadgetById(w, 53), &x, &y, &gw, &gh);
    PanelHost::ClickAt(w->Left + x + gw / 2, w->Top + y + gh / 2);
    EXPECT_EQ(MediaPens[PenChalk].Preset, 5);
    PanelHost::Click(w, "Apply");
    EXPECT_EQ(std::memcmp(MediaPens[PenChalk].Profile, ProfilePresets[5], 64), 0);
    EXPECT_EQ(std::memcmp(Profile, ProfilePresets[5], 64), 0);
    // Drawing in the profile: a press at the rim's cell, at the top, sets entry 0 to 255.
    const DrawnGadget* area = PanelHost::Find(w, "Profile");
    ASSERT_NE(area, nullptr);
    PanelHost::ClickAt(PanelHost::X(area, 2), PanelHost::Y(area, 2));
    EXPECT_EQ(MediaPens[PenChalk].Profile[0], 255);
    MediaPens[PenAirbrush].Size = 40;
    PanelHost::Click(w, "Default");
    EXPECT_EQ(MediaPens[PenChalk].Preset, 4);
    EXPECT_EQ(MediaPens[PenChalk].Profile[0], 0);
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 40); // the other pens keep theirs
}

TEST_F(PanelsTest, PressureGraphSetsTheCurveAsMakeCurveGives) {
    OpenPressure();
    GuiWindow* w = PressurePanel();
    ASSERT_NE(w, nullptr);
    const DrawnGadget* graph = PanelHost::Find(w, "Pressure");
    ASSERT_NE(graph, nullptr);
    // Cell (10, 40) from the bottom left: each cell is two pixels at scale 1.
    PanelHost::ClickAt(PanelHost::X(graph, 1 + 10 * 2), PanelHost::Y(graph, 1 + (63 - 40) * 2));
    EXPECT_EQ(PressureX, 40);
    EXPECT_EQ(PressureY, 160);
    uint8_t expected[256];
    MakeCurve(40, 160, expected);
    EXPECT_EQ(std::memcmp(PressureCurve, expected, 256), 0);
    EXPECT_EQ(Setting("Pressure", "PressureX"), "40");
    EXPECT_EQ(Setting("Pressure", "PressureY"), "160");
    EXPECT_EQ(SpeedX, 0);
    // Each graph has its own straightening button; the pressure's is the first drawn.
    const DrawnGadget* straight = nullptr;
    for (const DrawnGadget& d : DrawnGadgets())
        if (d.Window == w && d.Label == "Straight" && d.X < graph->X + graph->W) straight = &d;
    ASSERT_NE(straight, nullptr);
    PanelHost::ClickAt(PanelHost::X(straight, straight->W / 2), PanelHost::Y(straight, straight->H / 2));
    EXPECT_EQ(PressureX, 0);
    for (int i = 0; i < 256; i++) ASSERT_EQ(PressureCurve[i], i) << i;
}

// The middle of the list's first row, which shows the first entry when the list has not
// been scrolled (the page's own size is no entry of the list).
int FirstRowY(const DrawnGadget* list) { return PanelHost::Y(list, 1 + 7); }

TEST_F(PanelsTest, NewProjectFromTheListMakesAProjectOfThatSize) {
    OpenNewProject();
    GuiWindow* w = NewProjectPanel();
    ASSERT_NE(w, nullptr);
    ASSERT_GT(PageSizeCount, 2);
    const DrawnGadget* list = PanelHost::Find(w, "Sizes");
    ASSERT_NE(list, nullptr);
    // The first row is the display's size, at 30 images a second.
    PanelHost::ClickAt(PanelHost::X(list, 20), FirstRowY(list));
    EXPECT_EQ(w->Gadgets[0].Id, GADGET_DRAG);
    EXPECT_EQ(WindowGadgetById(w, 3)->String->IntValue, PanelScreenW);
    PanelHost::Click(w, "Create");
    EXPECT_EQ(PageWidth, PanelScreenW);
    EXPECT_EQ(PageHeight, PanelScreenH);
    EXPECT_EQ(FrameRate, 30.0);
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(Page->Width, uint32_t(PanelScreenW));
    EXPECT_EQ(NewProjectPanel(), nullptr); // done: the panel went
}

TEST_F(PanelsTest, TheWheelScrollsTheListOfSizes) {
    OpenNewProject();
    GuiWindow* w = NewProjectPanel();
    const DrawnGadget* list = PanelHost::Find(w, "Sizes");
    ASSERT_NE(list, nullptr);
    ASSERT_GT(PageSizeCount, 12);
    // The wheel is a key without text: down three rows, then the first row is entry 3.
    HeadlessQueuePointer(PanelHost::X(list, 20), FirstRowY(list));
    RunQueued();
    int32_t none = 0;
    EXPECT_EQ(w->OnKey("", &none, 0, w, 40, 0), 1);
    EXPECT_EQ(w->OnKey("x", &(none = 1), 0, w, 40, 0), 0); // a typed key is not the wheel's
    PanelHost::ClickAt(PanelHost::X(list, 20), FirstRowY(list));
    EXPECT_EQ(WindowGadgetById(w, 3)->String->IntValue, PageSizes[3].Width);
    EXPECT_EQ(WindowGadgetById(w, 4)->String->IntValue, PageSizes[3].Height);
}

TEST_F(PanelsTest, NewProjectOverChangesAsksFirst) {
    ChangeCounter++;
    int asked = 0;
    static int* count = &asked;
    AskYesNoHook = [](const char*, const char*, const char*) {
        (*count)++;
        return 0;
    };
    OpenNewProject();
    GuiWindow* w = NewProjectPanel();
    const DrawnGadget* list = PanelHost::Find(w, "Sizes");
    ASSERT_NE(list, nullptr);
    PanelHost::ClickAt(PanelHost::X(list, 20), FirstRowY(list));
    PanelHost::Click(w, "Create");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(PageWidth, 320); // no: nothing changed
    EXPECT_NE(NewProjectPanel(), nullptr);
}

TEST_F(PanelsTest, PageSizeChangesTheSize) {
    OpenProjectSize();
    GuiWindow* w = PageSizePanel();
    ASSERT_NE(w, nullptr);
    // A size typed in: width and height fields take Return.
    Gadget* width = WindowGadgetById(w, 3);
    Gadget* height = WindowGadgetById(w, 4);
    width->String->IntValue = 80;
    SetStringInt(w, width);
    height->String->IntValue = 30;
    SetStringInt(w, height);
    PanelHost::Click(w, "Keep the picture"); // off: start afresh at the new size
    PanelHost::Click(w, "Change");
    EXPECT_EQ(PageWidth, 80);
    EXPECT_EQ(PageHeight, 30);
    EXPECT_EQ(PageSizePanel(), nullptr);
}

TEST_F(PanelsTest, PageSizeKeepsThePictureScaled) {
    ClearBitmap(Page, 0xFFFF0000);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    OpenProjectSize();
    GuiWindow* w = PageSizePanel();
    ASSERT_NE(w, nullptr);
    EXPECT_NE(WindowGadgetById(w, 6)->Flags & GF_SELECTED, 0u); // keeping is the default
    NumberSet(w, 3, 640);
    NumberSet(w, 4, 480);
    PanelHost::Click(w, "Change");
    ASSERT_EQ(PageWidth, 640);
    ASSERT_EQ(PageHeight, 480);
    EXPECT_EQ(Page->Pixels[size_t(240) * 640 + 320], 0xFFFF0000u);
    EXPECT_EQ(Page->Pixels[size_t(479) * 640 + 639], 0xFFFF0000u);
}

TEST_F(PanelsTest, PlacesAreSavedAndPulledBackOnScreen) {
    OpenTools();
    GuiWindow* w = ToolsPanel();
    EXPECT_EQ(w->Left, PanelScreenW - HomeMargin - int(w->Width)); // first, by the right edge
    EXPECT_EQ(w->Top, HomeTop);
    WindowMove(w, 100, 50);
    OpenPressure();
    SavePanels();
    EXPECT_EQ(Setting("Tools", "WIN_X"), "100");
    EXPECT_EQ(Setting("Tools", "WIN_Y"), "50");
    EXPECT_EQ(Setting("Tools", "Display"), "on");
    EXPECT_EQ(Setting("Pens", "Display"), "off");
    // A closed panel keeps the place it had.
    ClosePanels();
    EXPECT_EQ(ToolsPanel(), nullptr);
    SavePanels();
    EXPECT_EQ(Setting("Tools", "WIN_X"), "100");
    EXPECT_EQ(Setting("Tools", "Display"), "off");
    // Stored off the screen, a panel comes back whole at the nearest edge.
    ConfigSet("Tools", "WIN_X", "5000");
    ConfigSet("Tools", "WIN_Y", "-40");
    ConfigSet("Tools", "Display", "on");
    ConfigSet("Pressure", "WIN_X", "20");
    ConfigSet("Pressure", "WIN_Y", "3000");
    ConfigSet("Pressure", "Display", "off");
    LoadPanels();
    w = ToolsPanel();
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->Left, PanelScreenW - int(w->Width));
    EXPECT_EQ(w->Top, 0);
    EXPECT_EQ(PressurePanel(), nullptr);
    OpenPressure();
    EXPECT_EQ(PressurePanel()->Left, 20);
    EXPECT_EQ(PressurePanel()->Top, PanelScreenH - int(PressurePanel()->Height));
    // A place that is no number leaves the panel at its home: Pens left of where Tools
    // first stands, by the right edge.
    ClosePanels();
    ConfigSet("Pens", "WIN_X", "left");
    ConfigSet("Pens", "WIN_Y", "12");
    ConfigSet("Pens", "Display", "on");
    LoadPanels();
    ASSERT_NE(PensPanel(), nullptr);
    EXPECT_EQ(PensPanel()->Left, PanelScreenW - (ToolsHomeWidth + 2 * HomeMargin) - int(PensPanel()->Width));
    EXPECT_EQ(PensPanel()->Top, HomeTop);
}

} // namespace
} // namespace nemu::test
