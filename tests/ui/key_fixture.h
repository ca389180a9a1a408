// The command table and key map over the program's own catalog, with settings of the
// test's making; everything the tests change is put back.
#pragma once
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "ui/catalog.h"
#include "ui/commands.h"
#include "ui/settings.h"

#include <gtest/gtest.h>
#include <string>

struct KeyMapTest : ::testing::Test {
    std::string SavedProgramDir;
    uint32_t SavedAPen = 0, SavedBPen = 0;
    int32_t SavedAntiAlias = 0;

    void SetUp() override {
        using namespace nemu;
        SavedProgramDir = ProgramDir;
        SavedAPen = APen, SavedBPen = BPen, SavedAntiAlias = AntiAlias;
        ProgramDir = NEMU_SOURCE_DIR "/data";
        ASSERT_EQ(CatalogLoadGlobal(), 1);
        UseSettings("");
    }
    void TearDown() override {
        using namespace nemu;
        KeyMapFree();
        CommandPlugins = {};
        BroadcastKeyHook = nullptr;
        PendingEscapeHook = nullptr;
        delete CurrentConfig;
        CurrentConfig = nullptr;
        CatalogFreeAll();
        ProgramDir = SavedProgramDir;
        APen = SavedAPen, BPen = SavedBPen, AntiAlias = SavedAntiAlias;
    }
    // The settings in memory become text, and the key map is built over them.
    void UseSettings(const std::string& text) {
        using namespace nemu;
        delete CurrentConfig;
        CurrentConfig = new ConfigFile;
        ParseConfigText(CurrentConfig, text);
        KeyMapInit();
    }
    static std::string BindingOf(const char* key) {
        const nemu::KeyNameRow* row = nemu::FindKeyName(key);
        return row && row->Binding ? row->Binding : "<none>";
    }
};

// How often needle stands in text.
inline int Occurrences(const std::string& text, const std::string& needle) {
    int n = 0;
    for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
}
