#include "ui/window.h"

namespace nemu {

GuiWindow* WindowListHead = nullptr;
GuiWindow* WindowListTail = nullptr;
GuiWindow* CurrentWindow = nullptr;
GuiWindow* ModalWindow = nullptr;

GuiWindow* WindowAt(int x, int y) {
    for (GuiWindow* w = WindowListTail; w; w = w->Prev)
        if (w->Open && x >= w->Left && x < w->Right && y >= w->Top && y < w->Bottom) return w;
    return nullptr;
}

} // namespace nemu
