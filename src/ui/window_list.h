// Internal to the window list's two files: linking at either end, and the rule that keeps
// backdrop windows below all others.
#pragma once

namespace nemu {

struct GuiWindow;

void LinkAtTail(GuiWindow* window);
void LinkAtHead(GuiWindow* window);
// Moves every backdrop window that stands above a non-backdrop one to the head.
void SortBackdrops();

} // namespace nemu
