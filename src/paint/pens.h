// Pens and media: one settings record per pen, the dab of the current pen, the stepping
// of a stroke into dabs, the round pen's exact-area strokes, and the wet buffer through
// which the wet pens paint. The pixel work of a dab is in draw_modes.
#pragma once
#include <cstdint>

#include "paint/draw_modes.h"

namespace nemu {

struct Stamp;

// ---- Pen numbers ----------------------------------------------------------------------------
enum PenNumber : int32_t {
    PenRound = 0,
    PenPointe = 1,
    PenPencil = 2,
    PenChalk = 3,
    PenAirbrush = 4,
    PenWet = 5,
    PenOil = 6,
    PenWater = 7,
    PenBrush = 8,
    PenText = 9,
};
extern int32_t Pen; // the current pen

// ---- Settings -------------------------------------------------------------------------------
// Pens 2 to 7: 32 words, as the Pens section stores them.
struct PenSettings {
    int32_t PressureOn; // pressure drives the stroke
    int32_t SpeedOn;    // speed drives the stroke
    int32_t SpeedScale; // 1..999, divisor of speed
    int32_t Size;       // 3..100, radius of the dab
    int32_t Power;      // 0..255
    int32_t Step;       // 0..999 pixels between dabs
    int32_t AutoStep;   // step is Size / 5
    int32_t Invert;     // invert pressure and speed
    int32_t Unused8;
    int32_t Preset;      // 0..11, row of ProfilePresets last taken
    uint8_t Profile[64]; // radial profile, entry 0 the rim, 63 the centre
    int32_t Unused26[3];
    int32_t Strength;   // 1..100 percent, used by WetLut
    int32_t Bristle;    // 0..3, oil and water
    int32_t Continuous; // the wet buffer outlives strokes
};
static_assert(sizeof(PenSettings) == 128, "PenSettings is 32 words");

struct RoundPenSettings {
    int32_t PressureOn, SpeedOn, SpeedScale;
    int32_t PenRadius;  // 0..100
    int32_t PenMaxSize; // 0..100, the radius at full pressure when sizes grow
};
struct PointeSettings {
    int32_t PressureOn, SpeedOn, SpeedScale;
    int32_t Power; // 1..255
    int32_t Invert;
};
struct BrushPenSettings {
    int32_t PressureOn, SpeedOn, SpeedScale;
    int32_t Power; // 1..255
    int32_t Step, AutoStep;
    int32_t Margin; // 0..20
    int32_t Invert;
};

extern PenSettings MediaPens[8]; // indexed by pen number, 2..7 used
extern RoundPenSettings RoundPen;
extern PointeSettings PointePen;
extern BrushPenSettings BrushPen;
extern const uint8_t ProfilePresets[12][64];

// Put every pen back to its defaults.
void ResetPenSettings();
// The Pens and Pressure sections of the settings. Out-of-range numbers are clamped;
// text that is not a number keeps the default.
void LoadPensSettings();
void SavePensSettings();
void LoadPressureSettings();
void SavePressureSettings();
const char* PenKeyName(int32_t pen); // "Airbrush"... or null

// ---- The current pen, set by ApplyPen -------------------------------------------------------------
extern int32_t Power;       // 0..255, scales the dab
extern int32_t Step;        // pixels between dabs
extern int32_t StepCount;   // countdown to the next dab, kept across the segments of a stroke
extern uint8_t Profile[64]; // radial profile of the current pen

// Runs after every change of pen or of its settings: takes the pen's switches into the
// pressure step, sets Power, Step, the wet state, WetLut, and builds the stamp.
// Returns 0, or -1 when the stamp could not be made (message 1000 shown).
int ApplyPen();
// Called at the end of every ApplyPen, so that the panels show the pen; set by the panels.
extern void (*PenChangedHook)();
int SetPen(int32_t pen);
void ToolPen();
void ToolPropPencil();
void ToolPencil();
void ToolChalk();
void ToolAirBrush();
void ToolWaterColor();
void ToolOil();
void ToolGouache();
// Clamps r to the pen's size slider, then ApplyPen.
int SetPenSize(int32_t r);
// The radius a size gadget (14, 15, 16, 54, 55, 56) gives the current pen; -1 for others.
int32_t SizeGadgetRadius(int32_t gadgetId);
void IncreaseToolsSize();
void IncreaseToolsSize2();
void DecreaseToolsSize();
void DecreaseToolsSize2();

// The profile presets: StepProfilePreset moves the pen's Preset by dir with wrap over the
// twelve rows; ApplyProfilePreset copies that row into the pen's profile and applies it.
void StepProfilePreset(int32_t pen, int32_t dir);
int ApplyProfilePreset(int32_t pen);

// ---- Stamps ----------------------------------------------------------------------------------------
int MakePenStamp();
void BuildDab(int32_t power, Stamp* stamp, const uint8_t* profile);
int MakeRoundStamp(int32_t radius);
int MakePointeStamp();
int MakeBristleStamp(int32_t b);
// Resamples a 64-entry profile to r + 1 entries (t[0] the centre), scaled by power / 255.
void ResampleProfile(const uint8_t* profile, int32_t r, int32_t power, double* t);
void BuildWetLut();
// Replaces CurrentStamp; a null stamp (no memory) leaves the 1 by 1 stamp, message 1000.
int InstallStamp(Stamp* stamp);

// ---- Pressure curves ----------------------------------------------------------------------------------
extern int32_t PressureX, PressureY, SpeedX, SpeedY; // control points, 0..255
void MakeCurve(int32_t x, int32_t y, uint8_t* table);

// ---- Wet buffer -----------------------------------------------------------------------------------------
struct WetBox {
    int32_t X0 = 0, Y0 = 0, X1 = 0, Y1 = 0; // inclusive corners, unsorted until ClearWet
    int32_t Set = 0;
};
extern WetBox WetRect;
void ExtendWetRect(int32_t x0, int32_t y0, int32_t x1, int32_t y1);
void ClearWet();

// ---- Strokes
// ------------------------------------------------------------------------------------------------ Dabs along
// a segment between stamp top-left positions (page pixels), every Step pixels.
void WalkStroke(Stamp* stamp, int32_t x0, int32_t y0, int32_t x1, int32_t y1, Bitmap* page, uint32_t colour,
                int32_t useBPen, int32_t first, int32_t op0, int32_t op1);
// One dab and its refresh, batched with the refreshes before it.
void StampAndShow(Stamp* stamp, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen,
                  int32_t op);
// Joins refresh rectangles while the function stays the same; FlushRefresh runs it.
void QueueRefresh(RefreshFn fn, int32_t x, int32_t y, int32_t w, int32_t h);
void FlushRefresh();
// Rows the round pen painted, shown 32 at a time.
void QueueRows(int32_t x, int32_t y, int32_t n);
void FlushRows();

// Coordinates 16.16 page positions of the handle; sizes and opacities 0..255 (sizes below
// 0 shrink the round pen, above 0 grow it towards PenMaxSize).
int PaintLine(Stamp* stamp, int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour,
              int32_t useBPen, int32_t first, int32_t size0, int32_t size1, int32_t op0, int32_t op1);
// A quadratic arc; points in 24.8, three sizes and opacities (start, control, end).
int PaintCurve(Stamp* stamp, const int32_t p[6], uint32_t colour, int32_t useBPen, int32_t first,
               const int32_t size[3], const int32_t op[3]);
// The round pen's exact-area path; non-zero when plain stepping must paint instead.
int PaintRoundStroke(int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour, int32_t useBPen,
                     int32_t first, int32_t size0, int32_t size1, int32_t op0, int32_t op1);
int PaintRoundCurve(const int32_t p[6], uint32_t colour, int32_t useBPen, int32_t first,
                    const int32_t size[3], const int32_t op[3]);
// The radius a size value gives the round pen.
double RoundPenRadius(int32_t size);

} // namespace nemu
