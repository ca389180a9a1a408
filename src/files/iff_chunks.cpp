#include "files/iff_chunks.h"

#include "store/bitmap.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

char AnnotationBuffer[AnnotationSize] = "Nemu opens doors to your imagination. ";

static int Put(FILE* file, const void* data, size_t size) {
    return size == 0 || std::fwrite(data, 1, size, file) == size ? 0 : -1;
}

int WriteChunk(FILE* file, const char* id, const void* body, uint32_t size) {
    uint8_t head[8];
    std::memcpy(head, id, 4);
    PutU32(head + 4, size);
    static const uint8_t pad = 0;
    if (Put(file, head, 8) || Put(file, body, size)) return -1;
    return (size & 1) ? Put(file, &pad, 1) : 0;
}

int64_t BeginChunk(FILE* file, const char* id, const char* placeholder) {
    if (Put(file, id, 4)) return -1;
    int64_t at = ftello(file);
    if (at < 0 || Put(file, placeholder, 4)) return -1;
    return at;
}

int EndChunk(FILE* file, int64_t sizeAt, uint8_t pad) {
    int64_t end = ftello(file);
    if (end < sizeAt + 4) return -1;
    uint64_t size = uint64_t(end - sizeAt - 4);
    if (size > UINT32_MAX) return -1;
    if ((size & 1) && Put(file, &pad, 1)) return -1;
    uint8_t word[4];
    PutU32(word, uint32_t(size));
    if (fseeko(file, sizeAt, SEEK_SET) || Put(file, word, 4)) return -1;
    return fseeko(file, 0, SEEK_END) ? -1 : 0;
}

int WriteTextChunk(FILE* file, const char* id, const char* text) {
    size_t length = std::strlen(text);
    return WriteChunk(file, id, text, uint32_t((length + 2) & ~size_t(1)));
}

int WriteAnnotation(FILE* file) {
    AnnotationBuffer[AnnotationSize - 2] = 0; // the byte after an even text stays ours to read
    return WriteTextChunk(file, "ANNO", AnnotationBuffer);
}

int WriteThumbnailChunk(FILE* file, const Bitmap* thumbnail) {
    size_t pixels = size_t(thumbnail->Width) * size_t(thumbnail->Height);
    size_t bytes = (pixels * 3 + 1) & ~size_t(1);
    auto* body = static_cast<uint8_t*>(std::calloc(6 + bytes, 1));
    if (!body) return -1;
    PutU16(body, uint32_t(thumbnail->Width));
    PutU16(body + 2, uint32_t(thumbnail->Height));
    uint8_t* out = body + 6;
    for (size_t i = 0; i < pixels; i++) {
        uint32_t p = thumbnail->Pixels[i];
        *out++ = uint8_t(p >> 16);
        *out++ = uint8_t(p >> 8);
        *out++ = uint8_t(p);
    }
    int result = WriteChunk(file, "XS24", body, uint32_t(6 + bytes));
    std::free(body);
    return result;
}

} // namespace nemu
