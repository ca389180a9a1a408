#include "host/input.h"

#include "host/main_loop.h"
#include "host/tablet.h"
#include "host_fixture.h"

#include <cstring>
#include <vector>

using namespace nemu;

namespace {

struct Taken {
    int32_t Type, Code, X, Y;
    uint32_t Char;
    int32_t WheelY;
    uint32_t Qualifiers;
};

// Every record the pump makes until it runs dry; payloads and requests are freed.
std::vector<Taken> TakeAll(int deferredOk) {
    std::vector<Taken> out;
    while (InputMsg* m = GetInputMsg(deferredOk)) {
        out.push_back({m->Type, m->Code, m->X, m->Y, m->Char, m->WheelY, m->Qualifiers});
        if (m->Type == IM_DROP) std::free(m->Payload);
        if (m->Type == IM_PICTURE) FreeBitmap(static_cast<Bitmap*>(m->Payload));
        if (m->Type == IM_REMOTE) ReplyRemote(m->Request);
        FreeInputMsg(m);
    }
    return out;
}

void QueueRemote(const char* text, uintptr_t client, bool request = true) {
    QueueNative(request ? WM_DDE_REQUEST : WM_DDE_EXECUTE, client, 0, text, std::strlen(text));
}

} // namespace

TEST(Input, PositionsAreHalfPixelFixedPointAndKeepTheirSign) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessQueuePointer(10, 7);
    HeadlessQueuePointer(-3, -1);
    auto r = TakeAll(1);
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].Type, IM_POINTER);
    EXPECT_EQ(r[0].X, 10 * 65536 + 0x8000);
    EXPECT_EQ(r[0].Y, 7 * 65536 + 0x8000);
    EXPECT_EQ(r[1].X >> 16, -3);
    EXPECT_EQ(r[1].Y >> 16, -1);
}

TEST(Input, AltLeftPressIsRightUntilItsRelease) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessSetQualifiers(QUAL_ALT);
    QueueButton(WM_LBUTTONDOWN, 5, 5);
    auto down = TakeAll(1);
    HeadlessSetQualifiers(0); // Alt let go while the button is held
    QueueButton(WM_LBUTTONUP, 6, 6);
    QueueButton(WM_LBUTTONDOWN, 6, 6);
    QueueButton(WM_LBUTTONUP, 6, 6);
    auto rest = TakeAll(1);
    ASSERT_EQ(down.size(), 1u);
    EXPECT_EQ(down[0].Code, BUTTON_RIGHT_DOWN);
    EXPECT_EQ(down[0].Qualifiers, QUAL_ALT);
    ASSERT_EQ(rest.size(), 3u);
    EXPECT_EQ(rest[0].Code, BUTTON_RIGHT_UP);
    EXPECT_EQ(rest[1].Code, BUTTON_LEFT_DOWN);
    EXPECT_EQ(rest[2].Code, BUTTON_LEFT_UP);
}

TEST(Input, PenSecondEndPressesRight) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    TabletPacket p;
    p.Cursor = 2;
    p.PressureMax = 1023;
    p.Pressure = 1023;
    HeadlessQueueTablet(p);
    QueueButton(WM_LBUTTONDOWN, 5, 5);
    QueueButton(WM_LBUTTONUP, 5, 5);
    auto r = TakeAll(1);
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].Code, BUTTON_RIGHT_DOWN);
    EXPECT_EQ(r[1].Code, BUTTON_RIGHT_UP);
}

TEST(Input, TwoButtonsTakeTheCaptureOnceAndReleaseItWithTheSecond) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    QueueButton(WM_LBUTTONDOWN, 1, 1);
    QueueButton(WM_RBUTTONDOWN, 1, 1);
    TakeAll(1);
    EXPECT_EQ(CaptureCount, 2);
    QueueButton(WM_LBUTTONUP, 1, 1);
    TakeAll(1);
    EXPECT_EQ(CaptureCount, 1);
    QueueButton(WM_RBUTTONUP, 1, 1);
    QueueButton(WM_MBUTTONUP, 1, 1); // a stray release leaves the count at 0
    TakeAll(1);
    EXPECT_EQ(CaptureCount, 0);
}

