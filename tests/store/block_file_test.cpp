// The block file under the cache: write merging, read coherence with a pending run, file
// systems that refuse unbuffered transfers, and the faults a disk can give (full, failing
// reads), which must lose nothing that was accepted.
#include "store/block_file.h"
#include "store/cache_slots.h"
#include "store_fixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace nemu {
namespace {

std::string TestFolder() {
    const char* root = std::getenv("NEMU_TEST_ROOT");
    return std::string(root ? root : "/tmp") + "/";
}

std::string Block(uint32_t seed) {
    return Pattern(1024, seed);
}

std::string ReadBlock(BlockFile* f, uint32_t block) {
    std::string s(1024, '\0');
    if (!f->Read(f, block, s.data(), 1024)) return "<failed>";
    return s;
}

class BlockFileTest : public testing::TestWithParam<std::string> {
  protected:
    BlockFile* File = nullptr;
    void SetUp() override {
        std::string folder = GetParam() == "tmpfs" ? std::string("/dev/shm/") : TestFolder();
        std::string path = folder + "nemu-block-test-" + std::to_string(getpid());
        File = OpenBlockFile(path.c_str(), 1);
        ASSERT_NE(File, nullptr);
        struct stat st;
        EXPECT_NE(stat(path.c_str(), &st), 0) << "the name must be gone at once";
    }
    void TearDown() override {
        if (File) File->Close(File);
    }
};

TEST_P(BlockFileTest, NeighbouringWritesMergeIntoOneTransfer) {
    std::string a = Block(1), b = Block(2);
    ASSERT_EQ(File->Write(File, 5, a.data(), 1024), 1);
    ASSERT_EQ(File->Write(File, 4, b.data(), 1024), 1);
    ASSERT_EQ(FlushBlockFile(File), 1);
    EXPECT_EQ(File->WriteTransfers, 1u);
    ASSERT_EQ(File->Write(File, 10, a.data(), 1024), 1);
    ASSERT_EQ(File->Write(File, 13, b.data(), 1024), 1);
    ASSERT_EQ(FlushBlockFile(File), 1);
    EXPECT_EQ(File->WriteTransfers, 3u);
    EXPECT_EQ(ReadBlock(File, 5), a);
    EXPECT_EQ(ReadBlock(File, 4), b);
    EXPECT_EQ(ReadBlock(File, 13), b);
}

TEST_P(BlockFileTest, RunsFlushAt256BlocksAndWhenGrowingDownIsSpent) {
    std::vector<std::string> blocks;
    for (uint32_t i = 0; i < 300; i++) blocks.push_back(Block(i));
    for (uint32_t i = 0; i < 300; i++) ASSERT_EQ(File->Write(File, 1000 + i, blocks[i].data(), 1024), 1);
    EXPECT_EQ(File->WriteTransfers, 1u); // the first 256
    EXPECT_EQ(File->RunCount, 44);
    // Downward from the run's first block, the 16 blocks of head room last until the head
    // is below 2.
    for (uint32_t i = 0; i < 14; i++) ASSERT_EQ(File->Write(File, 1255 - i, blocks[299 - i].data(), 1024), 1);
    EXPECT_EQ(File->WriteTransfers, 1u);
    ASSERT_EQ(File->Write(File, 1255 - 14, blocks[299 - 14].data(), 1024), 1);
    EXPECT_EQ(File->WriteTransfers, 2u);
    EXPECT_EQ(File->RunCount, 0);
    for (uint32_t i = 0; i < 300; i++) {
        uint32_t block = 1000 + i;
        const std::string& want = block >= 1241 && block <= 1255 ? blocks[299 - (1255 - block)] : blocks[i];
        ASSERT_EQ(ReadBlock(File, block), want) << i;
    }
}

TEST_P(BlockFileTest, ReadsSeeWritesWhereverTheyWait) {
    std::string old = Block(1), fresh = Block(2), other = Block(3);
    for (uint32_t b = 0; b < 40; b++) ASSERT_EQ(File->Write(File, b, old.data(), 1024), 1);
    ASSERT_EQ(FlushBlockFile(File), 1);
    EXPECT_EQ(ReadBlock(File, 3), old); // the read buffer now holds 3 to 18
    ASSERT_EQ(File->Write(File, 5, fresh.data(), 1024), 1);
    EXPECT_EQ(ReadBlock(File, 5), fresh);
    // A pending run inside the window of a prefetch is newer than the disk.
    ASSERT_EQ(File->Write(File, 30, other.data(), 1024), 1);
    EXPECT_EQ(ReadBlock(File, 25), old);
    EXPECT_EQ(ReadBlock(File, 30), other);
    // Blocks never written read as zeros, partial sizes copy only what is asked.
    EXPECT_EQ(ReadBlock(File, 5000), std::string(1024, '\0'));
    char few[10];
    ASSERT_EQ(File->Read(File, 30, few, 10), 1);
    EXPECT_EQ(std::string(few, 10), other.substr(0, 10));
}

INSTANTIATE_TEST_SUITE_P(FileSystems, BlockFileTest, testing::Values("disk", "tmpfs"));

// ---- Faults through the cache -----------------------------------------------------------

using CacheFaultTest = StoreTest;

// Limits the size of files this process may write, so that writes fail as on a full
// disk; the signal such a write raises is ignored so that the write returns an error.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &Saved);
        OldHandler = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = Saved;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &Saved);
        std::signal(SIGXFSZ, OldHandler);
    }

  private:
    struct rlimit Saved {};
    void (*OldHandler)(int) = nullptr;
};

