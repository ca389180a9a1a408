// The requester's panel, headless, over a temporary folder: the list as drawn, picking by
// double-click and by OK, folders entered and left by the mouse and the keys, the pattern
// typed, a name that is not there, the previews filling in, and a place off the screen.
#include "host/host_fixture.h"
#include "ui/catalog.h"
#include "ui/file_requester_panel.h"
#include "ui/folder_fixture.h"
#include "ui/gadget.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <array>
#include <cctype>
#include <cstring>
#include <map>
#include <string>

using namespace nemu;

namespace {

std::map<std::string, std::array<int32_t, 4>>* DrawnRows;

struct RequesterTest : Folder {
    HeadlessHost Host{1024, 768, 320, 240, 10, 10};
    FileRequest* Request = nullptr;
    std::map<std::string, std::array<int32_t, 4>> Rows;
    char Out[FilePathSize] = {};
    RequesterPanel* Panel = nullptr;

    void SetUp() override {
        Folder::SetUp();
        GlobalCatalog = CatalogLoad(NEMU_SOURCE_DIR "/data/nemu.loc");
        DrawnRows = &Rows;
        GadgetDrawnHook = [](const GuiWindow*, const Gadget*, const char* label, int32_t x, int32_t y, int32_t w,
                             int32_t h) {
            if (label && *label) (*DrawnRows)[label] = {x, y, w, h};
        };
        mkdir(Path("sub").c_str(), 0755);
        Picture("red.png", 64, 40, 0xFFFF0000);
        Picture("blue.png", 30, 60, 0xFF0000FF);
        WriteFile(Path("notes.txt"), "words");
        Request = FileRequestNew(Root.c_str());
        FileRequestSetPattern(Request, "*.png");
    }
    void TearDown() override {
        GadgetDrawnHook = nullptr;
        DrawnRows = nullptr;
        FileRequestFree(Request);
        CatalogFreeAll();
        Folder::TearDown();
    }
    RequesterPanel* Open() {
        Panel = RequesterOpen(Request, Out, sizeof Out, "Open picture");
        return Panel;
    }
    // Runs the modal loop over the queued events, then closes; 1 when a file was chosen.
    int RunPanel() {
        int32_t ended = ModalLoop(Panel->Window);
        int chosen = RequesterClose(Panel, ended);
        Panel = nullptr;
        return chosen;
    }
    void ClickAt(int x, int y, int times = 1) {
        for (int i = 0; i < times; i++) {
            HeadlessQueuePointer(x, y, WM_LBUTTONDOWN);
            HeadlessQueuePointer(x, y, WM_LBUTTONUP);
        }
    }
    void Click(const std::string& label) {
        ASSERT_TRUE(Rows.count(label)) << label << " was not drawn";
        auto r = Rows[label];
        ClickAt(r[0] + r[2] / 2, r[1] + r[3] / 2);
    }
    // The screen point of list row `row` (counting from the first shown).
    void RowPoint(int row, int* x, int* y) {
        int32_t gx, gy, gw, gh;
        GadgetPixelRect(GadgetById(REQ_LIST, Panel->Rows), &gx, &gy, &gw, &gh);
        *x = Panel->Window->Left + gx + gw / 2;
        *y = Panel->Window->Top + gy + 2 + row * RequesterRowHeight(Panel) + RequesterRowHeight(Panel) / 2;
    }
    void Key(uint32_t vk, uint32_t character = 0) {
        HeadlessQueueKey(vk, character);
        HeadlessQueueKey(vk, character, true);
    }
    void Type(const char* text) {
        for (const char* c = text; *c; c++) HeadlessQueueKey(0, uint8_t(*c));
    }
};

} // namespace

TEST_F(RequesterTest, DoubleClickOnAFilePicksItAndTheRequestRemembers) {
    ASSERT_NE(Open(), nullptr);
    // "..", "sub", then the pictures in order; the text file is not listed.
    ASSERT_EQ(Panel->List.Count, 4);
    EXPECT_STREQ(Panel->List.Entries[2].Name, "blue.png");
    EXPECT_TRUE(Rows.count("Open picture"));
    int x, y;
    RowPoint(3, &x, &y);
    ClickAt(x, y, 2);
    ASSERT_EQ(RunPanel(), 1);
    char real[FilePathSize];
    ASSERT_NE(realpath(Root.c_str(), real), nullptr);
    EXPECT_EQ(std::string(Out), std::string(real) + "/red.png");
    EXPECT_STREQ(Request->Name, "red.png");
    EXPECT_STREQ(Request->History[0], real);
    EXPECT_EQ(ActiveRequester, nullptr);
}

