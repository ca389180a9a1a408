// Pointer, wheel and keys made by a real input device (xdotool drives the server's test
// device) arrive as the native messages with the words the program reads.
#include "host/x11_test_support.h"

#include <X11/keysym.h>

using namespace nemu;
using namespace nemu::x11test;

namespace {

bool IsKey(const NativeMsg& m, uint32_t message, uint32_t code) {
    return m.Message == message && m.WParam == code;
}

// The key and character messages of the log, in order, as text like "D65 C97 U65".
std::string KeyTrace(const std::vector<Seen>& log) {
    std::string out;
    for (const auto& s : log) {
        const NativeMsg& m = s.Msg;
        const char* tag = m.Message == WM_KEYDOWN ? "D"
                          : m.Message == WM_KEYUP ? "U"
                          : m.Message == WM_CHAR  ? "C"
                                                  : nullptr;
        if (!tag) continue;
        if (!out.empty()) out += ' ';
        out += tag + std::to_string(m.WParam);
    }
    return out;
}

class X11InputTest : public X11Test {
  protected:
    void SetUp() override {
        X11Test::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        ASSERT_TRUE(RunXdotool({"mousemove", "100", "80"}));
        // Keys go where the pointer is when nobody has taken the focus.
        ASSERT_TRUE(PumpUntil([](const NativeMsg& m) {
            return m.Message == WM_MOUSEMOVE && m.LParam == MakePositionWord(100, 80);
        }));
        Log.clear();
    }
};

TEST_F(X11InputTest, PointerMotionAndButtonsCarryWindowPositions) {
    ASSERT_TRUE(RunXdotool({"mousemove", "120", "90", "click", "1", "click", "3", "click", "2"}));
    ASSERT_TRUE(PumpUntilMessage(WM_MBUTTONUP));
    auto moves = Logged(WM_MOUSEMOVE);
    ASSERT_FALSE(moves.empty());
    EXPECT_EQ(moves.back().LParam, MakePositionWord(120, 90));
    std::vector<uint32_t> buttons;
    for (const auto& s : Log)
        if (s.Msg.Message >= WM_LBUTTONDOWN && s.Msg.Message <= WM_MBUTTONUP) {
            buttons.push_back(s.Msg.Message);
            EXPECT_EQ(s.Msg.LParam, MakePositionWord(120, 90));
        }
    EXPECT_EQ(buttons, (std::vector<uint32_t>{WM_LBUTTONDOWN, WM_LBUTTONUP, WM_RBUTTONDOWN, WM_RBUTTONUP,
                                              WM_MBUTTONDOWN, WM_MBUTTONUP}));
    // A press says which buttons are held now, as the button flags do.
    EXPECT_EQ(Logged(WM_LBUTTONDOWN)[0].WParam & 0xFFFF, 1u);
    EXPECT_EQ(Logged(WM_RBUTTONDOWN)[0].WParam & 0xFFFF, 2u);
    EXPECT_EQ(Logged(WM_LBUTTONUP)[0].WParam & 0xFFFF, 0u);
}

TEST_F(X11InputTest, APointerThatLeavesFreeGoesFarAwayButADragStays) {
    // The window is 320 by 240 at the corner of the screen.
    ASSERT_TRUE(RunXdotool({"mousemove", "600", "400"}));
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) {
        return m.Message == WM_MOUSEMOVE && m.LParam == MakePositionWord(PointerAwayCoord, PointerAwayCoord);
    }));
    EXPECT_EQ(Logged(WM_MOUSEMOVE).back().WParam & 0x13, 0u); // no button flag
    // Out with a button held, the stroke follows the pointer beyond the edge.
    Log.clear();
    ASSERT_TRUE(RunXdotool({"mousemove", "100", "80", "mousedown", "1", "mousemove", "600", "400"}));
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) {
        return m.Message == WM_MOUSEMOVE && m.LParam == MakePositionWord(600, 400);
    }));
    ASSERT_TRUE(RunXdotool({"mouseup", "1"}));
    ASSERT_TRUE(PumpUntilMessage(WM_LBUTTONUP));
    for (const auto& s : Log)
        EXPECT_NE(s.Msg.LParam, MakePositionWord(PointerAwayCoord, PointerAwayCoord))
            << "message " << s.Msg.Message;
}

TEST_F(X11InputTest, WheelGivesNotchesAndScreenPosition) {
    // Away from the screen's corner, window and screen positions differ.
    XMoveWindow(X11.Dpy, X11.Win, 40, 30);
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) { return m.Message == WM_MOVE; }));
    ASSERT_TRUE(RunXdotool({"mousemove", "140", "110", "click", "4", "click", "5", "click", "5"}));
    ASSERT_TRUE(PumpUntil([&](const NativeMsg&) { return Logged(WM_MOUSEWHEEL).size() == 3; }));
    auto wheels = Logged(WM_MOUSEWHEEL);
    ASSERT_EQ(wheels.size(), 3u);
    EXPECT_EQ(int16_t(wheels[0].WParam >> 16), 120);
    EXPECT_EQ(int16_t(wheels[1].WParam >> 16), -120);
    EXPECT_EQ(int16_t(wheels[2].WParam >> 16), -120);
    for (const auto& w : wheels) EXPECT_EQ(w.LParam, MakePositionWord(140, 110));
    EXPECT_EQ(Logged(WM_MOUSEMOVE).back().LParam, MakePositionWord(100, 80));
}

TEST_F(X11InputTest, LetterKeyGivesNumberThenCharacterThenRelease) {
    ASSERT_TRUE(RunXdotool({"key", "a"}));
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) { return IsKey(m, WM_KEYUP, 'A'); }));
    EXPECT_EQ(KeyTrace(Log), "D65 C97 U65");
    // The release says the key was down before, and is up now.
    EXPECT_EQ(uint32_t(Logged(WM_KEYUP)[0].LParam) >> 30, 3u);
    EXPECT_EQ(uint32_t(Logged(WM_KEYDOWN)[0].LParam) >> 30, 0u);
}

