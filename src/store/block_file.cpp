// The cache's file object. Sections: transfers (with the retry question), the run buffer
// (write merging), the read buffer (forward prefetch), opening and closing.
#include "store/block_file.h"

#include "store/cache_file.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace nemu {

// ---- Transfers ------------------------------------------------------------------------

// Moves count whole blocks between buffer and the file at block. A read that meets the
// end of the file fills the rest with zeros: the read buffer prefetches past blocks that
// were never written. On failure the user may retry the whole transfer or cancel (0).
static int Transfer(BlockFile* f, bool write, uint32_t block, uint8_t* buffer, int32_t count) {
    const int64_t offset = int64_t(block) * CacheBlockSize;
    const size_t length = size_t(count) * CacheBlockSize;
    size_t done = 0;
    for (;;) {
        ssize_t n = write ? pwrite(f->Handle, buffer + done, length - done, offset + int64_t(done))
                          : pread(f->Handle, buffer + done, length - done, offset + int64_t(done));
        if (n > 0) {
            done += size_t(n);
            if (done == length) break;
            continue;
        }
        if (n == 0 && !write) {
            std::memset(buffer + done, 0, length - done);
            break;
        }
        int error = n == 0 ? ENOSPC : errno;
        if (error == EINTR) continue;
        if (error == EINVAL && f->Direct) {
            // The file system refuses unbuffered transfers of this shape: go on buffered.
            int flags = fcntl(f->Handle, F_GETFL);
            if (flags != -1 && fcntl(f->Handle, F_SETFL, flags & ~O_DIRECT) == 0) {
                f->Direct = 0;
                continue;
            }
        }
        if (!AskYesNo(std::strerror(error), MsgGet(nullptr, 1062), MsgGet(nullptr, 1006))) return 0;
        done = 0;
    }
    if (write)
        f->WriteTransfers++;
    else
        f->ReadTransfers++;
    return 1;
}

// ---- Run buffer -----------------------------------------------------------------------

static uint8_t* RunSlot(BlockFile* f, uint32_t block) {
    return f->RunBuffer + size_t(int64_t(block) - f->RunFirst + f->RunHead) * CacheBlockSize;
}

static bool InRun(const BlockFile* f, uint32_t block) {
    return f->RunCount > 0 && block >= f->RunFirst && block <= f->RunLast;
}

// Whether block can join the pending run without a flush. A run that a failed flush left
// full accepts only blocks it already holds.
static bool RunTakes(const BlockFile* f, uint32_t block) {
    if (f->RunCount == 0 || InRun(f, block)) return true;
    if (f->RunCount >= RunMaxBlocks) return false;
    if (int64_t(block) == int64_t(f->RunFirst) - 1) return f->RunHead >= 1;
    if (int64_t(block) == int64_t(f->RunLast) + 1) return f->RunHead + f->RunCount < RunBufferBlocks;
    return false;
}

static uint64_t FlushedBytes = 0;

static int FlushRun(BlockFile* f) {
    if (f->RunCount == 0) return 1;
    if (!Transfer(f, true, f->RunFirst, f->RunBuffer + size_t(f->RunHead) * CacheBlockSize, f->RunCount))
        return 0;
    if (CacheDebug) {
        FlushedBytes += uint64_t(f->RunCount) * CacheBlockSize;
        std::fprintf(stderr, "flush Pos %d, Size %d (total %u)\n", int(f->RunFirst), int(f->RunCount),
                     unsigned(FlushedBytes));
    }
    f->RunCount = 0;
    f->RunHead = RunHeadRoom;
    return 1;
}

int FlushBlockFile(BlockFile* file) {
    return FlushRun(file);
}

static int BlockWrite(BlockFile* f, uint32_t block, const void* data, int64_t bytes) {
    const uint8_t* src = static_cast<const uint8_t*>(data);
    for (; bytes > 0; block++, src += CacheBlockSize, bytes -= CacheBlockSize) {
        size_t n = bytes < CacheBlockSize ? size_t(bytes) : size_t(CacheBlockSize);
        if (!RunTakes(f, block) && !FlushRun(f)) return 0;
        if (f->ReadBase >= 0 && block >= f->ReadBase && block < f->ReadBase + ReadBufferBlocks)
            f->ReadBase = -1;
        if (f->RunCount == 0) {
            f->RunFirst = f->RunLast = block;
            f->RunHead = RunHeadRoom;
            f->RunCount = 1;
        } else if (block < f->RunFirst) {
            f->RunFirst = block;
            f->RunHead--;
            f->RunCount++;
        } else if (block > f->RunLast) {
            f->RunLast = block;
            f->RunCount++;
        }
        std::memcpy(RunSlot(f, block), src, n);
        if ((f->RunCount >= RunMaxBlocks || f->RunHead < 2) && !FlushRun(f)) return 0;
    }
    return 1;
}

