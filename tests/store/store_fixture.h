// Shared by the pixel-store tests: a cache opened with a chosen limit in the test's own
// temporary folder, captured alerts, and a check that the memory account comes back.
#pragma once
#include "host/main_loop.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/settings.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace nemu {

constexpr int64_t OneSlotPage = 256 * 1044;

// Opens the cache with CacheSize set to limit (-1 automatic) and trims it once, as the
// program does at start.
inline void OpenCacheWithLimit(int64_t limit) {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    TempDir = std::string(cache ? cache : "/tmp") + "/nemu/";
    ConfigSet("Main", "CacheSize", std::to_string(limit).c_str());
    ASSERT_EQ(OpenCache(), 1);
    TrimCache();
}

// Fixture: a cache per test; at the end every clip and handle must be gone and the
// memory account back where it started once the pools are let go.
class StoreTest : public ::testing::Test {
  protected:
    uint32_t MemoryAtStart = 0;
    void SetUp() override { MemoryAtStart = MemoryInUse; }
    void TearDown() override {
        EXPECT_EQ(TileUseCount, 0u);
        EXPECT_EQ(FreeTilePools(), 1);
        CloseCache();
        FreePackBuffer();
        EXPECT_EQ(MemoryInUse, MemoryAtStart);
    }
};

// Bytes that differ from handle to handle and block to block.
inline std::string Pattern(size_t n, uint32_t seed) {
    std::string s(n, '\0');
    uint32_t x = seed * 2654435761u + 1;
    for (size_t i = 0; i < n; i++) {
        x = x * 1103515245u + 12345u;
        s[i] = char(x >> 16);
    }
    return s;
}

// The store's invariant over the given clips, which must be all clips alive: each tile has
// as many references as places point to it, each list as many as images hold it, and the
// tiles in use are exactly those referenced. Returns a description of the first breach.
inline std::string CheckInvariant(const std::vector<Clip*>& clips) {
    std::map<TileLink*, int> holders;
    for (Clip* clip : clips) {
        int count = 0;
        ClipImage* last = nullptr;
        std::map<ClipImage*, int> indexOf;
        for (ClipImage* image = clip->Images; image; image = image->Next, count++) {
            if (image->Next && image->Next->Prev != image) return "broken image links";
            if (image->Link) holders[image->Link]++;
            if (image->Link && !(image->Flags & ImageStored)) return "stored image without its flag";
            indexOf[image] = count;
            last = image;
        }
        if (count != clip->ImageCount) return "ImageCount is " + std::to_string(clip->ImageCount);
        if (clip->Images && clip->Images->Prev) return "the first image has one before it";
        if (clip->Last != last) return "the clip's last image is not the last";
        for (int k = 0; k < 2; k++) {
            if (!clip->Mark[k]) continue;
            auto it = indexOf.find(clip->Mark[k]);
            if (it == indexOf.end()) return "a remembered place is not in the list";
            if (it->second != clip->MarkIndex[k])
                return "a remembered place at " + std::to_string(it->second) + " says " +
                       std::to_string(clip->MarkIndex[k]);
        }
    }
    std::map<Tile*, uint32_t> places;
    for (auto& [link, count] : holders) {
        if (link->RefCount != count)
            return "list held by " + std::to_string(count) + " has RefCount " +
                   std::to_string(link->RefCount);
        for (int32_t i = 0; i < link->NumTile; i++)
            if (link->Tiles[i]) places[link->Tiles[i]]++;
    }
    uint32_t inUse = 0;
    for (Tile* tile = TilesInUse; tile; tile = tile->Next, inUse++) {
        auto it = places.find(tile);
        if (it == places.end()) return "tile in use that no list holds";
        if (it->second != tile->RefCount)
            return "tile at " + std::to_string(it->second) + " places has RefCount " +
                   std::to_string(tile->RefCount);
        if (!tile->Data || tile->Data->Size != int32_t(tile->PackedSize))
            return "tile data of the wrong size";
    }
    if (inUse != places.size() || inUse != TileUseCount) return "tiles in use do not match the lists";
    return "";
}

// A picture of the clip's size, or one filled with colour.
inline Bitmap* FlatPicture(int w, int h, uint32_t colour) {
    Bitmap* b = NewBitmap(w, h);
    if (b) ClearBitmap(b, colour);
    return b;
}

inline std::vector<uint32_t> PixelsOf(const Bitmap* b) {
    return std::vector<uint32_t>(b->Pixels, b->Pixels + size_t(b->Width) * b->Height);
}

} // namespace nemu
