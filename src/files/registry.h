// The format registry: what kind of picture a file holds, and which module loads or
// saves it. Still formats are rows of one table, tried by their magic numbers first and
// by their extensions last; image modules (TIFF) come after them.
//
// Everything here works on a Bitmap. Putting a loaded picture into the page or a new
// layer is files/image_import's, which calls SniffFormat for the size, makes or resizes
// its bitmap, and then calls LoadImageFile; the save commands likewise hand SaveImageAs
// the page or a composed bitmap. A project is known here by its header alone: it is
// loaded by files/project_file, never as a still picture.
#pragma once

namespace nemu {

struct Bitmap;

// File type numbers of SniffFormat; image modules answer with their save mode (256...).
enum FileType {
    FILE_DEEP = 0,
    FILE_DEEP_DELTA = 1,
    FILE_ILBM = 2,
    FILE_TGA = 3,
    FILE_RENDITION = 4,
    FILE_JPEG = 7,
    FILE_CDP = 8,
    FILE_PPM = 9,
    FILE_DMI = 10,
    FILE_GIF = 13,
    FILE_SUN = 14,
    FILE_PROJECT = 17,
    FILE_BMP = 21,
    FILE_PCX = 22,
    FILE_SOFTIMAGE = 23,
    FILE_ANIMATION = 24,
    FILE_PNG = 28,
    FILE_PSD = 29,
};

struct StillFormat {
    int Type;
    const char* Text; // what the file information panel shows
    // 0 when the file is of the format, with its size and bits a pixel. Null until the
    // format is built: the registry then treats its files as unknown.
    int (*Test)(const char* path, int* width, int* height, int* depth);
    int (*Read)(const char* path, Bitmap* bitmap);
};

extern const StillFormat StillFormats[];
extern const int StillFormatCount;

// The type of the file and the picture's size; -1 if the path doesn't exist, nothing
// knows the file, or its header gives a size that the readers refuse (none, or beyond
// ImageSizeValid). A known file refused leaves its reason in LastFileError.
int SniffFormat(const char* path, int* width, int* height);
// The information panel's text for a type: "PNG", a module's type name, or "???".
const char* FileTypeText(int type);

// Loads a still picture, or a moving one's first, into the bitmap's corner, cropped.
// `what` names the caller's target (0 the page, 1 the brush, 2 a layer); the choice of
// reader doesn't depend on it. Reports its own failures; 0 or -1.
int LoadImageFile(const char* path, Bitmap* bitmap, int what);

// Writes the bitmap in the current save mode without asking anything. Reports its own
// failures; 0 or -1.
int SaveImageAs(const char* path, const Bitmap* bitmap);

// Asks before an existing file is replaced, unless NoOverwriteAsk is set. 0 to go on,
// non-zero to stop.
int MayOverwrite(const char* path);

} // namespace nemu
