// The requester's panel: its rows, the handler of its buttons, fields and keys, moving
// between folders, the choice, and the modal run. The list's drawing and the previews
// are file_requester_view.cpp's.
//
// Sections: the rows; folders; the choice; the handler and keys; the run.
#include "ui/file_requester_panel.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/requests.h"
#include "ui/window.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace nemu {

RequesterPanel* ActiveRequester = nullptr;

constexpr uint32_t MsgFolder = 4050, MsgName = 4051, MsgPattern = 4052, MsgParent = 4053, MsgHome = 4054,
                   MsgHistory = 4055, MsgPreviews = 4056, MsgNoSuchFile = 4058, MsgNoSuchFolder = 4059,
                   MsgEmptyHistory = 4060, MsgOK = 1005, MsgCancel = 1006;

// ---- The rows --------------------------------------------------------------------------------------------------

// One row of the panel: its rectangle in layout units, id, kind and label place.
struct RowSpec {
    int16_t Left, Top, Right, Bottom;
    int32_t Id;
    uint32_t Flags, LabelFlags;
};

// clang-format off
static const RowSpec RequesterSpec[RequesterRows] = {
    {0, 0, 0, 0, GADGET_DRAG, 0, 0},
    {0, 0, 0, 0, GADGET_CLOSE, 0, 0},
    {0, 0, 0, 0, GADGET_DEPTH, 0, 0},
    {60, 22, 432, 39, REQ_FOLDER, GK_STRING, LF_LEFT_OF},
    {8, 44, 314, 300, REQ_LIST, GK_AREA, 0},
    {316, 44, 330, 300, REQ_SCROLL, GK_AREA, 0},
    {336, 44, 432, 140, REQ_PREVIEW, GF_INERT | GF_NOFILL | GF_FLAT, 0},
    {336, 148, 432, 165, REQ_PARENT, GK_BUTTON, LF_CENTRE},
    {336, 170, 432, 187, REQ_HOME, GK_BUTTON, LF_CENTRE},
    {336, 192, 432, 209, REQ_HISTORY, GK_BUTTON, LF_CENTRE},
    {336, 214, 432, 231, REQ_ICONS, GK_TOGGLE, LF_CENTRE},
    {8, 304, 432, 317, REQ_DETAIL, GK_LABEL, 0},
    {60, 322, 296, 339, REQ_NAME, GK_STRING, LF_LEFT_OF},
    {352, 322, 432, 339, REQ_PATTERN, GK_STRING, LF_LEFT_OF},
    {8, 350, 100, 369, REQ_OK, GK_DIALOG_BUTTON, LF_CENTRE},
    {340, 350, 432, 369, REQ_CANCEL, GK_DIALOG_BUTTON, LF_CENTRE},
};
// clang-format on

static const struct {
    int32_t Id;
    uint32_t Message;
} RowLabels[] = {
    {REQ_FOLDER, MsgFolder}, {REQ_NAME, MsgName},         {REQ_PATTERN, MsgPattern}, {REQ_PARENT, MsgParent},
    {REQ_HOME, MsgHome},     {REQ_HISTORY, MsgHistory},   {REQ_ICONS, MsgPreviews},  {REQ_OK, MsgOK},
    {REQ_CANCEL, MsgCancel},
};

static void InitField(StringInfo* info, char* buffer, uint32_t size) {
    *info = StringInfo{};
    info->Buffer = buffer;
    info->MaxLen = size;
    info->Cursor = -1;
    info->SelectAnchor = -1;
}

