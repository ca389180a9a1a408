// A headless screen with a page on it, without the rest of start-up, for tests of the
// input layer, the screen output and the main loop.
#pragma once
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/remote.h"
#include "host/screen.h"
#include "host/tablet.h"
#include "store/bitmap.h"
#include "support/paint_state.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

// The spine's plain state that tests of the loop, the pointer and the screen change: taken
// when a host is made and put back when it goes, so that tests run in one process as
// apart as in their own (a leak here is a leak between operations of a long session).
struct SpineState {
    int32_t Quit = nemu::QuitFlag, Close = nemu::CloseRequest, Locked = nemu::InputLocked,
            Hold = nemu::DisplayHold, Passive = nemu::ToolIsPassive, Tool = nemu::ToolMode;
    int32_t Left = nemu::LeftHeld, Right = nemu::RightHeld, LeftDown = nemu::LeftPressed,
            RightDown = nemu::RightPressed, Edge = nemu::ButtonEdge;
    int32_t Shift = nemu::ShiftHeld, Ctrl = nemu::CtrlHeld, Alt = nemu::AltHeld, Tablet = nemu::TabletActive;
    int32_t High = nemu::PressureHigh, Low = nemu::PressureLow, Speed = nemu::SpeedPressureValue,
            Stroke = nemu::StrokePressure;
    int32_t UsesPressure = nemu::ToolUsesPressure, UsesSpeed = nemu::ToolUsesSpeed,
            Invert = nemu::ToolInvertPressure, Scale = nemu::SpeedScale;
    int32_t WindowFX = nemu::WindowPointerFX, WindowFY = nemu::WindowPointerFY, FX = nemu::PointerFX,
            FY = nemu::PointerFY;
    int16_t WindowX = nemu::WindowPointerX, WindowY = nemu::WindowPointerY, X = nemu::PointerX,
            Y = nemu::PointerY;
    int32_t Break = nemu::BreakRequested, Dialog = nemu::DialogMode, Captures = nemu::CaptureCount,
            LeftAsRight = nemu::LeftIsRight;
    int32_t Force = nemu::ForceTablet, NoTablet = nemu::TabletDisabled;
    uint32_t Flags = nemu::DisplayFlags;
    int32_t PlaceX = nemu::PageX, PlaceY = nemu::PageY, NotReady = nemu::PageNotReady;
    int32_t Opacity = nemu::PageOpacity, Frame = nemu::Border, Mouse = nemu::MouseStyle;
    nemu::PointerHookFn Hook = nemu::PointerHook;
    nemu::HookFn HookEnd = nemu::PointerHookEnd, AfterCommit = nemu::AfterCommitHook,
                 AfterUndo = nemu::AfterUndoHook;
    void (*Remote)(nemu::RemoteRequest*) = nemu::RunRemoteCommand;

    void Restore() const {
        using namespace nemu;
        QuitFlag = Quit, CloseRequest = Close, InputLocked = Locked, DisplayHold = Hold, ToolIsPassive = Passive;
        ToolMode = Tool;
        LeftHeld = Left, RightHeld = Right, LeftPressed = LeftDown, RightPressed = RightDown, ButtonEdge = Edge;
        ShiftHeld = Shift, CtrlHeld = Ctrl, AltHeld = Alt, TabletActive = Tablet;
        PressureHigh = High, PressureLow = Low, SpeedPressureValue = Speed, StrokePressure = Stroke;
        ToolUsesPressure = UsesPressure, ToolUsesSpeed = UsesSpeed, ToolInvertPressure = Invert,
        SpeedScale = Scale;
        WindowPointerFX = WindowFX, WindowPointerFY = WindowFY, PointerFX = FX, PointerFY = FY;
        WindowPointerX = WindowX, WindowPointerY = WindowY, PointerX = X, PointerY = Y;
        BreakRequested = Break, DialogMode = Dialog, CaptureCount = Captures, LeftIsRight = LeftAsRight;
        ForceTablet = Force, TabletDisabled = NoTablet;
        PageX = PlaceX, PageY = PlaceY, PageNotReady = NotReady;
        DisplayFlags = Flags, PageOpacity = Opacity, Border = Frame, MouseStyle = Mouse;
        PointerHook = Hook, PointerHookEnd = HookEnd, AfterCommitHook = AfterCommit, AfterUndoHook = AfterUndo;
        RunRemoteCommand = Remote;
    }
};

struct HeadlessHost {
    HeadlessHost(int screenW, int screenH, int pageW, int pageH, int pageX, int pageY) {
        using namespace nemu;
        EXPECT_EQ(PlatformOpen(BACKEND_HEADLESS, screenW, screenH), 1);
        EXPECT_EQ(ScreenOpen(), 1);
        EXPECT_EQ(ResizePageBuffers(pageW, pageH), 1);
        PageNotReady = 0;
        for (int i = 0; i < 256; i++) PressureCurve[i] = SpeedCurve[i] = uint8_t(i);
        DrainInput(); // the opening WM_SIZE and WM_PAINT
        PageX = pageX;
        PageY = pageY;
    }
    ~HeadlessHost() {
        nemu::Cleanup();
        Saved.Restore();
        Paint.Restore();
    }
    const SpineState Saved;
    const nemu::test::PaintState Paint;
};

inline uint32_t ScreenPixel(int x, int y) {
    const nemu::Bitmap* s = nemu::HeadlessScreen();
    return s->Pixels[size_t(y) * s->Width + x];
}

inline void QueueButton(uint32_t message, int x, int y) {
    nemu::HeadlessQueuePointer(x, y, message);
}

// A native message as a back end posts it; text is copied and handed over with it.
inline void QueueNative(uint32_t message, uintptr_t wParam = 0, intptr_t lParam = 0,
                        const char* text = nullptr, size_t textLength = 0) {
    nemu::NativeMsg m;
    m.Message = message;
    m.WParam = wParam;
    m.LParam = lParam;
    if (text) {
        m.Text = static_cast<char*>(std::malloc(textLength + 1));
        std::memcpy(m.Text, text, textLength);
        m.Text[textLength] = 0;
        m.TextLength = textLength;
    }
    nemu::HeadlessQueue(m);
}
