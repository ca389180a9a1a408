// The stroke bookkeeping every painting path shares: the current dab (`Stamp`), the box
// of what a stroke changed (`DirtyRect`), the per-stroke flags the draw modes read, and
// the one door through which a painted rectangle reaches the screen.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;

// The current brush dab. A pen dab has only Mask; a custom brush has Image too.
struct Stamp {
    Bitmap* Image = nullptr;          // colour pixels of a custom brush, null for a pen dab
    Bitmap* Under = nullptr;          // same size: preview save-under, second buffer of `shift`
    int32_t HandleX = 0, HandleY = 0; // offset of the handle, width/2 and height/2 when new
    int32_t OriginX = 0, OriginY = 0; // where a cut brush stood in the page
    int32_t Kind = 4;                 // 1 round pen, 3 brush, 4 pen dab (mask only), 5 brush with power
    int32_t Width = 0, Height = 0;
    int32_t GhostX = 0, GhostY = 0; // where the preview stands
    uint32_t GhostFlags = 0;        // 1 shown, 2 outline, 4 panto cross, 16 outline is a circle
    int32_t Radius = 0;             // Kind 1 only
    uint32_t TransColor = 0;        // colour that was transparent when the brush was cut
    uint8_t* Mask = nullptr;        // coverage 0 to 255, Width * Height
    uint8_t* Mask2 = nullptr;       // scratch of the pencil and chalk dithers, same size
    void* Anim = nullptr;           // animation brush frames, owned by the brush module
    int32_t AnimFrame = 0;
};

// Never null once the pens are set up: whoever fails to build a stamp leaves a 1 by 1 one.
extern Stamp* CurrentStamp;

// A stamp of w by h with Mask, Mask2 and Under zeroed (and Image when asBrush); null when
// memory is short. Its pixel stores count in MemoryInUse.
Stamp* NewStamp(int32_t w, int32_t h, int asBrush);
void FreeStamp(Stamp* stamp);
// The stamp of last resort: 1 by 1, Kind 4, mask 255. Static, so it cannot fail.
Stamp* FallbackStamp();

// Bounding box of what the current stroke changed, inclusive corners.
struct DirtyBox {
    int32_t MinX = 0, MaxX = 0, MinY = 0, MaxY = 0;
    int32_t Valid = 0; // counts AddDirty calls since the box was emptied
};
extern DirtyBox DirtyRect;
extern uint32_t DirtyCount;      // AddDirty calls ever, read by the undo label
extern uint32_t DirtyLabelCount; // AddDirty calls since the undo label was last written

void AddDirty(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
void AddDirtyAndMark(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
// Raises PageVersion and lets the undo module relabel its item (MarkPageChangedHook).
void NotePageChanged();
extern void (*MarkPageChangedHook)();

// Per-stroke flags read by the draw modes and the pens.
extern int32_t ShiftArmed;         // the first `shift` stamp of this stroke has been made
extern int32_t StrokeColourPicked; // the `impress` colour of this stroke has been taken
extern int32_t WetMode;            // the current pen paints through WetBuffer
extern int32_t MustCommit;         // the next press commits even when wet paint is kept
extern int32_t AbortDrawing;       // stepped shapes stop at the next step

// Every change of pen, draw mode or brush first ends what the tool shows; the tool
// handlers install their canceller here.
extern void (*CancelToolHook)(int32_t mode);
void CancelCurrentTool();

// Shows a page rectangle on the screen, clipped to the page. The screen module installs
// ShowPageRectFn; until then painting only changes the page.
void RefreshPageRect(int32_t x, int32_t y, int32_t w, int32_t h);
extern void (*ShowPageRectFn)(int32_t x, int32_t y, int32_t w, int32_t h);

} // namespace nemu