static void BuildRows(RequesterPanel* panel, const char* title) {
    for (int32_t i = 0; i < RequesterRows; i++) {
        const RowSpec& spec = RequesterSpec[i];
        Gadget& g = panel->Rows[i];
        g = Gadget{};
        g.Left = spec.Left, g.Top = spec.Top, g.Right = spec.Right, g.Bottom = spec.Bottom;
        g.Id = spec.Id, g.Flags = spec.Flags, g.LabelFlags = spec.LabelFlags;
    }
    panel->Rows[RequesterRows] = Gadget{};
    for (const auto& l : RowLabels) GadgetById(l.Id, panel->Rows)->Label = MsgGet(nullptr, l.Message);
    GadgetById(GADGET_DRAG, panel->Rows)->Label = title ? title : "";
    GadgetById(REQ_DETAIL, panel->Rows)->Label = panel->Detail;
    InitField(&panel->FolderInfo, panel->FolderText, sizeof panel->FolderText);
    InitField(&panel->NameInfo, panel->NameText, sizeof panel->NameText);
    InitField(&panel->PatternInfo, panel->PatternText, sizeof panel->PatternText);
    GadgetById(REQ_FOLDER, panel->Rows)->String = &panel->FolderInfo;
    GadgetById(REQ_NAME, panel->Rows)->String = &panel->NameInfo;
    GadgetById(REQ_PATTERN, panel->Rows)->String = &panel->PatternInfo;
    if (panel->Request->Icons) GadgetById(REQ_ICONS, panel->Rows)->Flags |= GF_SELECTED;
}

static void RefreshRow(RequesterPanel* panel, int32_t id) {
    if (Gadget* g = GadgetById(id, panel->Rows)) GadgetRefresh(g, panel->Window);
}

static void SetDetail(RequesterPanel* panel, const char* text) {
    std::snprintf(panel->Detail, sizeof panel->Detail, "%s", text);
    RefreshRow(panel, REQ_DETAIL);
}

// ---- Folders ------------------------------------------------------------------------------------------------------

static void Select(RequesterPanel* panel, int32_t row) {
    panel->Selected = row >= 0 && row < panel->List.Count ? row : -1;
    if (panel->Selected >= 0) {
        const FileEntry& e = panel->List.Entries[panel->Selected];
        if (!e.IsFolder) {
            std::snprintf(panel->NameText, sizeof panel->NameText, "%s", e.Name);
            RefreshRow(panel, REQ_NAME);
        }
        RequesterKeepInView(panel, panel->Selected);
    }
    RequesterDrawList(panel);
    RequesterDrawPreview(panel);
    RequesterShowDetail(panel);
}

// Lists the panel's folder again with the pattern in force; selects the entry named
// `select` when it is there.
static void Relist(RequesterPanel* panel, const char* select) {
    FileListRead(&panel->List, panel->List.Folder[0] ? panel->List.Folder : "/", panel->PatternText);
    panel->Top = 0;
    panel->Selected = -1;
    panel->BigPreviewOf = -2; // forces a new large preview
    int32_t found = -1;
    for (int32_t i = 0; select && i < panel->List.Count && found < 0; i++)
        if (!std::strcmp(panel->List.Entries[i].Name, select)) found = i;
    Select(panel, found);
}

// Enters name (an entry, "..", "~" or a typed path) from the panel's folder; 0 when that
// leads to no folder that can be read, and nothing changes.
static int Enter(RequesterPanel* panel, const char* name) {
    char folder[FilePathSize];
    if (!EnterFolder(panel->List.Folder, name, folder, sizeof folder)) return 0;
    // Going up selects the folder we came from, so the way back is one key.
    char cameFrom[FilePathSize] = "";
    if (!std::strcmp(name, "..")) {
        const char* slash = std::strrchr(panel->List.Folder, '/');
        if (slash) std::snprintf(cameFrom, sizeof cameFrom, "%s", slash + 1);
    }
    std::snprintf(panel->List.Folder, sizeof panel->List.Folder, "%s", folder);
    std::snprintf(panel->FolderText, sizeof panel->FolderText, "%s", folder);
    RefreshRow(panel, REQ_FOLDER);
    Relist(panel, cameFrom[0] ? cameFrom : nullptr);
    return 1;
}