TEST(Input, KeyPressGivesKeyThenCharacterAndReleaseSetsBit15) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessQueuePointer(12, 9);
    HeadlessQueueKey('A', 0xE9); // é
    HeadlessQueueKey('A', 0, true);
    auto r = TakeAll(1);
    ASSERT_EQ(r.size(), 4u);
    EXPECT_EQ(r[1].Type, IM_KEY);
    EXPECT_EQ(r[1].Code, 'A');
    EXPECT_EQ(r[2].Code, KEY_CHARACTER);
    EXPECT_EQ(r[2].Char, 0xE9u);
    EXPECT_EQ(r[3].Code, 'A' | 0x8000);
    for (int i = 1; i < 4; i++) {
        EXPECT_EQ(r[i].X, r[0].X);
        EXPECT_EQ(r[i].Y, r[0].Y);
    }
}

TEST(Input, CharactersBecomeUtf8AndDeleteBecomes127) {
    InputMsg m{};
    m.Type = IM_KEY;
    m.Code = KEY_CHARACTER;
    char buf[8] = {};
    struct Case {
        uint32_t Char;
        const char* Bytes;
    } cases[] = {{'a', "a"}, {0xE9, "\xC3\xA9"}, {0x20AC, "\xE2\x82\xAC"}, {0x1F600, "\xF0\x9F\x98\x80"}};
    for (const Case& c : cases) {
        m.Char = c.Char;
        std::memset(buf, 0, sizeof buf);
        EXPECT_EQ(InputCharacters(&m, buf, sizeof buf, 0), int(std::strlen(c.Bytes))) << c.Char;
        EXPECT_STREQ(buf, c.Bytes);
    }
    m.Char = 0xD800; // a lone surrogate is no text
    EXPECT_EQ(InputCharacters(&m, buf, sizeof buf, 0), 0);
    m.Char = 0x20AC; // never half a character
    EXPECT_EQ(InputCharacters(&m, buf, 2, 0), 0);
    m.Code = VK_DELETE;
    EXPECT_EQ(InputCharacters(&m, buf, sizeof buf, 0), 1);
    EXPECT_EQ(buf[0], 127);
    m.Code = 'A';
    EXPECT_EQ(InputCharacters(&m, buf, sizeof buf, 0), 0);
}

TEST(Input, WheelCountsWholeNotchesTowardZero) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    int deltas[] = {60, -240, 120, -119, 360};
    int notches[] = {0, -2, 1, 0, 3};
    for (int d : deltas)
        QueueNative(WM_MOUSEWHEEL, uintptr_t(uint32_t(uint16_t(int16_t(d))) << 16), MakePositionWord(3, 4));
    auto r = TakeAll(1);
    ASSERT_EQ(r.size(), 5u);
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(r[i].Type, IM_WHEEL);
        EXPECT_EQ(r[i].WheelY, notches[i]) << "delta " << deltas[i];
    }
    EXPECT_EQ(r[0].X >> 16, 3);
}

TEST(Input, DeleteRaisesBreakUnlessADialogModeIsOn) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessQueueKey(VK_DELETE, 0);
    TakeAll(1);
    EXPECT_EQ(BreakRequested, 1);
    HeadlessQueueKey('B', 0);
    TakeAll(1);
    EXPECT_EQ(BreakRequested, 0);
    DialogMode = 1;
    HeadlessQueueKey(VK_DELETE, 0);
    TakeAll(1);
    EXPECT_EQ(BreakRequested, 0);
}

TEST(Input, DropDuringStrokeIsLostAndNeverDeliveredLater) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    const char names[] = "/a/first.png\0/b/second.png\0";
    QueueNative(WM_DROPFILES, 0, 0, names, sizeof names - 1);
    EXPECT_TRUE(TakeAll(0).empty());
    EXPECT_TRUE(TakeAll(1).empty());

    QueueNative(WM_DROPFILES, 0, 0, names, sizeof names - 1);
    InputMsg* m = GetInputMsg(1);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->Type, IM_DROP);
    EXPECT_STREQ(static_cast<char*>(m->Payload), "/a/first.png");
    std::free(m->Payload);
    FreeInputMsg(m);
}

TEST(Input, RemoteRequestsWaitDuringStrokeAndComeOutOldestFirst) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    QueueRemote("first", 1);
    HeadlessQueuePointer(4, 4);
    QueueRemote("second", 2, false);
    auto stroke = TakeAll(0); // a button is held: only the pointer move comes through
    ASSERT_EQ(stroke.size(), 1u);
    EXPECT_EQ(stroke[0].Type, IM_POINTER);
    EXPECT_EQ(RemoteQueueLength(), 2);
    EXPECT_EQ(WaitForInput(3), 1); // a waiting request ends an idle wait at once

    InputMsg* a = GetInputMsg(1);
    InputMsg* b = GetInputMsg(1);
    ASSERT_TRUE(a && b);
    EXPECT_STREQ(a->Request->Text, "first");
    EXPECT_EQ(a->Request->WantsData, 1u);
    EXPECT_STREQ(b->Request->Text, "second");
    EXPECT_EQ(b->Request->WantsData, 0u);
    EXPECT_EQ(b->Request->Client, 2u);
    ReplyRemote(a->Request);
    ReplyRemote(b->Request);
    FreeInputMsg(a);
    FreeInputMsg(b);
    EXPECT_EQ(RemoteQueueLength(), 0);
}

