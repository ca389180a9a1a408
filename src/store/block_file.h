// The object in front of the cache's temporary file: whole 1024-byte blocks, a run
// buffer that merges writes of neighbouring blocks into one transfer, and a read buffer
// that always prefetches 16 blocks forward. Transfers that fail ask the user to retry or
// cancel; nothing here ever drops data that was accepted.
#pragma once
#include <cstdint>

namespace nemu {

constexpr int32_t CacheBlockSize = 1024;
constexpr int32_t RunBufferBlocks = 273; // 16 blocks of head room, 256 of run, one spare
constexpr int32_t RunHeadRoom = 16;
constexpr int32_t RunMaxBlocks = 256;
constexpr int32_t ReadBufferBlocks = 16;

struct BlockFile {
    // The four operations, in this order; each takes the object itself first.
    int (*Close)(BlockFile* file);
    int (*Write)(BlockFile* file, uint32_t block, const void* data, int64_t bytes);
    int (*Read)(BlockFile* file, uint32_t block, void* data, int64_t bytes);
    int (*SetSize)(BlockFile* file, uint32_t blocks);

    int Handle = -1;               // descriptor of the unlinked file
    uint8_t* RunBuffer = nullptr;  // RunBufferBlocks blocks, page-aligned
    int32_t RunCount = 0;          // blocks in the pending run
    int32_t RunHead = RunHeadRoom; // block offset of RunFirst in RunBuffer
    uint32_t RunFirst = 0, RunLast = 0;
    uint8_t* ReadBuffer = nullptr; // ReadBufferBlocks blocks, page-aligned
    int64_t ReadBase = -1;         // first block held in ReadBuffer, -1 when empty
    int32_t Direct = 0;            // transfers bypass the system's buffers (O_DIRECT)
    uint32_t WriteTransfers = 0;   // transfers made, for tests and measurements
    uint32_t ReadTransfers = 0;
};

// Creates path exclusively and unlinks it at once, so that nothing is left behind even
// by a crash. With noBuffering the system's buffers are bypassed where the file system
// allows it. Null on failure, with errno set.
BlockFile* OpenBlockFile(const char* path, int noBuffering);
// Writes the pending run, if any: for the idle writer, so that a quiet program ends up
// with everything on disk. 0 when the transfer failed; the run then stays pending.
int FlushBlockFile(BlockFile* file);

} // namespace nemu