static void TypedFolder(RequesterPanel* panel) {
    if (!std::strcmp(panel->FolderText, panel->List.Folder)) return;
    if (Enter(panel, panel->FolderText)) return;
    // A folder that can't be entered is put back.
    std::snprintf(panel->FolderText, sizeof panel->FolderText, "%s", panel->List.Folder);
    RefreshRow(panel, REQ_FOLDER);
    SetDetail(panel, MsgGet(nullptr, MsgNoSuchFolder));
}

static void HistoryMenu(RequesterPanel* panel) {
    PopupItem items[FolderHistorySize + 1] = {};
    int32_t n = 0;
    for (int32_t i = 0; i < FolderHistorySize; i++)
        if (panel->Request->History[i][0]) items[n].Text = panel->Request->History[i], items[n].Id = i, n++;
    if (n == 0) return SetDetail(panel, MsgGet(nullptr, MsgEmptyHistory));
    Gadget* g = GadgetById(REQ_HISTORY, panel->Rows);
    int32_t x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    PopupItem* picked = PopupAt(items, 0, POPUP_BELOW, panel->Window->Left + x, panel->Window->Top + y, w, h);
    if (picked && WindowInList(panel->Window) && !Enter(panel, picked->Text))
        SetDetail(panel, MsgGet(nullptr, MsgNoSuchFolder));
}

// ---- The choice --------------------------------------------------------------------------------------------------

// The name field (or the selected folder) is confirmed: a folder is entered, a file ends
// the request. 1 when the request ends.
static int32_t Confirm(RequesterPanel* panel) {
    if (!panel->NameText[0]) {
        if (panel->Selected >= 0 && panel->List.Entries[panel->Selected].IsFolder)
            Enter(panel, panel->List.Entries[panel->Selected].Name);
        return 0;
    }
    if (Enter(panel, panel->NameText)) {
        panel->NameText[0] = 0;
        RefreshRow(panel, REQ_NAME);
        return 0;
    }
    char path[FilePathSize];
    int fits = panel->NameText[0] == '/'
                   ? std::snprintf(path, sizeof path, "%s", panel->NameText) < int(sizeof path)
                   : JoinPath(path, sizeof path, panel->List.Folder, panel->NameText);
    bool saving = (panel->Request->Mode & REQ_SAVE) != 0;
    if (!fits || (!saving && access(path, F_OK) != 0) || std::strlen(path) >= panel->OutSize) {
        SetDetail(panel, MsgGet(nullptr, MsgNoSuchFile));
        return 0;
    }
    // The name may carry folders of its own: the request keeps the folder the file is in.
    const char* slash = std::strrchr(path, '/');
    char folder[FilePathSize];
    std::snprintf(folder, sizeof folder, "%.*s", int(slash - path), path);
    if (!folder[0] || !EnterFolder("/", folder, folder, sizeof folder)) {
        SetDetail(panel, MsgGet(nullptr, MsgNoSuchFolder));
        return 0;
    }
    std::snprintf(panel->Out, panel->OutSize, "%s", path);
    std::snprintf(panel->Request->Name, sizeof panel->Request->Name, "%s", slash + 1);
    std::snprintf(panel->List.Folder, sizeof panel->List.Folder, "%s", folder);
    FileRequestRemember(panel->Request, folder);
    panel->Result = 1;
    return 1;
}

static void ListPress(RequesterPanel* panel) {
    int32_t row = RequesterRowAt(panel, WindowPointerY - panel->Window->Top);
    if (row < 0) return;
    double now = PlatformSeconds();
    bool twice = row == panel->LastClickRow && now - panel->LastClickTime < PlatformDoubleClickTime() / 1000.0;
    panel->LastClickRow = twice ? -1 : row;
    panel->LastClickTime = now;
    if (row != panel->Selected) Select(panel, row);
    if (!twice) return;
    const FileEntry& e = panel->List.Entries[row];
    if (e.IsFolder) {
        if (!Enter(panel, e.Name)) SetDetail(panel, MsgGet(nullptr, MsgNoSuchFolder));
        return;
    }
    if (Confirm(panel)) panel->Result = 1;
}

// ---- The handler and keys -------------------------------------------------------------------------------------------

