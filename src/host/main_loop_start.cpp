// Start-up and shutdown: where the program's files live, the machine settings, building
// the global state in order, and taking it down again from any stage.
//
// Sections: places; ProgramStart; page buffers; AppStart and AppMain; Cleanup.
#include "files/format_settings.h"
#include "files/image_modules.h"
#include "files/recent_files.h"
#include "files/safe_file.h"
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/remote.h"
#include "host/screen.h"
#include "host/zoom.h"
#include "host/tablet.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/commands.h"
#include "ui/file_requester.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/main_settings.h"
#include "ui/panels.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/sys_colours.h"
#include "ui/ui_scale.h"
#include "ui/window.h"
#include "ui/zoom_panel.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

// ---- Places ---------------------------------------------------------------------------------

static std::string EnvOr(const char* name, const std::string& fallback) {
    const char* v = std::getenv(name);
    return (v && *v == '/') ? std::string(v) : fallback;
}

static std::string UserHome() {
    const char* home = std::getenv("HOME");
    return (home && *home) ? home : "/tmp";
}

// Makes a folder and its parents; true when it exists afterwards.
static bool MakeFolders(const std::string& path, mode_t mode) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !MakeFolders(path.substr(0, slash), mode)) return false;
    return mkdir(path.c_str(), mode) == 0 || errno == EEXIST;
}

