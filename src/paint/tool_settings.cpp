// The tools' keys in the settings: the line's end values and the dot's mode in section
// Tools, the ghost's form in System, and the outline during a stroke in Main.
#include "paint/tools.h"
#include "ui/settings.h"

#include <algorithm>
#include <strings.h>

namespace nemu {

namespace {
const char* const BrushModeNames[3] = {"Auto", "Always", "Never"};
} // namespace

void LoadToolSettings() {
    LineP1 = std::clamp(ConfigGetInt("Tools", "LineP1", 255), 0, 255);
    LineP2 = std::clamp(ConfigGetInt("Tools", "LineP2", 255), 0, 255);
    char word[32];
    ConfigGet("Tools", "PointMode", word, "Continue", sizeof word);
    PointMode = strcasecmp(word, "Single") == 0 ? POINT_SINGLE : POINT_CONTINUE;
    // A limit that is not a positive number keeps the default.
    const int limit = ConfigGetInt("System", "CustomBrush", 200000);
    GhostAreaLimit = limit > 0 ? limit : 200000;
    ConfigGet("System", "BrushMode", word, "", sizeof word);
    ToolState.BrushGhostMode = strcasecmp(word, "Never") == 0 ? 2 : strcasecmp(word, "Always") == 0 ? 1 : 0;
    ToolState.BrushGhostInStroke = ConfigGetOn("Main", "DisplayBrushDraw", false) ? 1 : 0;
}

void SaveToolSettings() {
    ConfigSetInt("Tools", "LineP1", LineP1);
    ConfigSetInt("Tools", "LineP2", LineP2);
    ConfigSet("Tools", "PointMode", PointMode == POINT_SINGLE ? "Single" : "Continue");
    ConfigSetInt("System", "CustomBrush", GhostAreaLimit);
    ConfigSet("System", "BrushMode", BrushModeNames[std::clamp(ToolState.BrushGhostMode, 0, 2)]);
    ConfigSetOn("Main", "DisplayBrushDraw", ToolState.BrushGhostInStroke != 0);
}

} // namespace nemu
