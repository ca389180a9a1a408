// The tile store's core. Sections: tile pools and references, tile lists and geometry,
// storing (the four-way search and recycling). The image lists are in store/image_list. The operations of a clip are
// in store/tile_clip.
#include "store/tile_store.h"

#include "host/platform.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/reduce.h"
#include "store/tile_pack.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace nemu {

// ---- Tile pools and references --------------------------------------------------------------

constexpr int TilesPerPool = 1024;
constexpr uint32_t TilePoolAccount = 20480;

struct TilePool {
    TilePool* Next;
    Tile Tiles[TilesPerPool];
};
static TilePool* TilePools = nullptr;
static Tile* FreeTiles = nullptr;
Tile* TilesInUse = nullptr;
uint32_t TileUseCount = 0;
uint32_t TilesWritten = 0;

static void TileUnlink(Tile** list, Tile* tile) {
    if (tile->Prev)
        tile->Prev->Next = tile->Next;
    else
        *list = tile->Next;
    if (tile->Next) tile->Next->Prev = tile->Prev;
    tile->Next = tile->Prev = nullptr;
}

static void TilePush(Tile** list, Tile* tile) {
    tile->Prev = nullptr;
    tile->Next = *list;
    if (*list) (*list)->Prev = tile;
    *list = tile;
}

Tile* NewTile(CacheFile* data, uint32_t packedSize) {
    if (!FreeTiles) {
        TilePool* pool = static_cast<TilePool*>(std::calloc(1, sizeof(TilePool)));
        if (!pool) {
            AlertMsg(1000);
            return nullptr;
        }
        pool->Next = TilePools;
        TilePools = pool;
        for (int i = TilesPerPool - 1; i >= 0; i--) TilePush(&FreeTiles, &pool->Tiles[i]);
        MemoryAdd(TilePoolAccount);
    }
    Tile* tile = FreeTiles;
    TileUnlink(&FreeTiles, tile);
    tile->RefCount = 1;
    tile->PackedSize = packedSize;
    tile->Data = data;
    TilePush(&TilesInUse, tile);
    TileUseCount++;
    return tile;
}

void ReleaseTile(Tile* tile) {
    if (--tile->RefCount > 0) return;
    if (tile->Data) RemoveCacheFile(tile->Data);
    tile->Data = nullptr;
    tile->PackedSize = 0;
    TileUnlink(&TilesInUse, tile);
    TilePush(&FreeTiles, tile);
    TileUseCount--;
}

int FreeTilePools() {
    if (TileUseCount) return 0;
    while (TilePools) {
        TilePool* pool = TilePools;
        TilePools = pool->Next;
        std::free(pool);
        MemorySub(TilePoolAccount);
    }
    FreeTiles = nullptr;
    return 1;
}

// ---- Tile lists -----------------------------------------------------------------------------

static uint32_t LinkAccount(int32_t numTile) {
    return uint32_t(sizeof(TileLink) + size_t(numTile) * sizeof(Tile*));
}

TileLink* NewTileLink(int32_t numTile) {
    TileLink* link = new (std::nothrow) TileLink{1, 0, 0, nullptr, nullptr, numTile, 0, 0};
    Tile** tiles = static_cast<Tile**>(std::calloc(size_t(numTile > 0 ? numTile : 1), sizeof(Tile*)));
    if (!link || !tiles) {
        delete link;
        std::free(tiles);
        AlertMsg(1000);
        return nullptr;
    }
    link->Tiles = tiles;
    MemoryAdd(LinkAccount(numTile));
    return link;
}

static void FreeLinkRecord(TileLink* link) {
    MemorySub(LinkAccount(link->NumTile));
    std::free(link->Tiles);
    delete link;
}

void ReleaseLink(TileLink* link) {
    if (!link || --link->RefCount > 0) return;
    if (link->Base) RemoveCacheFile(link->Base);
    for (int32_t i = 0; i < link->NumTile; i++)
        if (link->Tiles[i]) ReleaseTile(link->Tiles[i]);
    FreeLinkRecord(link);
}

int32_t TileCount(int32_t width, int32_t height) {
    return ((width + TileSide - 1) / TileSide) * ((height + TileSide - 1) / TileSide);
}

