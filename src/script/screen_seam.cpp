#include "script/screen_seam.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "script/command_host.h"
#include "store/bitmap.h"

#include <cstring>

namespace nemu {

int32_t ShownPointerShape = -1;
char ShownNoteText[256] = "";

int ShowPointerShape(int shape) {
    int former = ShownPointerShape;
    if (UserLocked) return former;
    ShownPointerShape = shape;
    PlatformSetPointerShape(shape);
    return former;
}

void ShowBusyNote(const char* text) {
    std::strncpy(ShownNoteText, text ? text : "", sizeof ShownNoteText - 1);
    ShownNoteText[sizeof ShownNoteText - 1] = 0;
}

void EndBusyNote() {
    ShownNoteText[0] = 0;
}

static bool PagePlaced() {
    return Page && PageX != -1000 && PageY != -1000;
}

void ShowPageArea(int x, int y, int w, int h) {
    if (!PagePlaced() || DisplayHold > 0) return;
    // Clip to the page here; the platform clips to the screen.
    if (x < 0) w += x, x = 0;
    if (y < 0) h += y, y = 0;
    if (w > Page->Width - x) w = Page->Width - x;
    if (h > Page->Height - y) h = Page->Height - y;
    if (w <= 0 || h <= 0) return;
    PlatformBlit(Page, x, y, PageX + x, PageY + y, w, h);
    PlatformFlush();
}

void RedrawAll() {
    if (Page) ShowPageArea(0, 0, Page->Width, Page->Height);
}

uint32_t DisplayPixelAt(int x, int y) {
    const Bitmap* screen = HeadlessScreen();
    if (!screen || PageX == -1000 || PageY == -1000) return 0;
    int64_t sx = int64_t(PageX) + x, sy = int64_t(PageY) + y;
    if (sx < 0 || sy < 0 || sx >= screen->Width || sy >= screen->Height) return 0;
    return screen->Pixels[sy * screen->Width + sx];
}

} // namespace nemu
