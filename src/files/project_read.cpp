// Reading a project file: the chunk loop, the chunks of the file and of the project, the
// end of a load, and the look inside a file for the format registry.
//
// Sections: reading bodies; the file's chunks; the layers' headers; the table; the end of
// a load; the reader; looking inside.
#include "files/iff_chunks.h"
#include "files/image_import.h"
#include "files/project_file.h"
#include "files/project_reader.h"
#include "files/raster_common.h"
#include "files/recent_files.h"
#include "host/main_loop.h"
#include "host/screen.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "project/page_size.h"
#include "script/command_host.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/stat.h>

namespace nemu {

int StopLoad(ProjectReader& r, uint32_t message) {
    if (message) AlertMsg(message);
    r.Result = -1;
    return -1;
}

// ---- Reading bodies ---------------------------------------------------------------------------

// The first `want` bytes of the body, zero-filled where the body is shorter. False when the
// file ends before the body does.
static bool ReadBody(ProjectReader& r, uint8_t* out, size_t want) {
    std::memset(out, 0, want);
    size_t take = std::min<size_t>(want, r.BodySize);
    return std::fread(out, 1, take, r.File) == take;
}

// A chunk of fixed fields: its body, or the end of the load when the file is cut.
static bool ReadFields(ProjectReader& r, uint8_t* out, size_t want) {
    if (ReadBody(r, out, want)) return true;
    StopLoad(r, 2366);
    return false;
}

// ---- The file's chunks ------------------------------------------------------------------------

static int ReadGlobal(ProjectReader& r) {
    uint8_t b[8];
    if (!ReadFields(r, b, sizeof b)) return -1;
    r.HaveGlobal = true;
    r.Compression = int(GetU16(b + 4));
    return 0;
}

static int ReadLayout(ProjectReader& r) {
    // A layout has a few elements; more than a page of them is no layout.
    uint8_t b[4 + 4 * 256];
    if (!ReadFields(r, b, std::min<size_t>(sizeof b, r.BodySize))) return -1;
    ParsePixelLayout(b, std::min<uint32_t>(r.BodySize, sizeof b), &r.Layout);
    return 0;
}

// The fewest bytes in which a first layer of w by h pixels can be stored, by what the file
// has told so far: a compression not yet named is taken at its most compact, and so is a
// pixel of unknown layout.
static int64_t LeastFirstBody(int compression, int bytesPerPixel, int w, int h) {
    if (bytesPerPixel < 1) bytesPerPixel = 1;
    if (compression >= 0) return MinBodyBytes(compression, bytesPerPixel, w, h);
    int64_t least = INT64_MAX;
    for (int known : {0, 1, 8}) least = std::min(least, MinBodyBytes(known, bytesPerPixel, w, h));
    return least;
}

// The page size decides everything after it: the first one found counts. A file too short
// to hold a single layer of that size is refused here, before anything is made for it.
static int ReadLocation(ProjectReader& r) {
    uint8_t b[8];
    if (!ReadFields(r, b, sizeof b)) return -1;
    if (r.HaveLocation) return 0;
    int32_t w = int32_t(GetU16(b)), h = int32_t(GetU16(b + 2));
    if (!ImageSizeValid(uint64_t(w), uint64_t(h))) return StopLoad(r, 2350);
    // Pixels or a compression that no layer can be read in end the load as surely, and
    // before the page changes too.
    const int bytes = r.Layout.Seen ? LayoutBytes(r.Layout) : 1;
    const bool readable = !r.HaveGlobal || r.Compression == 0 || r.Compression == 1 || r.Compression == 8;
    if (bytes == 0 || !readable) return StopLoad(r, 2350);
    if (LeastFirstBody(r.HaveGlobal ? r.Compression : -1, bytes, w, h) > r.FileSize - r.BodyStart)
        return StopLoad(r, 2366);
    r.HaveLocation = true;
    r.FileWidth = w;
    r.FileHeight = h;
    if (r.Replace && r.AllowResize && (w != PageWidth || h != PageHeight)) {
        if (ChangePageSize(w, h, 0) != 1) return StopLoad(r, 0);
    }
    if (w == PageWidth && h == PageHeight) r.Scale = 0;
    return 0;
}

static int ReadBackgroundMode(ProjectReader& r) {
    uint8_t b[4];
    if (!ReadFields(r, b, sizeof b)) return -1;
    r.HaveBackground = true;
    r.BackgroundBits = GetU32(b);
    return 0;
}

static int ReadCurrentLayer(ProjectReader& r) {
    uint8_t b[4];
    if (!ReadFields(r, b, sizeof b)) return -1;
    r.CurrentIndex = GetU32(b);
    return 0;
}

static uint32_t ColourOf(const uint8_t* b) {
    return uint32_t(b[3]) << 24 | uint32_t(b[0]) << 16 | uint32_t(b[1]) << 8 | b[2];
}

static int ReadColour(ProjectReader& r, int which) {
    uint8_t b[4];
    if (!ReadFields(r, b, sizeof b)) return -1;
    r.HaveColour[which] = true;
    r.Colour[which] = ColourOf(b);
    return 0;
}

static int ReadFirstColour(ProjectReader& r) {
    return ReadColour(r, 0);
}

static int ReadSecondColour(ProjectReader& r) {
    return ReadColour(r, 1);
}

// The video layer's reference is read whole, whatever its size field says.
static int ReadVideoReference(ProjectReader& r) {
    uint8_t b[2088];
    if (std::fread(b, 1, sizeof b, r.File) != sizeof b) return StopLoad(r, 2366);
    r.VideoFirst = int32_t(GetU32(b));
    r.VideoFlags = GetU32(b + 4);
    r.Video.A = int32_t(GetU32(b + 8));
    r.Video.B = int32_t(GetU32(b + 12));
    // The video module keeps two of its values in one word.
    uint32_t packed = GetU32(b + 16);
    r.Video.Fields = int32_t(packed / 3);
    r.Video.D = int32_t(packed % 3);
    std::memcpy(r.Video.Path, b + 40, sizeof r.Video.Path - 1);
    r.Video.Path[sizeof r.Video.Path - 1] = 0;
    r.HaveVideo = r.Video.Path[0] != 0;
    return 0;
}

// The old header of three fixed layers: where the current one was, the background, and
// the first background colour.
static int ReadMixer(ProjectReader& r) {
    uint8_t b[60];
    if (!ReadFields(r, b, sizeof b)) return -1;
    uint32_t index = GetU32(b + 36), middle = GetU32(b + 40), upper = GetU32(b + 44);
    if (index == 1 && middle == 0) index = 0;
    if (index == 2) {
        if (middle == 0) index = 1;
        if (upper == 0) index--;
    }
    r.CurrentIndex = index;
    r.HaveBackground = true;
    r.BackgroundBits = GetU32(b + 52);
    if (r.BodySize >= 60) {
        r.HaveColour[0] = true;
        r.Colour[0] = ColourOf(b + 56);
    }
    return 0;
}

// ---- The layers' headers ------------------------------------------------------------------------

static int ReadLayerName(ProjectReader& r) {
    if (!ReadFields(r, reinterpret_cast<uint8_t*>(r.Name), sizeof r.Name - 1)) return -1;
    r.Name[sizeof r.Name - 1] = 0;
    r.HaveName = true;
    return 0;
}

static int ReadFrameRate(ProjectReader& r) {
    uint8_t b[4];
    if (!ReadFields(r, b, sizeof b)) return -1;
    r.Rate = GetU32(b) / 1000.0;
    return 0;
}

static int ReadLayerHead(ProjectReader& r) {
    if (!ReadFields(r, r.Head, sizeof r.Head)) return -1;
    r.HaveHead = true;
    // The onion counts stay for the layers that follow without a header of their own.
    r.PelureBefore = std::clamp(int32_t(GetU32(r.Head + 24)), -7, 7);
    r.PelureAfter = std::clamp(int32_t(GetU32(r.Head + 40)), -7, 7);
    return 0;
}

// ---- The table -------------------------------------------------------------------------------------

struct ChunkReader {
    char Id[5];
    int (*Read)(ProjectReader& r); // null: skipped
};

const ChunkReader ChunkReaders[] = {
    {"XS24", nullptr},          {"ANNO", nullptr},
    {"DGBL", ReadGlobal},       {"DPEL", ReadLayout},
    {"DLOC", ReadLocation},     {"BGMD", ReadBackgroundMode},
    {"CRLR", ReadCurrentLayer}, {"BGP1", ReadFirstColour},
    {"BGP2", ReadSecondColour}, {"LRBG", ReadVideoReference},
    {"MIXR", ReadMixer},        {"LNAM", ReadLayerName},
    {"FRAT", ReadFrameRate},    {"LRHD", ReadLayerHead},
    {"DBOD", ReadLayerBody},    {"SRAW", ReadStoredImage},
    {"LDLT", ReadDeltaImage},
};

static const ChunkReader* FindChunkReader(const uint8_t* id) {
    for (const ChunkReader& c : ChunkReaders)
        if (std::memcmp(c.Id, id, 4) == 0) return &c;
    return nullptr;
}

// ---- The end of a load -------------------------------------------------------------------------------

static void FinishReplacingLoad(ProjectReader& r) {
    if (r.Rate > 0 && r.Rate <= 1000) FrameRate = r.Rate;
    if (r.HaveColour[0]) BGP1 = r.Colour[0];
    if (r.HaveColour[1]) BGP2 = r.Colour[1];
    // Only the colour and check bits come back; the others are the display's own.
    if (r.HaveBackground)
        DisplayFlags = (DisplayFlags & ~BackgroundBits) | (r.BackgroundBits & BackgroundBits);
    if (r.HaveVideo && OpenVideoClipHook &&
        OpenVideoLayer(r.Video.Path, r.Video.A, r.Video.B, r.Video.Fields, r.Video.D)) {
        int32_t count = VideoLayer->LastImage - VideoLayer->FirstImage + 1;
        VideoLayer->FirstImage = ClampImage(r.VideoFirst);
        VideoLayer->LastImage = ClampImage(int64_t(VideoLayer->FirstImage) + count - 1);
        VideoLayer->Flags = r.VideoFlags;
    }
    int32_t index = r.CurrentIndex < uint32_t(LayerCount) ? int32_t(r.CurrentIndex) : 0;
    SelectLayerImage(index, 0, 0);
    if (r.Flags & ProjectFileTemporary) return;
    SavedCounter = ChangeCounter;
    SetProjectName(r.Path);
}

static void FinishLoad(ProjectReader& r) {
    if (r.LayersRead > 0) FinishLayer(r);
    FreeReaderBuffers(r);
    if (r.LayersRead == 0) return;
    // Undo can't reach back across a load.
    ClearLayerUndo();
    if (r.Replace) {
        FinishReplacingLoad(r);
    } else {
        int64_t index = int64_t(r.FirstIndex) + r.CurrentIndex;
        if (index >= r.FirstIndex + r.LayersRead) index = r.FirstIndex;
        SelectLayerImage(int32_t(index), r.ImageBefore, 0);
        ChangeCounter++;
    }
    if (!(r.Flags & ProjectFileTemporary)) AddRecentFile(r.Path);
}

// ---- The reader ------------------------------------------------------------------------------------

static void ReportUnreadable(const char* path, bool examined) {
    char text[4600];
    if (examined)
        std::snprintf(text, sizeof text, "%s:\n%s", path, MsgGet(nullptr, 3301));
    else
        std::snprintf(text, sizeof text, "%s:\n%s\n%s", path, MsgGet(nullptr, 3301), std::strerror(errno));
    Alert(text);
}

// Asks whether to stop when the user has pressed the progress box's Cancel.
static bool UserStops() {
    if (!UserBreak) return false;
    UserBreak = 0;
    return AskYesNo(MsgGet(nullptr, 3334), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002)) != 0;
}

