// Writing a project file.
//
// Sections: the chunks before the layers; a layer's chunks; the writer; the save command.
#include "files/iff_chunks.h"
#include "files/lzw.h"
#include "files/project_file.h"
#include "files/recent_files.h"
#include "files/registry.h"
#include "files/run_length.h"
#include "files/safe_file.h"
#include "host/main_loop.h"
#include "host/screen.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "script/command_host.h"
#include "store/bitmap.h"
#include "store/reduce.h"
#include "store/tile_store.h"
#include "ui/catalog.h"
#include "ui/file_requester.h"
#include "ui/requests.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>
#include <unistd.h>

namespace nemu {

int ProjectCompression = 1;

namespace {

// The elements of a pixel as memory holds it: blue, green, red, premultiplied alpha.
const uint8_t MemoryLayout[20] = {0, 0, 0, 4, 0, 3, 0, 8, 0, 2, 0, 8, 0, 1, 0, 8, 0, 17, 0, 8};

constexpr uint32_t SavedBackgroundBits = 0x2006;

int WriteWord(FILE* file, const char* id, uint32_t value) {
    uint8_t body[4];
    PutU32(body, value);
    return WriteChunk(file, id, body, 4);
}

int WriteColour(FILE* file, const char* id, uint32_t colour) {
    // Red first, unlike the pixels of the bodies.
    const uint8_t body[4] = {uint8_t(colour >> 16), uint8_t(colour >> 8), uint8_t(colour),
                             uint8_t(colour >> 24)};
    return WriteChunk(file, id, body, 4);
}

// ---- The chunks before the layers -------------------------------------------------------------

// The thumbnail is what the user sees: the stack as displayed, over its background, fitted
// into 64 pixels. Without memory for it the file simply has none.
void WriteThumbnail(FILE* file) {
    Bitmap* shown = NewBitmap(PageWidth, PageHeight);
    Bitmap* thumbnail = shown && ComposeCurrent(shown, true) ? ReduceBitmap(shown, ThumbnailSide) : nullptr;
    if (thumbnail)
        WriteThumbnailChunk(file, thumbnail);
    else
        AlertMsg(1000);
    FreeBitmap(thumbnail);
    FreeBitmap(shown);
}

void WriteVideoReference(FILE* file) {
    uint8_t body[2088] = {};
    PutU32(body, uint32_t(VideoLayer->FirstImage));
    PutU32(body + 4, VideoLayer->Flags);
    PutU32(body + 8, uint32_t(VideoLayerSource.A));
    PutU32(body + 12, uint32_t(VideoLayerSource.B));
    PutU32(body + 16, uint32_t(3 * VideoLayerSource.Fields + VideoLayerSource.D));
    std::snprintf(reinterpret_cast<char*>(body + 40), 2048, "%s", VideoLayerSource.Path);
    WriteChunk(file, "LRBG", body, sizeof body);
}

// What stands before the layers. The results of these small writes are not looked at one
// by one: a failure shows in the stream's error state, which decides at the end.
void WriteHeaderChunks(FILE* file) {
    WriteThumbnail(file);
    uint8_t global[8];
    PutU16(global, uint32_t(PageWidth));
    PutU16(global + 2, uint32_t(PageHeight));
    PutU16(global + 4, uint32_t(ProjectCompression == 8 ? 8 : 1));
    global[6] = global[7] = 16;
    WriteChunk(file, "DGBL", global, 8);
    WriteChunk(file, "DPEL", MemoryLayout, sizeof MemoryLayout);
    uint8_t location[8] = {};
    PutU16(location, uint32_t(PageWidth));
    PutU16(location + 2, uint32_t(PageHeight));
    WriteChunk(file, "DLOC", location, 8);
    WriteWord(file, "BGMD", DisplayFlags & SavedBackgroundBits);
    WriteWord(file, "CRLR", uint32_t(CurrentLayer));
    WriteColour(file, "BGP1", BGP1);
    WriteColour(file, "BGP2", BGP2);
    AnnotationBuffer[0] = '$';
    WriteAnnotation(file);
    if (VideoLayer) WriteVideoReference(file);
}

// ---- A layer's chunks -----------------------------------------------------------------------

struct ProjectWriter {
    FILE* File = nullptr;
    int Error = 0;          // errno of a failed body write; 0 while all is well
    bool Cancelled = false; // the user stopped the save
    int64_t Done = 0, Total = 0;
    Bitmap* Buffers[2] = {}; // the mixer's two buffers, lent for the images
};

// An image body as a DBOD is coded: run-length rows, or one LZW stream.
bool WriteImageBody(ProjectWriter& w, const Bitmap* image) {
    ByteSink sink = FileSink(w.File);
    int64_t written =
        ProjectCompression == 8
            ? WriteLzw(sink, reinterpret_cast<const uint8_t*>(image->Pixels),
                       size_t(image->Width) * size_t(image->Height) * 4)
            : WriteRunRows(sink, image->Pixels, image->Width, image->Height, ProjectFlushAt(image->Width));
    return written >= 0;
}

bool BodyFailed(ProjectWriter& w) {
    if (!w.Error) w.Error = errno ? errno : EIO;
    return false;
}

// A body chunk: its size stands as "OMX4" until the body is complete.
template <typename Body> bool WriteBodyChunk(ProjectWriter& w, const char* id, uint8_t pad, Body body) {
    errno = 0;
    int64_t at = BeginChunk(w.File, id, "OMX4");
    if (at < 0 || !body() || EndChunk(w.File, at, pad) != 0) return BodyFailed(w);
    return true;
}

void WriteLayerHeader(FILE* file, const Layer* layer) {
    // The name goes out from a zeroed copy: an even-length name takes the byte after its
    // end with it.
    char name[130] = {};
    std::snprintf(name, 128, "%s", ShownName(layer));
    WriteTextChunk(file, "LNAM", name);
    WriteWord(file, "FRAT", uint32_t(FrameRate * 1000.0));
    uint8_t head[104] = {};
    PutU32(head, 1);
    PutU32(head + 4, uint32_t(layer->FirstImage));
    PutU32(head + 8, uint32_t(layer->LastImage));
    PutU32(head + 12, layer->Clip ? uint32_t(layer->Clip->ImageCount) : 0);
    PutU32(head + 16, uint32_t(layer->Density));
    PutU32(head + 24, uint32_t(layer->PelureBefore));
    PutU32(head + 28, layer->Flags);
    PutU32(head + 40, uint32_t(layer->PelureAfter));
    WriteChunk(file, "LRHD", head, sizeof head);
}

// After each image: the progress box, and the user's break answered.
bool Advance(ProjectWriter& w) {
    ProgressStep(++w.Done, w.Total);
    if (!UserBreak) return true;
    UserBreak = 0;
    if (AskYesNo(MsgGet(nullptr, 3331), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002))) w.Cancelled = true;
    return !w.Cancelled;
}

// An image as its difference from the one before, where the clip can't write its own
// form. previous says whether Buffers[*turn] holds the image before.
bool WriteDelta(ProjectWriter& w, Layer* layer, int32_t index, int* turn, bool* previous) {
    Bitmap* before = w.Buffers[*turn];
    Bitmap* image = w.Buffers[1 - *turn];
    if (!*previous) LoadLayerImage(before, layer, layer->FirstImage + index - 1);
    LoadLayerImage(image, layer, layer->FirstImage + index);
    size_t count = size_t(image->Width) * size_t(image->Height);
    for (size_t i = 0; i < count; i++) before->Pixels[i] ^= image->Pixels[i];
    *turn = 1 - *turn;
    *previous = true;
    return WriteBodyChunk(w, "LDLT", 0x80, [&] { return WriteImageBody(w, before); });
}

// Each image after the first: the clip's own stream form, which keeps tiles packed and
// their sharing as links, or a delta.
bool WriteClipImages(ProjectWriter& w, Layer* layer) {
    Clip* clip = layer->Clip;
    int turn = 0;
    bool previous = false;
    for (int32_t i = 1; i < clip->ImageCount; i++) {
        bool written = false;
        if (clip->Ops.WriteImage) {
            errno = 0;
            int64_t at = BeginChunk(w.File, "SRAW", "OMX4");
            if (at < 0) return BodyFailed(w);
            if (clip->Ops.WriteImage(clip, i, w.File)) {
                if (EndChunk(w.File, at, 0) != 0) return BodyFailed(w);
                written = true;
                previous = false;
            } else if (std::ferror(w.File)) {
                return BodyFailed(w);
            } else {
                // A picture that lost a tile to a failed store can't go out in its own
                // form: the chunk begun is taken back, and the image goes as a delta of
                // what it shows.
                if (std::fflush(w.File) != 0 || ftruncate(fileno(w.File), at - 4) != 0 ||
                    fseeko(w.File, at - 4, SEEK_SET) != 0)
                    return BodyFailed(w);
            }
        }
        if (!written && !WriteDelta(w, layer, i, &turn, &previous)) return false;
        if (!Advance(w)) return false;
    }
    return true;
}

bool WriteLayer(ProjectWriter& w, Layer* layer) {
    WriteLayerHeader(w.File, layer);
    Bitmap* first = w.Buffers[0];
    LoadLayerImage(first, layer, layer->FirstImage);
    if (!WriteBodyChunk(w, "DBOD", 0x80, [&] { return WriteImageBody(w, first); })) return false;
    if (!Advance(w)) return false;
    return !layer->Clip || WriteClipImages(w, layer);
}

int64_t ImagesToSave() {
    int64_t total = 0;
    for (int32_t i = 0; i < LayerCount; i++)
        total += Layers[i].Clip ? int64_t(Layers[i].LastImage) - Layers[i].FirstImage + 1 : 1;
    return total;
}

void ReportWriteFailure(const char* path, uint32_t message, int error) {
    char text[4600];
    std::snprintf(text, sizeof text, "%s:\n%s\n%s", path, MsgGet(nullptr, message), std::strerror(error));
    Alert(text);
}

// Closes the FORM: its size is what follows its first 8 bytes.
bool PatchForm(FILE* file) {
    if (std::fflush(file) != 0) return false;
    int64_t end = ftello(file);
    if (end < 12 || end - 8 > int64_t(UINT32_MAX)) return false;
    uint8_t word[4];
    PutU32(word, uint32_t(end - 8));
    return fseeko(file, 4, SEEK_SET) == 0 && std::fwrite(word, 1, 4, file) == 4 &&
           fseeko(file, 0, SEEK_END) == 0;
}

} // namespace