TEST_F(CacheFaultTest, AFullDiskFailsTheStoreAndLosesNothingAccepted) {
    OpenCacheWithLimit(0); // every byte goes straight through the file
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    std::string err;
    {
        FileSizeLimit limit(2 << 20);
        testing::internal::CaptureStderr();
        for (int i = 0; i < 100; i++) {
            std::string d = Pattern(64 * 1024, uint32_t(i));
            CacheFile* f = NewCacheFileData(d.data(), int32_t(d.size()), 0);
            if (!f) break;
            data.push_back(d);
            files.push_back(f);
        }
        err = testing::internal::GetCapturedStderr();
        ASSERT_LT(files.size(), 100u);
        EXPECT_NE(err.find("panic: NewCacheFileData fail"), std::string::npos) << err;
        // Still full: what was accepted reads back, from the run that could not be written
        // if need be.
        testing::internal::CaptureStderr();
        for (size_t i = 0; i < files.size(); i++) {
            std::string back(data[i].size(), '\0');
            ASSERT_EQ(GetCacheFileData(files[i], back.data(), int32_t(back.size())), 1) << i;
            EXPECT_EQ(back, data[i]) << i;
        }
        testing::internal::GetCapturedStderr();
    }
    // Room again: everything works as before.
    std::string more = Pattern(64 * 1024, 999);
    CacheFile* g = NewCacheFileData(more.data(), int32_t(more.size()), 0);
    ASSERT_NE(g, nullptr);
    files.push_back(g);
    data.push_back(more);
    for (size_t i = 0; i < files.size(); i++) {
        std::string back(data[i].size(), '\0');
        ASSERT_EQ(GetCacheFileData(files[i], back.data(), int32_t(back.size())), 1) << i;
        EXPECT_EQ(back, data[i]) << i;
    }
    for (CacheFile* f : files) RemoveCacheFile(f);
}

