#include "script/screen_seam.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "script/command_host.h"
#include "store/bitmap.h"

#include <cstring>

namespace nemu {

char ShownNoteText[256] = "";

int ShowPointerShape(int shape) {
    if (UserLocked) return PointerShape;
    return SetPointerShape(shape);
}

void ShowBusyNote(const char* text) {
    std::strncpy(ShownNoteText, text ? text : "", sizeof ShownNoteText - 1);
    ShownNoteText[sizeof ShownNoteText - 1] = 0;
}

void EndBusyNote() { ShownNoteText[0] = 0; }

void RedrawAll() {
    if (Screen) RefreshAll();
}

void ShowPageArea(int x, int y, int w, int h) {
    if (Screen && Page) ShowPageRect(Page, x, y, Screen, x, y, w, h);
}

uint32_t DisplayPixelAt(int x, int y) {
    if (!Page || PageX == -1000 || PageY == -1000) return 0;
    if (x < 0 || y < 0 || x >= PageWidth || y >= PageHeight) return 0;
    // Where the back end keeps a copy of its window (the headless screen, X11's shared
    // image), the answer is what was really shown there, previews included; elsewhere the
    // pixel is composed as the display would show it.
    uint32_t shown = 0;
    int64_t sx = int64_t(PageX) + x, sy = int64_t(PageY) + y;
    if (sx >= INT32_MIN && sx <= INT32_MAX && sy >= INT32_MIN && sy <= INT32_MAX &&
        PlatformReadPixel(int(sx), int(sy), &shown))
        return shown;
    if (HeadlessScreen()) return 0; // off the headless screen: nothing shows there
    uint32_t word = 0;
    Bitmap one;
    InitBitmap(&one, 1, 1, &word);
    ComposeRows(Page, x, y, x, y, 1, 1, &one);
    return word;
}

} // namespace nemu
