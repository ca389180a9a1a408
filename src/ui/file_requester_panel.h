// The requester's panel, shared by its two files: file_requester_panel.cpp (the window, its
// rows, the handler and the run) and file_requester_view.cpp (the list, its scroll bar, the
// large preview and the idle work that fills the previews in).
//
// Layout, in layout units: the folder field across the top; the list with a scroll bar on
// the left and the large preview with the folder buttons on the right; the detail line,
// the name and pattern fields, and OK and Cancel along the bottom.
#pragma once
#include <cstddef>
#include <cstdint>

#include "ui/file_list.h"
#include "ui/file_requester.h"
#include "ui/gadget.h"

namespace nemu {

// Row ids: 1 to 19 are the panel's own; 18 confirms, 19 cancels.
enum RequesterId : int32_t {
    REQ_FOLDER = 1,
    REQ_PARENT = 2,
    REQ_HISTORY = 3,
    REQ_HOME = 4,
    REQ_LIST = 5,
    REQ_SCROLL = 6,
    REQ_PREVIEW = 7,
    REQ_NAME = 8,
    REQ_PATTERN = 9,
    REQ_ICONS = 10,
    REQ_DETAIL = 11,
    REQ_OK = 18,
    REQ_CANCEL = 19,
};

constexpr int32_t RequesterWidth = 440, RequesterHeight = 380;
constexpr int32_t RequesterRows = 16; // the panel's rows with the three system ones, before the end row
constexpr int32_t IconRowUnits = 40;  // a list row with a preview
constexpr int32_t TextRowUnits = 14;  // a list row without
constexpr int32_t IconUnitsW = 48, IconUnitsH = 36;
constexpr double PreviewSliceSeconds = 0.015; // idle time given to previews per tick

struct RequesterPanel {
    FileRequest* Request;
    GuiWindow* Window;
    FileList List;
    int32_t Top;      // first list row shown
    int32_t Selected; // -1 none
    int32_t LastClickRow;
    double LastClickTime;
    int32_t Result; // 1 chosen, -1 cancelled, 0 running
    char* Out;
    size_t OutSize;
    Bitmap* BigPreview; // of the selected entry, or null
    int32_t BigPreviewOf;
    int32_t PreviewsPending; // rows in view still without a try
    char FolderText[FilePathSize], NameText[FilePathSize], PatternText[PatternSize];
    char Detail[512];
    StringInfo FolderInfo, NameInfo, PatternInfo;
    Gadget Rows[RequesterRows + 1];
};

// The panel of the running request, or null (tests read it).
extern RequesterPanel* ActiveRequester;

// ---- The panel (file_requester_panel.cpp) ---------------------------------------------------------
// Makes and opens the panel with its list drawn; null when out of memory (said). The modal
// run lies between these two; RequesterClose frees it all and returns 1 when a file was
// chosen with the loop's result `ended`.
RequesterPanel* RequesterOpen(FileRequest* request, char* pathOut, size_t size, const char* title);
int RequesterClose(RequesterPanel* panel, int32_t ended);

// ---- The view (file_requester_view.cpp) -----------------------------------------------------------
int32_t RequesterRowHeight(const RequesterPanel* panel); // pixels
int32_t RequesterRowsShown(const RequesterPanel* panel);
void RequesterDrawList(RequesterPanel* panel);      // list and scroll bar, to the screen
void RequesterDrawPreview(RequesterPanel* panel);   // the large preview of the selection
void RequesterShowDetail(RequesterPanel* panel);    // the detail line of the selection
void RequesterScrollTo(RequesterPanel* panel, int32_t top);
void RequesterKeepInView(RequesterPanel* panel, int32_t row);
int32_t RequesterRowAt(const RequesterPanel* panel, int32_t surfaceY); // -1 outside the rows
void RequesterScrollPress(RequesterPanel* panel);   // a press on the scroll bar, until release
void RequesterIdle(RequesterPanel* panel);          // makes a few previews and shows them
void RequesterFreePreviews(RequesterPanel* panel);

} // namespace nemu
