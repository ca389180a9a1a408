// Choosing what a dab does: the stamp function for the draw mode, stamp kind and pen,
// the refresh that goes with it, and the commands that set the draw mode.
//
// Index: state and names - adapters - dry table - wet selection - refresh - commands.
#include <strings.h>

#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

int32_t DrawMode = 0;
int32_t PenKind = 0;
// Off until the main loop's prologue turns it on with the switch's own toggle.
int32_t AntiAlias = 0;
void (*DrawModeLabelHook)(int32_t mode) = nullptr;

uint32_t RangeColour(int32_t, uint32_t colour) {
    return colour;
}

void CopyToScreen(Bitmap*, int32_t x, int32_t y, int32_t w, int32_t h) {
    RefreshPageRect(x, y, w, h);
}

namespace {
struct ModeName {
    const char* Name;
    int32_t Mode;
};
const ModeName ModeNames[] = {
    {"color", 0},   {"stamp", 1},  {"merge", 2},  {"trans", 2},    {"colorize", 3},
    {"smooth", 4},  {"blur", 5},   {"smear", 6},  {"shift", 7},    {"shade", 8},
    {"light", 9},   {"grain", 11}, {"tint", 12},  {"hue", 12},     {"impress", 13},
    {"behind", 14}, {"erase", 15}, {"alpha", 15}, {"replace", 16}, {"panto", 17},
};
} // namespace

const int32_t DrawModePopupOrder[17] = {0, 1, 16, 14, 15, 17, 2, 13, 8, 9, 3, 12, 11, 4, 5, 6, 7};

namespace {
const uint32_t ModeMessages[18] = {3200, 3201, 3206, 3210, 3213, 3214, 3215, 3216, 3208,
                                   3209, 0,    3212, 3211, 3207, 3203, 3204, 3202, 3205};
} // namespace

int32_t DrawModeByName(const char* name) {
    if (!name) return -1;
    for (const ModeName& m : ModeNames)
        if (!strcasecmp(m.Name, name)) return m.Mode;
    return -1;
}

uint32_t DrawModeMessage(int32_t mode) {
    return mode >= 0 && mode < 18 ? ModeMessages[mode] : 0;
}

// ---- Adapters: one StampFn per kernel, opacity source and colour source -------------------------------

namespace {
enum class OpFrom { Given, Full, Power };
enum class ColourFrom { Given, Average, Picked };

inline int32_t OpOf(OpFrom f, int32_t op) {
    return f == OpFrom::Given ? op : f == OpFrom::Full ? 255 : (op * Power) / 255;
}

template <ColourFrom C>
inline uint32_t ColourOf(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour) {
    if constexpr (C == ColourFrom::Average)
        return AverageUnder(s, x, y, page);
    else if constexpr (C == ColourFrom::Picked)
        return ImpressColour(s, x, y);
    else
        return colour;
}

template <MaskKernel K, OpFrom F, ColourFrom C = ColourFrom::Given>
void MaskStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen, int32_t op) {
    int32_t o = OpOf(F, op);
    colour = ColourOf<C>(s, page, x, y, colour);
    if (C == ColourFrom::Given && !useBPen) colour = RangeColour(o, colour);
    K(s->Mask, s->Width, s->Width, s->Height, page, x, y, colour, o);
}

template <DitherForm D, bool Pencil, ColourFrom C = ColourFrom::Given>
void DitherStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen, int32_t op) {
    colour = ColourOf<C>(s, page, x, y, colour);
    if (C == ColourFrom::Given && !useBPen) colour = RangeColour(op, colour);
    if (Pencil)
        PencilStamp(s, page, x, y, colour, op, D);
    else
        ChalkStamp(s, page, x, y, colour, op, D);
}

template <bool Hard, OpFrom F>
void ShiftStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t op) {
    ShiftMask(s, s->Mask, page, x, y, OpOf(F, op), Hard);
}

template <bool BlurForm>
void SmoothStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t) {
    SmoothMask(s, s->Mask, page, x, y, BlurForm);
}

template <OpFrom F>
void ShapeStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen, int32_t op) {
    int32_t o = OpOf(F, op);
    ShapeColorStamp(s, page, x, y, useBPen ? colour : RangeColour(o, colour), o);
}
template <OpFrom F>
void OverStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t op) {
    BrushOverStamp(s, page, x, y, OpOf(F, op));
}
void SpareAlphaStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t) {
    SpareThroughAlphaStamp(s, page, x, y, 255);
}
template <OpFrom F>
void BehindBrushStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t op) {
    BrushBehindStamp(s, page, x, y, OpOf(F, op));
}
template <OpFrom F>
void ReplaceBrushStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t, int32_t op) {
    BrushReplaceStamp(s, page, x, y, OpOf(F, op));
}

// ---- Dry table: one selector per draw mode --------------------------------------------------------------

using Selector = StampFn (*)(const Stamp* s);

