// The one undo command of the page. A stroke's undo costs nothing while it runs: BackPage
// keeps the picture as it stood before the stroke and DirtyRect says where the page may
// differ, so undo exchanges that box between the two, and a second undo redoes.
//
// Layer steps (a layer made, deleted, moved, its images cut...) share the same command
// and the same label: UndoIsLayerStep says which of the two the command means, and Undo
// hands layer steps to the project's layer undo.
//
// The commit side (BeginStrokeCommit, SnapshotBackPage, CommitPage) and the spare page
// come with the tools; what stands here is what both sides need.
#pragma once
#include <cstdint>

namespace nemu {

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
// The undo command: a layer step when UndoIsLayerStep is set, else the page's dirty box
// exchanged with BackPage.
void Undo();

} // namespace nemu