TEST_F(RequesterTest, FoldersAreEnteredAndLeftWithoutMovingTheProcess) {
    Picture("sub/inner.png", 8, 8);
    ASSERT_NE(Open(), nullptr);
    int x, y;
    RowPoint(1, &x, &y); // "sub"
    ClickAt(x, y, 2);
    Key(VK_BACK); // back up: "sub" is selected again
    Click(MsgGet(nullptr, 1006));
    EXPECT_EQ(RunPanel(), 0);
    char real[FilePathSize];
    ASSERT_NE(realpath(Root.c_str(), real), nullptr);
    EXPECT_STREQ(Request->Folder, real); // the folder is remembered, chosen or not
}

TEST_F(RequesterTest, EnteringASubFolderListsIt) {
    Picture("sub/inner.png", 8, 8);
    ASSERT_NE(Open(), nullptr);
    int x, y;
    RowPoint(1, &x, &y);
    ClickAt(x, y, 2);
    Key(VK_ESCAPE);
    EXPECT_EQ(RunPanel(), 0);
    char real[FilePathSize];
    ASSERT_NE(realpath(Path("sub").c_str(), real), nullptr);
    EXPECT_STREQ(Request->Folder, real);
}

TEST_F(RequesterTest, ATypedPatternRelistsAndANameThatIsNotThereIsRefused) {
    ASSERT_NE(Open(), nullptr);
    Gadget* pattern = GadgetById(REQ_PATTERN, Panel->Rows);
    StringActivate(pattern, Panel->Window, 0);
    std::snprintf(Panel->PatternText, sizeof Panel->PatternText, "*.tif");
    StringCommit(pattern, Panel->Window, GC_RETURN);
    EXPECT_STREQ(Request->Pattern, "*.tif");
    EXPECT_EQ(Panel->List.Count, 2); // ".." and "sub": nothing matches
    // A load request refuses a name that is not in the folder, and says so.
    std::snprintf(Panel->NameText, sizeof Panel->NameText, "missing.png");
    Click(MsgGet(nullptr, 1005));
    Key(VK_ESCAPE);
    EXPECT_EQ(RunPanel(), 0);
    EXPECT_EQ(Out[0], 0);
}

TEST_F(RequesterTest, OKTakesTheTypedNameAndASaveMayNameANewFile) {
    Request->Mode = REQ_SAVE;
    std::snprintf(Request->Name, sizeof Request->Name, "new picture.png");
    ASSERT_NE(Open(), nullptr);
    Click(MsgGet(nullptr, 1005));
    ASSERT_EQ(RunPanel(), 1);
    char real[FilePathSize];
    ASSERT_NE(realpath(Root.c_str(), real), nullptr);
    EXPECT_EQ(std::string(Out), std::string(real) + "/new picture.png");
}

TEST_F(RequesterTest, PreviewsFillInOnIdleAndShowOnTheScreen) {
    ASSERT_NE(Open(), nullptr);
    EXPECT_EQ(Panel->List.PreviewCount, 0); // the first list costs no picture reads
    for (int i = 0; i < 20 && Panel->PreviewsPending; i++) RequesterIdle(Panel);
    EXPECT_EQ(Panel->List.PreviewCount, 2);
    // The red picture's preview lies in its row's slot, on the screen.
    int x, y;
    RowPoint(3, &x, &y);
    int32_t gx, gy, gw, gh;
    GadgetPixelRect(GadgetById(REQ_LIST, Panel->Rows), &gx, &gy, &gw, &gh);
    int slotX = Panel->Window->Left + gx + UiPx(2) + UiPx(IconUnitsW) / 2;
    EXPECT_EQ(ScreenPixel(slotX, y), 0xFFFF0000u);
    Key(VK_ESCAPE);
    EXPECT_EQ(RunPanel(), 0);
}

TEST_F(RequesterTest, APlaceOffTheScreenIsPulledBack) {
    Request->X = 5000;
    Request->Y = -300;
    ASSERT_NE(Open(), nullptr);
    EXPECT_LE(Panel->Window->Right, Screen->Width);
    EXPECT_GE(Panel->Window->Top, 0);
    Key(VK_ESCAPE);
    EXPECT_EQ(RunPanel(), 0);
    EXPECT_LE(Request->X + int32_t(UiPx(RequesterWidth)), Screen->Width);
}
