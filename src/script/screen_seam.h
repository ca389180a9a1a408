// What the commands need from the screen and the toolkit, in one place: the pointer
// shape under the user lock, the busy note, and reading back what the display shows.
#pragma once
#include <cstdint>

namespace nemu {

extern char ShownNoteText[256]; // the busy note standing, empty when none

// Sets a pointer shape and returns the former one. Refused, returning the shape that
// stays, while a script holds the user lock.
int ShowPointerShape(int shape);
// FIXME: the note is only remembered until the toolkit can show a busy note window.
void ShowBusyNote(const char* text);
void EndBusyNote();
// Redraws the whole display.
void RedrawAll();
// Shows a rectangle of the page (corner and size, page coordinates) after a change.
void ShowPageArea(int x, int y, int w, int h);
// What the display shows at a page position, 0xAARRGGBB; 0 when nothing shows there.
uint32_t DisplayPixelAt(int x, int y);

} // namespace nemu
