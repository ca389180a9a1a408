// Sections: the table of still formats; SniffFormat; LoadImageFile; saving.
#include "files/registry.h"

#include "files/format_settings.h"
#include "files/image_modules.h"
#include "files/jpeg_format.h"
#include "files/png_format.h"
#include "files/project_file.h"
#include "files/raster_common.h"
#include "files/save_modes.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>

namespace nemu {

// ---- The table of still formats ---------------------------------------------------------

const StillFormat StillFormats[] = {
    {FILE_DEEP, "DEEP", nullptr, nullptr},
    {FILE_DEEP_DELTA, "DEEP DELTA-COMPRESSION", nullptr, nullptr},
    {FILE_ILBM, "IFF-ILBM", nullptr, nullptr},
    {FILE_TGA, "TGA", nullptr, nullptr},
    {FILE_RENDITION, "Rendition", nullptr, nullptr},
    {FILE_JPEG, "JPEG", TestJpeg, ReadJpeg},
    {FILE_CDP, "CDP", nullptr, nullptr},
    {FILE_PPM, "PPM", nullptr, nullptr},
    {FILE_DMI, "DMI", nullptr, nullptr},
    {FILE_GIF, "GIF", nullptr, nullptr},
    {FILE_SUN, "Sun raster", nullptr, nullptr},
    {FILE_PROJECT, "PROJECT", TestProject, nullptr},
    {FILE_BMP, "BMP", nullptr, nullptr},
    {FILE_PCX, "PCX", nullptr, nullptr},
    {FILE_SOFTIMAGE, "SOFTIMAGE", nullptr, nullptr},
    {FILE_ANIMATION, "Animation", nullptr, nullptr},
    {FILE_PNG, "PNG", TestPng, ReadPng},
    {FILE_PSD, "Photoshop PSD", nullptr, nullptr},
};
const int StillFormatCount = int(sizeof StillFormats / sizeof StillFormats[0]);

namespace {

const StillFormat* FormatOf(int type) {
    for (const StillFormat& f : StillFormats)
        if (f.Type == type) return &f;
    return nullptr;
}

// The header tests in the order SniffFormat asks them, strong magic numbers first.
// PPM, DMI and Targa tests look at the extension or the first bytes themselves.
const int SniffOrder[] = {FILE_SUN, FILE_GIF, FILE_SOFTIMAGE, FILE_PPM,  FILE_DMI, FILE_BMP,
                          FILE_PSD, FILE_PCX, FILE_RENDITION, FILE_JPEG, FILE_PNG, FILE_TGA};
// The readers in the order LoadImageFile offers them a file.
const int LoadOrder[] = {FILE_GIF,  FILE_BMP, FILE_PSD, FILE_SOFTIMAGE, FILE_PCX,       FILE_SUN,
                         FILE_JPEG, FILE_PNG, FILE_PPM, FILE_TGA,       FILE_RENDITION, FILE_DMI};

// The IFF forms: the type at offset 8 of a FORM names the format.
struct FormKind {
    char Id[5];
    int Type;
};
const FormKind FormKinds[] = {{"DEEP", FILE_DEEP},
                              {"OMXP", FILE_PROJECT},
                              {"ILBM", FILE_ILBM},
                              {"PBM ", FILE_ILBM},
                              {"RGB8", FILE_ILBM}};

bool Exists(const char* path) {
    struct stat info;
    return path && stat(path, &info) == 0;
}

// The form type of a FORM file, or -1 for any other file.
int FormType(const char* path) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return -1;
    char head[12];
    bool form = std::fread(head, 1, 12, file) == 12 && std::memcmp(head, "FORM", 4) == 0;
    std::fclose(file);
    if (!form) return -1;
    for (const FormKind& kind : FormKinds)
        if (std::memcmp(head + 8, kind.Id, 4) == 0) return kind.Type;
    return -2; // a FORM of a type nobody reads
}

} // namespace

// ---- SniffFormat ------------------------------------------------------------------------

