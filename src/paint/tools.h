// The tools: the state machine between the pointer and the paint, and the stroke
// bookkeeping every painting path shares: the current dab (`Stamp`), the box of what a
// stroke changed (`DirtyRect`), the per-stroke flags the draw modes read, the brush ghost
// and rubber-band previews on the screen, and the one door through which a painted
// rectangle reaches the screen.
//
// Index: stamps - dirty box - per-stroke flags - tool state - tool modes - pointer
// constraints and grid - previews - settings - refresh door.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct Gadget;

// ---- Stamps ---------------------------------------------------------------------------------

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

constexpr uint32_t GHOST_SHOWN = 1, GHOST_OUTLINE = 2, GHOST_CROSS = 4, GHOST_CIRCLE = 16;

// Never null once the pens are set up: whoever fails to build a stamp leaves a 1 by 1 one.
extern Stamp* CurrentStamp;

// A stamp of w by h with Mask, Mask2 and Under zeroed (and Image when asBrush); null when
// memory is short. Its pixel stores count in MemoryInUse.
Stamp* NewStamp(int32_t w, int32_t h, int asBrush);
void FreeStamp(Stamp* stamp);
// The stamp of last resort: 1 by 1, Kind 4, mask 255. Static, so it cannot fail.
Stamp* FallbackStamp();

// ---- Dirty box ----------------------------------------------------------------------------------

// Bounding box of what the current stroke changed, inclusive corners.
struct DirtyBox {
    int32_t MinX = 0, MaxX = 0, MinY = 0, MaxY = 0;
    int32_t Valid = 0; // counts AddDirty calls since the box was emptied
};
extern DirtyBox DirtyRect;
extern uint32_t DirtyCount;      // AddDirty calls ever, read by the undo label
extern uint32_t DirtyLabelCount; // AddDirty calls since the undo label was last written