static std::string FolderOfProgram() {
    char buf[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) return ".";
    buf[n] = 0;
    std::string path(buf);
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

static bool IsFolder(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

static std::string WithSlash(std::string folder) {
    if (folder.empty() || folder.back() != '/') folder += '/';
    return folder;
}

static std::string MachineFilePath() {
    return EnvOr("XDG_CONFIG_HOME", UserHome() + "/.config") + "/nemu/Nemu.INI";
}

// What a first start writes, so that the user finds the keys where they belong.
static const char DefaultMachineFile[] = "[STARTUP]\nBORDER=1\nGAUGE=1\nZORRO=1\n";

void SetupTempDir() {
    std::string cache = EnvOr("XDG_CACHE_HOME", UserHome() + "/.cache") + "/nemu";
    // The notes of saves in progress stay in the user's cache folder whatever the temporary
    // folder is set to, so that every start looks for them in the same place.
    if (MakeFolders(cache, 0700))
        TempDir = SafeFileNotes = WithSlash(cache);
    else if (const char* tmp = std::getenv("TMPDIR"); tmp && *tmp)
        TempDir = WithSlash(tmp);
    else
        TempDir = "/tmp/";
}

int SetupPlaces() {
    std::string configDir = EnvOr("XDG_CONFIG_HOME", UserHome() + "/.config") + "/nemu";
    MakeFolders(configDir, 0700);
    HomeDir = configDir;

    // A build keeps its data beside the binary; an installed program finds it under the
    // prefix, as <prefix>/share/nemu beside <prefix>/bin.
    std::string bin = FolderOfProgram();
    size_t slash = bin.find_last_of('/');
    std::string prefix = slash == std::string::npos || slash == 0 ? std::string() : bin.substr(0, slash);
    ProgramDir = IsFolder(bin + "/data") ? bin + "/data" : prefix + "/share/nemu";

    SetupTempDir();
    SweepStaleParts(nullptr); // what saves killed in earlier runs left behind

    std::string ini = MachineFilePath();
    if (access(ini.c_str(), F_OK) != 0) WriteFileAtomic(ini.c_str(), DefaultMachineFile);
    if (!MachineConfig) MachineConfig = OpenConfig(ini.c_str());
    return MachineConfig != nullptr;
}

std::string HomePath(const char* relative) {
    if (relative && relative[0] == '/') return relative;
    return HomeDir + "/" + (relative ? relative : "");
}

std::string DataPath(const char* relative) {
    return ProgramDir + "/" + (relative ? relative : "");
}

// ---- ProgramStart -----------------------------------------------------------------------------

static bool YesOrNumber(const char* value) {
    return strcasecmp(value, "yes") == 0 || std::atoi(value) != 0;
}

static void ReadStartupKeys() {
    char value[4096];
    StartupGet("HomeDir", value, HomeDir.c_str(), sizeof value);
    HomeDir = value;
    while (HomeDir.size() > 1 && (HomeDir.back() == '/' || HomeDir.back() == '\\')) HomeDir.pop_back();

    StartupGet("ForceTablet", value, "", sizeof value);
    ForceTablet = YesOrNumber(value) ? 1 : 0;
    StartupGet("Tablet", value, "", sizeof value);
    TabletDisabled = strcasecmp(value, "no") == 0 ? 1 : 0;
    Border = StartupGetInt("BORDER", 1) ? 1 : 0;
    Gauge = StartupGetInt("GAUGE", 1) ? 1 : 0;
    // The machine file's key asks the question: 0 means save over files without asking.
    NoOverwriteAsk = StartupGetInt("ZORRO", 1) == 0 ? 1 : 0;
    StartupGet("BRENNDIR", value, "brenn", sizeof value);
    ScriptFolder = value;
    StartupGet("PROJECT", value, "", sizeof value);
    if (*value) StartFiles = value;
    StartupGet("TEMP", value, "", sizeof value);
    if (*value) TempDir = WithSlash(value);
    StartupGet("Last_Config", LastConfig, "", sizeof LastConfig);
}

int ProgramStart(const char* commandLine) {
    SetupPlaces();
    ReadStartupKeys();
    if (commandLine && *commandLine) StartFiles = commandLine;
    std::string startConfig = LastConfig;
    int status = AppMain();
    if (startConfig != LastConfig) ConfigSetIn(MachineConfig, "STARTUP", "Last_Config", LastConfig);
    CloseConfig(MachineConfig);
    MachineConfig = nullptr;
    return status;
}

// ---- Page buffers ---------------------------------------------------------------------------------

// Memory is promised lazily here, so a page larger than the machine would be "allocated"
// and then kill the process as its pixels are cleared. Such a page is refused up front.
static bool PageFitsMemory(int width, int height) {
    long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return true;
    uint64_t need = (uint64_t(height) + 2) * uint64_t(width) * (WetKeep == 2 ? 5 : 9);
    return need < uint64_t(pages) * uint64_t(pageSize);
}

int ResizePageBuffers(int width, int height) {
    if (width < 1 || height < 1 || !PageFitsMemory(width, height)) return 0;
    size_t wetBytes = (size_t(height) + 2) * size_t(width) + 2;
    Bitmap* page = NewClearBitmap(width, height);
    Bitmap* back = WetKeep == 2 ? nullptr : NewClearBitmap(width, height);
    auto* wet = static_cast<uint8_t*>(std::calloc(wetBytes, 1));
    if (!page || !wet) {
        FreeBitmap(page);
        FreeBitmap(back);
        std::free(wet);
        return 0;
    }
    if (Page && Page != PageBase) FreeBitmap(Page);
    FreeBitmap(PageBase);
    FreeBitmap(BackPage);
    std::free(WetBuffer);
    Page = PageBase = page;
    BackPage = back; // without it undo is off, which is not fatal
    WetBuffer = wet;
    PageWidth = width;
    PageHeight = height;
    PageSizeChanged();
    if (Screen && !ScreenAllocBuffers()) return 0;
    return 1;
}

// ---- AppStart and AppMain ----------------------------------------------------------------------------

void BuildLumaTables() {
    for (uint32_t i = 0; i < 256; i++) {
        LumaRed[i] = i * 19584;
        LumaGreen[i] = i * 38464;
        LumaBlue[i] = i * 7488;
    }
}

// The profile of this run. A first start has none named yet: it gets the default one,
// made with its folder, so that what the run changes is kept; ProgramStart names it in
// Nemu.INI at the end.
static void UseStartProfile() {
    if (!*LastConfig) {
        std::snprintf(LastConfig, sizeof LastConfig, "%s", DefaultProfileName);
        MakeFolders(HomeDir + "/configs", 0700);
    }
    LoadProfile(LastConfig);
}

// The interface toolkit: scale, font and the settings of the windows. The font
// comes last, as its size follows the scale.
static void OpenToolkit() {
    ChooseUiScale(PlatformDpi());
    FontOpen();
    LoadHelpMode();
    WindowMagnet = ConfigGetOn("Main", "Magnet", true) ? 1 : 0;
    DragLimit = ConfigGetInt("System", "CustomBrush", 200000);
    GaugeOn = StartupGetInt("GAUGE", 1) ? 1 : 0;
}

static int FailStart(uint32_t message) {
    AlertMsg(message);
    Cleanup();
    return 1;
}

// The headless screen leaves room for the page and its frame, within the size of a large
// real display: a page larger than that is shown in part, as on a real screen.
static void HeadlessScreenSize(int* w, int* h) {
    auto fit = [](int page, int least) {
        return page + 40 < least ? least : page + 40 > 4096 ? 4096 : page + 40;
    };
    *w = fit(StartPageWidth, 1024);
    *h = fit(StartPageHeight, 768);
}

int AppStart() {
    std::srand(unsigned(std::time(nullptr)));
    // Without its texts the program still runs, with empty labels: the warning has named
    // the folder where the catalog was looked for.
    CatalogLoadGlobal();
    int sw = 0, sh = 0;
    if (StartBackend == BACKEND_HEADLESS) HeadlessScreenSize(&sw, &sh);
    bool open = PlatformOpen(StartBackend, sw, sh);
    if (!open && StartBackend != BACKEND_HEADLESS) {
        Warning("no window could be opened; running headless");
        StartBackend = BACKEND_HEADLESS;
        HeadlessScreenSize(&sw, &sh);
        open = PlatformOpen(StartBackend, sw, sh);
    }
    if (!open || !ScreenOpen()) return FailStart(1400);

    PageX = PageY = -1000;
    PageWidth = PageHeight = 1;
    PageBase = Page = NewClearBitmap(1, 1);
    if (!Page) return FailStart(1000);
    WetBuffer = static_cast<uint8_t*>(std::calloc(size_t(PageHeight + 2) * PageWidth + 2, 1));
    ScratchList = static_cast<uint8_t*>(std::calloc(320000, 1));
    if (!WetBuffer || !ScratchList) return FailStart(1000);
    if (WetKeep != 2 && !(BackPage = NewClearBitmap(1, 1))) AlertMsg(1401);

    PointerShape = -1;
    DisplayFlags = 33;
    BackColour = 0xFF005F9F;
    PageNotReady = 1;
    if (!ScreenAllocBuffers()) return FailStart(1000);
    LoadSysColoursFromCatalog();
    PlatformRaise();

    MakeCurve(255, 255, PressureCurve);
    DrainInput();
    RefreshAll();
    BuildLumaTables();
    MakeCurve(0, 0, SpeedCurve);
    SpeedScale = 35;
    BuildDrawTables();
    SetPointerShape(2);

    // A first start file that can be opened gives the page its size. Otherwise the size
    // is the start dialog's choice, which the command line makes until the dialog exists.
    const int32_t chosenWidth = StartPageWidth, chosenHeight = StartPageHeight;
    const bool fromFile = IdentifyStartFile(&StartPageWidth, &StartPageHeight);
    UseStartProfile();
    LoadFormatSettings();
    LoadRecentFiles();
    if (!ResizePageBuffers(StartPageWidth, StartPageHeight)) {
        // A file larger than memory allows still leaves the program to start at the size
        // it would have had without it.
        if (!fromFile || !ResizePageBuffers(chosenWidth, chosenHeight)) return FailStart(1000);
        AlertMsg(1000);
    }
    if (!InitLayers()) return FailStart(1000); // the layer table, once the page has its size

    PageNotReady = 0;
    ReadSysColours();
    char full[16];
    ConfigGet("Main", "FullScreen", full, "", sizeof full);
    if (strncasecmp(full, "on", 2) == 0) PlatformSetFullScreen(true);
    DrainInput();
    ReadMainSettings();
    if (!OpenCache()) {
        Cleanup();
        return 1;
    }
    RemoteOpen(); // without it the program works on; it has said why on stderr
    OpenToolkit();

    APen = 0xFFFF0000;
    ColourChanged();
    // The freehand tool with the round pen of radius 3, until the settings say otherwise.
    SelectToolMode(TOOL_FREEHAND);
    SetPen(PenRound);
    SetPenSize(3);
    SetLayerMode();
    SetPointerShape(2);
    LoadPensSettings();
    LoadPressureSettings();
    ReadMainColours();
    LoadToolSettings();
    LoadPanels(); // after the pens, whose values the panels show
    KeyMapInit();
    LoadBrowserSettings();
    if (BackPage) CopyBitmap(Page, BackPage);
    PlacePage(1);
    RefreshAll();
    LoadZoomSettings(); // after the page is placed: the zoom opens over it
    SetPointerShape(0);
    return 0;
}

// Ends a run's settings: with SaveConfig on, everything the run changed is written;
// with it off, the profile is read again from its file, so that only the key SaveConfig
// can differ from what the run found, and the file is not touched unless it does.
static void FinishSettings() {
    if (SaveConfigOn) {
        SaveSysColours();
    } else {
        LoadProfile(nullptr);
        if (*LastConfig) LoadProfile(LastConfig);
        char held[16];
        ConfigGet("Main", "SaveConfig", held, "", sizeof held);
        if (*held && !FlagValue(held)) return;
    }
    ConfigSet("Main", "SaveConfig", SaveConfigOn ? "1" : "0");
    SaveConfig();
}

void AppFinish() {
    SetPointerShape(2);
    if (SaveConfigOn) {
        SavePensSettings();
        SavePressureSettings();
        SaveToolSettings();
        SavePanels();
        SaveMainSettings();
        SaveFormatSettings();
        KeyMapSave();
        SaveBrowserSettings();
        SaveZoomSettings();
    }
    Cleanup();
    FinishSettings();
    LoadProfile(nullptr);
    CatalogFreeAll();
}

int AppMain() {
    int status = AppStart();
    if (status > 0) {
        CatalogFreeAll();
        return status;
    }
    MainLoop();
    AppFinish();
    return 0;
}

// ---- Cleanup ------------------------------------------------------------------------------------------

void Cleanup() {
    // Windows, plug-ins, brushes, the project and the cache file join this list, in this
    // order, as they come: each is safe to free when it was never made.
    if (Screen) CancelTool(ToolMode);
    KeyMapFree();
    ZoomClose();
    ZoomFreeBuffers();
    FreeFileRequests();
    CloseInputQueues();
    CloseHelpBubble();
    WindowDeleteAll();
    FontClose();
    if (WaitTimer) {
        PlatformKillTimer(WaitTimer);
        WaitTimer = 0;
    }
    if (HeldFlag) {
        PlatformFreeMsg(&HeldMessage);
        HeldFlag = 0;
    }
    RemoteClose();
    FreeLayers();    // the project and its table, before the pixel buffers and the cache
    FreeTilePools(); // the tile records the clips of the project used, now all free
    DropMixer();
    if (Page && Page != PageBase) FreeBitmap(Page);
    FreeBitmap(PageBase);
    FreeBitmap(BackPage);
    FreeBitmap(SparePage);
    Page = PageBase = BackPage = SparePage = nullptr;
    if (CurrentStamp) FreeStamp(CurrentStamp);
    CurrentStamp = nullptr;
    std::free(WetBuffer);
    std::free(ScratchList);
    WetBuffer = ScratchList = nullptr;
    CloseImageModules();
    // The main loop's prologue turns the switch on: a later start begins from off again.
    AntiAlias = 0;
    ScreenClose();
    PlatformClose();
    CloseCache();
}

} // namespace nemu