TEST_F(X11InputTest, ShiftMakesCapitalsAndShowsInTheLiveQualifiers) {
    uint32_t qualifiersAtA = 99;
    ASSERT_TRUE(RunXdotool({"key", "shift+a"}));
    ASSERT_TRUE(PumpUntil([&](const NativeMsg& m) {
        if (IsKey(m, WM_KEYDOWN, 'A')) qualifiersAtA = PlatformQualifiers();
        return Logged(WM_KEYUP).size() == 2;
    }));
    // xdotool lets the keys go in the order it pressed them.
    EXPECT_EQ(KeyTrace(Log), "D16 D65 C65 U16 U65");
    EXPECT_EQ(qualifiersAtA, 2u);
    EXPECT_EQ(PlatformQualifiers(), 0u);
}

TEST_F(X11InputTest, ControlAltAndSpecialKeys) {
    uint32_t qualifiersAtC = 99;
    ASSERT_TRUE(RunXdotool({"key", "ctrl+alt+c", "F5", "KP_Add", "Delete", "Return", "bracketleft"}));
    ASSERT_TRUE(PumpUntil([&](const NativeMsg& m) {
        if (IsKey(m, WM_KEYDOWN, 'C')) qualifiersAtC = PlatformQualifiers();
        return IsKey(m, WM_KEYUP, VK_OEM_4);
    }));
    EXPECT_EQ(qualifiersAtC, 4u | 8u);
    std::string trace = KeyTrace(Log);
    // F5 makes no text; the keypad plus does; Delete none (it edits by its number).
    EXPECT_NE(trace.find("D116 U116"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D107 C43 U107"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D46 U46"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D13 C13 U13"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D219 C91 U219"), std::string::npos) << trace;
}

// The keys that edit type their control characters, which the key map names them by;
// Shift and Tab among them, which the input method alone would leave without text.
TEST_F(X11InputTest, EditingKeysTypeTheirControlCharacters) {
    ASSERT_TRUE(RunXdotool({"key", "shift+Tab", "Escape", "BackSpace"}));
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) { return IsKey(m, WM_KEYUP, VK_BACK); }));
    std::string trace = KeyTrace(Log);
    EXPECT_NE(trace.find("D9 C9"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D27 C27 U27"), std::string::npos) << trace;
    EXPECT_NE(trace.find("D8 C8 U8"), std::string::npos) << trace;
}

// Gives two unused key codes the keysyms é and €, for as long as it lives. (xdotool
// would lend a key code itself, but takes it back before the events are read.)
struct SpareKeys {
    Display* D;
    KeyCode Codes[2] = {};
    explicit SpareKeys(Display* d) : D(d) {
        int low = 0, high = 0, per = 0;
        XDisplayKeycodes(D, &low, &high);
        KeySym* map = XGetKeyboardMapping(D, KeyCode(low), high - low + 1, &per);
        int found = 0;
        for (int code = high; code >= low && found < 2; code--) {
            bool empty = true;
            for (int k = 0; k < per; k++) empty &= map[(code - low) * per + k] == NoSymbol;
            if (empty) Codes[found++] = KeyCode(code);
        }
        XFree(map);
        KeySym syms[2] = {XK_eacute, XK_EuroSign};
        for (int i = 0; i < found; i++) XChangeKeyboardMapping(D, Codes[i], 1, &syms[i], 1);
        XSync(D, False);
    }
    ~SpareKeys() {
        KeySym none = NoSymbol;
        for (KeyCode c : Codes)
            if (c) XChangeKeyboardMapping(D, c, 1, &none, 1);
        XSync(D, False);
    }
};

TEST_F(X11InputTest, CharactersOutsideAsciiArriveAsCodePoints) {
    SpareKeys spare(Other);
    ASSERT_NE(spare.Codes[1], 0) << "no spare key codes on this server";
    ASSERT_TRUE(RunXdotool({"key", "eacute", "EuroSign"}));
    ASSERT_TRUE(PumpUntil([](const NativeMsg& m) { return m.Message == WM_CHAR && m.WParam == 0x20AC; }))
        << KeyTrace(Log);
    auto chars = Logged(WM_CHAR);
    ASSERT_EQ(chars.size(), 2u);
    EXPECT_EQ(chars[0].WParam, 0xE9u);
    EXPECT_TRUE(Logged(WM_KEYDOWN).empty()); // keys with no number make text alone
}

TEST_F(X11InputTest, CorePointerEventsServeWithoutXInput2) {
    PlatformClose();
    setenv("NEMU_X11_NOXI2", "1", 1);
    ASSERT_NO_FATAL_FAILURE(OpenWindow());
    ASSERT_NO_FATAL_FAILURE(WaitShown());
    ASSERT_TRUE(RunXdotool({"mousemove", "60", "70", "click", "1", "click", "4"}));
    ASSERT_TRUE(PumpUntilMessage(WM_MOUSEWHEEL));
    EXPECT_EQ(Logged(WM_MOUSEMOVE).back().LParam, MakePositionWord(60, 70));
    ASSERT_EQ(Logged(WM_LBUTTONDOWN).size(), 1u);
    EXPECT_EQ(Logged(WM_LBUTTONUP).size(), 1u);
    EXPECT_EQ(int16_t(Logged(WM_MOUSEWHEEL)[0].WParam >> 16), 120);
    EXPECT_FALSE(PlatformTabletPresent()); // the test device has no pressure
}

} // namespace