int SniffFormat(const char* path, int* width, int* height) {
    ClearFileError();
    if (!Exists(path)) return -1;
    int w = 0, h = 0, depth = 0;
    int found = -1;
    int form = FormType(path);
    if (form != -1) {
        // A FORM file is known by its type alone; its header reader gives the size, and
        // without one the file can't be used.
        const StillFormat* f = form >= 0 ? FormatOf(form) : nullptr;
        if (f && f->Test && f->Test(path, &w, &h, &depth) == 0) found = form;
    } else {
        for (int type : SniffOrder) {
            const StillFormat* f = FormatOf(type);
            if (f->Test && f->Test(path, &w, &h, &depth) == 0) {
                found = type;
                break;
            }
        }
        if (found < 0) found = ModuleSniff(path, &w, &h, &depth);
    }
    // What the readers would refuse is refused here, before anyone makes a page for it.
    if (found >= 0 && !ImageSizeValid(uint64_t(int64_t(w)), uint64_t(int64_t(h)))) {
        if (w < 1 || h < 1)
            SetFileError(2350, "%d x %d", w, h);
        else
            SetFileError(2368, "%d x %d", w, h);
        return -1;
    }
    if (found >= 0) {
        if (width) *width = w;
        if (height) *height = h;
    }
    return found;
}

const char* FileTypeText(int type) {
    if (type >= FIRST_MODULE_MODE) {
        for (int i = 0; i < ImageModuleCount; i++)
            if (ImageModules[i].Mode == type) return ImageModules[i].Module->TypeName;
    } else if (const StillFormat* f = FormatOf(type)) {
        return f->Text;
    }
    return "???";
}

// ---- LoadImageFile ----------------------------------------------------------------------

int LoadImageFile(const char* path, Bitmap* bitmap, int what) {
    (void)what;
    char text[1024];
    if (!Exists(path)) {
        std::snprintf(text, sizeof text, "%s\n%s", path ? path : "",
                      errno ? std::strerror(errno) : MsgGet(nullptr, 2367));
        Alert(text);
        return -1;
    }
    if (!bitmap) return -1;
    ClearFileError();
    int result = -1;
    bool taken = false;
    int form = FormType(path);
    if (form != -1) {
        const StillFormat* f = form >= 0 ? FormatOf(form) : nullptr;
        if (f && f->Read && f->Test && f->Test(path, nullptr, nullptr, nullptr) == 0) {
            taken = true;
            result = f->Read(path, bitmap);
        }
    } else {
        for (int type : LoadOrder) {
            const StillFormat* f = FormatOf(type);
            if (f->Read && f->Test && f->Test(path, nullptr, nullptr, nullptr) == 0) {
                taken = true;
                result = f->Read(path, bitmap);
                break;
            }
        }
        if (!taken) {
            int mode = ModuleSniff(path, nullptr, nullptr, nullptr);
            if (const ImageModule* module = mode >= 0 ? ModuleForMode(mode) : nullptr;
                module && module->Load) {
                taken = true;
                result = module->Load(path, bitmap);
            }
        }
    }
    if (!taken) SetFileError(2355, "%s", "");
    if (result != 0) ReportFileError(path);
    return result;
}

// ---- Saving -------------------------------------------------------------------------------

int SaveImageAs(const char* path, const Bitmap* bitmap) {
    if (!path || !bitmap) return -1;
    ClearFileError();
    int mode = FileFormat;
    int (*write)(const char*, const Bitmap*) = nullptr;
    if (mode >= FIRST_MODULE_MODE) {
        if (const ImageModule* module = ModuleForMode(mode)) write = module->Save;
    } else if (const SaveModeRow* row = FindSaveMode(mode)) {
        write = row->Write;
    }
    if (!write) {
        std::printf("WARNING : SaveImageAs : no writer for save mode %d\n", mode);
        return -1;
    }
    int result = write(path, bitmap);
    if (result != 0) ReportFileError(path);
    return result;
}

int MayOverwrite(const char* path) {
    if (NoOverwriteAsk || !Exists(path)) return 0;
    return AskYesNo(MsgGet(nullptr, 2369), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002)) ? 0 : 1;
}

} // namespace nemu
