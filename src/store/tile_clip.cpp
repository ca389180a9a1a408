// The operations of a tile clip, and its creation with the table of operations.
// Sections: reading and blending, the other operations, creation.
#include "host/main_loop.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/requests.h"

#include <cstring>
#include <new>

namespace nemu {

static bool SizeMatches(const Clip* clip, const Bitmap* bitmap) {
    return bitmap && bitmap->Width == clip->Width && bitmap->Height == clip->Height;
}

// ---- Reading and blending ------------------------------------------------------------------

// density below 0 copies; otherwise blends at that density.
static int DrawTiles(const Clip* clip, const TileLink* link, Bitmap* bitmap, int density) {
    for (int32_t i = 0; i < link->NumTile; i++) {
        Tile* tile = link->Tiles[i];
        if (!tile) continue;
        uint8_t* packed = GetPackBuffer(tile->PackedSize);
        if (!packed) return 0;
        if (!GetCacheFileData(tile->Data, packed, int32_t(tile->PackedSize))) continue;
        int x, y, w, h;
        TileRect(clip->Width, clip->Height, i, &x, &y, &w, &h);
        if (density < 0)
            UnpackRect(packed, tile->PackedSize, bitmap, x, y, w, h);
        else
            OverRect(packed, tile->PackedSize, bitmap, x, y, w, h, density);
    }
    return 1;
}

static int DrawImage(Clip* clip, Bitmap* bitmap, int index, int density) {
    if (!SizeMatches(clip, bitmap)) return 0;
    ClipImage* image = FindImage(clip, index);
    if (!image) return 0;
    image->Stamp = ClipClock();
    if (!image->Link) return 0;
    return DrawTiles(clip, image->Link, bitmap, density);
}

static int ReadImageOp(Clip* clip, Bitmap* bitmap, int index) {
    return DrawImage(clip, bitmap, index, -1);
}

static int OverImageOp(Clip* clip, Bitmap* bitmap, int index, int density) {
    return DrawImage(clip, bitmap, index, density < 0 ? 0 : density > 255 ? 255 : density);
}

static Bitmap* ReadBaseOp(Clip* clip, int index, Bitmap* bitmap) {
    if (!bitmap) return nullptr;
    ClipImage* image = FindImage(clip, index);
    const TileLink* link = image ? image->Link : nullptr;
    Bitmap* base = link && link->Base ? NewBitmap(link->BaseWidth, link->BaseHeight) : nullptr;
    if (!base || !GetCacheFileData(link->Base, base->Pixels, base->Width * base->Height * 4)) {
        ClearBitmap(bitmap, 0);
    } else {
        int w = base->Width < bitmap->Width ? base->Width : bitmap->Width;
        int h = base->Height < bitmap->Height ? base->Height : bitmap->Height;
        CopyRectRaw(base, 0, 0, bitmap, 0, 0, w, h);
    }
    FreeBitmap(base);
    return bitmap;
}

// ---- The other operations ---------------------------------------------------------------------

static int InsertImageOp(Clip* clip, const Bitmap* bitmap, int index, int whole) {
    ClipImage* image = InsertEmptyImage(clip, index);
    if (!image) {
        AlertMsg(1000);
        return 0;
    }
    if (!SizeMatches(clip, bitmap)) return 0;
    image->Stamp = ClipClock();
    return StoreTiles(clip, image, bitmap, whole ? 1 : 0);
}

static int StoreImageOp(Clip* clip, const Bitmap* bitmap, int index, int whole) {
    ClipImage* image = FindImage(clip, index);
    if (!SizeMatches(clip, bitmap) || !image) return 0;
    image->Stamp = ClipClock();
    return StoreTiles(clip, image, bitmap, whole ? 1 : 0);
}

static int DeleteImageOp(Clip* clip, int index) {
    return DeleteImages(clip, index, 1);
}

static int DuplicateImageOp(Clip* clip, int index) {
    ClipImage* source = FindImage(clip, index);
    if (!source) return 0;
    ClipImage* copy = InsertEmptyImage(clip, index);
    if (!copy) {
        AlertMsg(1000);
        return 0;
    }
    ShareImage(source, copy);
    return 1;
}

static bool ClipsAgree(const Clip* a, const Clip* b) {
    return b && a->Width == b->Width && a->Height == b->Height && a->TileSize == b->TileSize;
}

static int CopyImageOp(Clip* clip, int index, Clip* target, int toIndex) {
    ClipImage* source = FindImage(clip, index);
    if (!ClipsAgree(clip, target) || !source) return 0;
    ClipImage* copy = InsertEmptyImage(target, toIndex - 1);
    if (!copy) {
        AlertMsg(1000);
        return 0;
    }
    ShareImage(source, copy);
    return 1;
}

static int MoveImageOp(Clip* clip, int fromIndex, Clip* target, int toIndex) {
    if (!ClipsAgree(clip, target)) return 0;
    ClipImage* a = FindImage(clip, fromIndex);
    ClipImage* b = FindImage(target, toIndex);
    if (!a || !b) return 0;
    ClipImage exchanged = *a;
    a->Flags = b->Flags;
    a->Stamp = b->Stamp;
    a->Link = b->Link;
    b->Flags = exchanged.Flags;
    b->Link = exchanged.Link;
    b->Stamp = ClipClock();
    ImageListChanges++;
    return 1;
}

// What an image costs when shared tiles and lists are split among their holders.
static double LinkCost(const TileLink* link) {
    uint64_t sum = 0;
    for (int32_t i = 0; i < link->NumTile; i++)
        if (link->Tiles[i]) sum += link->Tiles[i]->PackedSize / link->Tiles[i]->RefCount;
    return double(sum) / link->RefCount;
}

static int64_t ImageBytesOp(Clip* clip, int index, uint32_t* stamp) {
    if (index < 0) {
        double total = 0;
        for (ClipImage* image = clip->Images; image; image = image->Next)
            if (image->Link) total += LinkCost(image->Link);
        if (stamp) *stamp = ClipClock();
        return int64_t(total);
    }
    ClipImage* image = FindImage(clip, index);
    if (!image) return 0;
    if (stamp) *stamp = image->Stamp;
    return image->Link ? int64_t(LinkCost(image->Link)) : 0;
}

static int FreeOp(Clip* clip) {
    DeleteImages(clip, 0, clip->ImageCount);
    delete clip;
    FreePackBuffer();
    return 1;
}

static int ReservedOp(Clip*) {
    return 0;
}

// ---- Creation ---------------------------------------------------------------------------------

static const ClipOps TileClipOps = {ReadBaseOp,     DeleteImageOp, InsertImageOp,    StoreImageOp,
                                    ReadImageOp,    OverImageOp,   DuplicateImageOp, MoveImageOp,
                                    ReservedOp,     ReservedOp,    ImageBytesOp,     ClipWriteImage,
                                    ClipReadStream, FreeOp,        CopyImageOp};

// Keeps the tile count and every byte offset of an image well inside 32 bits.
constexpr int64_t MaxClipTiles = int64_t(1) << 24;

Clip* NewClipSized(const char* name, int32_t width, int32_t height) {
    if (width < 1 || height < 1) return nullptr;
    int64_t tiles =
        ((int64_t(width) + TileSide - 1) / TileSide) * ((int64_t(height) + TileSide - 1) / TileSide);
    if (tiles > MaxClipTiles) return nullptr;
    Clip* clip = new (std::nothrow) Clip;
    if (!clip) return nullptr;
    if (name) std::strncpy(clip->Name, name, sizeof clip->Name - 1);
    clip->Width = width;
    clip->Height = height;
    clip->Ops = TileClipOps;
    TrimCache();
    return clip;
}

Clip* NewClip(const char* name) {
    return NewClipSized(name, PageWidth, PageHeight);
}

} // namespace nemu
