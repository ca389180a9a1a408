// The Zoom panel: the window that shows the page magnified (or, as the navigator, reduced
// with a frame where the magnified view stands). The view itself, its mapping of the
// pointer and its pixels are host/zoom's; this is the window around them: the title bar,
// the buttons along the bottom (Out, In, Navigator, Follow), the resize, and section Zoom
// of the settings (WIN_X, WIN_Y, Win_W, Win_H, Display, Factor). Follow shows and sets
// ZoomAutoCenter, which section Main's reader owns.
#pragma once
#include <cstdint>

namespace nemu {

// The factors that In and Out step through; the negative ones are the navigator's.
extern const int32_t ZoomSteps[];
extern const int32_t ZoomStepCount;

constexpr int32_t ZoomPanelWidth = 260, ZoomPanelHeight = 220; // layout units at first
constexpr int32_t ZoomPanelMinWidth = 170, ZoomPanelMinHeight = 110;

// Opens the zoom at factor (0 keeps the factor in force) centred on page point (px, py),
// or where it stood when px is negative; 1 when it is open. Out of memory: message 1000.
int ZoomOpen(int32_t factor, int32_t px, int32_t py);
void ZoomClose();
void ZoomToggle(); // the command Zoom of the key map
// Another factor, keeping the middle of the view where it is.
void ZoomSetFactor(int32_t factor);
void ZoomStepFactor(int direction); // +1 In, -1 Out
// The navigator on or off: on shows the whole page reduced with the magnified view's frame.
void ZoomNavigator(int on);
// The next factor of ZoomSteps above (direction +1) or below (-1) factor, or factor itself
// at the end.
int32_t ZoomNextStep(int32_t factor, int direction);

void LoadZoomSettings(); // opens the panel when Display is on
void SaveZoomSettings();

} // namespace nemu
