// Gadget rows: the hit test's edges, pressing each kind by its label, typing into text
// and number fields, and the interface scale.
#include "store/bitmap.h"
#include "toolkit_fixture.h"

#include <cstring>

using namespace nemu;

namespace {

std::vector<std::pair<int32_t, int32_t>> Events; // (id, code) the handler saw

int32_t Record(GuiWindow*, Gadget* g, int32_t code) {
    if (g) Events.push_back({g->Id, code});
    return 0;
}

GuiWindow* Panel(Gadget* rows, int w = 220, int h = 160) {
    Events.clear();
    GuiWindow* win = WindowFromRows(w, h, rows);
    win->OnGadget = Record;
    WindowMove(win, 200, 150);
    WindowOpen(win);
    return win;
}

TEST(Gadgets, TheLeftAndTopEdgesMissAndTheRightAndBottomHit) {
    Gadget rows[] = {{.Left = 10, .Top = 20, .Right = 30, .Bottom = 40, .Id = 1},
                     {},
                     {.Left = 0, .Top = 0, .Right = 100, .Bottom = 100, .Id = 2}};
    EXPECT_EQ(GadgetAt(10, 25, rows), nullptr);
    EXPECT_EQ(GadgetAt(15, 20, rows), nullptr);
    EXPECT_EQ(GadgetAt(11, 21, rows), &rows[0]);
    EXPECT_EQ(GadgetAt(30, 40, rows), &rows[0]);
    EXPECT_EQ(GadgetAt(31, 40, rows), nullptr);
    EXPECT_EQ(GadgetAt(50, 50, rows), nullptr); // the end row hides what follows
    EXPECT_EQ(GadgetById(2, rows), nullptr);
    rows[0].Flags = GF_INERT;
    EXPECT_EQ(GadgetAt(15, 25, rows), nullptr);
}

TEST(Gadgets, EveryKindAnswersItsPressByLabel) {
    ToolkitHost host;
    const char* choices[] = {"One", "Two", "Three"};
    TabsInfo cycle = {0, 3, choices};
    static int pressCount;
    pressCount = 0;
    Gadget rows[] = {
        {.Left = 10, .Top = 10, .Right = 69, .Bottom = 29, .Id = 1, .Flags = GK_BUTTON, .Label = "Button"},
        {.Left = 80, .Top = 10, .Right = 139, .Bottom = 29, .Id = 2, .Flags = GK_TOGGLE, .Label = "Toggle"},
        {.Left = 150, .Top = 10, .Id = 3, .Flags = GK_CHECKBOX, .Label = "Check"},
        {.Left = 10,
         .Top = 40,
         .Right = 69,
         .Bottom = 59,
         .Id = 4,
         .Flags = GF_STAT | GF_IMMEDIATE,
         .Label = "Now"},
        {.Left = 80,
         .Top = 40,
         .Right = 139,
         .Bottom = 59,
         .Id = 5,
         .Flags = GK_CYCLE,
         .Label = "Cycle",
         .LabelFlags = LF_ABOVE,
         .Tabs = &cycle},
        {.Left = 150,
         .Top = 40,
         .Right = 209,
         .Bottom = 59,
         .Id = 6,
         .Flags = GK_REPEAT,
         .Label = "Repeat",
         .OnPress = [](GuiWindow*, Gadget*, int32_t) -> uint32_t { return pressCount++, 0u; }},
        {.Left = 10,
         .Top = 70,
         .Right = 69,
         .Bottom = 89,
         .Id = 7,
         .Flags = GK_COLOUR_BOX | GF_RIGHT,
         .Colour = 0xFF00FF00,
         .Label = "Colour"},
        {.Left = 80, .Top = 70, .Right = 139, .Bottom = 89, .Id = 8, .Flags = GK_AREA, .Label = "Area"},
        {},
    };
    GuiWindow* w = Panel(rows);
    for (const char* label : {"Button", "Toggle", "Check", "Now", "Repeat", "Area"})
        ASSERT_TRUE(QueueClick(label)) << label;
    ASSERT_TRUE(QueueClick("Colour", true));
    ASSERT_TRUE(QueueClick("Cycle", true)); // the right button steps to the next choice
    RunQueued();
    auto saw = [](int32_t id, int32_t code) {
        return std::find(Events.begin(), Events.end(), std::make_pair(id, code)) != Events.end();
    };
    EXPECT_TRUE(saw(1, GC_CLICK));
    EXPECT_TRUE(saw(2, GC_CLICK));
    EXPECT_TRUE(rows[1].Flags & GF_SELECTED);
    EXPECT_TRUE(rows[2].Flags & GF_SELECTED);
    EXPECT_TRUE(saw(4, GC_PRESS)); // immediate: on the press
    EXPECT_TRUE(saw(6, GC_PRESS));
    EXPECT_TRUE(saw(6, GC_CLICK));
    EXPECT_EQ(pressCount, 2); // the first refusal runs twice on a repeating row
    EXPECT_TRUE(saw(7, GC_RIGHT_CLICK));
    EXPECT_TRUE(saw(8, GC_PRESS));
    EXPECT_TRUE(saw(5, GC_RIGHT_CLICK));
    EXPECT_EQ(cycle.Current, 1);
    // The toggle shows its state in its colours.
    const DrawnGadget* t = FindGadget("Toggle");
    EXPECT_EQ(ScreenPixel(w->Left + t->X + 4, w->Top + t->Y + 4), STATBUTTONSELECTCOLOR);
}

TEST(Gadgets, AReleaseOverAnotherGadgetFiresNothing) {
    ToolkitHost host;
    Gadget rows[] = {
        {.Left = 10, .Top = 10, .Right = 69, .Bottom = 29, .Id = 1, .Flags = GK_BUTTON, .Label = "A"},
        {.Left = 80, .Top = 10, .Right = 139, .Bottom = 29, .Id = 2, .Flags = GK_BUTTON, .Label = "B"},
        {}};
    Panel(rows);
    const DrawnGadget* a = FindGadget("A");
    const DrawnGadget* b = FindGadget("B");
    HeadlessQueuePointer(a->CentreX(), a->CentreY(), WM_LBUTTONDOWN);
    HeadlessQueuePointer(b->CentreX(), b->CentreY());
    HeadlessQueuePointer(b->CentreX(), b->CentreY(), WM_LBUTTONUP);
    RunQueued();
    EXPECT_TRUE(Events.empty());
}

TEST(Gadgets, TypingEditsTextFieldsAndNumbersCommitWithinTheirLimits) {
    ToolkitHost host;
    char text[16] = "abc";
    StringInfo name{.Buffer = text, .MaxLen = sizeof text};
    char digits[12] = "";
    StringInfo number{.Buffer = digits,
                      .MaxLen = sizeof digits,
                      .StrFlags = STR_INTEGER,
                      .IntValue = 5,
                      .Min = 1,
                      .Max = 100};
    Gadget rows[] = {
        {.Left = 60,
         .Top = 10,
         .Right = 199,
         .Bottom = 25,
         .Id = 1,
         .Flags = GK_STRING,
         .String = &name,
         .Label = "Name",
         .LabelFlags = LF_LEFT_OF},
        {.Left = 60,
         .Top = 40,
         .Right = 119,
         .Bottom = 55,
         .Id = 2,
         .Flags = GK_NUMBER,
         .String = &number,
         .Label = "Size",
         .LabelFlags = LF_LEFT_OF},
        {},
    };
    GuiWindow* w = Panel(rows);
    EXPECT_STREQ(digits, "5"); // the value is written in before the first draw
    const DrawnGadget* field = FindGadget("Name");
    QueueClickAt(w->Left + field->X + field->W - 4, field->CentreY()); // caret at the end
    QueueText("de");
    QueueKey(VK_BACK, 8);
    QueueKey(VK_HOME);
    QueueText("X");
    QueueKey(VK_RETURN, 13); // commits, and Return moves on to the next field
    QueueText("007");
    RunQueued();
    EXPECT_STREQ(text, "Xabcd");
    EXPECT_EQ(ActiveGadget, &rows[1]);
    QueueKey(VK_RETURN, 13);
    RunQueued();
    EXPECT_EQ(number.IntValue, 7);
    EXPECT_STREQ(digits, "7");
    EXPECT_NE(std::find(Events.begin(), Events.end(), std::make_pair(1, GC_RETURN)), Events.end());

    // Over the limit: the limit, shown in the text. A sign is taken only at the start.
    StringActivate(&rows[1], w, 1000000);
    StringKey("\x01", 1, &rows[1], w, 0, 0); // select all, replaced by what is typed
    StringKey("5-000", 5, &rows[1], w, 0, 0);
    EXPECT_STREQ(digits, "5000");
    StringCommit(&rows[1], w, GC_RETURN);
    EXPECT_EQ(number.IntValue, 100);
    EXPECT_STREQ(digits, "100");
}

TEST(Gadgets, SelectionCutAndPasteInOneField) {
    ToolkitHost host;
    char text[32] = "hello world";
    StringInfo name{.Buffer = text, .MaxLen = sizeof text};
    Gadget rows[] = {
        {.Left = 10, .Top = 10, .Right = 199, .Bottom = 25, .Id = 1, .Flags = GK_STRING, .String = &name},
        {}};
    GuiWindow* w = Panel(rows);
    StringActivate(&rows[0], w, 1000000);
    for (int i = 0; i < 5; i++) StringKey("", 0, &rows[0], w, VK_LEFT, QUAL_SHIFT); // "world" selected
    StringKey("\x18", 1, &rows[0], w, 0, 0);                                        // cut
    EXPECT_STREQ(text, "hello ");
    StringKey("\x01", 1, &rows[0], w, 0, 0);
    StringKey("\x16", 1, &rows[0], w, 0, 0); // paste over the selection
    EXPECT_STREQ(text, "world");
    StringKey("\x1a", 1, &rows[0], w, 0, 0); // undo goes back to the text at activation
    EXPECT_STREQ(text, "hello world");
    StringKey("\x7f", 1, &rows[0], w, 0, QUAL_SHIFT); // delete to the end from the caret
    StringKey("", 0, &rows[0], w, VK_HOME, 0);
    StringKey("\x7f", 1, &rows[0], w, 0, QUAL_SHIFT);
    EXPECT_STREQ(text, "");
}

TEST(Gadgets, AtScaleTwoEverythingIsTwiceAsLarge) {
    ToolkitHost host(4);
    Gadget rows[] = {
        {.Id = GADGET_DRAG, .Label = "Big"},
        {.Left = 10, .Top = 30, .Right = 69, .Bottom = 49, .Id = 1, .Flags = GK_BUTTON, .Label = "Press"},
        {}};
    GuiWindow* w = Panel(rows, 100, 60);
    EXPECT_EQ(w->Width, 200u);
    EXPECT_EQ(w->Height, 120u);
    EXPECT_EQ(FontLineHeight(), 26);
    const DrawnGadget* b = FindGadget("Press");
    EXPECT_EQ(b->X, 20);
    EXPECT_EQ(b->W, 120);
    EXPECT_EQ(WindowGadgetAt(21, 61, w), nullptr);
    EXPECT_EQ(WindowGadgetAt(22, 62, w), &rows[1]);
    QueueClick("Press");
    RunQueued();
    ASSERT_EQ(Events.size(), 1u);
    EXPECT_EQ(Events[0].first, 1);
}

TEST(Gadgets, TheBuiltInFontStandsInWhenNoFontIsFound) {
    ToolkitHost host;
    setenv("NEMU_FONT", "none", 1);
    EXPECT_EQ(FontOpen(), 0);
    unsetenv("NEMU_FONT");
    EXPECT_TRUE(FontIsBuiltIn());
    EXPECT_GT(TextWidth("Hello"), 20);
    Bitmap* b = NewClearBitmap(60, 20);
    DrawText(b, 2, 2, "Hi", -1, 0xFFFFFFFF, 0, 0, 59, 19);
    int lit = 0;
    for (int i = 0; i < 60 * 20; i++) lit += b->Pixels[i] != 0;
    EXPECT_GT(lit, 10);
    FreeBitmap(b);
    EXPECT_EQ(FontOpen(), 1); // the real one again
}

TEST(Gadgets, AGlyphIsDrawnFromTheCacheOnceMade) {
    ToolkitHost host;
    TextWidth("Cached text");
    uint64_t made = FontRasterCount;
    Bitmap* b = NewClearBitmap(100, 20);
    DrawText(b, 0, 0, "Cached text", -1, 0xFFFFFFFF, 0, 0, 99, 19);
    EXPECT_EQ(FontRasterCount, made);
    FreeBitmap(b);
}

TEST(Gadgets, TheScaleComesFromTheEnvironmentThenTheResolution) {
    EXPECT_EQ(ParseUiScale("1.5"), 3);
    EXPECT_EQ(ParseUiScale("200%"), 4);
    EXPECT_EQ(ParseUiScale("2.5"), 0);
    EXPECT_EQ(ParseUiScale("x"), 0);
    setenv("NEMU_SCALE", "3", 1);
    EXPECT_EQ(ChooseUiScale(96), 6);
    unsetenv("NEMU_SCALE");
    EXPECT_EQ(ChooseUiScale(192), 4);
    EXPECT_EQ(ChooseUiScale(144), 3);
    EXPECT_EQ(ChooseUiScale(0), 2);
    UiScaleHalves = 2;
}

TEST(Gadgets, DynamicRowsAreAddedAndRemoved) {
    ToolkitHost host;
    GuiWindow* w = WindowNew(200, 100, 0);
    WindowOpen(w);
    ASSERT_NE(DynButton(w, 10, 10, 10, 60, 20, "Go"), nullptr);
    ASSERT_NE(DynString(w, 11, 80, 10, 100, 20, "Name"), nullptr);
    const char* tabs[] = {"A", "B"};
    ASSERT_NE(DynTabs(w, 12, 10, 40, tabs, 2), nullptr);
    EXPECT_NE(WindowGadgetById(w, 11), nullptr);
    DynGadgetRemove(w, 10);
    EXPECT_EQ(WindowGadgetById(w, 10), nullptr);
    ASSERT_NE(WindowGadgetById(w, 12), nullptr);
    EXPECT_EQ(WindowGadgetById(w, 12)->Tabs->Count, 2);
    WindowDelete(w); // frees the rest
}

} // namespace