static void ReadChunks(ProjectReader& r) {
    for (;;) {
        uint8_t head[8];
        size_t got = std::fread(head, 1, 8, r.File);
        if (got == 0) break;
        if (got < 8) {
            StopLoad(r, 2366);
            break;
        }
        r.BodyStart = ftello(r.File);
        r.BodySize = GetU32(head + 4);
        r.CutShort = int64_t(r.BodySize) > r.FileSize - r.BodyStart;
        const ChunkReader* reader = FindChunkReader(head);
        if (reader && reader->Read && reader->Read(r) < 0) break;
        // The video reference is always 2088 bytes long; everything else as its size says.
        bool video = std::memcmp(head, "LRBG", 4) == 0;
        int64_t next = r.BodyStart + (video ? 2088 : int64_t(PaddedSize(r.BodySize)));
        if (!video && r.CutShort) {
            StopLoad(r, 2366);
            break;
        }
        if (ftello(r.File) != next && fseeko(r.File, next, SEEK_SET) != 0) break;
        ProgressStep(next, r.FileSize);
        if (UserStops()) {
            r.Result = -1;
            break;
        }
    }
}

int ReadProject(const char* path, int allowResize, int scaleToPage, int replace) {
    return ReadProjectFile(path, allowResize, scaleToPage, replace, 0);
}

