// A small project for the project-model tests: a cache in the test's own folder, a page
// of the given size with its undo copy, and one layer. At the end every clip, tile and
// pixel store must be gone, and the memory account back where it began.
#pragma once
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "support/paint_state.h"
#include "ui/catalog.h"
#include "ui/settings.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace nemu::test {

class ProjectTest : public ::testing::Test {
  protected:
    uint32_t MemoryAtStart = 0;
    const PaintState PaintSaved; // put back at the end, for the tests that change it
    const uint32_t FlagsSaved = DisplayFlags, BackSaved = BackColour, Back2Saved = BackColour2;
    const int32_t DensitySaved = CurrentDensity, OpacitySaved = PageOpacity, PelureSaved = PelureMode;
    const int32_t LayerSaved = CurrentLayer, ImageSaved = CurrentImage;
    const bool AllSaved = ShowAllLayers, SafeSaved = SafeAreaShown, AboveSaved = NeedAbove, BelowSaved = NeedBelow;
    const double RateSaved = FrameRate;

    void MakeProject(int32_t w, int32_t h) {
        ProgramDir = NEMU_SOURCE_DIR "/data";
        if (!GlobalCatalog) {
            ASSERT_EQ(CatalogLoadGlobal(), 1);
        }
        MemoryAtStart = MemoryInUse;
        // Each test runs in a process of its own; these make a run of many in one process
        // start alike too.
        ShowAllLayers = true, PelureMode = 0, SafeAreaShown = false;
        DisplayFlags = 33, BackColour = 0xFF005F9F, BackColour2 = 0xFF4F8FBF;
        DrawMode = 0, SelectionLength = 0, NextLayerId = 1;
        const char* cache = std::getenv("XDG_CACHE_HOME");
        TempDir = std::string(cache ? cache : "/tmp") + "/nemu/";
        ASSERT_EQ(OpenCache(), 1);
        BuildDrawTables();
        ASSERT_EQ(ResizePageBuffers(w, h), 1);
        ASSERT_EQ(InitLayers(), 1);
    }
    void SetUp() override { MakeProject(8, 4); }
    void TearDown() override {
        FreeLayers();
        DropMixer();
        if (Page && Page != PageBase) FreeBitmap(Page);
        FreeBitmap(PageBase);
        FreeBitmap(BackPage);
        FreeBitmap(SparePage);
        Page = PageBase = BackPage = SparePage = nullptr;
        std::free(WetBuffer);
        WetBuffer = nullptr;
        EXPECT_EQ(TileUseCount, 0u);
        EXPECT_EQ(FreeTilePools(), 1);
        CloseCache();
        FreePackBuffer();
        EXPECT_EQ(MemoryInUse, MemoryAtStart);
        CatalogFreeAll();
        PaintSaved.Restore();
        DisplayFlags = FlagsSaved, BackColour = BackSaved, BackColour2 = Back2Saved;
        CurrentDensity = DensitySaved, PageOpacity = OpacitySaved, PelureMode = PelureSaved;
        CurrentLayer = LayerSaved, CurrentImage = ImageSaved;
        ShowAllLayers = AllSaved, SafeAreaShown = SafeSaved, NeedAbove = AboveSaved, NeedBelow = BelowSaved;
        FrameRate = RateSaved;
    }

    // ---- The page -------------------------------------------------------------------------------
    static uint32_t& At(int32_t x, int32_t y) { return Page->Pixels[size_t(y) * Page->Width + x]; }
    // A change of the page, as a tool makes it.
    static void Paint(uint32_t colour) {
        ClearBitmap(Page, colour);
        AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    }
    static void PaintPixel(int32_t x, int32_t y, uint32_t colour) {
        At(x, y) = colour;
        AddDirtyAndMark(x, y, x, y);
    }

    // ---- Reading layers back ----------------------------------------------------------------------
    // Pixel (x, y) of a layer's image, read from its store (the current one flushed first).
    static uint32_t LayerPixel(int32_t index, int32_t image, int32_t x = 0, int32_t y = 0) {
        Bitmap* b = NewClearBitmap(PageWidth, PageHeight);
        EXPECT_NE(GetLayerImageById(b, Layers[index].Id, image), 0)
            << "layer " << index << " image " << image;
        uint32_t p = b->Pixels[size_t(y) * b->Width + x];
        FreeBitmap(b);
        return p;
    }
    static uint32_t Composed(int32_t image, bool background = false, int32_t x = 0, int32_t y = 0) {
        Bitmap* b = NewBitmap(PageWidth, PageHeight);
        EXPECT_EQ(ComposeImage(b, image, background), 1);
        uint32_t p = b->Pixels[size_t(y) * b->Width + x];
        FreeBitmap(b);
        return p;
    }
    static uint32_t IdOf(int32_t index) { return Layers[index].Id; }
    // A new layer under the current one, selected, with its range.
    static int32_t AddLayer(const char* name, int32_t first, int32_t last) {
        Layer* layer = CreateLayer(name, 0, 1, first, 1);
        EXPECT_NE(layer, nullptr);
        layer->LastImage = last;
        return CurrentLayer;
    }
    // A clip layer of last - first + 1 images, image i filled with colours[i].
    static int32_t AddClipLayer(const char* name, int32_t first, const std::vector<uint32_t>& colours) {
        int32_t index = AddLayer(name, first, first + int32_t(colours.size()) - 1);
        EXPECT_EQ(MakeAnim(index, 1), 1);
        for (size_t i = 0; i < colours.size(); i++) {
            EXPECT_EQ(SelectImage(first + int32_t(i), 1), 1);
            Paint(colours[i]);
        }
        EXPECT_EQ(FlushPage(), 1);
        return index;
    }
};

} // namespace nemu::test