static int32_t OnRequesterGadget(GuiWindow* window, Gadget* gadget, int32_t code) {
    auto* panel = static_cast<RequesterPanel*>(window->UserData);
    if (!panel) return 0;
    if (!gadget) {
        if (code == GC_IDLE) RequesterIdle(panel);
        return 0;
    }
    const bool click = code == GC_CLICK;
    switch (gadget->Id) {
    case REQ_LIST:
        if (code == GC_PRESS) ListPress(panel);
        return panel->Result;
    case REQ_SCROLL:
        if (code == GC_PRESS) RequesterScrollPress(panel);
        return 0;
    case REQ_PARENT:
        if (click) Enter(panel, "..");
        return 0;
    case REQ_HOME:
        if (click && !Enter(panel, "~")) SetDetail(panel, MsgGet(nullptr, MsgNoSuchFolder));
        return 0;
    case REQ_HISTORY:
        if (click) HistoryMenu(panel);
        return 0;
    case REQ_ICONS:
        if (click) {
            panel->Request->Icons = (gadget->Flags & GF_SELECTED) ? 1 : 0;
            RequesterKeepInView(panel, std::max(panel->Selected, 0));
            RequesterDrawList(panel);
        }
        return 0;
    case REQ_FOLDER:
        if (code == GC_RETURN || code == GC_DRAG_DONE || code == GC_TAB) TypedFolder(panel);
        return 0;
    case REQ_PATTERN:
        if (code == GC_RETURN || code == GC_DRAG_DONE || code == GC_TAB) {
            std::snprintf(panel->Request->Pattern, sizeof panel->Request->Pattern, "%s", panel->PatternText);
            Relist(panel, nullptr);
        }
        return 0;
    case REQ_NAME:
        return code == GC_RETURN ? Confirm(panel) : 0;
    case REQ_OK:
        return click ? Confirm(panel) : 0;
    case REQ_CANCEL:
        return click ? -1 : 0;
    default:
        return 0;
    }
}

static int32_t OnRequesterKey(const char* text, int32_t* length, int32_t, GuiWindow* window, int32_t keycode,
                              uint32_t) {
    auto* panel = static_cast<RequesterPanel*>(window->UserData);
    if (!panel) return 0;
    const int32_t page = RequesterRowsShown(panel), last = panel->List.Count - 1;
    const int32_t at = panel->Selected;
    static const struct {
        int32_t Key;
        int32_t Step; // rows; 0 for the two ends
    } moves[] = {{VK_UP, -1}, {VK_DOWN, 1}, {VK_PRIOR, -1000}, {VK_NEXT, 1000}, {VK_HOME, 0}, {VK_END, 0}};
    for (const auto& m : moves) {
        if (m.Key != keycode) continue;
        int32_t step = m.Step == 1000 ? page : m.Step == -1000 ? -page : m.Step;
        int32_t to = keycode == VK_HOME ? 0 : keycode == VK_END ? last : at < 0 ? 0 : at + step;
        if (last >= 0) Select(panel, std::clamp(to, 0, last));
        return 0;
    }
    if (keycode == VK_ESCAPE) return -1;
    if (keycode == VK_BACK) return Enter(panel, ".."), 0;
    if (keycode == VK_RETURN) {
        if (at >= 0 && panel->List.Entries[at].IsFolder) return Enter(panel, panel->List.Entries[at].Name), 0;
        return Confirm(panel);
    }
    // A typed letter goes to the next entry that begins with it.
    if (length && *length == 1 && std::isprint((unsigned char)text[0])) {
        int32_t n = panel->List.Count;
        for (int32_t k = 1; k <= n; k++) {
            int32_t i = (std::max(at, 0) + k) % n;
            if (std::tolower((unsigned char)panel->List.Entries[i].Name[0]) == std::tolower((unsigned char)text[0]))
                return Select(panel, i), 0;
        }
    }
    return 0;
}

