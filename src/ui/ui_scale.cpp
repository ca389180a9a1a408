// Choosing the interface scale at start: the environment, then the settings, then the
// screen's resolution.
#include "ui/ui_scale.h"

#include "ui/settings.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

int32_t UiScaleHalves = 2;

// Resolutions at or above which each scale is taken, in dots per inch.
static const struct {
    int Dpi;
    int32_t Halves;
} DpiSteps[] = {{264, 6}, {180, 4}, {132, 3}, {0, 2}};

int32_t ParseUiScale(const char* text) {
    if (!text) return 0;
    char* end = nullptr;
    double v = std::strtod(text, &end);
    if (end == text) return 0;
    while (*end == ' ') end++;
    if (*end == '%') {
        v /= 100.0;
        end++;
    }
    while (*end == ' ') end++;
    if (*end) return 0;
    for (int32_t halves : UiScaleChoices)
        if (v * 2 > halves - 0.01 && v * 2 < halves + 0.01) return halves;
    return 0;
}

int32_t ChooseUiScale(int dpi) {
    int32_t halves = ParseUiScale(std::getenv("NEMU_SCALE"));
    if (!halves) {
        char value[32];
        ConfigGet("Interface", "Scale", value, "", sizeof value);
        halves = ParseUiScale(value);
    }
    if (!halves && dpi > 0)
        for (const auto& step : DpiSteps)
            if (dpi >= step.Dpi) {
                halves = step.Halves;
                break;
            }
    UiScaleHalves = halves ? halves : 2;
    return UiScaleHalves;
}

} // namespace nemu
