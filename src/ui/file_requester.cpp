// The request records: making them, their folder, pattern and history, their keys in
// section Browser, and the one call through which the program asks for a file.
#include "ui/file_requester.h"

#include "host/screen.h"
#include "ui/catalog.h"
#include "ui/settings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>
#include <unistd.h>

namespace nemu {

FileRequest* PictureRequest = nullptr;
FileRequest* ProjectRequest = nullptr;
int32_t RequestKeepsName = 1;
int (*FileRequesterHook)(uint32_t titleMessage, char* path, size_t size, int forSaving) = nullptr;

constexpr const char* BrowserSection = "Browser";
constexpr const char* ProjectPattern = "*.nem;*.omx";

// Titles that ask for a project rather than a picture.
static const uint32_t ProjectTitles[] = {2735, 20150, 20151};

// ---- The record -----------------------------------------------------------------------------------------

static void CopyText(char* out, size_t size, const char* text) {
    std::snprintf(out, size, "%s", text ? text : "");
}

FileRequest* FileRequestNew(const char* path) {
    auto* request = static_cast<FileRequest*>(std::calloc(1, sizeof(FileRequest)));
    if (!request) return nullptr;
    request->X = request->Y = -1;
    request->Icons = 1;
    if (!getcwd(request->Folder, sizeof request->Folder)) CopyText(request->Folder, sizeof request->Folder, "/");
    if (path && *path) FileRequestSetPath(request, path);
    return request;
}

void FileRequestFree(FileRequest* request) {
    std::free(request);
}

void FileRequestSetPattern(FileRequest* request, const char* pattern) {
    if (request) CopyText(request->Pattern, sizeof request->Pattern, pattern);
}

void FileRequestSetPath(FileRequest* request, const char* path) {
    if (!request || !path || !*path) return;
    char folder[FilePathSize];
    if (EnterFolder(request->Folder, path, folder, sizeof folder)) {
        CopyText(request->Folder, sizeof request->Folder, folder);
        return;
    }
    // A file: its folder, if that exists, and its name.
    const char* slash = std::strrchr(path, '/');
    if (!slash) {
        CopyText(request->Name, sizeof request->Name, path);
        return;
    }
    char head[FilePathSize];
    size_t len = size_t(slash - path);
    if (len >= sizeof head) return;
    std::memcpy(head, path, len);
    head[len] = 0;
    if (EnterFolder(request->Folder, len ? head : "/", folder, sizeof folder)) {
        CopyText(request->Folder, sizeof request->Folder, folder);
        CopyText(request->Name, sizeof request->Name, slash + 1);
    }
}

void FileRequestRemember(FileRequest* request, const char* folder) {
    if (!request || !folder || !*folder) return;
    int32_t found = FolderHistorySize - 1; // not there: the oldest drops out
    for (int32_t i = 0; i < FolderHistorySize; i++)
        if (std::strcmp(request->History[i], folder) == 0) found = i;
    for (int32_t i = found; i > 0; i--) std::memcpy(request->History[i], request->History[i - 1], FilePathSize);
    CopyText(request->History[0], FilePathSize, folder);
}

int FileRequestRun(FileRequest* request, char* pathOut, size_t size, const char* title) {
    if (!request || !pathOut || size == 0) return 0;
    if (!Screen) return 0; // a batch run has nobody to ask
    return FileRequestPanel(request, pathOut, size, title);
}

// ---- Section Browser ----------------------------------------------------------------------------------

struct RequestKeys {
    FileRequest** Request;
    const char* Prefix; // "File" or "Pro"
    const char* DefaultPattern;
};

static const RequestKeys RequestKeyTable[] = {
    {&PictureRequest, "File", ""},
    {&ProjectRequest, "Pro", ProjectPattern},
};

static void KeyName(char* out, size_t size, const char* prefix, const char* rest) {
    std::snprintf(out, size, "%s%s", prefix, rest);
}

static void LoadRequest(FileRequest* r, const char* prefix, const char* defaultPattern) {
    char key[32], value[FilePathSize];
    KeyName(key, sizeof key, prefix, "ReqX");
    r->X = ConfigGetInt(BrowserSection, key, -1);
    KeyName(key, sizeof key, prefix, "ReqY");
    r->Y = ConfigGetInt(BrowserSection, key, -1);
    KeyName(key, sizeof key, prefix, "Icon");
    r->Icons = ConfigGetOn(BrowserSection, key, true) ? 1 : 0;
    KeyName(key, sizeof key, prefix, "Path");
    if (ConfigGet(BrowserSection, key, value, "", sizeof value) > 0) FileRequestSetPath(r, value);
    KeyName(key, sizeof key, prefix, "Name");
    ConfigGet(BrowserSection, key, r->Name, "", sizeof r->Name);
    KeyName(key, sizeof key, prefix, "Pattern");
    ConfigGet(BrowserSection, key, r->Pattern, defaultPattern, sizeof r->Pattern);
    for (int32_t i = 0; i < FolderHistorySize; i++) {
        char rest[16];
        std::snprintf(rest, sizeof rest, "Path%02d", int(i));
        KeyName(key, sizeof key, prefix, rest);
        ConfigGet(BrowserSection, key, r->History[i], "", FilePathSize);
    }
}

static void SaveRequest(const FileRequest* r, const char* prefix) {
    char key[32];
    KeyName(key, sizeof key, prefix, "ReqX");
    ConfigSetInt(BrowserSection, key, r->X);
    KeyName(key, sizeof key, prefix, "ReqY");
    ConfigSetInt(BrowserSection, key, r->Y);
    KeyName(key, sizeof key, prefix, "Icon");
    ConfigSetOn(BrowserSection, key, r->Icons != 0);
    KeyName(key, sizeof key, prefix, "Name");
    ConfigSet(BrowserSection, key, r->Name);
    KeyName(key, sizeof key, prefix, "Path");
    ConfigSet(BrowserSection, key, r->Folder);
    KeyName(key, sizeof key, prefix, "Pattern");
    ConfigSet(BrowserSection, key, r->Pattern);
    for (int32_t i = 0; i < FolderHistorySize; i++) {
        char rest[16];
        std::snprintf(rest, sizeof rest, "Path%02d", int(i));
        KeyName(key, sizeof key, prefix, rest);
        ConfigSet(BrowserSection, key, r->History[i]);
    }
}

void LoadBrowserSettings() {
    char keep[16];
    StartupGet("ReqFileName", keep, "", sizeof keep);
    RequestKeepsName = strncasecmp(keep, "of", 2) == 0 ? 0 : 1;
    for (const RequestKeys& k : RequestKeyTable) {
        if (!*k.Request) *k.Request = FileRequestNew(nullptr);
        if (*k.Request) LoadRequest(*k.Request, k.Prefix, k.DefaultPattern);
    }
}

void SaveBrowserSettings() {
    for (const RequestKeys& k : RequestKeyTable)
        if (*k.Request) SaveRequest(*k.Request, k.Prefix);
}

void FreeFileRequests() {
    for (const RequestKeys& k : RequestKeyTable) {
        FileRequestFree(*k.Request);
        *k.Request = nullptr;
    }
}

// ---- The program's one call ------------------------------------------------------------------------------

int RequestFile(uint32_t titleMessage, char* path, size_t size, int forSaving) {
    if (!path || size == 0) return 0;
    int chosen = 0;
    if (FileRequesterHook) {
        chosen = FileRequesterHook(titleMessage, path, size, forSaving);
    } else {
        bool project = false;
        for (uint32_t t : ProjectTitles) project = project || t == titleMessage;
        FileRequest*& request = project ? ProjectRequest : PictureRequest;
        if (!request) request = FileRequestNew(nullptr);
        if (!request) return 0;
        if (project && !request->Pattern[0]) FileRequestSetPattern(request, ProjectPattern);
        request->Mode = forSaving ? REQ_SAVE : 0;
        chosen = FileRequestRun(request, path, size, MsgGet(nullptr, titleMessage));
    }
    path[size - 1] = 0;
    return chosen && path[0] ? 1 : 0;
}

} // namespace nemu
