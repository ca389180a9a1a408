// The run-length code of the project and deep files: the store's code of packed
// pictures (store/tile_pack.h), with the rows of a file's body packed as that format
// says, flushed through a collecting buffer, and a decoder that can be fed in pieces.
#pragma once
#include "files/byte_sink.h"

#include <cstddef>
#include <cstdint>

namespace nemu {

constexpr size_t RUN_BUFFER_SIZE = 0x20000; // the writers' collecting buffer

// The most bytes PackRow can produce for count pixels.
size_t PackRowBound(size_t count);

// Packs one row of a file's body. Unlike the store's tiles, whose last pixel counts as
// differing from whatever follows, a body row's last pixel is compared with `after`,
// the pixel that follows it in memory: when they are equal it can't close a literal,
// and goes alone. Returns the bytes written to out.
size_t PackRow(const uint32_t* pixels, size_t count, uint32_t after, uint8_t* out);

// Where the project file flushes its buffer, and where the deep writer does: after any
// row that leaves more than this many bytes in it (never below 0).
int64_t ProjectFlushAt(int width);
int64_t DeepFlushAt(int width);

// Packs the image row by row into a collecting buffer of RUN_BUFFER_SIZE bytes, or of
// one row's worst case when a row is larger, and hands the buffer to the sink after any
// row that leaves more than flushAt bytes in it, and at the end. The last row's last
// pixel is treated as differing from whatever follows the image. Returns the bytes
// written, or -1 on a failed write or a failed allocation.
int64_t WriteRunRows(const ByteSink& sink, const uint32_t* pixels, int width, int height, int64_t flushAt);

// A decoder that can be fed in pieces; units may cross the boundaries of its input and
// of its output alike.
struct RunUnpacker {
    uint32_t Left = 0;   // pixels still to come from the current unit
    bool Repeat = false; // the current unit repeats Pixel
    bool HavePixel = false;
    uint32_t Pixel = 0;
    uint8_t Partial[4] = {}; // bytes of a pixel cut by the end of an input piece
    int PartialBytes = 0;
};

// Decodes from in[0, size) into out[0, room): returns the pixels produced and stores the
// bytes taken in *used. Stops when out is full or the input runs out.
size_t RunUnpack(RunUnpacker* state, const uint8_t* in, size_t size, size_t* used, uint32_t* out,
                 size_t room);

} // namespace nemu
