// The save mode: one number (FileFormat) that decides what every save writes, the table
// that gives the modes their script keywords and writers, and the text form of the
// script command om_savemode.
#pragma once
#include <cstddef>

namespace nemu {

struct Bitmap;

struct SaveModeRow {
    int Mode;
    const char* Keywords[3]; // the first is the mode's name in om_savemode's reply
    const char* Extension;   // added to a name without it; null when none is
    int (*Write)(const char* path, const Bitmap* bitmap); // null until the format is built
};

extern const SaveModeRow SaveModeTable[];
extern const int SaveModeCount;

// The row of a mode below 256; null for a number without one.
const SaveModeRow* FindSaveMode(int mode);

// Writes the current mode and its options in om_savemode's form, e.g. "png b32 nodither ".
void GetSaveModeText(char* buffer, size_t size);
// Takes "mode=N", or a keyword and its options. 0 when understood; -1 leaves the mode
// as it was.
int SetSaveModeText(const char* text);

} // namespace nemu
