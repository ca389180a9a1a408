// What the IFF-style files share (the project, and the deep and ILBM pictures): 4-character
// ids, big-endian numbers, chunks whose u32 size leaves out their 8-byte header and whose
// odd bodies are followed by a pad byte, the annotation text and the RGB thumbnail.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace nemu {

struct Bitmap;

// ---- Numbers ----------------------------------------------------------------------------
inline void PutU16(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}
inline void PutU32(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v >> 24);
    p[1] = uint8_t(v >> 16);
    p[2] = uint8_t(v >> 8);
    p[3] = uint8_t(v);
}
inline uint32_t GetU16(const uint8_t* p) {
    return uint32_t(p[0]) << 8 | p[1];
}
inline uint32_t GetU32(const uint8_t* p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}
// A chunk's size rounded up to even: what a reader skips.
inline uint64_t PaddedSize(uint32_t size) {
    return uint64_t(size) + (size & 1);
}

// ---- Writing ----------------------------------------------------------------------------
// A whole chunk at once; an odd body gets a pad byte of 0. 0, or -1 on a failed write.
int WriteChunk(FILE* file, const char* id, const void* body, uint32_t size);
// The id and four bytes that stand in the size field until EndChunk patches it. The
// file position of the size field, or -1.
int64_t BeginChunk(FILE* file, const char* id, const char* placeholder);
// Patches the size of the chunk begun at sizeAt to what was written since, puts the pad
// byte after an odd body and leaves the file at the chunk's end. 0 or -1.
int EndChunk(FILE* file, int64_t sizeAt, uint8_t pad);
// A text chunk as the annotation and the layer names are written: (length + 2) rounded
// down to even bytes from the text's first, so its terminating zero and, for an even
// length, the byte after it go too. text must have that byte.
int WriteTextChunk(FILE* file, const char* id, const char* text);

// The annotation that every writer of the family puts in its ANNO chunk. The project
// writer sets its first byte to "$" before each save, so the other writers carry the
// text's own first letter until a project is saved in the run, and "$" after that.
constexpr size_t AnnotationSize = 64;
extern char AnnotationBuffer[AnnotationSize];
int WriteAnnotation(FILE* file);

// XS24: the thumbnail's width, height, 0, then its pixels as red, green, blue, the colour
// kept premultiplied as it is in memory. The body is padded to even inside its size.
int WriteThumbnailChunk(FILE* file, const Bitmap* thumbnail);

} // namespace nemu
