// Small modal requests built on the toolkit: the alert, questions, number and string
// requests, progress boxes, the busy note, popup menus and the scrolling list.
//
// Without a screen (batch runs), or when a window cannot be made, they fall back on the
// host's boxes of last resort: alerts go to standard error and questions take the
// cautious answer.
#pragma once
#include <cstdint>

namespace nemu {

struct GuiWindow;

// Whether the dialogs are the toolkit's windows: on a real display always, on the headless
// screen only when a test sets HeadlessDialogs. Otherwise the boxes of last resort answer.
extern int32_t HeadlessDialogs;
bool DialogsShown();

// Shows text (lines split at newline) with an OK button; Return and Escape close it too.
void Alert(const char* text);
// Alert with a message of the catalog.
void AlertMsg(uint32_t id);
// 1 for the first answer, 0 for the second; null or empty labels are the catalog's
// default answers (1001, 1002). Return picks the first, Escape the second.
int AskYesNo(const char* text, const char* yes, const char* no);
// 0, 1 or 2 for the answer picked; Escape gives the last.
int AskThree(const char* text, const char* a, const char* b, const char* c);
// Asks for a number in min..max under title; 0 with *value set, -1 on Cancel.
int AskNumber(const char* title, int32_t* value, int32_t min, int32_t max);
// Asks for a text under title, edited in buffer (size bytes); 0 if confirmed, -1 on Cancel.
int AskString(const char* title, char* buffer, uint32_t size);
// Set by tests and embedders to answer questions without a window: when set, questions
// return what it returns (for AskYesNo and AskThree the answer index).
extern int (*AskYesNoHook)(const char* text, const char* yes, const char* no);

// ---- Progress -----------------------------------------------------------------------------
// A long operation opens a progress box with its text, steps it with its position out of
// total, and closes it. ProgressStep drains the input: the box's Cancel, Space, Escape or
// Delete set UserBreak (script/command_host.h), which the operation looks at after each
// step. The boxes are shown only while the setting GAUGE is on.
void ProgressOpen(const char* text);
void ProgressStep(int64_t position, int64_t total);
void ProgressClose();
void ProgressPause(); // nests: while paused the three calls above do nothing
void ProgressResume();
void ProgressNote(const char* text); // a box without bar or Cancel; ProgressClose ends it
extern GuiWindow* ProgressWindow;    // the box standing, or null
extern int32_t GaugeOn;              // setting GAUGE: progress boxes are shown
// Observers called after the box's own work at each call (tests stop an operation at a
// chosen step through Step); null members are skipped.
struct ProgressHooks {
    void (*Open)(const char* text);
    void (*Step)(int64_t position, int64_t total);
    void (*Close)();
};
extern ProgressHooks ProgressBox;

// ---- Busy note ------------------------------------------------------------------------------
// A small window that stands during a long action and goes at the first dialog. Null
// text gives message 7400.
void BusyNote(const char* text);
void BusyEnd();

// ---- Popup menus ------------------------------------------------------------------------------
constexpr int32_t POPUP_SEPARATOR = -2; // Id of a separator row
constexpr uint32_t POPUP_CHECKED = 1;   // ItemFlags: tick at the left
constexpr uint32_t POPUP_DISABLED = 2;  // ItemFlags: embossed text, not pickable

struct PopupItem {
    const char* Text;    // null ends the table
    uint32_t Colour;     // swatch colour (or-ed with FF000000) when not 0
    int32_t Id;          // the caller's number; POPUP_SEPARATOR draws a line
    const char* KeyText; // shown at the right; filled from Command when null
    const char* Command; // command whose key is shown
    PopupItem* Submenu;  // opens to the side; an arrow when KeyText is null
    uint32_t ItemFlags;  // POPUP_ bits
};

// Placement modes of PopupAt.
constexpr int POPUP_AT_POINTER = 0; // the selected item under the pointer
constexpr int POPUP_BELOW = 1;      // below the rectangle
constexpr int POPUP_RIGHT = 2;      // right of it, or left when it would leave the screen
constexpr int POPUP_ABOVE = 3;      // above it
constexpr int POPUP_LEFT = 4;       // left of it

// The item picked (possibly in a submenu), or null when dismissed. selected is the index
// of the item placed under the pointer.
PopupItem* PopupMenu(PopupItem* items, int selected);
// The same, placed by mode against the screen rectangle (x, y, w, h).
PopupItem* PopupAt(PopupItem* items, int selected, int mode, int x, int y, int w, int h);
// The scrolling list that stands in for a mode-0 menu of more than 40 rows.
PopupItem* ScrollList(PopupItem* items, int selected);

} // namespace nemu
