// The cache file's client side. Sections: state, handles and their pools, storing,
// reading and comparing, opening and closing.
#include "store/cache_file.h"

#include "host/main_loop.h"
#include "store/bitmap.h"
#include "store/block_file.h"
#include "store/cache_slots.h"
#include "ui/catalog.h"
#include "ui/requests.h"
#include "ui/settings.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

// ---- State ----------------------------------------------------------------------------

BlockEntry* BlockTable = nullptr;
uint32_t BlockCount = 0, FreeBlockCount = 0, FreeBlockHead = 0, FreeBlockTail = 0;
int32_t FreeSlotCount = 0, UsedSlotCount = 0, SlotTotal = 0;
SlotList FreeSlots = {nullptr, nullptr, &FreeSlotCount};
SlotList UsedSlots = {nullptr, nullptr, &UsedSlotCount};
int64_t SlotAllowance = 0;
int64_t CacheLimit = -1;
int32_t WriteState = 0;
CacheSlot* WriteCursor = nullptr;
BlockFile* CacheBlockFile = nullptr;
char CacheFileName[1024] = "";
int32_t CacheDebug = 0;

// ---- Handles ----------------------------------------------------------------------------

constexpr int HandlesPerPool = 1024;
constexpr uint32_t HandlePoolAccount = 24576;

struct HandlePool {
    HandlePool* Next;
    CacheFile Files[HandlesPerPool];
};
static HandlePool* HandlePools = nullptr;
static CacheFile* FilesInUse = nullptr;
static CacheFile* FreeFiles = nullptr;

static void FileUnlink(CacheFile** list, CacheFile* file) {
    if (file->Prev)
        file->Prev->Next = file->Next;
    else
        *list = file->Next;
    if (file->Next) file->Next->Prev = file->Prev;
    file->Next = file->Prev = nullptr;
}

static void FilePush(CacheFile** list, CacheFile* file) {
    file->Prev = nullptr;
    file->Next = *list;
    if (*list) (*list)->Prev = file;
    *list = file;
}

static CacheFile* TakeHandle() {
    if (!FreeFiles) {
        HandlePool* pool = static_cast<HandlePool*>(std::calloc(1, sizeof(HandlePool)));
        if (!pool) {
            Alert("Panic: AllocCacheFileList error");
            return nullptr;
        }
        pool->Next = HandlePools;
        HandlePools = pool;
        for (int i = HandlesPerPool - 1; i >= 0; i--) FilePush(&FreeFiles, &pool->Files[i]);
        MemoryAdd(HandlePoolAccount);
    }
    CacheFile* file = FreeFiles;
    if (file->InUse) {
        Alert("Panic: GetFreeCacheFile error");
        return nullptr;
    }
    FileUnlink(&FreeFiles, file);
    *file = CacheFile{};
    file->InUse = 1;
    FilePush(&FilesInUse, file);
    return file;
}

static void ReleaseHandle(CacheFile* file) {
    FreeChain(file);
    FileUnlink(&FilesInUse, file);
    file->InUse = 0;
    FilePush(&FreeFiles, file);
}

// ---- Storing ----------------------------------------------------------------------------

static uint32_t BlocksFor(int64_t bytes) {
    return uint32_t((bytes + CacheBlockSize - 1) / CacheBlockSize);
}

static int StoreChain(CacheFile* file, const uint8_t* src, int32_t bytes) {
    uint32_t count = BlocksFor(bytes);
    if (BlocksFor(file->Size) != count || (count && !file->FirstBlock)) {
        FreeChain(file);
        int taken = count ? TakeChain(file, count) : 1;
        if (taken == 0) Alert("alloc Fail\n");
        if (taken <= 0) return 0;
    }
    file->Size = bytes;
    if (CacheDebug) {
        static uint32_t writes = 0;
        static uint64_t blocks = 0;
        writes++;
        blocks += count;
        std::fprintf(stderr, "Write #%d size %d (%d blocks) (%f block/write)\n", int(writes), int(bytes),
                     int(blocks), double(blocks) / writes);
    }
    int32_t left = bytes;
    for (uint32_t b = file->FirstBlock; b;
         b = BlockTable[b].Next, src += CacheBlockSize, left -= CacheBlockSize) {
        size_t n = left < CacheBlockSize ? size_t(left) : size_t(CacheBlockSize);
        CacheSlot* slot = BlockTable[b].Slot;
        if (!slot) slot = BlockTable[b].Slot = GetSlot(b);
        if (slot) {
            SlotToHead(&UsedSlots, slot);
            std::memcpy(slot->Data, src, n);
            std::memset(slot->Data + n, 0, CacheBlockSize - n);
            slot->Clean = 0;
            slot->Block = b;
        } else if (!CacheBlockFile->Write(CacheBlockFile, b, src, int64_t(n))) {
            FreeChain(file);
            return 0;
        }
    }
    return 1;
}

