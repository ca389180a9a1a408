// Inside the cache file: the memory slots in front of the blocks, the block chains, and
// the file's growth. Only store/cache_file uses these; clients see CacheFile handles.
#pragma once
#include "store/cache_file.h"

namespace nemu {

// The handle being read or written right now. A slot reclaim never discards its data,
// even when it is discardable, since the caller is walking its chain.
extern CacheFile* CacheActive;

// Account of one BlockTable entry, as the memory display counts it.
constexpr uint32_t BlockEntryAccount = 12;
constexpr int32_t SlotAccount = 1044; // a slot as the cache limit counts it
constexpr int32_t SlotsPerPage = 256;
constexpr uint32_t GrowBlocks = 2048;

// Slot lists.
void SlotUnlink(CacheSlot* slot);
void SlotToHead(SlotList* list, CacheSlot* slot);
// A slot for block, at the head of UsedSlots, or null: from FreeSlots, a new page while
// the allowance lasts, else by reclaiming the oldest used slots. The caller records it
// in the block's entry.
CacheSlot* GetSlot(uint32_t block);

// Block chains. FreeChain returns the number of blocks freed and leaves the handle
// empty. TakeChain gives 1, 0 when memory for the table ran out, -1 when the file could
// not grow ("Disk full" has been shown); on failure nothing is kept.
uint32_t FreeChain(CacheFile* file);
int TakeChain(CacheFile* file, uint32_t count);

// Writes every dirty slot of the pages and frees them; used when the cache closes.
void FreeSlotPages();
void DefragmentFreeBlocks();

} // namespace nemu
