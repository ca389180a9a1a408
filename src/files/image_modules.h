// Image modules: formats that come as a self-describing record rather than a fixed row
// of the registry. Their save modes are numbered from 256 in table order; TIFF is 256.
#pragma once

namespace nemu {

struct Bitmap;

struct ImageModule {
    char Name[32];      // the format menu's text, and the save requester's title
    char TypeName[16];  // what the file information panel shows
    char ShortName[32]; // the start of the save requester's title
    char Extension[8];  // added to a saved name without it
    char Keyword[16];   // the script word of om_savemode
    int Version;
    int (*Open)();                     // set-up on first use; 0 on success
    int (*Close)();                    // when the program ends
    int (*Options)(const char* words); // om_savemode's words after the keyword; 0 if taken
    int (*Load)(const char* path, Bitmap* bitmap);
    int (*Save)(const char* path, const Bitmap* bitmap);
    int (*Info)(const char* path, int* width, int* height, int* depth); // 0 when the file is its
};

struct ImageModuleEntry {
    const ImageModule* Module;
    int Mode;  // the save mode
    int Ready; // Open has run
};

constexpr int FIRST_MODULE_MODE = 256;
extern ImageModuleEntry ImageModules[];
extern const int ImageModuleCount;

// The module of a save mode, set up on first use; null when there is none or its
// set-up failed.
const ImageModule* ModuleForMode(int mode);
// The save mode of the module whose keyword starts the word, ignoring case; -1 if none.
int ModuleModeForWord(const char* word);
// Asks each module in turn whether the file is its own; the save mode of the first that
// says yes, with the picture's size, or -1.
int ModuleSniff(const char* path, int* width, int* height, int* depth);
// Closes every module that was set up.
void CloseImageModules();

} // namespace nemu
