// The tile store: a Clip keeps a sequence of same-sized images, each cut into tiles of
// 64 by 64 pixels, each tile run-length packed (store/tile_pack) into the cache file.
// A tile whose packed bytes equal those of a tile nearby is shared by reference count,
// so painting on one image costs only the tiles it changes, and a held image costs one
// list of pointers.
//
// Invariant: each Tile has as many references as there are places in all TileLink
// arrays that point to it, and each TileLink as many as there are ClipImage records
// holding it. A TileLink or Tile with more than one reference is never written: a store
// builds a new list (copy on write).
#pragma once
#include <cstdint>
#include <cstdio>

namespace nemu {

struct Bitmap;
struct CacheFile;

struct Tile {
    Tile* Next; // list of tiles in use, or the free list
    Tile* Prev;
    uint32_t RefCount;   // places in any TileLink that point here
    uint32_t PackedSize; // bytes of packed data
    CacheFile* Data;     // the packed data
};

// The tile list of one picture, shared by every image that shows the same picture.
struct TileLink {
    int32_t RefCount; // images that hold this list
    int32_t BaseWidth, BaseHeight;
    CacheFile* Base; // the picture reduced to fit in 64 pixels, unpacked; or null
    Tile** Tiles;    // row by row; a null is a tile that could not be stored
    int32_t NumTile;
    // The stream writer's note of the first image of the clip being written that holds
    // this list, valid while WritePass is the writer's present pass.
    uint64_t WritePass;
    int32_t FirstHolder;
};

constexpr int32_t ImageEmpty = 1;   // no picture stored yet
constexpr int32_t ImageStored = 32; // picture stored

struct ClipImage {
    ClipImage* Prev; // neighbours in time
    ClipImage* Next;
    int32_t Flags;
    uint32_t Stamp; // clock tick of the last access
    TileLink* Link; // null while empty
};

struct Clip;

// A clip's operations; each takes the clip itself first. Indexes count from 0 along
// Images; an index past the end fails, and a negative index means what each says.
struct ClipOps {
    // The base picture into bitmap, cut to the smaller size; cleared when there is none.
    Bitmap* (*ReadBase)(Clip* clip, int index, Bitmap* bitmap);
    int (*DeleteImage)(Clip* clip, int index);
    // A new image behind index (first when negative), stored from bitmap. A bitmap of
    // the wrong size gives 0 but leaves the new empty image in place.
    int (*InsertImage)(Clip* clip, const Bitmap* bitmap, int index, int whole);
    int (*StoreImage)(Clip* clip, const Bitmap* bitmap, int index, int whole);
    // 0 for an empty image, leaving bitmap as it was.
    int (*ReadImage)(Clip* clip, Bitmap* bitmap, int index);
    int (*OverImage)(Clip* clip, Bitmap* bitmap, int index, int density);
    // A copy behind index that shares every tile.
    int (*DuplicateImage)(Clip* clip, int index);
    // Exchanges the contents of image fromIndex and image toIndex of target.
    int (*MoveImage)(Clip* clip, int fromIndex, Clip* target, int toIndex);
    int (*Reserved1)(Clip* clip);
    int (*Reserved2)(Clip* clip);
    // Estimated bytes of one image (index), or of all (negative index); stamp may be null.
    int64_t (*ImageBytes)(Clip* clip, int index, uint32_t* stamp);
    // The SRAW body of one image: 1 or 0.
    int (*WriteImage)(Clip* clip, int index, FILE* file);
    // Reads an SRAW body of size bytes as image index: 1, 0 when the tag is an older form
    // that the caller handles (the file is left at the tag), -1 when it is damaged.
    int (*ReadStream)(Clip* clip, int index, FILE* file, int64_t size);
    int (*Free)(Clip* clip);
    // A shared copy of image index put in target, behind toIndex - 1 (first when negative).
    int (*CopyImage)(Clip* clip, int index, Clip* target, int toIndex);
};

struct Clip {
    ClipImage* Images = nullptr; // the first image
    int32_t TileSize = 64;
    int32_t Reserved = 0;
    int32_t ImageCount = 0;
    char Name[64] = {};
    int32_t Width = 0, Height = 0;
    ClipOps Ops = {};
    // Kept by the image list helpers below, never by hand: the last image, and two
    // remembered places in the list with their indexes, so that reaching an index costs
    // the steps from the nearest of the ends and the places last used. Walking the list
    // in order, or at two places at once as a reversal does, costs one step per image.
    ClipImage* Last = nullptr;
    mutable ClipImage* Mark[2] = {};
    mutable int32_t MarkIndex[2] = {};
    mutable int32_t OlderMark = 0;
};

// ---- Creation -----------------------------------------------------------------------------
// A clip of the page's size. Null without memory.
Clip* NewClip(const char* name);
Clip* NewClipSized(const char* name, int32_t width, int32_t height);

// ---- The core, shared with the stream reader -------------------------------------------------
// Stores bitmap (of the clip's size) as image's picture with kind as the cache kind.
int StoreTiles(Clip* clip, ClipImage* image, const Bitmap* bitmap, uint32_t kind);
// Drops one reference to link, freeing it and its unshared tiles at the last.
void ReleaseLink(TileLink* link);
// A new TileLink of numTile null tiles, RefCount 1, or null (message 1000 shown).
TileLink* NewTileLink(int32_t numTile);
// A tile record from the pool, RefCount 1, holding data; null without memory.
Tile* NewTile(CacheFile* data, uint32_t packedSize);
// Drops one reference to tile, removing its data at the last.
void ReleaseTile(Tile* tile);

// Tile geometry: the count for a size, and the rectangle of tile i.
int32_t TileCount(int32_t width, int32_t height);
void TileRect(int32_t width, int32_t height, int32_t i, int* x, int* y, int* w, int* h);

// Image list helpers. Every change of a list goes through these, which keep the clip's
// places and count the change in ImageListChanges.
ClipImage* FindImage(const Clip* clip, int index);
// A new empty image placed behind index (first when negative, last when past the end).
ClipImage* InsertEmptyImage(Clip* clip, int index);
void RemoveImage(Clip* clip, ClipImage* image);
// Removes images [index, index + count), dropping their lists. 1, or 0 for a bad range.
int DeleteImages(Clip* clip, int index, int count);
// Moves images [index, index + count) of from so that they stand behind image toIndex - 1
// of to (first when toIndex is 0 or less, last when past the end), with their lists and
// stamps: nothing is copied or allocated, so it cannot run out of memory. The clips must
// differ and agree in size. 1, or 0 (nothing moved).
int MoveImages(Clip* from, int index, int count, Clip* to, int toIndex);
// Goes up with every change to any clip's image list or to the list an image holds.
extern uint64_t ImageListChanges;
// Makes copy show what source shows. Nothing is copied in the cache: a later store of
// either image builds its own list, tile by tile, for the tiles that change.
void ShareImage(ClipImage* source, ClipImage* copy);
// The clock that stamps every image access, in milliseconds.
uint32_t ClipClock();

// ---- Figures and the pools ----------------------------------------------------------------------
extern Tile* TilesInUse;      // every tile with references
extern uint32_t TileUseCount; // tiles in TilesInUse
extern uint32_t TilesWritten; // tile data written by stores since start: new or recycled
// Frees the tile pools once no tile is in use; for the way down. 0 while tiles live.
int FreeTilePools();

// The stream forms, in store/tile_stream.
int ClipWriteImage(Clip* clip, int index, FILE* file);
int ClipReadStream(Clip* clip, int index, FILE* file, int64_t size);

} // namespace nemu
