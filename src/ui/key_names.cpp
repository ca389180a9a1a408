// The key names and the default bindings. A key's name is what KeyNameOf makes of it,
// compared without regard to case: the letters, Shift and a capital, Ctrl and a letter
// (Ctrl h, i and m are Backspace, Tab and Return), the digits, punctuation (which carries
// no Shift, as Shift is part of typing it), the function keys (no F10), and the named
// keys with their qualifiers.
#include "ui/commands.h"

namespace nemu {

// Rows several to a line, as they read best.
// clang-format off
KeyNameRow KeyNames[KeyNameCount] = {
    {"a", nullptr}, {"b", nullptr}, {"c", nullptr}, {"d", nullptr}, {"e", nullptr}, {"f", nullptr},
    {"g", nullptr}, {"h", nullptr}, {"i", nullptr}, {"j", nullptr}, {"k", nullptr}, {"l", nullptr},
    {"m", nullptr}, {"n", nullptr}, {"o", nullptr}, {"p", nullptr}, {"q", nullptr}, {"r", nullptr},
    {"s", nullptr}, {"t", nullptr}, {"u", nullptr}, {"v", nullptr}, {"w", nullptr}, {"x", nullptr},
    {"y", nullptr}, {"z", nullptr}, {"Shift A", nullptr}, {"Shift B", nullptr}, {"Shift C", nullptr},
    {"Shift D", nullptr}, {"Shift E", nullptr}, {"Shift F", nullptr}, {"Shift G", nullptr},
    {"Shift H", nullptr}, {"Shift I", nullptr}, {"Shift J", nullptr}, {"Shift K", nullptr},
    {"Shift L", nullptr}, {"Shift M", nullptr}, {"Shift N", nullptr}, {"Shift O", nullptr},
    {"Shift P", nullptr}, {"Shift Q", nullptr}, {"Shift R", nullptr}, {"Shift S", nullptr},
    {"Shift T", nullptr}, {"Shift U", nullptr}, {"Shift V", nullptr}, {"Shift W", nullptr},
    {"Shift X", nullptr}, {"Shift Y", nullptr}, {"Shift Z", nullptr}, {"Ctrl a", nullptr},
    {"Ctrl b", nullptr}, {"Ctrl c", nullptr}, {"Ctrl d", nullptr}, {"Ctrl e", nullptr}, {"Ctrl f", nullptr},
    {"Ctrl g", nullptr}, {"Ctrl j", nullptr}, {"Ctrl k", nullptr}, {"Ctrl l", nullptr}, {"Ctrl n", nullptr},
    {"Ctrl o", nullptr}, {"Ctrl p", nullptr}, {"Ctrl q", nullptr}, {"Ctrl r", nullptr}, {"Ctrl s", nullptr},
    {"Ctrl t", nullptr}, {"Ctrl u", nullptr}, {"Ctrl v", nullptr}, {"Ctrl w", nullptr}, {"Ctrl x", nullptr},
    {"Ctrl y", nullptr}, {"Ctrl z", nullptr}, {"0", nullptr}, {"1", nullptr}, {"2", nullptr}, {"3", nullptr},
    {"4", nullptr}, {"5", nullptr}, {"6", nullptr}, {"7", nullptr}, {"8", nullptr}, {"9", nullptr},
    {"/", nullptr}, {"*", nullptr}, {"-", nullptr}, {"+", nullptr}, {",", nullptr}, {";", nullptr},
    {":", nullptr}, {"!", nullptr}, {"<", nullptr}, {">", nullptr}, {"&", nullptr}, {"~", nullptr},
    {"\"", nullptr}, {"#", nullptr}, {"'", nullptr}, {"(", nullptr}, {"[", nullptr}, {"|", nullptr},
    {"`", nullptr}, {"_", nullptr}, {"\\", nullptr}, {"@", nullptr}, {")", nullptr}, {"]", nullptr},
    {"}", nullptr}, {"$", nullptr}, {"£", nullptr}, {"%", nullptr}, {"§", nullptr}, {".", nullptr},
    {"=", nullptr}, {"F1", nullptr}, {"F2", nullptr}, {"F3", nullptr}, {"F4", nullptr}, {"F5", nullptr},
    {"F6", nullptr}, {"F7", nullptr}, {"F8", nullptr}, {"F9", nullptr}, {"F11", nullptr}, {"F12", nullptr},
    {"Ctrl F1", nullptr}, {"Ctrl F2", nullptr}, {"Ctrl F3", nullptr}, {"Ctrl F4", nullptr},
    {"Ctrl F5", nullptr}, {"Ctrl F6", nullptr}, {"Ctrl F7", nullptr}, {"Ctrl F8", nullptr},
    {"Ctrl F9", nullptr}, {"Ctrl F11", nullptr}, {"Ctrl F12", nullptr}, {"Shift F1", nullptr},
    {"Shift F2", nullptr}, {"Shift F3", nullptr}, {"Shift F4", nullptr}, {"Shift F5", nullptr},
    {"Shift F6", nullptr}, {"Shift F7", nullptr}, {"Shift F8", nullptr}, {"Shift F9", nullptr},
    {"Shift F11", nullptr}, {"Shift F12", nullptr}, {"Ctrl Shift F1", nullptr}, {"Ctrl Shift F2", nullptr},
    {"Ctrl Shift F3", nullptr}, {"Ctrl Shift F4", nullptr}, {"Ctrl Shift F5", nullptr},
    {"Ctrl Shift F6", nullptr}, {"Ctrl Shift F7", nullptr}, {"Ctrl Shift F8", nullptr},
    {"Ctrl Shift F9", nullptr}, {"Ctrl Shift F11", nullptr}, {"Ctrl Shift F12", nullptr}, {"Space", nullptr},
    {"Tab", nullptr}, {"Shift Tab", nullptr}, {"Ctrl Tab", nullptr}, {"Ctrl Shift Tab", nullptr},
    {"Home", nullptr}, {"Shift Home", nullptr}, {"Ctrl Home", nullptr}, {"Ctrl Shift Home", nullptr},
    {"End", nullptr}, {"Shift End", nullptr}, {"Ctrl End", nullptr}, {"Ctrl Shift End", nullptr},
    {"Del", nullptr}, {"Shift Del", nullptr}, {"Ctrl Del", nullptr}, {"Ctrl Shift Del", nullptr},
    {"Insert", nullptr}, {"Shift Insert", nullptr}, {"Ctrl Insert", nullptr}, {"Ctrl Shift Insert", nullptr},
    {"Backspace", nullptr}, {"Shift Backspace", nullptr}, {"Up", nullptr}, {"Shift Up", nullptr},
    {"Ctrl Up", nullptr}, {"Ctrl Shift Up", nullptr}, {"Down", nullptr}, {"Shift Down", nullptr},
    {"Ctrl Down", nullptr}, {"Ctrl Shift Down", nullptr}, {"Left", nullptr}, {"Shift Left", nullptr},
    {"Ctrl Left", nullptr}, {"Ctrl Shift Left", nullptr}, {"Right", nullptr}, {"Shift Right", nullptr},
    {"Ctrl Right", nullptr}, {"Ctrl Shift Right", nullptr}, {"Page Up", nullptr}, {"Shift Page Up", nullptr},
    {"Ctrl Page Up", nullptr}, {"Ctrl Shift Page Up", nullptr}, {"Page Down", nullptr},
    {"Shift Page Down", nullptr}, {"Ctrl Page Down", nullptr}, {"Ctrl Shift Page Down", nullptr},
};

// "shift F10" names a key the table lacks, and says so at every start: the tenth custom
// command has no default key.
const DefaultBinding DefaultBindings[DefaultBindingCount] = {
    {"shift F1", "CallRexx1"}, {"shift F2", "CallRexx2"}, {"shift F3", "CallRexx3"},
    {"shift F4", "CallRexx4"}, {"shift F5", "CallRexx5"}, {"shift F6", "CallRexx6"},
    {"shift F7", "CallRexx7"}, {"shift F8", "CallRexx8"}, {"shift F9", "CallRexx9"},
    {"shift F10", "CallRexx10"}, {"ctrl F9", "Iconify"}, {"F1", "DrawModeColor"}, {"F2", "DrawModeBehind"},
    {"F3", "DrawModeAlpha"}, {"F4", "DrawModeMerge"}, {"F5", "DrawModeShade"}, {"F6", "DrawModeTint"},
    {"F7", "DrawModeGrain"}, {"F8", "DrawModeSmooth"}, {"F9", "DrawModeSmear"}, {"F11", "SwapMenu"},
    {"F12", "HideShowWindows"}, {"ctrl F12", "CloseAllWindows"}, {"up", "PrevLayer"},
    {"shift up", "AnimBrushNextImage"}, {"ctrl up", "MoveColorCaseUp"}, {"down", "NextLayer"},
    {"shift down", "AnimBrushPrevImage"}, {"ctrl down", "MoveColorCaseDown"}, {"left", "LayerPrevImage"},
    {"ctrl left", "MoveColorCaseLeft"}, {"right", "LayerNextImage"}, {"ctrl right", "MoveColorCaseRight"},
    {"home", "LayerFirstImage"}, {"end", "LayerLastImage"}, {"ctrl c", "SaveBrushToClipboard"},
    {"ctrl v", "LoadBrushFromClipboard"}, {"ctrl a", "PreviousTool"}, {"shift a", "OpenTools"},
    {"a", "NextTool"}, {"shift b", "RestoreBrush"}, {"b", "SelectBrush"}, {"c", "SelectCircle"},
    {"shift d", "OpenSettings"}, {"d", "SelectDraw"}, {"e", "SelectEllipse"}, {"f", "SelectFlood"},
    {"shift g", "OpenGrid"}, {"g", "ActiveGrid"}, {"shift h", "DoubleBrush"}, {"h", "HalfBrush"},
    {"i", "DuplicateImage"}, {"shift i", "InsertImage"}, {"shift j", "CopyToSpare"}, {"j", "SwapSpare"},
    {"shift k", "Clear"}, {"shift l", "LoadProject"}, {"ctrl k", "ConfigureKeyboard"}, {"m", "Zoom"},
    {"shift m", "MovePage"}, {"n", "SwapABPen"}, {"shift n", "NewLayer"}, {"shift o", "ChangeBrushHandle"},
    {"o", "OutlineBrush"}, {"shift p", "SelectPanto"}, {"p", "Palette"}, {"shift q", "Quit"},
    {"q", "SelectSpline"}, {"shift r", "OpenBrenn"}, {"r", "SelectRectangle"}, {"shift s", "SaveProject"},
    {"s", "SelectPoint"}, {"t", "OpenText"}, {"shift t", "ModeText"}, {"u", "Undo"}, {"shift u", "Refill"},
    {"v", "SelectLine"}, {"shift v", "ShowPage"}, {"w", "DisplayBrushMode"}, {"x", "FlipBrushX"},
    {"shift x", "DoubleBrushX"}, {"y", "FlipBrushY"}, {"shift y", "DoubleBrushY"}, {"z", "SelectResizeBrush"},
    {"ctrl z", "Undo"}, {"shift z", "RotBrush90"}, {"|", "OpenCoordinates"}, {"+", "IncreaseToolsSize"},
    {"=", "DisplayAllLayer"}, {"-", "DecreaseToolsSize"}, {"[", "FlipPageX"}, {"]", "FlipPageY"},
    {"space", "MenuOnOff"}, {"Backspace", "ResetUndo"}, {"*", "CenterZoom"}, {">", "IncreaseZoom"},
    {"<", "DecreaseZoom"}, {";", "PicColor"}, {"tab", "CycleOnOff"}, {":", "ResetTool"},
    {"&", "SelectAntiAlias"}, {"\"", "SelectOpacity"}, {"0", "ToggleMixer"}, {"8", "ScrollUp"},
    {"7", "ScrollUpLeft"}, {"4", "ScrollLeft"}, {"1", "ScrollDownLeft"}, {"2", "ScrollDown"},
    {"3", "ScrollDownRight"}, {"6", "ScrollRight"}, {"9", "ScrollUpRight"}, {"5", "CenterZoom"},
    {"ctrl D", "MagicNumber"},
};
// clang-format on

} // namespace nemu
