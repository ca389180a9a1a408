// A small page with its wet buffer and undo copy, for the paint engine's tests.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/bitmap.h"

namespace nemu::test {

class PaintPage : public ::testing::Test {
  protected:
    // The engine's state as the program starts it, so no test leans on another's leftovers.
    static void ResetPaintState() {
        ResetPenSettings();
        Pen = PenRound, PenKind = 0, Power = 255, Step = 0, StepCount = 0;
        DrawMode = 0, AntiAlias = 0, WetMode = 0, WetKeep = 0, AltAirbrush = 0;
        ShiftArmed = 0, StrokeColourPicked = 0, AbortDrawing = 0;
        WetRect = WetBox();
        APen = 0xFFFF0000, BPen = 0xFF000000;
    }
    void MakePage(int32_t w, int32_t h, uint32_t fill = 0, bool withBack = true) {
        ResetPaintState();
        if (Page) FreeBitmap(Page);
        if (BackPage) FreeBitmap(BackPage);
        if (SparePage) FreeBitmap(SparePage);
        std::free(WetBuffer);
        Page = PageBase = BackPage = SparePage = nullptr;
        Page = PageBase = NewBitmap(w, h);
        ASSERT_NE(Page, nullptr);
        ClearBitmap(Page, fill);
        PageWidth = w, PageHeight = h;
        WetBuffer = static_cast<uint8_t*>(std::calloc(size_t(h + 2) * w + 2, 1));
        if (withBack) {
            BackPage = NewBitmap(w, h);
            ClearBitmap(BackPage, fill);
        }
    }
    void TearDown() override {
        if (CurrentStamp) FreeStamp(CurrentStamp);
        CurrentStamp = nullptr;
        if (Page) FreeBitmap(Page);
        if (BackPage) FreeBitmap(BackPage);
        if (SparePage) FreeBitmap(SparePage);
        Page = PageBase = BackPage = SparePage = nullptr;
        std::free(WetBuffer);
        WetBuffer = nullptr;
    }
    uint32_t& At(int32_t x, int32_t y) { return Page->Pixels[size_t(y) * Page->Width + x]; }
    uint32_t Hash() const {
        uint32_t h = 2166136261u;
        for (size_t i = 0, n = size_t(Page->Width) * Page->Height; i < n; ++i)
            h = (h ^ Page->Pixels[i]) * 16777619u;
        return h;
    }
    size_t CountNot(uint32_t value) const {
        size_t n = 0;
        for (size_t i = 0, e = size_t(Page->Width) * Page->Height; i < e; ++i) n += Page->Pixels[i] != value;
        return n;
    }
};

// A stamp of w by h whose mask is given row by row.
inline Stamp* MaskStampOf(int32_t w, int32_t h, std::vector<uint8_t> mask, int32_t kind = 4) {
    Stamp* s = NewStamp(w, h, 0);
    std::memcpy(s->Mask, mask.data(), mask.size());
    s->Kind = kind;
    return s;
}

} // namespace nemu::test
