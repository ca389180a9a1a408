// What the commands need from the screen compose and the toolkit, in one place. Those
// modules are not there yet; until they are, these do what the platform alone can do:
// pointer shapes go straight to the platform, the page is shown one to one at its place,
// the display is read from the platform's own screen. FIXME: forward to SetPointerShape,
// BusyNote and BusyEnd, RefreshAll, ShowPageRect and the composed screen once they exist.
#pragma once
#include <cstdint>

namespace nemu {

extern int32_t ShownPointerShape; // the last shape set, -1 when none was
extern char ShownNoteText[256];   // the busy note standing, empty when none

// Sets a pointer shape and returns the former one. Refused, returning the shape that
// stays, while a script holds the user lock.
int ShowPointerShape(int shape);
void ShowBusyNote(const char* text);
void EndBusyNote();
// Redraws the whole display.
void RedrawAll();
// Shows a rectangle of the page (corner and size, page coordinates) after a change.
void ShowPageArea(int x, int y, int w, int h);
// What the display shows at a page position, 0xAARRGGBB; 0 when nothing shows there.
uint32_t DisplayPixelAt(int x, int y);

} // namespace nemu
