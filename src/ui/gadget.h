// Gadgets: the controls inside a window. A Gadget is one row of a table that lives in
// static data (or on the stack, for small dialogs); a panel is such a table, ended by a row
// with id 0, plus one handler (GuiWindow::OnGadget). There are no classes of control:
// kinds are combinations of flag bits, and one routine draws and one presses every row.
//
// Row rectangles are in layout units (scale 1), both ends inclusive for drawing; a point
// hits a row when Left < x <= Right and Top < y <= Bottom. Designated initializers make a
// table readable: {.Left = 8, .Top = 30, .Right = 80, .Bottom = 49, .Id = 1,
// .Flags = GF_ACTION, .Label = "OK"}.
#pragma once
#include <cstdint>

#include "ui/sys_colours.h"
#include "ui/window.h"

namespace nemu {

struct Bitmap;

// ---- Reserved ids: the system gadgets that WindowLayoutRows places -------------------------------
constexpr int32_t GADGET_DEPTH = -1;   // title bar, 15 wide: to front or back
constexpr int32_t GADGET_DRAG = -2;    // what remains of the title bar; its Label is the title
constexpr int32_t GADGET_CLOSE = -3;   // right-most, 14 wide
constexpr int32_t GADGET_SIZE = -4;    // bottom-right corner, 13 square; makes the window resizable
constexpr int32_t GADGET_TITLE_A = -5; // two title-bar buttons whose meaning is the panel's
constexpr int32_t GADGET_TITLE_B = -6;
constexpr int32_t GADGET_FRAME = -7; // inner frame below the title bar

// ---- Flags: the kind and state of a row ------------------------------------------------------------
constexpr uint32_t GF_IMMEDIATE = 0x2;        // OnGadget(…, 1) on the press; no release awaited
constexpr uint32_t GF_SELECTED = 0x4;         // selected
constexpr uint32_t GF_NO_FEEDBACK = 0x8;      // no press feedback; GadgetSelect refuses it
constexpr uint32_t GF_HIDDEN = 0x10;          // never drawn (still hit)
constexpr uint32_t GF_LOCKED = 0x20;          // locked selected: deselecting does nothing
constexpr uint32_t GF_RIGHT = 0x40;           // reacts to the right button; else right opens the bubble
constexpr uint32_t GF_STRING = 0x80;          // string or number field; String is set
constexpr uint32_t GF_SUNKEN = 0x100;         // sunken bevel
constexpr uint32_t GF_HGRADIENT = 0x200;      // left-to-right gradient from Gradient
constexpr uint32_t GF_MARKED = 0x400;         // small mark at the right, drag colour; acts immediate
constexpr uint32_t GF_FLAT = 0x800;           // no bevel; background fill, complemented when selected
constexpr uint32_t GF_COLOUR = 0x1000;        // fill with Colour
constexpr uint32_t GF_VGRADIENT = 0x2000;     // top-to-bottom gradient from Gradient
constexpr uint32_t GF_REPEAT = 0x4000;        // auto-repeat while held
constexpr uint32_t GF_INERT = 0x8000;         // not a control: the hit test skips it
constexpr uint32_t GF_FRAME = 0x10000;        // with GF_INERT: a two-tone frame
constexpr uint32_t GF_HSEPARATOR = 0x20000;   // with GF_INERT: horizontal separator, 3 high
constexpr uint32_t GF_VSEPARATOR = 0x40000;   // with GF_INERT: vertical separator, 3 wide
constexpr uint32_t GF_SMALL_ACTION = 0x80000; // small action button, forced 19x16 with the arrow
constexpr uint32_t GF_CHECKBOX = 0x100000;    // check box, forced 19x16, tick when selected, label left
constexpr uint32_t GF_TOGGLE = 0x200000;      // a click flips the selected state before the handler
constexpr uint32_t GF_NOFILL = 0x400000;      // the draw routine leaves the inside (drawn areas)
constexpr uint32_t GF_CYCLE = 0x800000;       // cycles through Tabs->Labels: left next, right back
constexpr uint32_t GF_STAT = 0x10000000;      // state-button colours
constexpr uint32_t GF_DRAG_COLOURS = 0x20000000;
constexpr uint32_t GF_ACTION = 0x40000000; // action-button colours
constexpr uint32_t GF_DIALOG = 0x80000000; // dialog-button colours
// Rows with any of these show their selected state by colour rather than by complement.
constexpr uint32_t GF_COLOURED_STATE = 0xF0080000;

// ---- Kinds: the usual combinations ------------------------------------------------------------------
constexpr uint32_t GK_BUTTON = GF_ACTION;           // click fires OnGadget(…, -1)
constexpr uint32_t GK_DIALOG_BUTTON = GF_DIALOG;    // OK, Cancel and the like
constexpr uint32_t GK_TOGGLE = GF_STAT | GF_TOGGLE; // on/off button
constexpr uint32_t GK_CHECKBOX = GF_CHECKBOX | GF_TOGGLE;
constexpr uint32_t GK_STRING = GF_STRING;           // text field (String set)
constexpr uint32_t GK_NUMBER = GF_STRING;           // number field (String with STR_INTEGER)
constexpr uint32_t GK_DRAG_VALUE = GF_SMALL_ACTION; // drag button beside a number: ValueDrag
constexpr uint32_t GK_CYCLE = GF_ACTION | GF_CYCLE; // choice among Tabs->Labels
constexpr uint32_t GK_COLOUR_BOX = GF_COLOUR | GF_SUNKEN;
constexpr uint32_t GK_AREA = GF_NOFILL | GF_IMMEDIATE | GF_NO_FEEDBACK; // the panel draws it
constexpr uint32_t GK_REPEAT = GF_ACTION | GF_REPEAT;                   // arrow buttons
constexpr uint32_t GK_LABEL = GF_INERT | GF_FLAT;                       // text only

// ---- Label positions -----------------------------------------------------------------------------------
constexpr uint32_t LF_LEFT_OF = 1;  // left of the gadget, right-justified, 4 off
constexpr uint32_t LF_RIGHT_OF = 2; // right of it, 4 off
constexpr uint32_t LF_TOP = 4;      // at Top+6
constexpr uint32_t LF_BOTTOM = 8;   // at Bottom-12
constexpr uint32_t LF_CENTRE = 16;  // centred across
constexpr uint32_t LF_VCENTRE = 32; // centred down (also the default)
constexpr uint32_t LF_ABOVE = 64;   // Top-12
constexpr uint32_t LF_BELOW = 128;  // Bottom+6
constexpr uint32_t LF_EMBOSSED = 0x100;
constexpr uint32_t LF_COLOUR = 0x200;   // in LabelColour
constexpr uint32_t LF_RIGHT_IN = 0x800; // right-justified inside

// ---- StringInfo flags ----------------------------------------------------------------------------------
constexpr uint32_t STR_INTEGER = 2;
constexpr uint32_t STR_FIXED = 8;
constexpr uint32_t STR_READONLY = 0x100;
constexpr uint32_t STR_DECIMAL = 0x200;

// A cut-out of the stock icon sheet.
struct IconRef {
    uint32_t Reserved = {};
    uint32_t SheetX = {}, SheetY = {}, Width = {}, Height = {};
    int32_t Dx = {}, Dy = {};
};

struct ColourList {
    int32_t Count = {};
    const uint32_t* Colours = {}; // fewer than two stops: a solid fill with the first
};

struct StringInfo {
    uint32_t TextColour = {}; // 0: COLORPENTEXTBOXCOLOR
    char* Buffer = {};        // UTF-8 text
    uint32_t MaxLen = {};     // buffer size in bytes
    uint32_t StrFlags = {};   // STR_ bits
    uint32_t MarginX = {}, MarginY = {};
    uint32_t Area[2] = {};
    int32_t Cursor = -1; // caret, a byte offset on a character boundary; -1 when inactive
    int32_t IntValue = {}, Min = {}, Max = {};
    uint32_t FirstVisible = {}; // first character shown
    // Non-zero swallows the key.
    int32_t (*OnKeyFilter)(const char* text, int32_t length, Gadget* gadget, GuiWindow* window,
                           int32_t keycode, uint32_t qualifiers) = {};
    void (*OnEdit)(Gadget* gadget, GuiWindow* window) = nullptr; // after each edit; may rewrite Buffer
    double LastActivity = {};                                    // the caret blinks from it
    double FloatValue = {};                                      // value of a decimal field
    const char* Suffix = {};                                     // drawn right behind the text (a unit)
    // Private to the editor: selection anchor (-1 none) and the undo copy.
    int32_t SelectAnchor = -1;
    char* UndoText = {};
};

struct ScrollerInfo {
    int32_t X = {}, Y = {};
    int32_t BarW = {}, BarH = {};
    int32_t XTotal = {}, XVisible = {}, XPos = {}, YTotal = {}, YVisible = {}, YPos = {};
    Gadget* Knob = {};
    void* UserData = {};
    void (*OnDrag)(GuiWindow* window, Gadget* gadget, void* user) = nullptr;
    void (*OnDone)(GuiWindow* window, Gadget* gadget, void* user) = nullptr;
    int32_t (*OnIdle)(GuiWindow* window, Gadget* gadget, void* user) = nullptr;
};

struct TabsInfo {
    int32_t Current = {};
    int32_t Count = {};
    const char** Labels = {};
};

struct Gadget {
    int16_t Left = {}, Top = {}, Right = {}, Bottom = {}; // layout units, inclusive
    int32_t Id = {};                                      // > 0 the panel's; 0 ends the table; < 0 reserved
    uint32_t Flags = {};                                  // GF_ bits
    const IconRef* Image = {};                            // drawn centred
    StringInfo* String = {};                              // string and number fields
    uint32_t Colour = {};                                 // fill with GF_COLOUR
    const ColourList* Gradient = {};
    const char* Help = {};              // bubble text; null gives the defaults of system gadgets
    int16_t ImageDx = {}, ImageDy = {}; // offset of Image from the centred place
    const char* Label = {};             // text, from the catalog
    uint32_t LabelFlags = {};           // LF_ bits
    int16_t LabelDx = {}, LabelDy = {}; // offset of the label
    const char* Command = {};           // command whose key is shown at the right and in the bubble
    const IconRef* ImageOn = {};        // picture while selected
    const char* HelpCommand = {};       // named in the bubble in preference to Command
    uint32_t LabelColour = {};          // with LF_COLOUR
    Bitmap* Picture = {};               // drawn centred, clipped; owned by dynamic rows
    Bitmap* PictureOn = {};             // while selected
    uint32_t (*OnPress)(GuiWindow* window, Gadget* gadget,
                        int32_t code) = nullptr; // non-zero stops the press
    uint32_t (*OnRelease)(GuiWindow* window, Gadget* gadget, int32_t code) = nullptr; // non-zero passed up
    uint32_t Reserved = {};
    ScrollerInfo* Scroller = {};
    TabsInfo* Tabs = {}; // tab bar of a dynamic row; the choices of a GF_CYCLE row
    void (*OnTab)(GuiWindow* window, Gadget* gadget) = nullptr;
};

// ---- Interface colours (section SysColors, kept by ui/sys_colours.h) --------------------------------
// The design's names for the sixteen colours, each the colour held in SysColour.
inline uint32_t& INFOAREACOLOR = SysColour[SC_INFOAREA];
inline uint32_t& INFOAREATEXTCOLOR = SysColour[SC_INFOAREATEXT];
inline uint32_t& BACKGROUNDCOLOR = SysColour[SC_BACKGROUND];
inline uint32_t& LAYOUTBACKGROUNDCOLOR = SysColour[SC_LAYOUTBACKGROUND];
inline uint32_t& DRAGBUTTONCOLOR = SysColour[SC_DRAGBUTTON];
inline uint32_t& DRAGBUTTONSELECTCOLOR = SysColour[SC_DRAGBUTTONSELECT];
inline uint32_t& STATBUTTONCOLOR = SysColour[SC_STATBUTTON];
inline uint32_t& STATBUTTONSELECTCOLOR = SysColour[SC_STATBUTTONSELECT];
inline uint32_t& ACTIONBUTTONCOLOR = SysColour[SC_ACTIONBUTTON];
inline uint32_t& ACTIONBUTTONSELECTCOLOR = SysColour[SC_ACTIONBUTTONSELECT];
inline uint32_t& DIALOGBUTTONCOLOR = SysColour[SC_DIALOGBUTTON];
inline uint32_t& DIALOGBUTTONSELECTCOLOR = SysColour[SC_DIALOGBUTTONSELECT];
inline uint32_t& TITLEBARCOLOR = SysColour[SC_TITLEBAR];
inline uint32_t& TITLEBARDESELECTCOLOR = SysColour[SC_TITLEBARDESELECT];
inline uint32_t& SYSBUTTONCOLOR = SysColour[SC_SYSBUTTON];
inline uint32_t& COLORPENTEXTBOXCOLOR = SysColour[SC_COLORPENTEXTBOX];
// Per channel: c + 64 limited to 255, c - 64 limited to 0, alpha kept.
uint32_t LightColour(uint32_t c);
uint32_t DarkColour(uint32_t c);

// ---- The test hook --------------------------------------------------------------------------------------
// Called for each row as it is drawn, with its screen rectangle in pixels (x, y, w, h):
// tests find and press gadgets by label with it. Null in the program.
extern void (*GadgetDrawnHook)(const GuiWindow* window, const Gadget* gadget, const char* label, int32_t x,
                               int32_t y, int32_t w, int32_t h);

// ---- Finding rows ----------------------------------------------------------------------------------------
Gadget* GadgetById(int32_t id, Gadget* rows);                    // stops at id 0; null if missing
Gadget* WindowGadgetById(GuiWindow* window, int32_t id);         // Gadgets, then DynGadgets
Gadget* GadgetAt(int32_t x, int32_t y, Gadget* rows);            // layout units; skips GF_INERT
Gadget* WindowGadgetAt(int32_t x, int32_t y, GuiWindow* window); // surface pixels
// The row's rectangle on the surface in pixels (x, y, w, h).
void GadgetPixelRect(const Gadget* gadget, int32_t* x, int32_t* y, int32_t* w, int32_t* h);

// ---- Drawing ---------------------------------------------------------------------------------------------
void GadgetDraw(Gadget* gadget, GuiWindow* window);    // into the surface
void GadgetShow(GuiWindow* window, Gadget* gadget);    // its rectangle (and outside label) to the screen
void GadgetRefresh(Gadget* gadget, GuiWindow* window); // both
int GadgetSelect(GuiWindow* window, Gadget* gadget);   // -1 for a null gadget
int GadgetDeselect(GuiWindow* window, Gadget* gadget);
void WindowLayoutRows(GuiWindow* window); // places the system rows and forced sizes
void WindowDrawRows(GuiWindow* window);   // both lists; numbers written into buffers first
// A text in the window's label colour at a layout position (top of a 13-unit line).
void WindowDrawText(GuiWindow* window, int32_t x, int32_t y, const char* text, uint32_t colour);

// ---- Pressing --------------------------------------------------------------------------------------------
// The row whose press feedback stands (drawn in the other state), and its window.
extern Gadget* FeedbackGadget;
extern GuiWindow* FeedbackWindow;
// A press of code 1 (left) or 2 (right) on the row; the handler's result, or 0.
int32_t GadgetPress(GuiWindow* window, Gadget* gadget, int32_t code);
// Opens the row's help bubble beside it; it stands until CloseHelpBubble.
void HelpBubble(GuiWindow* window, Gadget* gadget);
void CloseHelpBubble();
extern GuiWindow* HelpBubbleWindow; // the standing bubble, or null
extern int32_t HelpMode;            // key Bulle of section System: 0 off, 1 short, 2 with the key
void LoadHelpMode();

// ---- String and number fields
// ------------------------------------------------------------------------------
extern Gadget* ActiveGadget;          // the field that has the keyboard
extern GuiWindow* ActiveGadgetWindow; // its window
void StringActivate(Gadget* gadget, GuiWindow* window, int32_t pixelX);
void StringCommit(Gadget* gadget, GuiWindow* window, int32_t code); // ends editing, calls the handler
int32_t StringCommitResult(Gadget* gadget, GuiWindow* window, int32_t code); // the same; the handler's result
// Feeds one key event; 1 for Return, 2 for Tab, else 0.
int StringKey(const char* text, int32_t length, Gadget* gadget, GuiWindow* window, int32_t keycode,
              uint32_t qualifiers);
void StringClick(Gadget* gadget, GuiWindow* window);
void StringDeactivate(); // commits the active field with code 0, if any
// The right button's menu of a field: undo, cut, copy, paste, delete, select all.
int32_t StringMenu(GuiWindow* window, Gadget* gadget);
// Moves the keyboard to the next (direction 1) or previous (-1) editable field of the
// window after from; 1 when one was found.
int StringAdvance(GuiWindow* window, Gadget* from, int direction);
void SetStringInt(GuiWindow* window, Gadget* gadget);
void SetStringFloat(GuiWindow* window, Gadget* gadget);
void ButtonBumpInt(GuiWindow* window, Gadget* arrow, Gadget* field, int direction); // +1 up, -1 down
// Drags a number with the mouse: adjust gets each step and returns what it could not use.
using ValueAdjustFn = int32_t (*)(GuiWindow* window, Gadget* gadget, int32_t step);
void ValueDrag(GuiWindow* window, Gadget* gadget, ValueAdjustFn adjust, void (*idle)(GuiWindow* window));
int32_t AdjustStringInt(GuiWindow* window, Gadget* gadget, int32_t step);   // IntValue within Min..Max
int32_t AdjustStringFloat(GuiWindow* window, Gadget* gadget, int32_t step); // step/10

// ---- Dynamic rows
// --------------------------------------------------------------------------------------------
Gadget* DynGadgetAdd(GuiWindow* window,
                     int32_t id); // a zeroed row; null (and message 1000) when out of memory
Gadget* DynButton(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, int32_t h,
                  const char* label);
Gadget* DynString(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, uint32_t maxLen,
                  const char* label);
Gadget* DynScroller(GuiWindow* window, int32_t id, int32_t x, int32_t y, int32_t w, int32_t h);
Gadget* DynTabs(GuiWindow* window, int32_t id, int32_t x, int32_t y, const char** labels, int32_t count);
void DynGadgetRemove(GuiWindow* window, int32_t id);
void DynGadgetsFree(GuiWindow* window);
// Rows of the system gadgets by mask (1 drag, 2 close, 4 depth, 8 frame, 16 size, 32 id -5,
// 64 id -6), in a static table ended by id 0.
Gadget* SystemRows(uint32_t mask);

// ---- Scroller and slider
// --------------------------------------------------------------------------------------- Knob length and
// position along a bar of the given length. Presses on a scroller row (page or drag the knob) and on a tab
// bar.
int32_t ScrollerPress(GuiWindow* window, Gadget* gadget, int32_t code);
int32_t TabsPress(GuiWindow* window, Gadget* gadget);
void ScrollerKnob(int32_t bar, int32_t total, int32_t visible, int32_t position, int32_t* knob, int32_t* pos);

} // namespace nemu