static void OnRequesterClose(GuiWindow* window) {
    if (auto* panel = static_cast<RequesterPanel*>(window->UserData)) panel->Result = -1;
    WindowDelete(window); // ends the modal loop
}

// ---- The run ------------------------------------------------------------------------------------------------------------

// The stored place, kept wholly on the screen; -1 leaves the window where it was made.
static void PlacePanel(GuiWindow* window, const FileRequest* request) {
    if (request->X < 0 && request->Y < 0) return;
    int32_t sw = Screen ? Screen->Width : 0, sh = Screen ? Screen->Height : 0;
    int32_t x = std::clamp(request->X, 0, std::max(0, sw - int32_t(window->Width)));
    int32_t y = std::clamp(request->Y, 0, std::max(0, sh - int32_t(window->Height)));
    WindowMove(window, x, y);
}

RequesterPanel* RequesterOpen(FileRequest* request, char* pathOut, size_t size, const char* title) {
    auto* panel = static_cast<RequesterPanel*>(std::calloc(1, sizeof(RequesterPanel)));
    if (!panel) {
        AlertMsg(1000);
        return nullptr;
    }
    panel->Request = request;
    panel->Out = pathOut;
    panel->OutSize = size;
    panel->Selected = panel->LastClickRow = -1;
    panel->BigPreviewOf = -2;
    // A folder that went away since the last run falls back on the current one.
    char folder[FilePathSize];
    if (!EnterFolder("/", request->Folder, folder, sizeof folder) && !getcwd(folder, sizeof folder))
        std::snprintf(folder, sizeof folder, "/");
    std::snprintf(panel->List.Folder, sizeof panel->List.Folder, "%s", folder);
    std::snprintf(panel->FolderText, sizeof panel->FolderText, "%s", folder);
    std::snprintf(panel->NameText, sizeof panel->NameText, "%s", RequestKeepsName ? request->Name : "");
    std::snprintf(panel->PatternText, sizeof panel->PatternText, "%s", request->Pattern);
    BuildRows(panel, title);
    FileListRead(&panel->List, folder, panel->PatternText);

    GuiWindow* window = WindowFromRows(RequesterWidth, RequesterHeight, panel->Rows);
    if (!window) {
        FileListFree(&panel->List);
        std::free(panel);
        AlertMsg(1000);
        return nullptr;
    }
    panel->Window = window;
    window->UserData = panel;
    window->OnGadget = OnRequesterGadget;
    window->OnKey = OnRequesterKey;
    window->OnClose = OnRequesterClose;
    window->Notify = 2; // idle ticks, without polling: they make the previews
    PlacePanel(window, request);
    WindowOpen(window);
    // Select the last name when it is listed, so the user starts where they left off.
    int32_t last = -1;
    for (int32_t i = 0; i < panel->List.Count && last < 0; i++)
        if (request->Name[0] && !std::strcmp(panel->List.Entries[i].Name, request->Name)) last = i;
    Select(panel, last);
    return panel;
}

int RequesterClose(RequesterPanel* panel, int32_t ended) {
    if (!panel) return 0;
    FileRequest* request = panel->Request;
    if (WindowInList(panel->Window)) {
        request->X = panel->Window->Left;
        request->Y = panel->Window->Top;
        WindowDelete(panel->Window);
    }
    // The folder is remembered for the next run, chosen or not.
    std::snprintf(request->Folder, sizeof request->Folder, "%s", panel->List.Folder);
    const int chosen = ended == 1 && panel->Result == 1;
    FileListFree(&panel->List);
    RequesterFreePreviews(panel);
    std::free(panel);
    return chosen;
}

int FileRequestPanel(FileRequest* request, char* pathOut, size_t size, const char* title) {
    RequesterPanel* panel = RequesterOpen(request, pathOut, size, title);
    if (!panel) return 0;
    RequesterPanel* outer = ActiveRequester;
    ActiveRequester = panel;
    int32_t ended = ModalLoop(panel->Window);
    ActiveRequester = outer;
    return RequesterClose(panel, ended);
}

} // namespace nemu
