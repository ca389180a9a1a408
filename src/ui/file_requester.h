// The file requester: asks the user for a file name to load or to save, through one call
// with a request record that remembers the folder, the pattern, the last name and the
// folders visited. Two requests live for the program's life: one for pictures and one for
// projects, kept in section Browser of the settings (keys File... and Pro...).
//
// On this port there is no platform dialog: the program's own panel (file_requester_panel)
// shows the folders, the matching files with previews, and a detail line. Without a
// screen (batch runs) nobody can be asked and every request is cancelled.
#pragma once
#include <cstddef>
#include <cstdint>

#include "ui/file_list.h"

namespace nemu {

struct Bitmap;

constexpr int32_t FolderHistorySize = 8;
constexpr size_t PatternSize = 256;

// Mode bits of a request.
constexpr uint32_t REQ_SAVE = 1; // the name may be one that does not exist yet

struct FileRequest {
    int32_t X, Y;                 // panel position on the screen; -1 to centre
    uint32_t Mode;                // REQ_ bits
    char Name[FilePathSize];      // the last file name, without its folder
    char Folder[FilePathSize];    // absolute
    char Pattern[PatternSize];
    int32_t Icons;                // previews on
    char History[FolderHistorySize][FilePathSize]; // folders chosen from, latest first
    // A hook of the caller: draws its own preview of the file at path into the bitmap,
    // and adds a line of its own under the detail line. Both may be null.
    void* User;
    int (*DrawPreview)(void* user, const char* path, Bitmap* target);
    void (*AddText)(void* user, const char* path, char* text, size_t size);
};

extern FileRequest* PictureRequest; // keys File...
extern FileRequest* ProjectRequest; // keys Pro...

// A request starting at path (a folder, or a file whose folder and name are taken), or at
// the process's current folder when path is null or empty. Null when out of memory.
FileRequest* FileRequestNew(const char* path);
void FileRequestFree(FileRequest* request);
void FileRequestSetPattern(FileRequest* request, const char* pattern);
// A folder, or a file path (its folder and its name); relative paths are taken from the
// current folder. A path that leads nowhere leaves the folder as it was.
void FileRequestSetPath(FileRequest* request, const char* path);
// Puts folder at the front of the history, dropping a copy of it further down.
void FileRequestRemember(FileRequest* request, const char* folder);

// Shows the panel under title; 1 with the chosen absolute path in pathOut (size bytes),
// else 0. The request keeps the folder, the name and the panel's place for the next run.
int FileRequestRun(FileRequest* request, char* pathOut, size_t size, const char* title);
// The panel itself (file_requester_panel.cpp); FileRequestRun's work when a screen exists.
int FileRequestPanel(FileRequest* request, char* pathOut, size_t size, const char* title);

// Makes the two requests and reads section Browser (and ReqFileName of Startup); writes
// them back; frees them. Each is safe to call twice.
void LoadBrowserSettings();
void SaveBrowserSettings();
void FreeFileRequests();
// ReqFileName of Startup: "off" starts the name field empty on every run.
extern int32_t RequestKeepsName;

// Fills path (size bytes) with the chosen name under the title message; 1 when a name was
// chosen, 0 when the request was cancelled. forSaving asks for a name that may not exist.
// Goes to the hook when one is set (tests and embedders), else to the requester.
int RequestFile(uint32_t titleMessage, char* path, size_t size, int forSaving);
extern int (*FileRequesterHook)(uint32_t titleMessage, char* path, size_t size, int forSaving);

} // namespace nemu