// Three stamps by PenKind (0 soft, 1 chalk, 2 pencil).
inline StampFn ByPenKind(StampFn soft, StampFn chalk, StampFn pencil) {
    return PenKind == 1 ? chalk : PenKind == 2 ? pencil : soft;
}
inline bool DabKind(const Stamp* s) {
    return s->Kind == 4 || s->Kind == 5;
}

StampFn ColourOther(const Stamp*) {
    return AntiAlias ? MaskStamp<SoftColorMask, OpFrom::Full> : MaskStamp<HardColorMask, OpFrom::Full>;
}
StampFn SelColour(const Stamp* s) {
    switch (Pen) {
    case PenPencil:
        return DitherStamp<DitherForm::Color, true>;
    case PenChalk:
        return DitherStamp<DitherForm::Color, false>;
    case PenAirbrush:
        return MaskStamp<SoftColorMask, OpFrom::Given>;
    case PenBrush:
    case PenText:
        return OverStamp<OpFrom::Power>;
    default:
        return ColourOther(s);
    }
}
StampFn SelStamp(const Stamp* s) {
    if (s->Kind == 3) return ShapeStamp<OpFrom::Full>;
    if (s->Kind == 4)
        return ByPenKind(MaskStamp<SoftColorMask, OpFrom::Given>, DitherStamp<DitherForm::Color, false>,
                         DitherStamp<DitherForm::Color, true>);
    if (s->Kind == 5) return ShapeStamp<OpFrom::Power>;
    return ColourOther(s);
}
StampFn SelMerge(const Stamp* s) {
    if (s->Kind == 3) return SpareAlphaStamp;
    if (DabKind(s))
        return ByPenKind(MaskStamp<SpareSoftMask, OpFrom::Given>, DitherStamp<DitherForm::Spare, false>,
                         DitherStamp<DitherForm::Spare, true>);
    return AntiAlias ? MaskStamp<SpareSoftMask, OpFrom::Full> : MaskStamp<SpareHardMask, OpFrom::Full>;
}
StampFn SelColorize(const Stamp* s) {
    if (s->Kind == 4 && PenKind) return DitherStamp<DitherForm::Colorize, false>;
    return MaskStamp<ColorizeMask, OpFrom::Full>;
}
StampFn SelSmooth(const Stamp*) {
    return SmoothStamp<false>;
}
StampFn SelBlur(const Stamp*) {
    return SmoothStamp<true>;
}
template <ColourFrom C> StampFn SelPickedColour(const Stamp* s) {
    if (DabKind(s))
        return PenKind ? DitherStamp<DitherForm::Color, false, C> : MaskStamp<Soft4Mask, OpFrom::Given, C>;
    return AntiAlias ? MaskStamp<Soft4Mask, OpFrom::Full, C> : MaskStamp<HardColorMask, OpFrom::Full, C>;
}
StampFn SelShift(const Stamp* s) {
    if (DabKind(s))
        return ByPenKind(ShiftStamp<false, OpFrom::Given>, DitherStamp<DitherForm::Shift, false>,
                         DitherStamp<DitherForm::Shift, true>);
    return AntiAlias ? ShiftStamp<false, OpFrom::Full> : ShiftStamp<true, OpFrom::Full>;
}
StampFn SelShade(const Stamp*) {
    return MaskStamp<ShadeMask, OpFrom::Full>;
}
StampFn SelLight(const Stamp*) {
    return MaskStamp<LightMask, OpFrom::Full>;
}
StampFn SelGrain(const Stamp*) {
    return MaskStamp<GrainMask, OpFrom::Full>;
}
StampFn SelTint(const Stamp* s) {
    if (s->Kind == 4 && PenKind) return DitherStamp<DitherForm::Tint, false>;
    return MaskStamp<TintMask, OpFrom::Full>;
}
StampFn SelBehind(const Stamp* s) {
    if (s->Kind == 3) return BehindBrushStamp<OpFrom::Full>;
    if (s->Kind == 5) return BehindBrushStamp<OpFrom::Power>;
    if (s->Kind == 4)
        return ByPenKind(MaskStamp<SoftBehindMask, OpFrom::Given>, DitherStamp<DitherForm::Behind, false>,
                         DitherStamp<DitherForm::Behind, true>);
    return MaskStamp<SoftBehindMask, OpFrom::Full>;
}
StampFn SelErase(const Stamp* s) {
    if (DabKind(s))
        return ByPenKind(MaskStamp<SoftEraseMask, OpFrom::Given>, DitherStamp<DitherForm::Erase, false>,
                         DitherStamp<DitherForm::Erase, true>);
    return MaskStamp<SoftEraseMask, OpFrom::Full>;
}
StampFn SelReplace(const Stamp* s) {
    if (s->Kind == 3) return ReplaceBrushStamp<OpFrom::Full>;
    if (s->Kind == 5) return ReplaceBrushStamp<OpFrom::Given>;
    if (s->Kind == 4)
        return ByPenKind(MaskStamp<SoftReplaceMask, OpFrom::Given>, DitherStamp<DitherForm::Replace, false>,
                         DitherStamp<DitherForm::Replace, true>);
    return MaskStamp<SoftReplaceMask, OpFrom::Full>;
}
StampFn SelPanto(const Stamp* s) {
    if (DabKind(s))
        return ByPenKind(MaskStamp<SoftPantoMask, OpFrom::Given>, DitherStamp<DitherForm::Panto, false>,
                         DitherStamp<DitherForm::Panto, true>);
    return MaskStamp<SoftPantoMask, OpFrom::Given>;
}
StampFn SelOther(const Stamp* s) {
    if (s->Kind == 5) return MaskStamp<SoftColorMask, OpFrom::Power>;
    return ColourOther(s);
}