static int StoreData(CacheFile* file, const void* data, int32_t bytes, uint32_t kind) {
    if (!CacheBlockFile || bytes < 0 || (bytes > 0 && !data)) return 0;
    WriteState = 0;
    CacheActive = file;
    int ok = StoreChain(file, static_cast<const uint8_t*>(data), bytes);
    CacheActive = nullptr;
    if (ok) file->Kind = kind;
    return ok;
}

// A handle that is not in use is as good as none: its blocks may already belong to another.
static bool Live(const CacheFile* file) {
    return file && file->InUse;
}

CacheFile* NewCacheFileData(const void* data, int32_t bytes, uint32_t kind) {
    if (!CacheBlockFile) return nullptr;
    CacheFile* file = TakeHandle();
    if (!file) return nullptr;
    if (!StoreData(file, data, bytes, kind)) {
        ReleaseHandle(file);
        Alert("panic: NewCacheFileData fail");
        return nullptr;
    }
    return file;
}

int PutCacheFileData(CacheFile* file, const void* data, int32_t bytes, uint32_t kind) {
    if (!Live(file)) {
        Alert("panic: PutCacheFileData file==NULL");
        return 0;
    }
    if (!StoreData(file, data, bytes, kind)) {
        Alert("panic: PutCacheFileData fail");
        return 0;
    }
    return 1;
}

// ---- Reading and comparing ----------------------------------------------------------------

// Gives the block's bytes: in its slot, in a slot filled now, or read into direct (which
// must hold want bytes) when no slot can be had. Null when the read failed.
static const uint8_t* BlockBytes(uint32_t block, uint8_t* direct, size_t want) {
    CacheSlot* slot = BlockTable[block].Slot;
    if (slot) {
        SlotToHead(&UsedSlots, slot);
        return slot->Data;
    }
    slot = GetSlot(block);
    if (!slot) return CacheBlockFile->Read(CacheBlockFile, block, direct, int64_t(want)) ? direct : nullptr;
    if (!CacheBlockFile->Read(CacheBlockFile, block, slot->Data, CacheBlockSize)) {
        SlotToHead(&FreeSlots, slot);
        return nullptr;
    }
    slot->Clean = 1;
    BlockTable[block].Slot = slot;
    return slot->Data;
}

static int ReadChain(CacheFile* file, uint8_t* dst, int32_t bytes) {
    for (uint32_t b = file->FirstBlock; b && bytes > 0; b = BlockTable[b].Next) {
        size_t n = bytes < CacheBlockSize ? size_t(bytes) : size_t(CacheBlockSize);
        const uint8_t* src = BlockBytes(b, dst, n);
        if (!src) return 0;
        if (src != dst) std::memcpy(dst, src, n);
        dst += n;
        bytes -= int32_t(n);
    }
    return bytes <= 0;
}

int GetCacheFileData(CacheFile* file, void* data, int32_t bytes) {
    if (!Live(file)) {
        Alert("panic: GetCacheFileData file==NULL");
        return 0;
    }
    if (bytes < 1) return 1;
    WriteState = 0;
    CacheActive = file;
    int ok =
        CacheBlockFile && data && bytes <= file->Size && ReadChain(file, static_cast<uint8_t*>(data), bytes);
    CacheActive = nullptr;
    if (!ok && file->Kind != CacheDiscardable) Alert("panic: GetCacheFileData fail");
    return ok;
}

int OpenCacheReader(CacheReader* reader, CacheFile* file, int32_t bytes) {
    *reader = CacheReader();
    if (!Live(file) || bytes < 0 || bytes > file->Size) return 0;
    reader->File = file;
    reader->Block = file->FirstBlock;
    reader->Left = bytes;
    return 1;
}

int32_t ReadCacheReader(CacheReader* reader, void* data, int32_t bytes) {
    if (!reader->File || !Live(reader->File) || !CacheBlockFile) return -1;
    uint8_t* dst = static_cast<uint8_t*>(data);
    int32_t done = 0;
    WriteState = 0;
    CacheActive = reader->File;
    while (done < bytes && reader->Left > 0) {
        if (!reader->Block) break;
        int32_t n = std::min({CacheBlockSize - reader->Offset, reader->Left, bytes - done});
        uint8_t spare[CacheBlockSize];
        const uint8_t* src = BlockBytes(reader->Block, spare, size_t(reader->Offset + n));
        if (!src) {
            done = -1;
            break;
        }
        std::memcpy(dst + done, src + reader->Offset, size_t(n));
        done += n, reader->Left -= n, reader->Offset += n;
        if (reader->Offset == CacheBlockSize)
            reader->Block = BlockTable[reader->Block].Next, reader->Offset = 0;
    }
    CacheActive = nullptr;
    if (done >= 0 && done < bytes && reader->Left > 0) return -1; // the chain ended early
    return done;
}

