// Memory side of the cache file. Sections: slot lists, slot pages and the reclaim of the
// oldest slots, block chains and growth of the file, trimming to the limit, the free
// chain's defragmentation, the idle writer, and the figures.
#include "store/cache_slots.h"

#include "store/bitmap.h"
#include "store/block_file.h"
#include "store/tile_pack.h"
#include "ui/requests.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unistd.h>

namespace nemu {

CacheFile* CacheActive = nullptr;

// ---- Slot lists ---------------------------------------------------------------------

void SlotUnlink(CacheSlot* slot) {
    SlotList* list = static_cast<SlotList*>(slot->List);
    if (!list) return;
    if (slot->Prev)
        slot->Prev->Next = slot->Next;
    else
        list->Head = slot->Next;
    if (slot->Next)
        slot->Next->Prev = slot->Prev;
    else
        list->Tail = slot->Prev;
    slot->Next = slot->Prev = nullptr;
    slot->List = nullptr;
    (*list->Count)--;
}

void SlotToHead(SlotList* list, CacheSlot* slot) {
    if (slot->List == list && list->Head == slot) return;
    SlotUnlink(slot);
    slot->Next = list->Head;
    slot->Prev = nullptr;
    if (list->Head)
        list->Head->Prev = slot;
    else
        list->Tail = slot;
    list->Head = slot;
    slot->List = list;
    (*list->Count)++;
}

// ---- Slot pages and reclaim -----------------------------------------------------------

struct SlotPage {
    SlotPage* Next;
    CacheSlot* Slots; // SlotsPerPage of them, zeroed at allocation
};
static SlotPage* SlotPages = nullptr;

static void AddSlotPage() {
    SlotPage* page = new (std::nothrow) SlotPage{nullptr, nullptr};
    if (!page) return;
    page->Slots = static_cast<CacheSlot*>(std::calloc(SlotsPerPage, sizeof(CacheSlot)));
    if (!page->Slots) {
        delete page;
        return;
    }
    page->Next = SlotPages;
    SlotPages = page;
    SlotAllowance -= SlotsPerPage;
    SlotTotal += SlotsPerPage;
    for (int i = 0; i < SlotsPerPage; i++) {
        page->Slots[i].Clean = 1;
        SlotToHead(&FreeSlots, &page->Slots[i]);
    }
}

static int WriteSlot(CacheSlot* slot) {
    return CacheBlockFile->Write(CacheBlockFile, slot->Block, slot->Data, CacheBlockSize);
}

// Frees the oldest slots, 16 blocks' worth at a time so that a stream of misses does not
// pay for a walk per block. Discardable data goes whole and unwritten.
static void ReclaimSlots() {
    int64_t budget = 16;
    while (budget > 0 && UsedSlots.Tail) {
        CacheSlot* slot = UsedSlots.Tail;
        CacheFile* owner = BlockTable[slot->Block].Owner;
        if (owner->Kind == CacheDiscardable && owner != CacheActive) {
            uint32_t freed = FreeChain(owner);
            if (freed == 0) break;
            budget -= freed;
            continue;
        }
        if (!slot->Clean) {
            if (!WriteSlot(slot)) break;
            slot->Clean = 1;
        }
        BlockTable[slot->Block].Slot = nullptr;
        SlotToHead(&FreeSlots, slot);
        budget--;
    }
}

CacheSlot* GetSlot(uint32_t block) {
    WriteState = 0;
    if (!FreeSlots.Head) {
        if (SlotAllowance >= SlotsPerPage) AddSlotPage();
        if (!FreeSlots.Head && UsedSlots.Head) ReclaimSlots();
    }
    CacheSlot* slot = FreeSlots.Head;
    if (!slot) return nullptr;
    slot->Block = block;
    SlotToHead(&UsedSlots, slot);
    return slot;
}

// ---- Block chains and growth ----------------------------------------------------------

static void FreeBlock(uint32_t block) {
    BlockEntry& e = BlockTable[block];
    if (e.Slot) SlotToHead(&FreeSlots, e.Slot);
    e = BlockEntry{nullptr, nullptr, 0};
    if (FreeBlockTail)
        BlockTable[FreeBlockTail].Next = block;
    else
        FreeBlockHead = block;
    FreeBlockTail = block;
    FreeBlockCount++;
}

uint32_t FreeChain(CacheFile* file) {
    uint32_t freed = 0;
    for (uint32_t b = file->FirstBlock; b;) {
        uint32_t next = BlockTable[b].Next;
        FreeBlock(b);
        freed++;
        b = next;
    }
    file->FirstBlock = 0;
    file->Size = 0;
    // Freed slots may lie under the idle writer's cursor.
    WriteState = 0;
    return freed;
}

// 1, 0 when memory for the table ran out, -1 when the file could not grow.
static int GrowFile() {
    uint64_t count = uint64_t(BlockCount) + GrowBlocks;
    if (count > 0xFFFFFFFFull || !CacheBlockFile->SetSize(CacheBlockFile, uint32_t(count))) {
        Alert("Disk full");
        return -1;
    }
    BlockEntry* table =
        static_cast<BlockEntry*>(std::realloc(BlockTable, size_t(count) * sizeof(BlockEntry)));
    if (!table) return 0;
    BlockTable = table;
    std::memset(table + BlockCount, 0, GrowBlocks * sizeof(BlockEntry));
    uint32_t first = BlockCount;
    if (first == 0) {
        // Entry 0 is a mark: no chain can end in a real block 0.
        table[0].Owner = reinterpret_cast<CacheFile*>(uintptr_t(1));
        first = 1;
    }
    BlockCount = uint32_t(count);
    for (uint32_t b = first; b < BlockCount; b++) {
        if (FreeBlockTail)
            table[FreeBlockTail].Next = b;
        else
            FreeBlockHead = b;
        FreeBlockTail = b;
        FreeBlockCount++;
    }
    MemoryAdd(GrowBlocks * BlockEntryAccount);
    return 1;
}

int TakeChain(CacheFile* file, uint32_t count) {
    uint32_t last = 0;
    for (uint32_t i = 0; i < count; i++) {
        if (FreeBlockCount == 0) {
            int grown = GrowFile();
            if (grown <= 0) {
                FreeChain(file);
                return grown;
            }
        }
        uint32_t b = FreeBlockHead;
        FreeBlockHead = BlockTable[b].Next;
        if (!FreeBlockHead) FreeBlockTail = 0;
        FreeBlockCount--;
        BlockTable[b] = BlockEntry{file, nullptr, 0};
        if (last)
            BlockTable[last].Next = b;
        else
            file->FirstBlock = b;
        last = b;
    }
    return 1;
}

// ---- Trimming ---------------------------------------------------------------------------

// Writes the page's dirty slots and lets it go. A failed write keeps the page whole: no
// data but the discardable kind may vanish, so memory is given back only once the file
// holds every byte.
static int ReleaseSlotPage(SlotPage* page) {
    CacheSlot* slots = page->Slots;
    for (int i = 0; i < SlotsPerPage; i++) {
        if (slots[i].List != &UsedSlots || slots[i].Clean) continue;
        if (!WriteSlot(&slots[i])) return 0;
        slots[i].Clean = 1;
    }
    for (int i = 0; i < SlotsPerPage; i++) {
        if (slots[i].List == &UsedSlots) BlockTable[slots[i].Block].Slot = nullptr;
        SlotUnlink(&slots[i]);
    }
    SlotPage** link = &SlotPages;
    while (*link != page) link = &(*link)->Next;
    *link = page->Next;
    std::free(page->Slots);
    delete page;
    SlotTotal -= SlotsPerPage;
    SlotAllowance += SlotsPerPage;
    WriteState = 0;
    return 1;
}

void TrimCache() {
    if (!CacheBlockFile) return;
    for (;;) {
        SlotAllowance =
            CacheLimit == -1 ? CacheFreeSize() / SlotAccount : CacheLimit / SlotAccount - SlotTotal;
        if (SlotAllowance >= -(SlotsPerPage - 1) || !SlotPages) break;
        if (!ReleaseSlotPage(SlotPages)) break;
    }
    DefragmentFreeBlocks();
}

void FreeSlotPages() {
    while (SlotPages) {
        SlotPage* page = SlotPages;
        SlotPages = page->Next;
        std::free(page->Slots);
        delete page;
    }
    FreeSlots.Head = FreeSlots.Tail = UsedSlots.Head = UsedSlots.Tail = nullptr;
    FreeSlotCount = UsedSlotCount = 0;
    SlotTotal = 0;
    WriteCursor = nullptr;
    WriteState = 0;
}

// ---- Defragmenting the free chain -------------------------------------------------------

// Relinks the free blocks in ascending order, so that new data takes low numbers first and
// comes to lie in long runs that the block file merges into single transfers.
void DefragmentFreeBlocks() {
    if (FreeBlockCount == 0 || BlockCount < 2) return;
    uint32_t head = 0, tail = 0, count = 0;
    for (uint32_t b = 1; b < BlockCount; b++) {
        if (BlockTable[b].Owner) continue;
        if (tail)
            BlockTable[tail].Next = b;
        else
            head = b;
        tail = b;
        count++;
    }
    BlockTable[tail].Next = 0;
    FreeBlockHead = head;
    FreeBlockTail = tail;
    FreeBlockCount = count;
    if (CacheDebug) std::fprintf(stderr, "Defrag %d blocks free      \n", int(count));
}

// ---- Idle writer ----------------------------------------------------------------------

static int WriteWalk() {
    CacheSlot* slot = WriteCursor;
    while (slot && (slot->Clean || BlockTable[slot->Block].Owner->Kind == CacheDiscardable))
        slot = slot->Prev;
    if (!slot) {
        WriteState = 2;
        WriteCursor = nullptr;
        return 1;
    }
    WriteCursor = slot->Prev;
    if (!WriteSlot(slot)) {
        // The user declined to retry: rest until a client call starts the walk again,
        // rather than ask again for every dirty slot of this walk.
        WriteState = 3;
        WriteCursor = nullptr;
        return 0;
    }
    slot->Clean = 1;
    return 1;
}

static int WriteStart() {
    WriteCursor = UsedSlots.Tail; // oldest first
    WriteState = 1;
    return WriteWalk();
}

static int WriteFinish() {
    FlushBlockFile(CacheBlockFile);
    DefragmentFreeBlocks();
    WriteState = 3;
    return 1;
}

static int WriteDone() {
    return 0;
}

static int (*const WriteSteps[4])() = {WriteStart, WriteWalk, WriteFinish, WriteDone};

int CacheWriteStep() {
    if (!CacheBlockFile || WriteState < 0 || WriteState > 3) return 0;
    return WriteSteps[WriteState]();
}

// ---- Figures --------------------------------------------------------------------------

int64_t CacheFreeSize() {
    static int64_t total = 0;
    if (!total) {
        long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
        total = pages > 0 && size > 0 ? int64_t(pages) * size : int64_t(256) << 20;
    }
    int64_t budget = total > 67108864 ? int64_t(double(total - 16777216) * 0.7) : total / 2;
    return budget - int64_t(PackBufferSize) - int64_t(MemoryInUse) - CacheStat(2);
}

int64_t CacheStat(int which) {
    switch (which) {
    case 0:
        return int64_t(UsedSlotCount) * CacheBlockSize;
    case 1:
        return BlockCount ? int64_t(BlockCount - 1 - FreeBlockCount) * CacheBlockSize : 0;
    case 2:
        return int64_t(SlotTotal) * SlotAccount;
    case 3:
        return int64_t(BlockCount) * CacheBlockSize;
    default:
        return 0;
    }
}

} // namespace nemu
