// The file requester's listing: reading a folder, matching names, the natural order, the
// names shown, and the paths built from them.
//
// Sections: names and patterns; the order; reading a folder; paths.
#include "ui/file_list.h"

#include "store/bitmap.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

// ---- Names and patterns -------------------------------------------------------------------------------

// The length of the valid UTF-8 sequence at s, or 0 for a stray byte.
static int Utf8Length(const unsigned char* s) {
    unsigned c = s[0];
    int n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (n == 0) return 0;
    for (int i = 1; i < n; i++)
        if ((s[i] & 0xC0) != 0x80) return 0;
    // Overlong forms and surrogates are not text either.
    if (n == 2 && c < 0xC2) return 0;
    if (n == 3 && ((c == 0xE0 && s[1] < 0xA0) || (c == 0xED && s[1] >= 0xA0))) return 0;
    if (n == 4 && ((c == 0xF0 && s[1] < 0x90) || c > 0xF4 || (c == 0xF4 && s[1] >= 0x90))) return 0;
    return n;
}

void ShownName(const char* bytes, char* out, size_t size) {
    if (!out || size == 0) return;
    size_t o = 0;
    const auto* s = reinterpret_cast<const unsigned char*>(bytes ? bytes : "");
    while (*s) {
        int n = Utf8Length(s);
        char piece[8];
        size_t len;
        if (n > 0) {
            std::memcpy(piece, s, size_t(n));
            len = size_t(n);
            s += n;
        } else {
            len = size_t(std::snprintf(piece, sizeof piece, "\\x%02X", unsigned(*s)));
            s++;
        }
        if (o + len >= size) break;
        std::memcpy(out + o, piece, len);
        o += len;
    }
    out[o] = 0;
}

static bool MatchOne(const char* p, const char* pe, const char* n) {
    // Iterative glob with one back-track point: enough for "*" and "?".
    const char *star = nullptr, *retry = nullptr;
    while (*n) {
        if (p < pe && *p == '*') {
            star = ++p;
            retry = n;
        } else if (p < pe && (*p == '?' || std::tolower((unsigned char)*p) == std::tolower((unsigned char)*n))) {
            p++, n++;
        } else if (star) {
            p = star;
            n = ++retry;
        } else {
            return false;
        }
    }
    while (p < pe && *p == '*') p++;
    return p == pe;
}

static bool IsPatternSeparator(char c) {
    return c == ';' || c == '|' || c == ',' || c == ' ' || c == '\t';
}

bool PatternMatches(const char* pattern, const char* name) {
    if (!name) return false;
    if (!pattern) return true;
    bool any = false;
    for (const char* p = pattern; *p;) {
        while (*p && IsPatternSeparator(*p)) p++;
        const char* e = p;
        while (*e && !IsPatternSeparator(*e)) e++;
        if (e > p) {
            any = true;
            if (MatchOne(p, e, name)) return true;
        }
        p = e;
    }
    return !any;
}

// Whether the pattern asks for hidden names: one of its pieces begins with a dot.
static bool PatternShowsHidden(const char* pattern) {
    for (const char* p = pattern ? pattern : ""; *p; p++)
        if (*p == '.' && (p == pattern || IsPatternSeparator(p[-1]))) return true;
    return false;
}

// ---- The order ------------------------------------------------------------------------------------------

int NaturalCompare(const char* a, const char* b) {
    const auto* x = reinterpret_cast<const unsigned char*>(a);
    const auto* y = reinterpret_cast<const unsigned char*>(b);
    while (*x && *y) {
        if (std::isdigit(*x) && std::isdigit(*y)) {
            // Compare the runs by value: skip leading zeros, then the longer run is larger,
            // then the first differing digit decides.
            while (*x == '0') x++;
            while (*y == '0') y++;
            const unsigned char *xe = x, *ye = y;
            while (std::isdigit(*xe)) xe++;
            while (std::isdigit(*ye)) ye++;
            if (xe - x != ye - y) return (xe - x) < (ye - y) ? -1 : 1;
            for (; x < xe; x++, y++)
                if (*x != *y) return *x < *y ? -1 : 1;
            continue;
        }
        int cx = std::tolower(*x), cy = std::tolower(*y);
        if (cx != cy) return cx < cy ? -1 : 1;
        x++, y++;
    }
    if (*x || *y) return *x ? 1 : -1;
    return std::strcmp(a, b);
}

// ---- Reading a folder -------------------------------------------------------------------------------------

static void FreeEntry(FileEntry* e) {
    std::free(e->Name);
    std::free(e->Shown);
    FreeBitmap(e->Preview);
}

void FileListFree(FileList* list) {
    if (!list) return;
    for (int32_t i = 0; i < list->Count; i++) FreeEntry(&list->Entries[i]);
    std::free(list->Entries);
    list->Entries = nullptr;
    list->Count = list->Folders = list->PreviewCount = 0;
}