void TileRect(int32_t width, int32_t height, int32_t i, int* x, int* y, int* w, int* h) {
    int32_t cols = (width + TileSide - 1) / TileSide;
    *x = (i % cols) * TileSide;
    *y = (i / cols) * TileSide;
    *w = width - *x < TileSide ? width - *x : TileSide;
    *h = height - *y < TileSide ? height - *y : TileSide;
}

// ---- Storing ------------------------------------------------------------------------------------

static int StoreBase(TileLink* link, const Bitmap* bitmap) {
    Bitmap* base = ReduceBitmap(bitmap, TileSide);
    if (!base) {
        AlertMsg(1000);
        return 0;
    }
    link->BaseWidth = base->Width;
    link->BaseHeight = base->Height;
    link->Base = NewCacheFileData(base->Pixels, base->Width * base->Height * 4, 0);
    FreeBitmap(base);
    return link->Base != nullptr;
}

static bool SamePacked(Tile* tile, const uint8_t* packed, uint32_t size) {
    return tile && tile->PackedSize == size && CmpCacheData(tile->Data, packed, int32_t(size));
}

// The commonest cases first: the tile unchanged by the edit, a flat area packing the same
// as its left neighbour, then a hold from the image before or after.
static Tile* FindEqualTile(const TileLink* old, const TileLink* fresh, const TileLink* before,
                           const TileLink* after, int32_t i, const uint8_t* packed, uint32_t size) {
    Tile* candidates[4] = {old ? old->Tiles[i] : nullptr, i > 0 ? fresh->Tiles[i - 1] : nullptr,
                           before ? before->Tiles[i] : nullptr, after ? after->Tiles[i] : nullptr};
    for (Tile* tile : candidates)
        if (SamePacked(tile, packed, size)) return tile;
    return nullptr;
}

static Tile* WriteNewTile(const uint8_t* packed, uint32_t size, uint32_t kind) {
    CacheFile* data = NewCacheFileData(packed, int32_t(size), kind);
    if (!data) return nullptr;
    Tile* tile = NewTile(data, size);
    if (!tile)
        RemoveCacheFile(data);
    else
        TilesWritten++;
    return tile;
}

int StoreTiles(Clip* clip, ClipImage* image, const Bitmap* bitmap, uint32_t kind) {
    if (!GetPackBuffer(TilePackBytes)) return 0;
    const int32_t count = TileCount(clip->Width, clip->Height);
    TileLink* link = NewTileLink(count);
    if (!link) return 0;
    if (!StoreBase(link, bitmap)) {
        ReleaseLink(link);
        return 0;
    }
    TileLink* old = image->Link;
    const TileLink* before = image->Prev ? image->Prev->Link : nullptr;
    const TileLink* after = image->Next ? image->Next->Link : nullptr;
    // Only a list that no other image holds may give its tiles' storage to the new one.
    const bool recycle = old && old->RefCount == 1;
    int lost = 0;
    for (int32_t i = 0; i < count; i++) {
        int x, y, w, h;
        TileRect(clip->Width, clip->Height, i, &x, &y, &w, &h);
        const uint8_t* packed = PackBuffer;
        uint32_t size = uint32_t(PackRect(bitmap, x, y, w, h, PackBuffer));
        Tile* tile = FindEqualTile(old, link, before, after, i, packed, size);
        if (tile) {
            tile->RefCount++;
        } else if (recycle && old->Tiles[i]) {
            Tile* mine = old->Tiles[i];
            old->Tiles[i] = nullptr; // so that releasing the old list does not drop it again
            if (mine->RefCount == 1) {
                // Nobody else uses it: rewrite its blocks in place rather than grow the file.
                mine->PackedSize = size;
                if (PutCacheFileData(mine->Data, packed, int32_t(size), kind)) {
                    tile = mine;
                    TilesWritten++;
                } else {
                    ReleaseTile(mine);
                }
            } else {
                mine->RefCount--;
                tile = WriteNewTile(packed, size, kind);
            }
        } else {
            tile = WriteNewTile(packed, size, kind);
        }
        link->Tiles[i] = tile;
        if (!tile) lost++;
    }
    ReleaseLink(old);
    image->Link = link;
    image->Flags = ImageStored;
    ImageListChanges++;
    // The list is kept even with holes, since recycling may have consumed the old one;
    // the caller learns that the picture is not wholly stored and keeps its copy.
    return lost == 0;
}

} // namespace nemu
