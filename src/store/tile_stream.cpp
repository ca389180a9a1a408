// The stream form of a stored image, the SRAW body of the project file: tiles go out in
// their packed form as they lie in the cache, and the sharing that can be found (a whole
// list held by an earlier image, a tile used earlier in the same image or in the image
// before) goes out as links. All counters are big-endian 32-bit words.
// Sections: words, writing, reading.
#include "store/bitmap.h"
#include "host/platform.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/requests.h"

#include <cstdio>
#include <cstring>

namespace nemu {

constexpr uint32_t TagLink = 2;
constexpr uint32_t TagTiles = 64;
constexpr uint32_t LinkSameImage = 0;
constexpr uint32_t LinkImageBefore = 1;

// ---- Words ------------------------------------------------------------------------------

struct Output {
    FILE* File;
    bool Failed;
    void Bytes(const void* data, size_t n) {
        if (!Failed && n && std::fwrite(data, 1, n, File) != n) Failed = true;
    }
    void Word(uint32_t v) {
        uint8_t b[4] = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
        Bytes(b, 4);
    }
};

struct Input {
    const uint8_t* At;
    const uint8_t* End;
    bool Failed;
    uint32_t Word() {
        if (End - At < 4) {
            Failed = true;
            return 0;
        }
        uint32_t v = uint32_t(At[0]) << 24 | uint32_t(At[1]) << 16 | uint32_t(At[2]) << 8 | At[3];
        At += 4;
        return v;
    }
    // n bytes, or null when fewer are left.
    const uint8_t* Take(size_t n) {
        if (size_t(End - At) < n) {
            Failed = true;
            return nullptr;
        }
        const uint8_t* p = At;
        At += n;
        return p;
    }
};

// ---- Writing ----------------------------------------------------------------------------

// Which earlier image first held a list. A save writes a clip's images in order, so one
// pass along the list answers for all of them: each list notes the first image that held
// it, marked with the pass. The pass starts again for another clip, or after any change.
struct WriterPass {
    const Clip* Of = nullptr;
    uint64_t Changes = 0;
    uint64_t Number = 0;
    int32_t Next = 0;        // the index of the first image not yet passed
    ClipImage* At = nullptr; // that image
};
static WriterPass Pass;

static int32_t FirstHolderIndex(const Clip* clip, const ClipImage* image, int32_t index) {
    if (Pass.Of != clip || Pass.Changes != ImageListChanges) {
        Pass.Of = clip;
        Pass.Changes = ImageListChanges;
        Pass.Number++;
        Pass.Next = 0;
        Pass.At = clip->Images;
    }
    for (; Pass.At && Pass.Next <= index; Pass.At = Pass.At->Next, Pass.Next++) {
        TileLink* link = Pass.At->Link;
        if (link && link->WritePass != Pass.Number) {
            link->WritePass = Pass.Number;
            link->FirstHolder = Pass.Next;
        }
    }
    return image->Link->WritePass == Pass.Number ? image->Link->FirstHolder : index;
}

static void WriteBase(Output& out, const TileLink* link) {
    Bitmap* base = link->Base ? NewBitmap(link->BaseWidth, link->BaseHeight) : nullptr;
    size_t count = base ? size_t(base->Width) * size_t(base->Height) : 0;
    uint8_t* packed = base ? GetPackBuffer(PackBound(count)) : nullptr;
    if (!packed || !GetCacheFileData(link->Base, base->Pixels, int32_t(count * 4))) {
        out.Word(0);
    } else {
        size_t n = PackRun(base->Pixels, count, packed);
        out.Word(uint32_t(n + 8));
        out.Word(uint32_t(base->Width));
        out.Word(uint32_t(base->Height));
        out.Bytes(packed, n);
    }
    FreeBitmap(base);
}

// A shared tile may go out as a link to a place the reader has filled already.
static bool FindTileLink(const TileLink* link, const TileLink* before, int32_t i, uint32_t* kind,
                         uint32_t* place) {
    const Tile* tile = link->Tiles[i];
    for (int32_t j = 0; j < i; j++)
        if (link->Tiles[j] == tile) {
            *kind = LinkSameImage;
            *place = uint32_t(j);
            return true;
        }
    for (int32_t j = 0; before && j < before->NumTile; j++)
        if (before->Tiles[j] == tile) {
            *kind = LinkImageBefore;
            *place = uint32_t(j);
            return true;
        }
    return false;
}

static bool WriteTile(Output& out, const Tile* tile) {
    uint8_t* packed = GetPackBuffer(tile->PackedSize);
    if (!packed || !GetCacheFileData(tile->Data, packed, int32_t(tile->PackedSize))) return false;
    out.Word(tile->PackedSize);
    out.Bytes(packed, tile->PackedSize);
    return true;
}

// An image never stored goes out as transparent tiles, which is what it shows.
static int WriteEmptyTiles(Output& out, const Clip* clip) {
    static const uint32_t zeros[TileSide] = {};
    uint8_t* packed = GetPackBuffer(TilePackBytes);
    if (!packed) return 0;
    int32_t count = TileCount(clip->Width, clip->Height);
    out.Word(TagTiles);
    out.Word(0);
    out.Word(uint32_t(count));
    for (int32_t i = 0; i < count; i++) {
        int x, y, w, h;
        TileRect(clip->Width, clip->Height, i, &x, &y, &w, &h);
        size_t n = 0;
        for (int row = 0; row < h; row++) n += PackRun(zeros, size_t(w), packed + n);
        out.Word(uint32_t(n));
        out.Bytes(packed, n);
    }
    return !out.Failed;
}

int ClipWriteImage(Clip* clip, int index, FILE* file) {
    ClipImage* image = FindImage(clip, index);
    if (!image || !file) return 0;
    Output out{file, false};
    const TileLink* link = image->Link;
    if (!link) return WriteEmptyTiles(out, clip);
    if (link->RefCount >= 2) {
        int32_t earlier = FirstHolderIndex(clip, image, index);
        if (earlier < index) {
            out.Word(TagLink);
            out.Word(uint32_t(earlier));
            out.Word(0);
            return !out.Failed;
        }
    }
    out.Word(TagTiles);
    WriteBase(out, link);
    out.Word(uint32_t(link->NumTile));
    const TileLink* before = image->Prev ? image->Prev->Link : nullptr;
    for (int32_t i = 0; i < link->NumTile && !out.Failed; i++) {
        const Tile* tile = link->Tiles[i];
        if (!tile) return 0; // a picture with a hole cannot be written faithfully
        uint32_t kind, place;
        if (tile->RefCount >= 2 && FindTileLink(link, before, i, &kind, &place)) {
            out.Word(0);
            out.Word(kind);
            out.Word(place);
        } else if (!WriteTile(out, tile)) {
            return 0;
        }
    }
    return !out.Failed;
}

// ---- Reading ----------------------------------------------------------------------------

// The largest body a tiles form of this clip can have: the tag, the base block and its
// packed pixels, the count, and the largest entry for every tile.
static int64_t MaxTilesBody(const Clip* clip) {
    return 4 + 12 + int64_t(PackBound(size_t(TileSide) * TileSide)) + 4 +
           int64_t(TileCount(clip->Width, clip->Height)) * int64_t(4 + TilePackBytes);
}

static int ReadLinkForm(Clip* clip, int position, FILE* file) {
    uint8_t words[8];
    if (std::fread(words, 1, 8, file) != 8) {
        Warning("image link cut short");
        return -1;
    }
    Input in{words, words + 8, false};
    uint32_t number = in.Word();
    ClipImage* source = number < uint32_t(position) ? FindImage(clip, int(number)) : nullptr;
    if (!source) {
        std::fprintf(stderr, "probleme DuplicateTileLink\n");
        return -1;
    }
    ClipImage* copy = InsertEmptyImage(clip, position - 1);
    if (!copy) {
        AlertMsg(1000);
        return -1;
    }
    ShareImage(source, copy);
    return 1;
}

static int ReadBaseBlock(Input& in, TileLink* link) {
    uint32_t blockSize = in.Word();
    if (in.Failed) return 0;
    if (blockSize == 0) return 1;
    uint32_t w = in.Word(), h = in.Word();
    const uint8_t* code = blockSize >= 8 ? in.Take(blockSize - 8) : nullptr;
    if (!code || w < 1 || h < 1 || w > uint32_t(TileSide) || h > uint32_t(TileSide)) return 0;
    Bitmap* base = NewClearBitmap(int32_t(w), int32_t(h));
    if (!base) return 0;
    int ok = UnpackRun(code, blockSize - 8, base->Pixels, size_t(w) * h);
    if (ok) {
        link->BaseWidth = int32_t(w);
        link->BaseHeight = int32_t(h);
        link->Base = NewCacheFileData(base->Pixels, int32_t(w * h * 4), 0);
        ok = link->Base != nullptr;
    }
    FreeBitmap(base);
    return ok;
}

// A tile given by its packed bytes: shared with the tile before when they are the same.
static Tile* ReadPackedTile(const Clip* clip, TileLink* link, int32_t i, const uint8_t* code, uint32_t size) {
    int x, y, w, h;
    TileRect(clip->Width, clip->Height, i, &x, &y, &w, &h);
    if (!CheckRect(code, size, w, h)) {
        Warning("damaged tile %d", int(i));
        return nullptr;
    }
    Tile* before = i > 0 ? link->Tiles[i - 1] : nullptr;
    if (before && before->PackedSize == size && CmpCacheData(before->Data, code, int32_t(size))) {
        before->RefCount++;
        return before;
    }
    CacheFile* data = NewCacheFileData(code, int32_t(size), 0);
    if (!data) return nullptr;
    Tile* tile = NewTile(data, size);
    if (!tile) RemoveCacheFile(data);
    return tile;
}

// A tile given as a link: kind images back in this clip (0 is this image), at place.
static Tile* ReadLinkedTile(Clip* clip, int position, TileLink* link, int32_t i, uint32_t kind,
                            uint32_t place) {
    const TileLink* holder = nullptr;
    if (kind == 0)
        holder = place < uint32_t(i) ? link : nullptr;
    else if (kind <= uint32_t(position)) {
        ClipImage* image = FindImage(clip, position - int(kind));
        holder = image ? image->Link : nullptr;
    }
    Tile* tile = holder && place < uint32_t(holder->NumTile) ? holder->Tiles[place] : nullptr;
    if (!tile) {
        std::fprintf(stderr, "probleme DuplicateTileLink\n");
        return nullptr;
    }
    tile->RefCount++;
    return tile;
}

static int ReadTiles(Clip* clip, int position, ClipImage* image, Input& in) {
    TileLink* link = NewTileLink(TileCount(clip->Width, clip->Height));
    if (!link) return 0;
    image->Link = link;
    image->Flags = ImageStored;
    ImageListChanges++;
    if (!ReadBaseBlock(in, link)) {
        Warning("damaged base picture");
        return 0;
    }
    uint32_t count = in.Word();
    if (in.Failed || count != uint32_t(link->NumTile)) {
        std::fprintf(stderr, "numtile != i->Link->NumTile\n");
        return 0;
    }
    for (int32_t i = 0; i < link->NumTile; i++) {
        uint32_t size = in.Word();
        if (size > 0) {
            const uint8_t* code = in.Take(size);
            link->Tiles[i] = code ? ReadPackedTile(clip, link, i, code, size) : nullptr;
        } else {
            uint32_t kind = in.Word(), place = in.Word();
            link->Tiles[i] = in.Failed ? nullptr : ReadLinkedTile(clip, position, link, i, kind, place);
        }
        if (!link->Tiles[i]) {
            if (in.Failed) Warning("image body cut short");
            return 0;
        }
    }
    return 1;
}

int ClipReadStream(Clip* clip, int index, FILE* file, int64_t size) {
    if (!file) return -1;
    uint8_t tagBytes[4];
    if (std::fread(tagBytes, 1, 4, file) != 4) {
        Warning("image body cut short");
        return -1;
    }
    Input tagIn{tagBytes, tagBytes + 4, false};
    uint32_t tag = tagIn.Word();
    // Where the new image lands: behind index - 1, or last when the clip is shorter.
    int position = index < 0 ? 0 : index > clip->ImageCount ? clip->ImageCount : index;
    if (tag == TagLink) return ReadLinkForm(clip, position, file);
    if (tag != TagTiles) {
        std::fseek(file, -4, SEEK_CUR);
        return 0;
    }
    if (size < 4 || size > MaxTilesBody(clip)) {
        Warning("image body of impossible size %lld", (long long)size);
        return -1;
    }
    size_t bodySize = size_t(size - 4);
    uint8_t* body = GetPackBuffer(bodySize);
    if (!body) {
        AlertMsg(1000);
        return -1;
    }
    if (std::fread(body, 1, bodySize, file) != bodySize) {
        Warning("image body cut short");
        return -1;
    }
    ClipImage* image = InsertEmptyImage(clip, position - 1);
    if (!image) {
        AlertMsg(1000);
        return -1;
    }
    Input in{body, body + bodySize, false};
    if (!ReadTiles(clip, position, image, in)) {
        RemoveImage(clip, image);
        return -1;
    }
    return 1;
}

} // namespace nemu