static int AddEntry(FileList* list, int32_t* capacity, const char* name, const struct stat* st, bool folder) {
    if (list->Count == *capacity) {
        int32_t more = *capacity ? *capacity * 2 : 64;
        void* grown = std::realloc(list->Entries, sizeof(FileEntry) * size_t(more));
        if (!grown) return 0;
        list->Entries = static_cast<FileEntry*>(grown);
        *capacity = more;
    }
    FileEntry e{};
    e.Name = strdup(name);
    size_t shownSize = std::strlen(name) * 4 + 1; // every byte may become \xNN
    e.Shown = static_cast<char*>(std::malloc(shownSize));
    if (!e.Name || !e.Shown) {
        FreeEntry(&e);
        return 0;
    }
    ShownName(name, e.Shown, shownSize);
    e.IsFolder = folder ? 1 : 0;
    e.Type = folder ? -1 : ProbeNotDone;
    if (st) {
        e.Size = folder ? 0 : int64_t(st->st_size);
        e.Modified = int64_t(st->st_mtime);
    }
    list->Entries[list->Count++] = e;
    return 1;
}

static bool EntryBefore(const FileEntry& a, const FileEntry& b) {
    if (a.IsFolder != b.IsFolder) return a.IsFolder > b.IsFolder;
    // ".." stands first among the folders.
    bool pa = std::strcmp(a.Name, "..") == 0, pb = std::strcmp(b.Name, "..") == 0;
    if (pa != pb) return pa;
    return NaturalCompare(a.Name, b.Name) < 0;
}

int FileListRead(FileList* list, const char* folder, const char* pattern) {
    if (!list || !folder) return -1;
    FileListFree(list);
    list->ReadError = 0;
    // The list's own folder may be passed in to list it again.
    if (folder != list->Folder) {
        if (std::strlen(folder) >= sizeof list->Folder) {
            list->ReadError = ENAMETOOLONG;
            return -1;
        }
        std::memmove(list->Folder, folder, std::strlen(folder) + 1);
    }
    int32_t capacity = 0;
    int result = 0;
    if (std::strcmp(folder, "/") != 0 && !AddEntry(list, &capacity, "..", nullptr, true)) return -1;
    DIR* dir = opendir(folder);
    if (!dir) {
        list->ReadError = errno ? errno : EACCES;
        list->Folders = list->Count;
        return -1;
    }
    bool hidden = PatternShowsHidden(pattern);
    char path[FilePathSize];
    errno = 0;
    while (struct dirent* d = readdir(dir)) {
        const char* name = d->d_name;
        if (!std::strcmp(name, ".") || !std::strcmp(name, "..")) continue;
        if (name[0] == '.' && !hidden) continue;
        struct stat st{};
        bool known = JoinPath(path, sizeof path, folder, name) && stat(path, &st) == 0;
        // A broken link or a name that cannot be stat'ed is still a file: it is listed.
        bool isFolder = known ? S_ISDIR(st.st_mode) : d->d_type == DT_DIR;
        if (!isFolder && !PatternMatches(pattern, name)) continue;
        if (!AddEntry(list, &capacity, name, known ? &st : nullptr, isFolder)) {
            result = -1;
            break;
        }
        errno = 0;
    }
    if (errno && result == 0) {
        list->ReadError = errno;
        result = -1;
    }
    closedir(dir);
    std::sort(list->Entries, list->Entries + list->Count, EntryBefore);
    for (list->Folders = 0; list->Folders < list->Count && list->Entries[list->Folders].IsFolder;) list->Folders++;
    return result;
}

// ---- Paths ------------------------------------------------------------------------------------------------------

int JoinPath(char* out, size_t size, const char* folder, const char* name) {
    if (!out || size == 0) return 0;
    size_t fl = folder ? std::strlen(folder) : 0;
    const char* separator = fl && folder[fl - 1] == '/' ? "" : "/";
    int n = std::snprintf(out, size, "%s%s%s", folder ? folder : "", separator, name ? name : "");
    if (n < 0 || size_t(n) >= size) {
        out[0] = 0;
        return 0;
    }
    return 1;
}

int EnterFolder(const char* folder, const char* name, char* out, size_t size) {
    if (!name || !*name || !out) return 0;
    char joined[FilePathSize];
    if (name[0] == '/') {
        if (std::snprintf(joined, sizeof joined, "%s", name) >= int(sizeof joined)) return 0;
    } else if (name[0] == '~' && (name[1] == 0 || name[1] == '/')) {
        const char* home = std::getenv("HOME");
        if (!home || std::snprintf(joined, sizeof joined, "%s%s", home, name + 1) >= int(sizeof joined)) return 0;
    } else if (!JoinPath(joined, sizeof joined, folder, name)) {
        return 0;
    }
    // realpath walks the links by itself: the process's folder stays where it is.
    char resolved[PATH_MAX];
    if (!realpath(joined, resolved)) return 0;
    struct stat st{};
    if (stat(resolved, &st) != 0 || !S_ISDIR(st.st_mode) || access(resolved, R_OK | X_OK) != 0) return 0;
    if (std::strlen(resolved) >= size) return 0;
    std::memcpy(out, resolved, std::strlen(resolved) + 1);
    return 1;
}

} // namespace nemu
