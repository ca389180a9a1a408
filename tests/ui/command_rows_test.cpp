// The rows of the command table on a started program: every wired row runs, and the rows
// that ask for a file or a yes do their work with the answers given.
#include "files/format_settings.h"
#include "files/save_modes.h"
#include "host/host_fixture.h"
#include "project/layers.h"
#include "support/temp_files.h"
#include "ui/catalog.h"
#include "ui/commands.h"
#include "ui/file_requester.h"
#include "ui/requests.h"
#include "ui/settings.h"

#include <sys/stat.h>
#include <vector>

using namespace nemu;

namespace {

// A program started headless on a small page, taken down again whole.
struct StartedProgram : ::testing::Test {
    uint32_t MemoryBefore = 0;
    int SavedFormat = 0;
    void SetUp() override {
        MemoryBefore = MemoryInUse;
        SavedFormat = FileFormat;
        StartBackend = BACKEND_HEADLESS;
        SetupPlaces();
        StartPageWidth = 160;
        StartPageHeight = 120;
        testing::internal::CaptureStderr();
        ASSERT_EQ(AppStart(), 0);
        testing::internal::GetCapturedStderr();
    }
    void TearDown() override {
        FileRequesterHook = nullptr;
        AskYesNoHook = nullptr;
        AskTextHook = nullptr;
        FileFormat = SavedFormat;
        QuitFlag = 0;
        Cleanup();
        EXPECT_EQ(MemoryInUse, MemoryBefore);
        EXPECT_EQ(CommandTable, nullptr);
        CloseConfig(MachineConfig);
        MachineConfig = nullptr;
        CatalogFreeAll();
    }
};

std::string Answer;           // the file the requester gives
std::vector<uint32_t> Titles; // the titles it was asked under
int Yes = 0;                  // the answer of every question

int GiveFile(uint32_t title, char* path, size_t size, int) {
    Titles.push_back(title);
    std::snprintf(path, size, "%s", Answer.c_str());
    return 1;
}
int AnswerQuestion(const char*, const char*, const char*) {
    return Yes;
}

bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && st.st_size > 0;
}

} // namespace

// Twice over, with the requesters cancelled and every question given its cautious answer.
TEST_F(StartedProgram, EveryBuiltCommandRuns) {
    int run = 0;
    testing::internal::CaptureStderr();
    for (int pass = 0; pass < 2; ++pass)
        for (const CommandRow* row = StaticCommands; row->Name; ++row) {
            if (!row->Handler) continue;
            SCOPED_TRACE(row->Name);
            ASSERT_TRUE(CommandAvailable(FindCommand(row->Name)));
            EXPECT_EQ(RunBinding(row->Name), 1);
            ++run;
        }
    testing::internal::GetCapturedStderr();
    EXPECT_GE(run, 2 * 76); // every row wired so far; each issue wires more
    EXPECT_EQ(QuitFlag, 1); // Quit asked nobody: headless, the request is the answer
    EXPECT_GE(LayerCount, 1);
}

TEST_F(StartedProgram, FileCommandsAskForTheirFileAndDoTheirWork) {
    FileRequesterHook = GiveFile;
    AskYesNoHook = AnswerQuestion;
    Titles.clear();
    ASSERT_EQ(SetSaveModeText("png"), 0);
    const std::string dir = TempPath("");
    testing::internal::CaptureStderr();

    Answer = dir + "picture";
    RunBinding("SaveImage");
    EXPECT_TRUE(Exists(dir + "picture.png"));
    Answer = dir + "flat.PNG";
    RunBinding("SaveSequence");
    EXPECT_TRUE(Exists(dir + "flat.PNG"));
    EXPECT_FALSE(Exists(dir + "flat.PNG.png"));
    Answer = dir + "scene";
    RunBinding("SaveProject");
    EXPECT_TRUE(Exists(dir + "scene.nem"));
    EXPECT_EQ(Titles, (std::vector<uint32_t>{2767, 20431, 2735}));

    Answer = dir + "picture.png";
    RunBinding("ImportImage, NewLayer");
    EXPECT_EQ(LayerCount, 3);
    RunBinding("NextLayer");
    EXPECT_EQ(CurrentLayer, 1);
    RunBinding("PrevLayer, PrevLayer, PrevLayer");
    EXPECT_EQ(CurrentLayer, 0);

    // Loading over work not saved asks first, and no keeps the work.
    Answer = dir + "scene.nem";
    Yes = 0;
    RunBinding("LoadProject");
    EXPECT_EQ(LayerCount, 3);
    Yes = 1;
    RunBinding("LoadProject");
    EXPECT_EQ(LayerCount, 1);
    testing::internal::GetCapturedStderr();
}

// The number of images comes from the text request; a cancel or a word adds none.
static const char* CountAnswer = "";
static int CountAnswered = 1;
TEST_F(StartedProgram, ImageCommandsAskHowMany) {
    AskTextHook = [](uint32_t message, char* buffer, int size) {
        EXPECT_EQ(message, 8340u);
        std::snprintf(buffer, size_t(size), "%s", CountAnswer);
        return CountAnswered;
    };
    const Layer* layer = GetLayer(CurrentLayer);
    const int32_t first = layer->LastImage;
    CountAnswer = "3";
    RunBinding("InsertImage");
    EXPECT_EQ(GetLayer(CurrentLayer)->LastImage, first + 3);
    CountAnswer = "many";
    RunBinding("InsertImage");
    CountAnswered = 0;
    CountAnswer = "2";
    RunBinding("DuplicateImage");
    EXPECT_EQ(GetLayer(CurrentLayer)->LastImage, first + 3);
    CountAnswered = 1;
    CountAnswer = "";
    RunBinding("DuplicateImage");
    EXPECT_EQ(GetLayer(CurrentLayer)->LastImage, first + 4);
    AskTextHook = nullptr;
}
