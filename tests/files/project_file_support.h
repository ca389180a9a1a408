// What the project file tests share: a project fixture with a page large enough for
// several tiles, a record of everything a save must keep (so that two projects can be
// compared whole, sharing included), a walk over a file's chunks, and a builder of files
// by hand.
#pragma once
#include "../project/project_fixture.h"
#include "files/iff_chunks.h"
#include "files/project_file.h"
#include "support/file_helpers.h"
#include "ui/requests.h"

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace nemu::test {

using Bytes = std::vector<uint8_t>;

// ---- The whole project, as a save must keep it ----------------------------------------------------
struct LayerRecord {
    std::string Name;
    int32_t First, Last, Density, Before, After;
    uint32_t Flags;
    bool IsClip;
    std::vector<std::string> Hashes; // each image's pixels
    // The sharing: for each image the first image holding the same tile list, and for each
    // tile the first place (image * 1000 + tile) that holds the same tile.
    std::vector<int> ListOwner;
    std::vector<int> TileOwner;
    bool operator==(const LayerRecord&) const = default;
};

struct ProjectRecord {
    int32_t Width, Height, Current;
    double Rate;
    uint32_t Background, Colour1, Colour2;
    std::vector<LayerRecord> Layers;
    bool operator==(const ProjectRecord&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const ProjectRecord& p) {
    out << p.Width << "x" << p.Height << " current " << p.Current << " rate " << p.Rate << " bg " << std::hex
        << p.Background << " " << p.Colour1 << " " << p.Colour2 << std::dec << "\n";
    for (const LayerRecord& l : p.Layers) {
        out << "  '" << l.Name << "' " << l.First << ".." << l.Last << " d" << l.Density << " o" << l.Before
            << "/" << l.After << " f" << l.Flags << (l.IsClip ? " clip" : " plain") << " lists";
        for (int o : l.ListOwner) out << " " << o;
        out << " tiles";
        for (int o : l.TileOwner) out << " " << o;
        out << "\n   ";
        for (const std::string& h : l.Hashes) out << " " << h.substr(0, 6);
        out << "\n";
    }
    return out;
}

inline ProjectRecord RecordProject() {
    EXPECT_EQ(FlushPage(), 1);
    ProjectRecord p{PageWidth, PageHeight, CurrentLayer, FrameRate, DisplayFlags & BackgroundBits, BGP1,
                    BGP2,      {}};
    Bitmap* image = NewBitmap(PageWidth, PageHeight);
    for (int32_t i = 0; i < LayerCount; i++) {
        Layer& l = Layers[i];
        LayerRecord r{l.Name,
                      l.FirstImage,
                      l.LastImage,
                      l.Density,
                      l.PelureBefore,
                      l.PelureAfter,
                      l.Flags,
                      l.Clip != nullptr,
                      {},
                      {},
                      {}};
        int32_t count = l.Clip ? l.Clip->ImageCount : 1;
        for (int32_t k = 0; k < count; k++) {
            ClearBitmap(image, 0x5a5a5a5a);
            LoadLayerImage(image, &l, l.FirstImage + k);
            r.Hashes.push_back(PixelHash(image));
        }
        if (l.Clip) {
            std::vector<const TileLink*> lists;
            std::map<const Tile*, int> seen;
            for (ClipImage* c = l.Clip->Images; c; c = c->Next) {
                int owner = int(std::find(lists.begin(), lists.end(), c->Link) - lists.begin());
                r.ListOwner.push_back(owner < int(lists.size()) ? owner : int(lists.size()));
                int k = int(lists.size());
                lists.push_back(c->Link);
                for (int32_t t = 0; c->Link && t < c->Link->NumTile; t++) {
                    auto [at, fresh] = seen.emplace(c->Link->Tiles[t], k * 1000 + t);
                    r.TileOwner.push_back(at->second);
                    (void)fresh;
                }
            }
        }
        p.Layers.push_back(r);
    }
    FreeBitmap(image);
    return p;
}

// ---- A file's chunks ---------------------------------------------------------------------------------
struct Chunk {
    std::string Id;
    size_t Body; // offset of the body in the file
    uint32_t Size;
};

// The chunks of a FORM, each followed by its pad byte where the size is odd.
inline std::vector<Chunk> Chunks(const Bytes& file) {
    std::vector<Chunk> chunks;
    for (size_t at = 12; at + 8 <= file.size();) {
        Chunk c{std::string(file.begin() + long(at), file.begin() + long(at) + 4), at + 8,
                GetU32(&file[at + 4])};
        chunks.push_back(c);
        at += 8 + size_t(PaddedSize(c.Size));
    }
    return chunks;
}

inline std::string ChunkIds(const std::vector<Chunk>& chunks) {
    std::string ids;
    for (const Chunk& c : chunks) ids += (ids.empty() ? "" : " ") + c.Id;
    return ids;
}

// ---- Files by hand -----------------------------------------------------------------------------------
inline void AddU16(Bytes& b, uint32_t v) {
    b.push_back(uint8_t(v >> 8));
    b.push_back(uint8_t(v));
}
inline void AddU32(Bytes& b, uint32_t v) {
    AddU16(b, v >> 16);
    AddU16(b, v);
}
inline void AddPixel(Bytes& b, uint32_t p) {
    for (int k = 0; k < 4; k++) b.push_back(uint8_t(p >> (8 * k)));
}

struct FileBuilder {
    Bytes Data{'F', 'O', 'R', 'M', 0, 0, 0, 0, 'O', 'M', 'X', 'P'};
    // A chunk; size says what the size field claims (the body's length when -1).
    FileBuilder& Add(const char* id, const Bytes& body, int64_t size = -1) {
        Data.insert(Data.end(), id, id + 4);
        AddU32(Data, uint32_t(size < 0 ? int64_t(body.size()) : size));
        Data.insert(Data.end(), body.begin(), body.end());
        if (body.size() & 1) Data.push_back(0);
        return *this;
    }
    // The global header, the memory's layout and the page size: what any file needs first.
    FileBuilder& Header(int w, int h, int compression = 1) {
        Bytes global, location;
        AddU16(global, uint32_t(w));
        AddU16(global, uint32_t(h));
        AddU16(global, uint32_t(compression));
        global.push_back(16);
        global.push_back(16);
        AddU16(location, uint32_t(w));
        AddU16(location, uint32_t(h));
        AddU32(location, 0);
        Add("DGBL", global);
        Add("DPEL", {0, 0, 0, 4, 0, 3, 0, 8, 0, 2, 0, 8, 0, 1, 0, 8, 0, 17, 0, 8});
        return Add("DLOC", location);
    }
    FileBuilder& Head(int32_t first, int32_t last, uint32_t count, uint32_t density = 255,
                      uint32_t flags = 0) {
        Bytes b(104, 0);
        PutU32(&b[0], 1);
        PutU32(&b[4], uint32_t(first));
        PutU32(&b[8], uint32_t(last));
        PutU32(&b[12], count);
        PutU32(&b[16], density);
        PutU32(&b[28], flags);
        return Add("LRHD", b);
    }
    // A body of w by h pixels of one colour, run-length coded row by row.
    FileBuilder& FlatBody(const char* id, int w, int h, uint32_t colour) {
        Bytes body;
        for (int y = 0; y < h; y++)
            for (int left = w; left > 0; left -= 124) {
                int n = left < 124 ? left : 124;
                if (n == 1) {
                    body.push_back(0);
                } else {
                    body.push_back(uint8_t(int8_t(1 - n)));
                }
                AddPixel(body, colour);
            }
        return Add(id, body);
    }
    Bytes Done() const {
        Bytes b = Data;
        PutU32(&b[4], uint32_t(b.size() - 8));
        return b;
    }
};

// ---- Answers -----------------------------------------------------------------------------------------
// The questions are answered yes while an instance lives.
struct SayYes {
    SayYes() {
        AskYesNoHook = [](const char*, const char*, const char*) { return 1; };
    }
    ~SayYes() { AskYesNoHook = nullptr; }
};

// A project fixture whose page spans six tiles of three sizes.
class ProjectFileTest : public ProjectTest {
  protected:
    void SetUp() override { MakeProject(150, 70); }
    void TearDown() override {
        ProjectCompression = 1;
        ProjectTest::TearDown();
    }
    static std::string Path(const char* name) { return TestPath(name); }
};

} // namespace nemu::test