TEST_F(CacheFaultTest, AFullDiskDuringTrimKeepsThePageAndItsData) {
    OpenCacheWithLimit(2 * OneSlotPage);
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    for (int i = 0; i < 8; i++) {
        data.push_back(Pattern(60 * 1024, uint32_t(50 + i)));
        files.push_back(NewCacheFileData(data[i].data(), 60 * 1024, 0));
    }
    {
        FileSizeLimit limit(0);
        testing::internal::CaptureStderr();
        CacheLimit = 0;
        TrimCache();
        testing::internal::GetCapturedStderr();
        EXPECT_GT(SlotTotal, 0);
    }
    for (int i = 0; i < 8; i++) {
        std::string back(60 * 1024, '\0');
        ASSERT_EQ(GetCacheFileData(files[i], back.data(), 60 * 1024), 1);
        EXPECT_EQ(back, data[i]) << i;
    }
    TrimCache();
    EXPECT_EQ(SlotTotal, 0);
    for (CacheFile* f : files) RemoveCacheFile(f);
}

TEST_F(CacheFaultTest, TheIdleWriterAsksOnceAtAFullDiskThenRests) {
    OpenCacheWithLimit(2 * OneSlotPage);
    std::string d = Pattern(400 * 1024, 5);
    CacheFile* f = NewCacheFileData(d.data(), int32_t(d.size()), 0);
    ASSERT_NE(f, nullptr);
    std::string err;
    {
        // Not 0: the captured standard error goes through a file too.
        FileSizeLimit limit(64 * 1024);
        testing::internal::CaptureStderr();
        int steps = 0;
        while (CacheWriteStep() && steps < 1000) steps++;
        err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(steps, 255) << "the run buffer takes 255 blocks before the first transfer";
    }
    EXPECT_NE(err.find("File too large"), std::string::npos) << err;
    EXPECT_EQ(err.find("File too large"), err.rfind("File too large")) << "asked once: " << err;
    // Room again: a client call restarts the walk, which then gets everything out.
    std::string back(d.size(), '\0');
    ASSERT_EQ(GetCacheFileData(f, back.data(), int32_t(back.size())), 1);
    EXPECT_EQ(back, d);
    while (CacheWriteStep()) {
    }
    for (CacheSlot* s = UsedSlots.Head; s; s = s->Next) ASSERT_EQ(s->Clean, 1u);
    RemoveCacheFile(f);
}

TEST_F(CacheFaultTest, AFailedReadIsReportedAndTheDataStays) {
    OpenCacheWithLimit(0);
    std::string d = Pattern(8 * 1024, 77);
    CacheFile* f = NewCacheFileData(d.data(), int32_t(d.size()), 0);
    CacheFile* scratch = NewCacheFileData(d.data(), int32_t(d.size()), CacheDiscardable);
    ASSERT_TRUE(f && scratch);
    ASSERT_EQ(FlushBlockFile(CacheBlockFile), 1);
    // Swap the descriptor for one that cannot read the same file.
    int fd = CacheBlockFile->Handle;
    std::string self = "/proc/self/fd/" + std::to_string(fd);
    int saved = dup(fd);
    int writeOnly = open(self.c_str(), O_WRONLY);
    ASSERT_GE(writeOnly, 0);
    ASSERT_EQ(dup2(writeOnly, fd), fd);
    CacheBlockFile->ReadBase = -1;
    std::string back(d.size(), '\0');
    testing::internal::CaptureStderr();
    EXPECT_EQ(GetCacheFileData(f, back.data(), int32_t(back.size())), 0);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("panic: GetCacheFileData fail"), std::string::npos) << err;
    EXPECT_NE(err.find("Bad file descriptor"), std::string::npos) << "the retry question names the error";
    testing::internal::CaptureStderr();
    EXPECT_EQ(GetCacheFileData(scratch, back.data(), int32_t(back.size())), 0);
    err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err.find("panic"), std::string::npos) << err;
    ASSERT_EQ(dup2(saved, fd), fd);
    close(saved);
    close(writeOnly);
    ASSERT_EQ(GetCacheFileData(f, back.data(), int32_t(back.size())), 1);
    EXPECT_EQ(back, d);
    RemoveCacheFile(f);
    RemoveCacheFile(scratch);
}

} // namespace
} // namespace nemu
