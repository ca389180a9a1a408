// The cache file: all bulk data (tiles above all) lives in one temporary file of
// 1024-byte blocks with a memory cache in front of it. A client stores a byte string
// under a CacheFile handle and gets it back later; where the bytes are (memory, disk or
// both) is this module's business. It is a small virtual-memory system: a block table, a
// pool of memory slots with least-recently-used replacement, write-behind in idle time,
// and a run-merging write buffer in front of the file (store/block_file).
//
// For the main loop: OpenCache once the temporary folder is known (0 ends the program),
// TrimCache at start and after a change of page size, and CacheWriteStep from the idle
// wait in slices of 0.05 s for as long as it returns non-zero. CloseCache runs at exit.
#pragma once
#include <cstdint>

namespace nemu {

struct BlockFile;
struct CacheSlot;

// The client's handle. Kind is the client's class of data; CacheDiscardable data may
// vanish when memory is short, leaving the handle empty.
struct CacheFile {
    CacheFile* Next = nullptr; // list of handles in use, or of free handles
    CacheFile* Prev = nullptr;
    uint32_t FirstBlock = 0; // first block of the chain, 0 if empty
    int32_t Size = 0;        // bytes stored
    uint32_t Kind = 0;
    uint32_t InUse = 0; // 1 while allocated; catches double frees
};
constexpr uint32_t CacheDiscardable = 2;

// One block of the file. Block 0 is never handed out, so that 0 ends a chain.
struct BlockEntry {
    CacheFile* Owner; // null when free
    CacheSlot* Slot;  // memory copy, or null
    uint32_t Next;    // next block of the same file, or next free block; 0 ends the chain
};

// A memory copy of one block; kept in pages of 256.
struct CacheSlot {
    CacheSlot* Next;
    CacheSlot* Prev;
    void* List;     // the SlotList that holds it
    uint32_t Clean; // 1 when the file holds the same bytes
    uint32_t Block;
    uint8_t Data[1024];
};

// A list of slots with its counter; UsedSlots is newest first.
struct SlotList {
    CacheSlot* Head;
    CacheSlot* Tail;
    int32_t* Count;
};

// ---- State ----------------------------------------------------------------------------
extern BlockEntry* BlockTable; // null until the first block is needed
extern uint32_t BlockCount;    // entries in BlockTable
extern uint32_t FreeBlockCount;
extern uint32_t FreeBlockHead, FreeBlockTail; // free chain: taken at the head, returned at the tail

extern SlotList FreeSlots, UsedSlots;
extern int32_t FreeSlotCount, UsedSlotCount;
extern int32_t SlotTotal;      // slots in all pages
extern int64_t SlotAllowance;  // how many more slots may be allocated; may be negative
extern int64_t CacheLimit;     // bytes of slot memory allowed; -1 automatic (setting CacheSize)
extern int32_t WriteState;     // state of the idle writer, 0 to 3
extern CacheSlot* WriteCursor; // its place in UsedSlots
extern BlockFile* CacheBlockFile;
extern char CacheFileName[1024];
extern int32_t CacheDebug; // developer switch: logs allocation and transfers on stderr

// ---- Life cycle -----------------------------------------------------------------------
// Reads CacheSize (Nemu.INI section Startup, then section Main of the settings) and
// nobuffering, and creates the file under TempDir. 0 on failure.
int OpenCache();
// Writes nothing back: every handle dies with the file. Safe to call twice.
void CloseCache();

// ---- Data -----------------------------------------------------------------------------
CacheFile* NewCacheFileData(const void* data, int32_t bytes, uint32_t kind);
int PutCacheFileData(CacheFile* file, const void* data, int32_t bytes, uint32_t kind);
int GetCacheFileData(CacheFile* file, void* data, int32_t bytes);
int CmpCacheData(CacheFile* file, const void* data, int32_t bytes);
int RemoveCacheFile(CacheFile* file);

// Reads a handle's bytes from the first one on, a piece at a time, for data that is used as
// it comes rather than taken out whole. The handle must not change or go while it is read.
struct CacheReader {
    CacheFile* File = nullptr;
    uint32_t Block = 0; // the block that holds the next byte
    int32_t Offset = 0; // of the next byte in that block
    int32_t Left = 0;   // bytes still to read
};
// Starts at the first of bytes bytes; 0 when the handle is not in use or holds fewer.
int OpenCacheReader(CacheReader* reader, CacheFile* file, int32_t bytes);
// The next bytes (as many as are left, at most bytes) into data: their count, or -1 when
// the file could not be read. Quiet: the caller decides what a failure means.
int32_t ReadCacheReader(CacheReader* reader, void* data, int32_t bytes);

// ---- Memory -----------------------------------------------------------------------------
// Brings slot memory back within the limit and defragments the free chain.
void TrimCache();
// Byte budget for slots in automatic mode.
int64_t CacheFreeSize();
// 0 bytes in used slots, 1 bytes in allocated blocks, 2 bytes of slot memory, 3 file size.
int64_t CacheStat(int which);
// One step of write-behind: 0 when no idle work is left.
int CacheWriteStep();

} // namespace nemu
