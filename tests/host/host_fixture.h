// A headless screen with a page on it, without the rest of start-up, for tests of the
// input layer, the screen output and the main loop.
#pragma once
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

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
    ~HeadlessHost() { nemu::Cleanup(); }
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