int ReadProjectFile(const char* path, int allowResize, int scaleToPage, int replace, int flags) {
    if (!path || !*path || !Layers || !Page) return -1;
    struct stat info;
    if (stat(path, &info) != 0) {
        ReportUnreadable(path, false);
        return -1;
    }
    FILE* file = std::fopen(path, "rb");
    if (!file) {
        ReportUnreadable(path, true);
        return -1;
    }
    uint8_t head[12];
    bool project = std::fread(head, 1, 12, file) == 12 && std::memcmp(head, "FORM", 4) == 0 &&
                   std::memcmp(head + 8, "OMXP", 4) == 0;
    if (!project) {
        std::fclose(file);
        return LoadPictureProject(path, allowResize, scaleToPage, replace);
    }
    static char buffer[1 << 17];
    std::setvbuf(file, buffer, _IOFBF, sizeof buffer);
    int former = SetPointerShape(2);
    auto* r = new (std::nothrow) ProjectReader;
    if (!r) {
        std::fclose(file);
        AlertMsg(1000);
        SetPointerShape(former);
        return -1;
    }
    r->File = file;
    r->Path = path;
    r->FileSize = int64_t(info.st_size);
    r->AllowResize = allowResize;
    r->Scale = scaleToPage;
    r->Replace = replace;
    r->Flags = flags;
    r->ImageBefore = CurrentImage;
    ProgressOpen(MsgGet(nullptr, 3332));
    UserBreak = 0;
    ReadChunks(*r);
    std::fclose(file);
    ProgressClose();
    // A file without a single layer has nothing to show: it can't be read as a project.
    if (r->LayersRead == 0 && r->Result == 0) StopLoad(*r, 2350);
    FinishLoad(*r);
    int result = r->Result;
    delete r;
    SetPointerShape(former);
    return result;
}

