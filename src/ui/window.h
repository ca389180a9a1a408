// The program's own windows (panels), stacked over the page. Only what the screen output
// needs so far: each window's rectangle, whether it is shown, and the stacking list.
// The toolkit fills in the rest of the record and the operations on the list.
#pragma once
#include <cstdint>

namespace nemu {

struct GuiWindow {
    int32_t Left, Right, Top, Bottom; // screen rectangle; Right and Bottom lie one past the last pixel
    GuiWindow* Next;                  // towards the top of the stack
    GuiWindow* Prev;                  // towards the bottom
    uint32_t Open;                    // 1 while shown; a closed window may stay in the list
};

extern GuiWindow* WindowListHead; // bottom of the stack
extern GuiWindow* WindowListTail; // top
extern GuiWindow* CurrentWindow;  // the last window to receive a gadget event
extern GuiWindow* ModalWindow;    // the window of the innermost modal loop

// The topmost open window that holds the screen point, or null.
GuiWindow* WindowAt(int x, int y);

} // namespace nemu
