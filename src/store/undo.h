// The page's one level of undo, and the spare page.
//
// A stroke's undo costs nothing while it runs: BackPage keeps the picture as it stood
// before the stroke and DirtyRect says where the page may differ, so undo exchanges that
// box between the two, and a second undo redoes. The box is copied to BackPage only at
// the press that opens the next stroke (BeginStrokeCommit), which makes that state final.
//
// Layer steps (a layer made, deleted, moved, its images cut...) share the same command
// and the same label: UndoIsLayerStep says which of the two the command means.
//
// The spare page is a second full picture that the user swaps with the page, and that
// the `merge` and `impress` draw modes read.
#pragma once
#include <cstdint>

namespace nemu {

// ---- The label -------------------------------------------------------------------------------
constexpr int UndoLabelSize = 256;
extern char UndoLabel[UndoLabelSize]; // text of the undo gadget
extern uint32_t UndoIsLayerStep;      // non-zero: the undo command means a layer step
// Shows the label wherever the undo gadget is; the main panel installs it.
extern void (*UndoLabelHook)(const char* label);

// Raises PageVersion and records what the next undo means. The label becomes message
// 3220 alone, or message 3220, a blank and text; an equal label is not replaced.
void SetUndoLabel(int layerStep, const char* text);
// Every change of the page: the next undo means the page.
void MarkPageChanged();
// Undo, redo, undo: swaps the 3220 and 3221 prefixes of the label. Raises PageVersion.
void ToggleUndoLabel();

// ---- Commits -----------------------------------------------------------------------------------
// The end of the last stroke, run at the press that opens the next: the dirty box, grown
// by a pixel and clamped to the page, goes from Page to BackPage.
void BeginStrokeCommit();
// Before an operation that changes much: all of Page to BackPage, an empty box.
void SnapshotBackPage();
// Makes the page's state final (the user command ResetUndo).
void CommitPage();
// After a whole-page operation: the whole page marked changed, then committed, so the
// operation cannot be undone.
void CommitWholePage();

// ---- Undo --------------------------------------------------------------------------------------
// The layer model's undo of its step, run by Undo when UndoIsLayerStep is set; 1 when
// something changed. The layer module installs it.
extern int (*LayerUndoHook)();
// Whether the page's own undo would change anything: a BackPage of the page's size and
// a box that touches the page.
int PageUndoPending();
// The page's exchange alone: the box clamped to the page (and kept so), swapped between
// BackPage and Page, shown, then AfterUndoHook. The label is left as it is.
void UndoPage();
// The undo command: a layer step when UndoIsLayerStep is set, else UndoPage; then the
// label toggles. A second call redoes. om_undo runs this.
void Undo();
// The user command Undo (the undo gadget): nothing without a BackPage; otherwise the next
// press must commit, the preview is stale, and Undo.
void UndoCommand();

// ---- Page size ---------------------------------------------------------------------------------
// The page was given new bitmaps: what pointed into the old one is forgotten. The spare
// does not follow a new size (it is freed, and the draw modes that read it give way to
// `color`), the undo and wet boxes are emptied, and a tool in mid-stroke is cancelled and
// waits for the next press.
void PageSizeChanged();

// A change of page size asks first when there is a spare, which cannot follow it (message
// 1422). 1 to go on: no spare, or the user agreed.
int ConfirmPageSizeChange();

// ---- Spare page --------------------------------------------------------------------------------
// A cleared spare of the page's size when there is none (or it has another size). 1, or
// 0 with message 1420 shown when memory is short.
int EnsureSpare();
// Copies the page to the spare. With ask set and a spare there, the user is asked first
// (message 1421) and may say no. 1 done, 0 refused or out of memory.
int CopyToSpare(int ask);
// Exchanges page and spare, making a cleared spare when there is none. The exchange ends
// the undo step: it cannot be undone. 0, or -1 when memory is short.
int SwapSpare();
// The user's kill (om_sparekill): with a spare, the draw mode becomes `color` whatever it
// was, and the spare is freed. Without one, nothing changes.
void KillSpare();
// Frees a spare that can no longer be used (the page changed size); only the draw modes
// that read it give way to `color`.
void DropSpare();

} // namespace nemu