int LoadProject(const char* path, int allowResize, int scaleToPage) {
    return ReadProject(path, allowResize, scaleToPage, 1);
}

// ---- Looking inside -------------------------------------------------------------------------------

// Walks the chunks of a project for its page size and the end of its time line, reading
// nothing but the chunk headers, DGBL, DLOC and LRHD. A page size beyond the bounds, or one
// whose first layer the rest of the file is too short to hold, is refused as the reader
// refuses it, with the reason in LastFileError.
static int WalkProject(const char* path, int* width, int* height, int* frames) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return -1;
    struct stat info;
    const int64_t fileSize = fstat(fileno(file), &info) == 0 ? int64_t(info.st_size) : 0;
    uint8_t head[12];
    int result = -1;
    int32_t last = -1;
    int compression = -1;
    if (std::fread(head, 1, 12, file) == 12 && std::memcmp(head, "FORM", 4) == 0 &&
        std::memcmp(head + 8, "OMXP", 4) == 0) {
        uint8_t chunk[8];
        while (std::fread(chunk, 1, 8, file) == 8) {
            uint32_t size = GetU32(chunk + 4);
            const int64_t bodyStart = ftello(file);
            int64_t next = bodyStart + int64_t(PaddedSize(size));
            uint8_t body[12];
            if (std::memcmp(chunk, "DGBL", 4) == 0 && compression < 0) {
                if (size < 6 || std::fread(body, 1, 6, file) != 6) break;
                compression = int(GetU16(body + 4));
            } else if (std::memcmp(chunk, "DLOC", 4) == 0 && result < 0) {
                if (size < 4 || std::fread(body, 1, 4, file) != 4) break;
                int w = int(GetU16(body)), h = int(GetU16(body + 2));
                if (!ImageSizeValid(uint64_t(w), uint64_t(h))) {
                    SetFileError(2350, "%d x %d", w, h);
                    break;
                }
                if (LeastFirstBody(compression, 1, w, h) > fileSize - bodyStart) {
                    SetFileError(2366, "%d x %d", w, h);
                    break;
                }
                if (width) *width = w;
                if (height) *height = h;
                result = 0;
                if (!frames) break;
            } else if (std::memcmp(chunk, "LRHD", 4) == 0) {
                if (size < 12 || std::fread(body, 1, 12, file) != 12) break;
                last = std::max(last, ClampImage(int32_t(GetU32(body + 8))));
            } else if (std::memcmp(chunk, "LRBG", 4) == 0) {
                next = next - int64_t(PaddedSize(size)) + 2088;
            }
            if (fseeko(file, next, SEEK_SET) != 0) break;
        }
    }
    std::fclose(file);
    if (result == 0 && frames) *frames = last + 1 > 0 ? last + 1 : 1;
    return result;
}

int TestProject(const char* path, int* width, int* height, int* depth) {
    if (WalkProject(path, width, height, nullptr) != 0) return -1;
    if (depth) *depth = 32;
    return 0;
}

int ProjectInfo(const char* path, int* width, int* height, int* frames) {
    return WalkProject(path, width, height, frames);
}

} // namespace nemu
