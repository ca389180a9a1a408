// The LZW code of the project file (compression 8): the image's bytes in memory order
// as one stream of 9- to 12-bit codes, packed least significant bit first, with clear
// code 256, end code 257 and 258 the first free code.
#pragma once
#include "files/byte_sink.h"

#include <cstddef>
#include <cstdint>

namespace nemu {

constexpr int LZW_CLEAR = 256;
constexpr int LZW_END = 257;
constexpr int LZW_FIRST_FREE = 258;
constexpr int LZW_MAX_CODES = 4096;
constexpr size_t LZW_BLOCK = 4096; // output goes to the sink in blocks of this size

// Compresses size bytes: a clear code first, an end code last. Returns the bytes
// written, or -1 on a failed write or allocation.
int64_t WriteLzw(const ByteSink& sink, const uint8_t* data, size_t size);

// A decoder that can be fed in pieces.
struct LzwReader {
    uint32_t Accum = 0; // bits not yet used, lowest first
    int AccumBits = 0;
    int Width = 9; // bits of the next code
    int Free = LZW_FIRST_FREE;
    int Prev = -1;      // the last code, -1 right after a clear
    uint8_t First = 0;  // the first byte of the last code's string
    int Pending = 0;    // bytes of the last string still to hand out, in Stack
    bool Done = false;  // the end code was met
    bool Error = false; // a code that can't be: the data is damaged
    uint16_t Prefix[LZW_MAX_CODES];
    uint8_t Suffix[LZW_MAX_CODES];
    uint8_t Stack[LZW_MAX_CODES + 1];
};

void LzwReaderReset(LzwReader* reader);

// Decodes from in[0, size) into out[0, room): returns the bytes produced and stores the
// input bytes taken in *used. Stops when out is full, the input runs out, the end code
// comes or the data proves damaged (Error).
size_t LzwDecode(LzwReader* reader, const uint8_t* in, size_t size, size_t* used, uint8_t* out, size_t room);

// Decodes exactly count bytes from one buffer. Returns the bytes used, or -1 when the
// data ends or breaks first. Allocates its reader; -1 without memory too.
int64_t UnpackLzw(const uint8_t* in, size_t size, uint8_t* out, size_t count);

} // namespace nemu
