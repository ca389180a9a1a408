// The cache file from a client's side: sizes and chains, comparison, the three cache
// limits, discardable data, the idle writer, trimming, panics, and a long random run
// against a plain in-memory model.
#include "store/block_file.h"
#include "store/cache_slots.h"
#include "store_fixture.h"

#include <map>
#include <random>
#include <vector>

namespace nemu {
namespace {

using CacheFileTest = StoreTest;

std::string Read(CacheFile* f, int32_t bytes) {
    std::string s(size_t(bytes), '\0');
    if (!GetCacheFileData(f, s.data(), bytes)) return "<failed>";
    return s;
}

TEST_F(CacheFileTest, SizesTakeWholeBlocksAndReadsGivePrefixes) {
    OpenCacheWithLimit(-1);
    CacheFile* empty = NewCacheFileData(nullptr, 0, 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->FirstBlock, 0u);
    char dummy = 'x';
    EXPECT_EQ(GetCacheFileData(empty, &dummy, 0), 1);
    EXPECT_EQ(CacheStat(1), 0);

    std::string data = Pattern(1025, 1);
    CacheFile* f = NewCacheFileData(data.data(), 1025, 0);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(CacheStat(1), 2048);
    EXPECT_EQ(Read(f, 1025), data);
    EXPECT_EQ(Read(f, 10), data.substr(0, 10));

    testing::internal::CaptureStderr();
    std::string big(1026, '\0');
    EXPECT_EQ(GetCacheFileData(f, big.data(), 1026), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("panic: GetCacheFileData fail"), std::string::npos);

    // A change of block count frees the chain and takes it anew.
    std::string shorter = Pattern(1024, 2);
    ASSERT_EQ(PutCacheFileData(f, shorter.data(), 1024, 0), 1);
    EXPECT_EQ(CacheStat(1), 1024);
    EXPECT_EQ(f->Size, 1024);
    EXPECT_EQ(Read(f, 1024), shorter);

    // The first growth makes 2048 entries: block 0 is the mark.
    EXPECT_EQ(BlockCount, 2048u);
    EXPECT_EQ(FreeBlockCount, 2046u);
    RemoveCacheFile(f);
    RemoveCacheFile(empty);
}

TEST_F(CacheFileTest, SettingsChooseTheLimitAndTheBuffering) {
    MachineConfig = new ConfigFile;
    ConfigSetIn(MachineConfig, "Startup", "CacheSize", "0");
    ConfigSetIn(MachineConfig, "Startup", "nobuffering", "no");
    const char* cache = std::getenv("XDG_CACHE_HOME");
    TempDir = std::string(cache) + "/nemu/";
    ASSERT_EQ(OpenCache(), 1);
    EXPECT_EQ(CacheLimit, 0);
    EXPECT_EQ(CacheBlockFile->Direct, 0);
    EXPECT_EQ(std::string(CacheFileName).rfind(TempDir + "NEMU", 0), 0u) << CacheFileName;
    CloseCache();
    // The profile's section Main has the last word.
    ConfigSet("Main", "CacheSize", "2088000");
    ASSERT_EQ(OpenCache(), 1);
    EXPECT_EQ(CacheLimit, 2088000);
    EXPECT_EQ(SlotAllowance, 2000);
    CloseCache();
    delete MachineConfig; // a handle made here, with no file behind it
    MachineConfig = nullptr;
}

TEST_F(CacheFileTest, MemoryAccountCountsPoolsAndTableExactly) {
    uint32_t before = MemoryInUse;
    OpenCacheWithLimit(0);
    EXPECT_EQ(MemoryInUse, before);
    std::string data = Pattern(3000, 3);
    CacheFile* f = NewCacheFileData(data.data(), 3000, 0);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(MemoryInUse, before + 24576u /* handle pool */ + 24576u /* 2048 table entries */);
    // Enough blocks for a second growth.
    std::string large = Pattern(2100 * 1024, 4);
    CacheFile* g = NewCacheFileData(large.data(), int32_t(large.size()), 0);
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(BlockCount, 4096u);
    EXPECT_EQ(MemoryInUse, before + 24576u * 3);
    RemoveCacheFile(f);
    RemoveCacheFile(g);
    CloseCache();
    EXPECT_EQ(MemoryInUse, before);
}

TEST_F(CacheFileTest, CompareReadsOnlyWhenSizesAgree) {
    OpenCacheWithLimit(0);
    std::string data = Pattern(5000, 5);
    CacheFile* f = NewCacheFileData(data.data(), 5000, 0);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(CmpCacheData(f, data.data(), 5000), 1);
    std::string changed = data;
    changed[4999] ^= 1;
    EXPECT_EQ(CmpCacheData(f, changed.data(), 5000), 0);
    changed = data;
    changed[0] ^= 1;
    EXPECT_EQ(CmpCacheData(f, changed.data(), 5000), 0);
    uint32_t reads = CacheBlockFile->ReadTransfers;
    EXPECT_EQ(CmpCacheData(f, data.data(), 4999), 0);
    EXPECT_EQ(CacheBlockFile->ReadTransfers, reads);
    RemoveCacheFile(f);
}

TEST_F(CacheFileTest, CacheSizeZeroKeepsNothingInMemory) {
    OpenCacheWithLimit(0);
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    for (int i = 0; i < 50; i++) {
        data.push_back(Pattern(size_t(700 * i), uint32_t(i)));
        files.push_back(NewCacheFileData(data[i].data(), int32_t(data[i].size()), 0));
        ASSERT_NE(files[i], nullptr);
    }
    for (int i = 0; i < 50; i++) EXPECT_EQ(Read(files[i], int32_t(data[i].size())), data[i]) << i;
    EXPECT_EQ(SlotTotal, 0);
    EXPECT_EQ(CacheStat(2), 0);
    EXPECT_EQ(UsedSlotCount, 0);
    EXPECT_GT(CacheBlockFile->WriteTransfers, 0u);
    for (CacheFile* f : files) RemoveCacheFile(f);
}

TEST_F(CacheFileTest, AFewSlotsServeMoreDataThanTheyHold) {
    OpenCacheWithLimit(OneSlotPage);
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    for (int i = 0; i < 40; i++) { // 40 x 20 KB, three times the slots
        data.push_back(Pattern(20 * 1024, uint32_t(i)));
        files.push_back(NewCacheFileData(data[i].data(), 20 * 1024, 0));
        ASSERT_NE(files[i], nullptr);
    }
    EXPECT_EQ(SlotTotal, 256);
    EXPECT_EQ(UsedSlotCount + FreeSlotCount, 256);
    for (int i = 39; i >= 0; i--) EXPECT_EQ(Read(files[i], 20 * 1024), data[i]) << i;
    for (CacheFile* f : files) RemoveCacheFile(f);
    EXPECT_EQ(FreeSlotCount, 256);
}

TEST_F(CacheFileTest, ReadersTakeTheBytesInPiecesSideBySide) {
    // Three readers at once over data larger than the slots, in pieces of random size that
    // cross block ends, with and without memory in front of the file.
    for (int64_t limit : {int64_t(0), int64_t(OneSlotPage)}) {
        OpenCacheWithLimit(limit);
        std::vector<std::string> data;
        std::vector<CacheFile*> files;
        std::vector<CacheReader> readers(3);
        std::vector<std::string> got(3);
        for (int i = 0; i < 3; i++) {
            data.push_back(Pattern(size_t(150000 + 333 * i), uint32_t(i + 7)));
            files.push_back(NewCacheFileData(data[size_t(i)].data(), int32_t(data[size_t(i)].size()), 0));
            ASSERT_NE(files.back(), nullptr);
            // A reader may stop short of the end: the last one reads all but 5 bytes.
            int32_t bytes = int32_t(data[size_t(i)].size()) - (i == 2 ? 5 : 0);
            ASSERT_EQ(OpenCacheReader(&readers[size_t(i)], files.back(), bytes), 1);
        }
        std::mt19937 rng(uint32_t(limit) + 3);
        for (bool more = true; more;) {
            more = false;
            for (size_t i = 0; i < 3; i++) {
                char piece[3000];
                int32_t n = ReadCacheReader(&readers[i], piece, int32_t(rng() % sizeof piece));
                ASSERT_GE(n, 0);
                got[i].append(piece, size_t(n));
                more |= readers[i].Left > 0;
            }
        }
        EXPECT_EQ(got[0], data[0]);
        EXPECT_EQ(got[1], data[1]);
        EXPECT_EQ(got[2], data[2].substr(0, data[2].size() - 5));
        char one;
        EXPECT_EQ(ReadCacheReader(&readers[0], &one, 1), 0); // nothing left
        CacheReader tooFar;
        EXPECT_EQ(OpenCacheReader(&tooFar, files[0], int32_t(data[0].size()) + 1), 0);
        for (CacheFile* f : files) RemoveCacheFile(f);
        CloseCache();
    }
}

TEST_F(CacheFileTest, DiscardableDataVanishesSilentlyAndOnlyIt) {
    OpenCacheWithLimit(OneSlotPage);
    std::string scratch = Pattern(100 * 1024, 7);
    CacheFile* discardable = NewCacheFileData(scratch.data(), int32_t(scratch.size()), CacheDiscardable);
    ASSERT_NE(discardable, nullptr);
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    for (int i = 0; i < 30; i++) {
        data.push_back(Pattern(10 * 1024, uint32_t(100 + i)));
        files.push_back(NewCacheFileData(data[i].data(), 10 * 1024, 0));
    }
    EXPECT_EQ(discardable->Size, 0);
    EXPECT_EQ(discardable->FirstBlock, 0u);
    testing::internal::CaptureStderr();
    EXPECT_EQ(GetCacheFileData(discardable, scratch.data(), int32_t(scratch.size())), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (int i = 0; i < 30; i++) EXPECT_EQ(Read(files[i], 10 * 1024), data[i]) << i;
    // The handle stays usable.
    ASSERT_EQ(PutCacheFileData(discardable, scratch.data(), 3000, CacheDiscardable), 1);
    EXPECT_EQ(Read(discardable, 3000), scratch.substr(0, 3000));
    RemoveCacheFile(discardable);
    for (CacheFile* f : files) RemoveCacheFile(f);
}

TEST_F(CacheFileTest, DiscardableDataLargerThanTheCacheSurvivesItsOwnTransfers) {
    // Storing or reading it must not reclaim its own blocks from under the walk.
    OpenCacheWithLimit(OneSlotPage);
    std::string data = Pattern(600 * 1024, 8);
    CacheFile* f = NewCacheFileData(data.data(), int32_t(data.size()), CacheDiscardable);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->Size, int32_t(data.size()));
    EXPECT_EQ(Read(f, int32_t(data.size())), data);
    RemoveCacheFile(f);
}

TEST_F(CacheFileTest, PanicsLeaveTheProgramRunning) {
    OpenCacheWithLimit(-1);
    std::string data = Pattern(100, 9);
    CacheFile* f = NewCacheFileData(data.data(), 100, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(RemoveCacheFile(f), 1);
    EXPECT_EQ(RemoveCacheFile(f), 0);
    EXPECT_EQ(PutCacheFileData(nullptr, data.data(), 100, 0), 0);
    EXPECT_EQ(GetCacheFileData(nullptr, data.data(), 100), 0);
    EXPECT_EQ(CmpCacheData(nullptr, data.data(), 100), 0);
    EXPECT_EQ(RemoveCacheFile(nullptr), 0);
    std::string err = testing::internal::GetCapturedStderr();
    for (const char* text : {"Panic: PostFreeCacheFile error", "panic: PutCacheFileData file==NULL",
                             "panic: GetCacheFileData file==NULL", "panic: CmpCacheData file==NULL",
                             "panic: RemoveCacheFile file==NULL"})
        EXPECT_NE(err.find(text), std::string::npos) << text;
    CacheFile* g = NewCacheFileData(data.data(), 100, 0);
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(Read(g, 100), data);
    RemoveCacheFile(g);
}

TEST_F(CacheFileTest, IdleWriterCleansOldestFirstThenRests) {
    OpenCacheWithLimit(OneSlotPage);
    std::string data = Pattern(100 * 1024, 10);
    CacheFile* f = NewCacheFileData(data.data(), int32_t(data.size()), 0);
    EXPECT_EQ(CacheBlockFile->WriteTransfers, 0u); // short-lived data costs no transfer
    int steps = 0;
    while (CacheWriteStep() && steps < 1000) steps++;
    EXPECT_EQ(steps, 100 + 2); // a write per dirty slot, the end of the walk, the defragmentation
    EXPECT_EQ(WriteState, 3);
    for (CacheSlot* s = UsedSlots.Head; s; s = s->Next) EXPECT_EQ(s->Clean, 1u);
    EXPECT_EQ(CacheBlockFile->RunCount, 0);
    // One ascending chain: the run buffer merges it into transfers of 256 blocks at most.
    EXPECT_EQ(CacheBlockFile->WriteTransfers, 1u);
    EXPECT_EQ(CacheWriteStep(), 0);
    // Any use starts the walk again.
    EXPECT_EQ(Read(f, 10), data.substr(0, 10));
    EXPECT_EQ(WriteState, 0);
    EXPECT_EQ(CacheWriteStep(), 1);
    RemoveCacheFile(f);
}

TEST_F(CacheFileTest, TrimmingToALowerLimitWritesAndFreesPages) {
    OpenCacheWithLimit(4 * OneSlotPage);
    std::vector<std::string> data;
    std::vector<CacheFile*> files;
    for (int i = 0; i < 16; i++) {
        data.push_back(Pattern(50 * 1024, uint32_t(200 + i)));
        files.push_back(NewCacheFileData(data[i].data(), 50 * 1024, 0));
    }
    EXPECT_EQ(SlotTotal, 4 * 256);
    CacheLimit = OneSlotPage;
    TrimCache();
    EXPECT_EQ(SlotTotal, 256);
    CacheLimit = 0;
    TrimCache();
    EXPECT_EQ(SlotTotal, 0);
    EXPECT_EQ(UsedSlotCount + FreeSlotCount, 0);
    for (int i = 0; i < 16; i++) EXPECT_EQ(Read(files[i], 50 * 1024), data[i]) << i;
    for (CacheFile* f : files) RemoveCacheFile(f);
}

TEST_F(CacheFileTest, DefragmentationHandsOutLowBlocksFirst) {
    OpenCacheWithLimit(0);
    std::string data = Pattern(4 * 1024, 11);
    CacheFile* a = NewCacheFileData(data.data(), 4096, 0); // blocks 1-4
    CacheFile* b = NewCacheFileData(data.data(), 4096, 0); // blocks 5-8
    EXPECT_EQ(a->FirstBlock, 1u);
    EXPECT_EQ(b->FirstBlock, 5u);
    RemoveCacheFile(a);
    // First in, first out: freed blocks go to the tail.
    CacheFile* c = NewCacheFileData(data.data(), 1024, 0);
    EXPECT_EQ(c->FirstBlock, 9u);
    TrimCache();
    CacheFile* d = NewCacheFileData(data.data(), 2048, 0);
    EXPECT_EQ(d->FirstBlock, 1u);
    EXPECT_EQ(BlockTable[1].Next, 2u);
    for (CacheFile* f : {b, c, d}) RemoveCacheFile(f);
}

// A long random run of every client call against a map of strings, with the idle writer
// and trimming in between, under each kind of limit.
class CacheRandomTest : public StoreTest, public testing::WithParamInterface<int64_t> {};

TEST_P(CacheRandomTest, MatchesAPlainModel) {
    OpenCacheWithLimit(GetParam());
    std::mt19937 rng(20240601);
    std::map<CacheFile*, std::string> model;
    std::vector<CacheFile*> handles;
    for (int step = 0; step < 3000; step++) {
        SCOPED_TRACE("case " + std::to_string(step));
        int op = int(rng() % 10);
        int32_t size = int32_t(rng() % 4 == 0 ? rng() % 40000 : rng() % 3000);
        if (op < 3 || handles.empty()) {
            std::string data = Pattern(size_t(size), rng());
            CacheFile* f = NewCacheFileData(data.data(), size, 0);
            ASSERT_NE(f, nullptr);
            model[f] = data;
            handles.push_back(f);
            continue;
        }
        size_t pick = rng() % handles.size();
        CacheFile* f = handles[pick];
        std::string& want = model[f];
        if (op < 5) {
            std::string data = Pattern(size_t(size), rng());
            ASSERT_EQ(PutCacheFileData(f, data.data(), size, 0), 1);
            want = data;
        } else if (op < 7) {
            ASSERT_EQ(Read(f, int32_t(want.size())), want);
        } else if (op == 7) {
            ASSERT_EQ(CmpCacheData(f, want.data(), int32_t(want.size())), 1);
            if (!want.empty()) {
                std::string other = want;
                other[rng() % other.size()] ^= 0x40;
                ASSERT_EQ(CmpCacheData(f, other.data(), int32_t(other.size())), 0);
            }
        } else if (op == 8) {
            ASSERT_EQ(RemoveCacheFile(f), 1);
            model.erase(f);
            handles[pick] = handles.back();
            handles.pop_back();
        } else {
            for (int i = int(rng() % 40); i > 0; i--) CacheWriteStep();
            if (rng() % 8 == 0) TrimCache();
        }
    }
    for (CacheFile* f : handles) EXPECT_EQ(Read(f, int32_t(model[f].size())), model[f]);
    for (CacheFile* f : handles) RemoveCacheFile(f);
    EXPECT_EQ(CacheStat(1), 0);
}

INSTANTIATE_TEST_SUITE_P(Limits, CacheRandomTest, testing::Values(0, OneSlotPage, 3 * OneSlotPage, -1),
                         [](const testing::TestParamInfo<int64_t>& info) {
                             return info.param == 0  ? std::string("NoSlots")
                                    : info.param < 0 ? std::string("Automatic")
                                                     : "Pages" + std::to_string(info.param / OneSlotPage);
                         });

} // namespace
} // namespace nemu