const Selector DrySelectors[18] = {
    SelColour, SelStamp, SelMerge,   SelColorize, SelSmooth, SelBlur, SelPickedColour<ColourFrom::Average>,
    SelShift,  SelShade, SelLight,   SelOther,    SelGrain,  SelTint, SelPickedColour<ColourFrom::Picked>,
    SelBehind, SelErase, SelReplace, SelPanto,
};

// The right button of a paint tool removes paint whatever the mode.
StampFn EraseSelection() {
    switch (Pen) {
    case PenPencil:
        return DitherStamp<DitherForm::Erase, true>;
    case PenChalk:
        return DitherStamp<DitherForm::Erase, false>;
    case PenAirbrush:
    case PenBrush:
    case PenText:
        return MaskStamp<SoftEraseMask, OpFrom::Given>;
    default:
        return MaskStamp<SoftEraseMask, OpFrom::Full>;
    }
}

// Modes in which a wet pen paints through the wet buffer.
bool WetModeApplies(int32_t useBPen) {
    static const bool wet[18] = {1, 1, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1};
    return useBPen || (DrawMode >= 0 && DrawMode < 18 && wet[DrawMode]);
}
bool WetPenActive(int32_t useBPen) {
    return WetMode && BackPage && Pen >= PenAirbrush && Pen <= PenWater && WetModeApplies(useBPen);
}
} // namespace

StampFn SelectDryStamp(Stamp* stamp, int32_t useBPen) {
    if (useBPen) return EraseSelection();
    int32_t mode = DrawMode >= 0 && DrawMode < 18 ? DrawMode : 10;
    return DrySelectors[mode](stamp);
}

StampFn SelectStamp(Stamp* stamp, int32_t useBPen) {
    if (WetPenActive(useBPen)) {
        if (Pen == PenAirbrush && AltAirbrush) return WetAddStamp;
        return DrawMode == 13 && !useBPen ? WetImpressStamp : WetMixStamp;
    }
    return SelectDryStamp(stamp, useBPen);
}

// ---- Refresh -------------------------------------------------------------------------------------------

RefreshFn SelectRefresh(Stamp*, int32_t useBPen) {
    if (!WetPenActive(useBPen)) return CopyToScreen;
    if (useBPen) return WetErase;
    const bool oil = Pen == PenOil || Pen == PenWater;
    switch (DrawMode) {
    case 0:
    case 1:
    case 13:
        return oil ? WetOilColor : WetSoftColor;
    case 2:
        return WetSpareMix;
    case 8:
        return WetShade;
    case 9:
        return WetLight;
    case 14:
        return oil ? WetOilBehind : WetBehind;
    case 15:
        return WetErase;
    case 16:
        return oil ? WetOilReplace : WetReplace;
    case 17:
        return WetSoftPanto;
    default:
        return CopyToScreen;
    }
}

// ---- Commands ---------------------------------------------------------------------------------------------

int SetDrawMode(int32_t mode) {
    if (mode < 0 || mode > 17 || mode == 10) return -1;
    if ((mode == 2 || mode == 13) && !SparePage) return -1;
    CancelTool(ToolMode);
    DrawMode = mode;
    if (mode == 3) MakeColorizeRamp();
    if (mode == 12) MakeTintHue();
    if (WetMode) MakeOilColorTable(APen);
    MustCommit = 1;
    if (DrawModeLabelHook) DrawModeLabelHook(mode);
    return 0;
}

namespace {
// Selects `mode`, or `partner` when `mode` is already current.
void Toggle(int32_t mode, int32_t partner) {
    SetDrawMode(DrawMode != mode ? mode : partner);
}
} // namespace

void DrawModeColor() {
    Toggle(0, 1);
}
void DrawModeMerge() {
    Toggle(2, 13);
}
void DrawModeTint() {
    Toggle(3, 12);
}
void DrawModeSmooth() {
    Toggle(4, 5);
}
void DrawModeSmear() {
    Toggle(6, 7);
}
void DrawModeShade() {
    Toggle(8, 9);
}
void DrawModeGrain() {
    SetDrawMode(11);
}
void DrawModeBehind() {
    Toggle(16, 14);
}
void DrawModeAlpha() {
    Toggle(15, 17);
}

} // namespace nemu