// ---- The writer -------------------------------------------------------------------------------

int WriteProject(const char* path) {
    return WriteProjectFile(path, 0);
}

int WriteProjectFile(const char* path, int flags) {
    if (!path || !*path || !Layers || !Page) return -1;
    SafeFile safe;
    FILE* file = OpenSafeFile(&safe, path);
    if (!file) {
        ReportWriteFailure(path, 3300, errno);
        return -1;
    }
    // Large writes: the tiles of a clip go out a few hundred bytes at a time.
    static char buffer[1 << 17];
    std::setvbuf(file, buffer, _IOFBF, sizeof buffer);
    int former = SetPointerShape(2);
    std::fwrite("FORM\0\0\0\0OMXP", 1, 12, file);
    WriteHeaderChunks(file);

    ProjectWriter w;
    w.File = file;
    w.Buffers[0] = EnsureMixer(0, 0);
    w.Buffers[1] = EnsureMixer(2, 0);
    if (!w.Buffers[0] || !w.Buffers[1]) {
        AlertMsg(1000);
        AbandonSafeFile(&safe);
        SetPointerShape(former);
        return -1;
    }
    w.Total = ImagesToSave();
    ProgressOpen(MsgGet(nullptr, 3330));
    UserBreak = 0;
    // What is saved is what the user sees: the page goes into its layer first.
    bool ok = FlushPage() != 0;
    if (!ok) w.Error = EIO;
    for (int32_t i = 0; ok && i < LayerCount; i++) ok = WriteLayer(w, &Layers[i]);
    ProgressClose();
    // The mixer's buffers held the images: the display is built again.
    Redisplay();

    // A save that went wrong leaves the file there was; one the user stopped keeps what
    // was written, as a whole FORM. Where there was no file before, a failure keeps what
    // could be written too.
    bool existed = access(path, F_OK) == 0;
    bool wanted = ok || w.Cancelled || !existed;
    bool patched = wanted && !std::ferror(file) && PatchForm(file);
    if (ok && !patched && !w.Error) w.Error = errno ? errno : EIO;
    int result = -1;
    bool kept = false;
    if (patched) {
        kept = CommitSafeFile(&safe) == 0;
        if (!kept && !w.Error) w.Error = errno ? errno : EIO;
    } else {
        AbandonSafeFile(&safe);
    }
    if (kept && ok) result = 0;
    if (w.Error) ReportWriteFailure(path, 2365, w.Error);
    if (kept && (ok || w.Cancelled) && !(flags & ProjectFileTemporary)) {
        SavedCounter = ChangeCounter;
        AddRecentFile(path);
    }
    SetPointerShape(former);
    return result;
}

// ---- The save command ---------------------------------------------------------------------------

static bool HasProjectExtension(const std::string& path) {
    size_t n = path.size();
    return n >= 4 &&
           (strcasecmp(path.c_str() + n - 4, ".nem") == 0 || strcasecmp(path.c_str() + n - 4, ".omx") == 0);
}

int SaveProjectAs(const char* path) {
    if (!path || !*path) return -1;
    std::string name = path;
    if (!HasProjectExtension(name)) name += ".nem";
    if (MayOverwrite(name.c_str()) != 0) return -1;
    int result = WriteProject(name.c_str());
    if (result == 0) SetProjectName(name.c_str());
    return result;
}

int SaveProject() {
    char path[4096];
    std::snprintf(path, sizeof path, "%s", ProjectName);
    if (!RequestFile(2735, path, sizeof path, 1)) return -1;
    return SaveProjectAs(path);
}

} // namespace nemu
