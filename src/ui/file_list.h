// The file requester's model: the entries of one folder, the folders first, then the
// files that match the pattern, each group in natural order (so "shot2" comes before
// "shot10", and case does not split the list). It knows nothing of windows, so the panel
// and the tests share it.
//
// Entries are cheap to list: a name and what one stat gives. What costs a file read is
// left until the entry is looked at: the probe (format and picture size) when its detail
// line is asked for, and the small preview picture, made a few at a time in idle moments
// for the entries in view. The previews are bounded in number, so a folder of thousands
// of pictures costs the memory of a screenful.
//
// Names are the bytes the folder gives. A name that is not valid UTF-8 is shown with each
// stray byte as \xNN, and still opens, since the path is built from the bytes.
//
// Paths are absolute Linux paths; no function here changes the process's current folder.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

struct Bitmap;

constexpr size_t FilePathSize = 4096; // a path with its terminator, as Linux allows
constexpr int32_t ProbeNotDone = -2;  // FileEntry::Type before the probe

struct FileEntry {
    char* Name;         // the folder's bytes, owned by the list
    char* Shown;        // Name as UTF-8 text to draw, owned by the list
    uint8_t IsFolder;   // a folder, or a link to one
    uint8_t PreviewTried;
    int64_t Size;       // bytes; 0 for folders
    int64_t Modified;   // seconds since 1970; 0 when unknown
    int32_t Type;       // SniffFormat's type, -1 when no format knows it, ProbeNotDone
    int32_t PicWidth, PicHeight;
    Bitmap* Preview;    // small picture, or null; owned by the list
};

struct FileList {
    FileEntry* Entries; // Folders first, then files; null when empty
    int32_t Count;
    int32_t Folders;      // how many of the first entries are folders
    int32_t ReadError;    // errno of a folder that could not be read, else 0
    int32_t PreviewCount; // entries holding a preview
    char Folder[FilePathSize];
};

// The most previews a list holds; making one more frees the one farthest from view.
constexpr int32_t PreviewLimit = 400;

// Lists folder: "..", when it has a parent, and its sub-folders, then the files whose name
// matches pattern. Hidden names (a leading dot) only when the pattern asks for them. The
// list is emptied first. 0 on success; -1 when the folder could not be read (the list
// then holds what could be read, and ReadError says why) or memory ran out.
int FileListRead(FileList* list, const char* folder, const char* pattern);
void FileListFree(FileList* list); // the entries, names and previews; the list is empty after

// Patterns: "*" any run, "?" one character, case ignored; several patterns may be given
// separated by ";", "|", "," or blanks ("*.png;*.jpg"). An empty pattern matches all.
bool PatternMatches(const char* pattern, const char* name);
// Natural order: runs of digits compare by value, letters without regard to case; ties
// are broken by the bytes, so the order is total. <0, 0 or >0.
int NaturalCompare(const char* a, const char* b);
// The bytes as text to draw: valid UTF-8 stays, stray bytes become \xNN. Always ended.
void ShownName(const char* bytes, char* out, size_t size);

// folder/name into out, with one separator; 0 when it does not fit (out is then "").
int JoinPath(char* out, size_t size, const char* folder, const char* name);
// The folder that entering name (a sub-folder, "..", or a typed path, absolute or relative
// to folder; "~" is the home folder) from folder leads to, resolved to an absolute path
// without links. 1 when it is a folder that can be read, else 0 and out is unchanged.
int EnterFolder(const char* folder, const char* name, char* out, size_t size);

// Probes the entry if not done: format and picture size.
void FileEntryProbe(const FileList* list, FileEntry* entry);
// The detail line: the date as "%2d:%02d:%02d %2d/%02d/%4d", then for a picture its size
// "%d x %d" and its format, else the kind of file and its size in bytes.
void FileDetailLine(const FileList* list, FileEntry* entry, char* out, size_t size);

// Makes previews, at most maxW by maxH pixels, for the entries first..last that lack
// one, until the time budget (seconds) is spent; returns how many are still to try in
// that range (0: all done).
int32_t FileListMakePreviews(FileList* list, int32_t first, int32_t last, int32_t maxW, int32_t maxH,
                             double budget);
// A small copy of the picture at path, fitting maxW by maxH with its proportions; null for
// a file that is not a picture, cannot be read or is absurdly large. Quiet: it reports
// nothing, since a folder may hold any number of broken files.
Bitmap* MakePreview(const char* path, int32_t maxW, int32_t maxH);

} // namespace nemu