TEST(Input, PicturesComeBeforeRequestsAndBeforeNewMessages) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    QueueRemote("cmd", 7);
    TakeAll(0);
    Bitmap* one = NewClearBitmap(2, 2);
    Bitmap* two = NewClearBitmap(3, 3);
    ASSERT_EQ(QueuePicture(one), 1);
    ASSERT_EQ(QueuePicture(two), 1);
    HeadlessQueuePointer(1, 1);
    std::vector<int32_t> types;
    std::vector<int32_t> widths;
    while (InputMsg* m = GetInputMsg(1)) {
        types.push_back(m->Type);
        if (m->Type == IM_PICTURE) {
            widths.push_back(static_cast<Bitmap*>(m->Payload)->Width);
            FreeBitmap(static_cast<Bitmap*>(m->Payload));
        }
        if (m->Type == IM_REMOTE) ReplyRemote(m->Request);
        FreeInputMsg(m);
    }
    EXPECT_EQ(types, (std::vector<int32_t>{IM_PICTURE, IM_PICTURE, IM_REMOTE, IM_POINTER}));
    EXPECT_EQ(widths, (std::vector<int32_t>{2, 3}));
}

TEST(Input, ClosingTheQueuesFreesPicturesAndAnswersRequests) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    uint32_t before = MemoryInUse;
    QueuePicture(NewClearBitmap(8, 8));
    QueueRemote("waiting", 3);
    TakeAll(0);
    CloseInputQueues();
    EXPECT_EQ(PictureQueueLength(), 0);
    EXPECT_EQ(RemoteQueueLength(), 0);
    EXPECT_EQ(MemoryInUse, before);
}

TEST(Input, WaitForInputTicksWhenIdleAndSleepsThroughTicksInMode0) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    // Mode 3 with nothing queued: each call returns 0 after one tick of the wait timer.
    for (int i = 0; i < 3; i++) EXPECT_EQ(WaitForInput(3), 0);
    EXPECT_EQ(WaitTimer, 100u);
    EXPECT_EQ(HeldFlag, 0);
    // Mode 0 keeps waiting past ticks for a real message, which it holds for the pump.
    HeadlessQueuePointer(9, 9);
    EXPECT_EQ(WaitForInput(0), 1);
    EXPECT_EQ(HeldFlag, 1);
    EXPECT_EQ(WaitForInput(3), 1); // held: returns at once
    auto r = TakeAll(1);
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0].X >> 16, 9);
}

TEST(Input, WindowMessagesAreHandledOnTheWayAndDoNotEndTheDrain) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessQueuePointer(1, 1);
    QueueNative(WM_CLOSE);
    HeadlessQueuePointer(2, 2);
    auto r = TakeAll(0);
    EXPECT_EQ(r.size(), 2u);
    EXPECT_EQ(CloseRequest, 1);
}

TEST(Input, ModalWaitReportsKeysWheelAsArrowsAndTicks) {
    HeadlessHost host(200, 100, 50, 50, 20, 20);
    HeadlessQueueKey(VK_RETURN, 0);
    EXPECT_EQ(WaitEvent(1), 4);
    EXPECT_EQ(EventKeyCode, int32_t(VK_RETURN));
    QueueNative(WM_MOUSEWHEEL, uintptr_t(uint32_t(uint16_t(int16_t(-120))) << 16), 0);
    EXPECT_EQ(WaitEvent(1), 4);
    EXPECT_EQ(EventKeyCode, int32_t(VK_DOWN));
    EXPECT_EQ(WaitEvent(10), 6); // nothing came: a tick
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    EXPECT_EQ(WaitEvent(1), 1);
    EXPECT_EQ(LeftHeld, 1);
    // A remote request that comes during a modal wait waits for the main loop.
    QueueRemote("later", 4);
    HeadlessQueueKey('X', 'x');
    EXPECT_EQ(WaitEvent(1), 4);
    EXPECT_EQ(RemoteQueueLength(), 1);
}
