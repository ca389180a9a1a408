// What the requester learns by reading a file: the probe behind the detail line, and the
// small previews, made quietly (a broken file in a folder is not an error the user asked
// about) and a few at a time.
#include "files/image_modules.h"
#include "files/raster_common.h"
#include "files/registry.h"
#include "host/platform.h"
#include "store/bitmap.h"
#include "store/scale.h"
#include "ui/catalog.h"
#include "ui/file_list.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace nemu {

// Messages of the detail line.
constexpr uint32_t MsgKindPicture = 4040, MsgKindAnimation = 4041, MsgKindProject = 4042, MsgKindFolder = 4044,
                   MsgKindUnknown = 4045;
constexpr uint32_t MsgUnitBytes = 4046; // then KB, MB, GB at 4047..4049

// Pictures larger than this are not worth the memory of a preview.
constexpr int64_t PreviewMaxSourcePixels = int64_t(64) << 20;

void FileEntryProbe(const FileList* list, FileEntry* entry) {
    if (!list || !entry || entry->Type != ProbeNotDone) return;
    char path[FilePathSize];
    int w = 0, h = 0;
    entry->Type = JoinPath(path, sizeof path, list->Folder, entry->Name) ? SniffFormat(path, &w, &h) : -1;
    entry->PicWidth = entry->Type >= 0 ? w : 0;
    entry->PicHeight = entry->Type >= 0 ? h : 0;
}

// "12 KB": bytes in the largest unit that keeps the number at 1 or more.
static void SizeText(int64_t bytes, char* out, size_t size) {
    int unit = 0;
    double value = double(bytes);
    while (value >= 1024 && unit < 3) value /= 1024, unit++;
    const char* word = MsgGet(nullptr, MsgUnitBytes + uint32_t(unit));
    if (unit == 0)
        std::snprintf(out, size, "%lld %s", (long long)bytes, word);
    else
        std::snprintf(out, size, "%.1f %s", value, word);
}

void FileDetailLine(const FileList* list, FileEntry* entry, char* out, size_t size) {
    if (!out || size == 0) return;
    out[0] = 0;
    if (!list || !entry) return;
    char date[40] = "";
    if (entry->Modified) {
        time_t t = time_t(entry->Modified);
        struct tm local{};
        if (localtime_r(&t, &local))
            std::snprintf(date, sizeof date, "%2d:%02d:%02d %2d/%02d/%4d", local.tm_hour, local.tm_min, local.tm_sec,
                          local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
    }
    if (entry->IsFolder) {
        std::snprintf(out, size, "%s  %s", date, MsgGet(nullptr, MsgKindFolder));
        return;
    }
    FileEntryProbe(list, entry);
    char bytes[40];
    SizeText(entry->Size, bytes, sizeof bytes);
    if (entry->Type == FILE_PROJECT) {
        std::snprintf(out, size, "%s  %s  %s", date, MsgGet(nullptr, MsgKindProject), bytes);
    } else if (entry->Type == FILE_ANIMATION) {
        std::snprintf(out, size, "%s  %s  %d x %d  %s", date, MsgGet(nullptr, MsgKindAnimation), entry->PicWidth,
                      entry->PicHeight, bytes);
    } else if (entry->Type >= 0) {
        std::snprintf(out, size, "%s  %d x %d  %s  %s", date, entry->PicWidth, entry->PicHeight,
                      FileTypeText(entry->Type), bytes);
    } else {
        std::snprintf(out, size, "%s  %s  %s", date, MsgGet(nullptr, MsgKindUnknown), bytes);
    }
    (void)MsgKindPicture; // the kind of a picture is told by its format's name
}

// ---- Previews -------------------------------------------------------------------------------------------

// The reader of a type, asked directly so that nothing is reported.
static int QuietRead(int type, const char* path, Bitmap* bitmap) {
    if (type >= FIRST_MODULE_MODE) {
        const ImageModule* module = ModuleForMode(type);
        return module && module->Load ? module->Load(path, bitmap) : -1;
    }
    for (int i = 0; i < StillFormatCount; i++)
        if (StillFormats[i].Type == type && StillFormats[i].Read) return StillFormats[i].Read(path, bitmap);
    return -1;
}

Bitmap* MakePreview(const char* path, int32_t maxW, int32_t maxH) {
    if (!path || maxW < 1 || maxH < 1) return nullptr;
    int w = 0, h = 0;
    int type = SniffFormat(path, &w, &h);
    if (type < 0 || type == FILE_PROJECT || w < 1 || h < 1 || int64_t(w) * h > PreviewMaxSourcePixels)
        return nullptr;
    Bitmap* full = NewClearBitmap(w, h);
    if (!full) return nullptr;
    int read = QuietRead(type, path, full);
    ClearFileError();
    if (read != 0) {
        FreeBitmap(full);
        return nullptr;
    }
    if (w <= maxW && h <= maxH) return full;
    // Fit inside maxW by maxH, keeping the proportions; at least one pixel each way.
    int32_t tw = maxW, th = int32_t(int64_t(h) * maxW / w);
    if (th > maxH) th = maxH, tw = int32_t(int64_t(w) * maxH / h);
    Bitmap* small = NewBitmap(std::max(tw, 1), std::max(th, 1));
    if (small && !ScaleBitmap(full, small, true)) {
        FreeBitmap(small);
        small = nullptr;
    }
    FreeBitmap(full);
    return small;
}

// Frees the preview farthest from the range in view, to keep the list under its limit.
static void DropFarthestPreview(FileList* list, int32_t first, int32_t last) {
    int32_t far = -1, distance = -1;
    for (int32_t i = 0; i < list->Count; i++) {
        if (!list->Entries[i].Preview) continue;
        int32_t d = i < first ? first - i : i > last ? i - last : 0;
        if (d > distance) distance = d, far = i;
    }
    if (far < 0) return;
    FreeBitmap(list->Entries[far].Preview);
    list->Entries[far].Preview = nullptr;
    list->Entries[far].PreviewTried = 0; // it may be made again when it comes into view
    list->PreviewCount--;
}

int32_t FileListMakePreviews(FileList* list, int32_t first, int32_t last, int32_t maxW, int32_t maxH,
                             double budget) {
    if (!list || list->Count == 0) return 0;
    first = std::max(first, 0);
    last = std::min(last, list->Count - 1);
    double start = PlatformSeconds();
    int32_t left = 0;
    char path[FilePathSize];
    for (int32_t i = first; i <= last; i++) {
        FileEntry& e = list->Entries[i];
        if (e.IsFolder || e.PreviewTried) continue;
        if (PlatformSeconds() - start > budget) {
            left++;
            continue;
        }
        e.PreviewTried = 1;
        if (!JoinPath(path, sizeof path, list->Folder, e.Name)) continue;
        if (list->PreviewCount >= PreviewLimit) DropFarthestPreview(list, first, last);
        if (list->PreviewCount >= PreviewLimit) continue; // all held ones are in view
        e.Preview = MakePreview(path, maxW, maxH);
        if (e.Preview) list->PreviewCount++;
    }
    return left;
}

} // namespace nemu
