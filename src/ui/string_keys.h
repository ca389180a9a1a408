// Internal to the string fields' two files: the control characters that edit a field, and
// the pixel position that puts the caret at the end.
#pragma once

namespace nemu {

constexpr char KeySelectAll = 1, KeyCopy = 3, KeyBackspace = 8, KeyTab = 9, KeyReturn = 13, KeyPaste = 22,
               KeyCut = 24, KeyUndo = 26, KeyEscape = 27, KeyDelete = 127;
constexpr int OffString = 1000000; // a pixel position past any text: caret at the end

} // namespace nemu
