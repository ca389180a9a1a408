// TagFile: a little-endian container of nested, self-sizing tags. A writer opens a tag,
// writes its payload without knowing its size and closes it; closing goes back and
// patches the size into the tag's 12-byte header. A reader can leave a tag anywhere:
// closing jumps to the tag's end, so old readers skip what newer writers appended.
//
// Every operation but TF_Open and TF_Close returns 0 on success, the system's error
// number after an input or output failure (reported through perror with the
// operation's label), or TF_FATAL when the record is misused: a bad mode, a seek to the
// end while reading, tags nested past the stack or closed past the root. Misuse is a
// programming error; its exact text goes to standard output and stays in TF_FatalText
// for the caller to report, and the record is left as it was.
#pragma once
#include <cstdint>

namespace nemu {

constexpr uint32_t TF_ROOT_ID = 0x92743643;
constexpr int TF_FATAL = -1;
constexpr int TF_MAX_DEPTH = 32; // the root and at most 31 tags below it

struct Tag {
    uint32_t Id = 0;
    uint32_t Version = 0;   // u16 on disk
    uint32_t Revision = 0;  // u16 on disk
    uint32_t Size = 0;      // payload bytes, not counting the header
    uint32_t DataStart = 0; // file position of the payload's first byte
};

struct TagFile {
    int Handle = -1;       // the open file descriptor
    int Mode = 0;          // 0 reading, 1 writing
    uint32_t Position = 0; // where the layer believes the file is
    int Depth = 0;         // open tags, the root included
    Tag Stack[TF_MAX_DEPTH];
};

// The text of the last misuse, "FATAL : ..." with its line end; empty until one happens.
extern char TF_FatalText[128];

// mode "r" reads (the file must start with the root tag), "w" creates or truncates.
TagFile* TF_Open(const char* path, const char* mode);
// Closes every open tag (patching sizes when writing), the file, and frees the record.
// Returns 0, or the first failure of the closing.
int TF_Close(TagFile* file);
int TF_OpenTag(TagFile* file, Tag* tag);
int TF_CloseTag(TagFile* file);
int TF_Read(TagFile* file, void* buffer, uint32_t count);
int TF_Write(TagFile* file, const void* buffer, uint32_t count);
// Moves to offset bytes past the payload start of the innermost open tag.
int TF_Seek(TagFile* file, uint32_t offset);
// Moves to the file's end; writing only.
int TF_SeekEnd(TagFile* file);

} // namespace nemu
