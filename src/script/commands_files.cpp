// Script commands of files: pictures into and out of the page, the display, whole
// projects, the save mode and what a file holds. A file name is a word or a "quoted"
// text, and options follow it. Each replies with the file layer's result: nothing (or
// "[]") on success, ERROR and the number otherwise.
//
// A missing name is an error of its own, and the command then goes on with the empty
// name, whose failure is a second result: scripts have always seen both.
#include "files/format_settings.h"
#include "files/image_import.h"
#include "files/project_file.h"
#include "files/raster_common.h"
#include "files/registry.h"
#include "files/save_modes.h"
#include "host/main_loop.h"
#include "project/compose.h"
#include "script/command_families.h"
#include "store/bitmap.h"
#include "ui/requests.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace nemu {

// A file operation's result, marked as the answer of a file command.
static void FileResult(CommandRequest* request, int result) {
    ReplyState = 2;
    ReplyError(request, result);
    ReplyState = 1;
}

// The file name into path; the options after it. A missing name has answered ERROR -1.
static const char* ReadPath(CommandRequest* request, const char* args, char* path) {
    const char* rest = ReadWordOrQuoted(args, path, WordSize);
    if (!rest) {
        // A name too long for any file is no name.
        path[0] = 0;
        rest = "";
    }
    if (!path[0]) FileResult(request, -1);
    return rest;
}

// The first word of the options, compared without case: "stretch" and the like.
static bool HasOption(const char* options, const char* word) {
    while (*options == ' ' || *options == '\t') options++;
    size_t n = std::strlen(word);
    return strncasecmp(options, word, n) == 0 && (options[n] == 0 || options[n] == ' ' || options[n] == '\t');
}

// ---- Pictures -----------------------------------------------------------------------------------

// om_loadimage = om_loadpic = om_loadlayer name [stretch]: a picture into the page.
static void LoadImage(CommandRequest* request, const char* args) {
    char path[WordSize];
    const char* options = ReadPath(request, args, path);
    FileResult(request, LoadPictureToPage(path, HasOption(options, "stretch")));
}

// Writes bitmap in the current save mode, with quality for the formats that have one.
static int SaveWithQuality(const char* path, const Bitmap* bitmap, int quality) {
    int former = JPegPower;
    JPegPower = quality < 1 ? 1 : quality > 100 ? 100 : quality;
    int result = SaveImageAs(path, bitmap);
    JPegPower = former;
    return result;
}

// om_saveimage = om_savepic = om_savelayer name [quality]: the page in the save mode.
static void SaveImage(CommandRequest* request, const char* args) {
    char path[WordSize];
    const char* options = ReadPath(request, args, path);
    int quality = ArgsEmpty(options) ? 100 : std::atoi(options);
    FileResult(request, path[0] ? SaveWithQuality(path, Page, quality) : -1);
}

// om_savedisplay name: the stack as shown, over its background, flattened and saved.
static void SaveDisplay(CommandRequest* request, const char* args) {
    char path[WordSize];
    ReadPath(request, args, path);
    if (!path[0]) {
        FileResult(request, -1);
        return;
    }
    Bitmap* shown = NewBitmap(PageWidth, PageHeight);
    if (!shown) {
        AlertMsg(2384);
        FileResult(request, -1);
        return;
    }
    int result = ComposeCurrent(shown, true) ? SaveImageAs(path, shown) : -1;
    FreeBitmap(shown);
    FileResult(request, result);
}

// ---- Projects ---------------------------------------------------------------------------------------

// om_loadproject name: the project replaces the open one, at the file's page size.
static void LoadProjectCommand(CommandRequest* request, const char* args) {
    char path[WordSize];
    ReadPath(request, args, path);
    FileResult(request, path[0] ? LoadProject(path, 1, 0) : -1);
}

// om_saveproject name: written without a question, over any file of that name.
static void SaveProjectCommand(CommandRequest* request, const char* args) {
    char path[WordSize];
    ReadPath(request, args, path);
    FileResult(request, path[0] ? WriteProject(path) : -1);
}

// ---- The save mode and files ------------------------------------------------------------------------

// om_savemode [words]: sets the mode and its options; with nothing, the mode as text.
static void SaveModeCommand(CommandRequest* request, const char* args) {
    if (ArgsEmpty(args)) {
        char text[256];
        GetSaveModeText(text, sizeof text);
        ReplyAppend(request, text);
        return;
    }
    FileResult(request, SetSaveModeText(args) == 0 ? 0 : -1);
}

// om_fileinfo name: "width height frames", the frames of a project being its time line.
static void FileInfo(CommandRequest* request, const char* args) {
    char path[WordSize];
    ReadPath(request, args, path);
    int width = 0, height = 0, frames = 1;
    int type = path[0] ? SniffFormat(path, &width, &height) : -1;
    if (type == FILE_PROJECT && ProjectInfo(path, &width, &height, &frames) != 0) type = -1;
    if (type < 0) {
        // A header of no size, or of one too large, is no file to give numbers for.
        ClearFileError();
        FileResult(request, -1);
        return;
    }
    ReplyFormat(request, "%d %d %d", width, height, frames);
}

const ScriptCommand FileCommands[] = {
    {"om_loadimage", LoadImage},
    {"om_loadpic", LoadImage},
    {"om_loadlayer", LoadImage},
    {"om_saveimage", SaveImage},
    {"om_savepic", SaveImage},
    {"om_savelayer", SaveImage},
    {"om_savedisplay", SaveDisplay},
    {"om_loadproject", LoadProjectCommand},
    {"om_saveproject", SaveProjectCommand},
    {"om_savemode", SaveModeCommand},
    {"om_fileinfo", FileInfo},
    {nullptr, nullptr},
};

} // namespace nemu