// ---- Read buffer ----------------------------------------------------------------------

// Blocks of a pending run are newer than what the file holds.
static void OverlayRun(BlockFile* f) {
    if (f->RunCount == 0) return;
    int64_t first = f->ReadBase > f->RunFirst ? f->ReadBase : int64_t(f->RunFirst);
    int64_t last = f->ReadBase + ReadBufferBlocks - 1;
    if (last > f->RunLast) last = f->RunLast;
    for (int64_t b = first; b <= last; b++)
        std::memcpy(f->ReadBuffer + size_t(b - f->ReadBase) * CacheBlockSize, RunSlot(f, uint32_t(b)),
                    CacheBlockSize);
}

static int BlockRead(BlockFile* f, uint32_t block, void* data, int64_t bytes) {
    uint8_t* dst = static_cast<uint8_t*>(data);
    for (; bytes > 0; block++, dst += CacheBlockSize, bytes -= CacheBlockSize) {
        size_t n = bytes < CacheBlockSize ? size_t(bytes) : size_t(CacheBlockSize);
        if (InRun(f, block) && !FlushRun(f)) {
            // The run could not reach the disk, but its copy is still the true one.
            std::memcpy(dst, RunSlot(f, block), n);
            continue;
        }
        if (f->ReadBase < 0 || block < f->ReadBase || block >= f->ReadBase + ReadBufferBlocks) {
            if (!Transfer(f, false, block, f->ReadBuffer, ReadBufferBlocks)) {
                f->ReadBase = -1;
                return 0;
            }
            f->ReadBase = block;
            OverlayRun(f);
        }
        std::memcpy(dst, f->ReadBuffer + size_t(block - f->ReadBase) * CacheBlockSize, n);
    }
    return 1;
}

// Only positions the file: space is taken by the writes themselves, so a full disk shows
// at the first write that fails.
static int BlockSetSize(BlockFile* f, uint32_t blocks) {
    return lseek(f->Handle, off_t(int64_t(blocks) * CacheBlockSize), SEEK_SET) >= 0;
}

// ---- Opening and closing --------------------------------------------------------------

static void FreeBlockFileRecord(BlockFile* f) {
    std::free(f->RunBuffer);
    std::free(f->ReadBuffer);
    delete f;
}

static int BlockClose(BlockFile* f) {
    int ok = FlushRun(f);
    if (close(f->Handle) != 0) ok = 0;
    FreeBlockFileRecord(f);
    return ok;
}

static uint8_t* PageAligned(size_t bytes) {
    void* p = nullptr;
    long page = sysconf(_SC_PAGESIZE);
    if (posix_memalign(&p, size_t(page > 0 ? page : 4096), bytes) != 0) return nullptr;
    return static_cast<uint8_t*>(p);
}

BlockFile* OpenBlockFile(const char* path, int noBuffering) {
    BlockFile* f = new (std::nothrow) BlockFile;
    if (!f) {
        errno = ENOMEM;
        return nullptr;
    }
    f->Close = BlockClose;
    f->Write = BlockWrite;
    f->Read = BlockRead;
    f->SetSize = BlockSetSize;
    f->RunBuffer = PageAligned(size_t(RunBufferBlocks) * CacheBlockSize);
    f->ReadBuffer = PageAligned(size_t(ReadBufferBlocks) * CacheBlockSize);
    if (!f->RunBuffer || !f->ReadBuffer) {
        FreeBlockFileRecord(f);
        errno = ENOMEM;
        return nullptr;
    }
    f->Handle = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (f->Handle < 0) {
        int error = errno;
        FreeBlockFileRecord(f);
        errno = error;
        return nullptr;
    }
    unlink(path);
    // Asked after creation, since some file systems refuse unbuffered opens outright and
    // would leave the name taken; where this is refused the file simply stays buffered.
    if (noBuffering) {
        int flags = fcntl(f->Handle, F_GETFL);
        if (flags != -1 && fcntl(f->Handle, F_SETFL, flags | O_DIRECT) == 0) f->Direct = 1;
    }
    return f;
}

} // namespace nemu