// The union with a box given by two corners in any order. Also marks the preview stale.
void AddDirty(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
// AddDirty, then MarkPageChanged: every painting path goes through here.
void AddDirtyAndMark(int32_t x0, int32_t y0, int32_t x1, int32_t y1);

// ---- Per-stroke flags, read by the draw modes and the pens -----------------------------------------
extern int32_t ShiftArmed;         // the first `shift` stamp of this stroke has been made
extern int32_t StrokeColourPicked; // the `impress` colour of this stroke has been taken
extern int32_t WetMode;            // the current pen paints through WetBuffer
extern int32_t MustCommit;         // the next press commits even when wet paint is kept
extern int32_t AbortDrawing;       // stepped shapes stop at the next step

// ---- Tool state ------------------------------------------------------------------------------------
// One record for the whole program. The mode number itself is the main loop's ToolMode,
// WetKeep stands with the page, and the per-stroke flags above are globals of their own
// because the draw modes read them in their inner loops.
struct ToolStateRecord {
    Gadget* ToolButton = nullptr;     // the tool bar's gadget of the mode; null until the tool bar exists
    int32_t ToolVariant = 0;          // 0 outline or plain form, 1 filled or alternative form
    int32_t ToolPhase = 0;            // 0 idle; 1 to 4 by handler
    int32_t ShapeButton = 0;          // 1 left (APen), 2 right (BPen)
    int32_t AnchorX = 0, AnchorY = 0; // first point of a shape, page pixels
    int32_t CursorX = 0, CursorY = 0; // last point the preview used
    int32_t StartFX = 0, StartFY = 0; // first point, page 16.16
    int32_t LineGhostOn = 0, EllipseGhostOn = 0, Ellipse2GhostOn = 0, CrossGhostOn = 0, CurveGhostOn = 0,
            MoveGhostOn = 0;        // which previews stand on the screen
    int32_t CommitAllowed = 1;      // cleared while a move of the image is under way
    int32_t BrushGhostMode = 0;     // 0 automatic, 1 always the whole brush, 2 always an outline
    int32_t BrushGhostInStroke = 0; // keep the brush outline on the screen while painting
};
extern ToolStateRecord ToolState;

// The freehand stroke between passes: the last two samples (16.16 page positions of the
// pointer) with their pressures, and the button that opened it.
struct FreehandRecord {
    int32_t StrokeButton = 0; // 1 left, 2 right
    int32_t FirstSegment = 0;
    int32_t Prev0X = 0, Prev0Y = 0, Prev1X = 0, Prev1Y = 0;
    int32_t PrevHigh0 = 0, PrevLow0 = 0, PrevHigh1 = 0, PrevLow1 = 0;
};
extern FreehandRecord Freehand;

// ---- Tool modes --------------------------------------------------------------------------------------
// The numbers are the ids of the tool bar's gadgets.
enum ToolModeNumber : int32_t {
    TOOL_DOT = 3,
    TOOL_FREEHAND = 7,
    TOOL_SIZE_DRAG = 14, // 14, 15, 16 and 54, 55, 56: the pen's size by a drag
    TOOL_LINE = 21,
};

// One step of the machine: the handler of ToolMode (ToolPoint for modes without one).
void RunToolMode();
// Makes a mode current: ends a running pointer hook, cancels the old mode's previews and
// starts the new mode idle. The tool bar's SelectTool(gadget) highlights the gadget and
// comes here with its id. Returns 0, or -1 for a number outside the modes.
int SelectToolMode(int32_t mode);
// Erases every preview of `mode` and the brush ghost; never paints. Runs before every
// change of pen, draw mode, brush or tool. ToolPhase stays: the press is still counted.
void CancelTool(int32_t mode);

void ToolPoint();
void ToolFreehand();
void ToolLine();
void ToolDragSize();
// The right button on a size gadget: the next drag on the page sets the pen's size, then
// the tool that was current comes back. Nothing happens while such a drag is under way.
void BeginDragSize();
extern int32_t PreviousToolMode; // the tool to select again after a size drag
extern int32_t DragRadius;       // the radius the size drag shows

// PointMode: Continue paints while a button is held, Single only on a press.
enum PointModeValue : int32_t { POINT_CONTINUE = 0, POINT_SINGLE = 1 };
extern int32_t PointMode;
// End values of size and opacity along a line, 0..255 (section Tools).
extern int32_t LineP1, LineP2;

// ---- Pointer constraints and grid ------------------------------------------------------------------------
// Shift held: the pointer keeps to the axis or diagonal it first leaves a 16-pixel square
// on, from where Shift went down, for as long as Shift stays down.
extern int32_t LockAxis; // 0 free, 1 undecided, 2 horizontal, 3 vertical, 4 and 5 the diagonals
extern int32_t LockFX, LockFY;
void ConstrainPointer();
// The same rule from a shape's first point, decided afresh on each call.
void ConstrainToPoint(int32_t fx, int32_t fy);

extern int32_t GridOn;
extern int32_t GridStepX, GridStepY; // at least 1
extern int32_t GridOriginX, GridOriginY;
// Rounds a 16.16 page position to the nearest grid point (fraction one half) when the grid
// is on.
void SnapToGrid(int32_t* fx, int32_t* fy);
int32_t SnapHandle(int32_t h, int32_t step);

// ---- Previews on the screen ------------------------------------------------------------------------------
// The brush ghost under the pointer (page pixels of the handle). Outside a stroke it is
// the dab itself, shown by a save, stamp, show and restore of the page; brushes over
// GhostAreaLimit pixels, and BrushGhostMode 2, show an outline.
extern int32_t GhostAreaLimit;
void ShowGhost(int32_t x, int32_t y);
// Moves the ghost without a moment where neither the old nor the new one shows.
void MoveGhost(int32_t x, int32_t y);
void HideGhost(Stamp* stamp);

// Rubber bands, on the screen only. A line is inverted pixel by pixel along its Bresenham
// path and erased by showing the page again along the very same path.
void DrawXorLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
void EraseXorLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
void DrawXorCircle(int32_t cx, int32_t cy, int32_t r);
void EraseXorCircle(int32_t cx, int32_t cy, int32_t r);
// A column and a row over the whole page through (x, y).
void DrawCrossGhost(int32_t x, int32_t y);
void EraseCrossGhost(int32_t x, int32_t y);

// ---- Settings ------------------------------------------------------------------------------------------
// Tools: LineP1, LineP2, PointMode; System: CustomBrush, BrushMode; Main: DisplayBrushDraw.
void LoadToolSettings();
void SaveToolSettings();

// ---- Refresh door -----------------------------------------------------------------------------------------
// Shows a page rectangle on the screen, clipped to the page. The screen module installs
// ShowPageRectFn; until then painting only changes the page.
void RefreshPageRect(int32_t x, int32_t y, int32_t w, int32_t h);
extern void (*ShowPageRectFn)(int32_t x, int32_t y, int32_t w, int32_t h);

} // namespace nemu
