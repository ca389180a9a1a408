// panels_demo: starts Nemu in its window with some of its panels open, for looking at
// them and for screenshots (tools/screenshots-panels.sh).
//
//   panels_demo tools pens pressure new size grid clock
//
// Each name opens one panel: tools, pens (at the page of the airbrush), pressure, new
// (the new project) and size (the page size); pensround and pensoil open the pages of
// the round pen and of the oil; grid and clock open those small panels. NEMU_SCALE=2 shows them at twice the size.
#include "host/main_loop.h"
#include "ui/panels.h"

#include <cstdlib>
#include <cstring>

using namespace nemu;

namespace {
int Count = 0;
char** Names = nullptr;

void Show() {
    for (int i = 0; i < Count; i++) {
        const char* n = Names[i];
        if (!std::strcmp(n, "tools")) OpenTools();
        if (!std::strcmp(n, "pens")) OpenPensAt(4);
        if (!std::strcmp(n, "pensround")) OpenPensAt(0);
        if (!std::strcmp(n, "pensoil")) OpenPensAt(6);
        if (!std::strcmp(n, "pressure")) OpenPressure();
        if (!std::strcmp(n, "new")) OpenNewProject();
        if (!std::strcmp(n, "size")) OpenProjectSize();
        if (!std::strcmp(n, "grid")) OpenGrid();
        if (!std::strcmp(n, "clock")) OpenClock();
    }
}
} // namespace

int main(int argc, char** argv) {
    Count = argc - 1;
    Names = argv + 1;
    const char* display = std::getenv("DISPLAY");
    StartBackend = display && *display ? BACKEND_X11 : BACKEND_HEADLESS;
    AfterStartHook = Show;
    return ProgramStart("");
}