static int CompareChain(CacheFile* file, const uint8_t* data, int32_t bytes) {
    uint8_t spare[CacheBlockSize];
    for (uint32_t b = file->FirstBlock; b && bytes > 0; b = BlockTable[b].Next) {
        size_t n = bytes < CacheBlockSize ? size_t(bytes) : size_t(CacheBlockSize);
        const uint8_t* src = BlockBytes(b, spare, n);
        if (!src || std::memcmp(src, data, n) != 0) return 0;
        data += n;
        bytes -= int32_t(n);
    }
    return 1;
}

int CmpCacheData(CacheFile* file, const void* data, int32_t bytes) {
    if (!Live(file)) {
        Alert("panic: CmpCacheData file==NULL");
        return 0;
    }
    WriteState = 0;
    if (bytes != file->Size) {
        // A near miss still counts as a use: the caller is likely to come back.
        for (uint32_t b = file->FirstBlock; b; b = BlockTable[b].Next)
            if (BlockTable[b].Slot) SlotToHead(&UsedSlots, BlockTable[b].Slot);
        return 0;
    }
    if (bytes == 0) return 1;
    if (!CacheBlockFile || !data) return 0;
    CacheActive = file;
    int same = CompareChain(file, static_cast<const uint8_t*>(data), bytes);
    CacheActive = nullptr;
    return same;
}

int RemoveCacheFile(CacheFile* file) {
    if (!file) {
        Alert("panic: RemoveCacheFile file==NULL");
        return 0;
    }
    if (!file->InUse) {
        Alert("Panic: PostFreeCacheFile error");
        return 0;
    }
    ReleaseHandle(file);
    return 1;
}

// ---- Opening and closing ------------------------------------------------------------------

static int CacheOpenCount = 0;

static BlockFile* OpenIn(const std::string& folder, int noBuffering) {
    std::snprintf(CacheFileName, sizeof CacheFileName, "%sNEMU%d.%d.tmp", folder.c_str(), int(getpid()),
                  ++CacheOpenCount);
    return OpenBlockFile(CacheFileName, noBuffering);
}

// The folder to fall back on when TempDir will not do.
static std::string FallbackFolder() {
    for (const char* name : {"tmp", "temp", "TMPDIR"}) {
        const char* value = std::getenv(name);
        if (value && *value) {
            std::string folder = value;
            if (folder.back() != '/') folder += '/';
            return folder;
        }
    }
    return "/tmp/";
}

int OpenCache() {
    if (CacheBlockFile) return 1;
    char value[64], fromIni[64];
    StartupGet("CacheSize", fromIni, "-1", sizeof fromIni);
    ConfigGet("Main", "CacheSize", value, fromIni, sizeof value);
    CacheLimit = std::strtoll(value, nullptr, 10);
    if (CacheLimit < 0) CacheLimit = -1;
    SlotAllowance = CacheLimit == -1 ? 0 : CacheLimit / SlotAccount;
    StartupGet("nobuffering", value, "yes", sizeof value);
    int noBuffering = strcasecmp(value, "yes") == 0 || std::atoi(value) != 0;

    if (!TempDir.empty()) {
        mkdir(TempDir.c_str(), 0700);
        CacheBlockFile = OpenIn(TempDir, noBuffering);
        if (!CacheBlockFile) AlertMsg(9302);
    }
    if (!CacheBlockFile) CacheBlockFile = OpenIn(FallbackFolder(), noBuffering);
    if (!CacheBlockFile) return 0;

    static bool registered = false;
    if (!registered) registered = std::atexit(CloseCache) == 0;
    LowMemoryHook = TrimCache;
    return 1;
}

void CloseCache() {
    if (!CacheBlockFile) return;
    // The file was unlinked at creation; removing the name again could only hit a file of
    // the same name made since by someone else.
    CacheBlockFile->Close(CacheBlockFile);
    CacheBlockFile = nullptr;
    MemorySub(BlockCount * BlockEntryAccount);
    std::free(BlockTable);
    BlockTable = nullptr;
    BlockCount = FreeBlockCount = FreeBlockHead = FreeBlockTail = 0;
    FreeSlotPages();
    SlotAllowance = 0;
    // Every handle dies with the file.
    while (HandlePools) {
        HandlePool* pool = HandlePools;
        HandlePools = pool->Next;
        std::free(pool);
        MemorySub(HandlePoolAccount);
    }
    FilesInUse = FreeFiles = nullptr;
    if (LowMemoryHook == TrimCache) LowMemoryHook = nullptr;
}

} // namespace nemu
