// The input pump: native messages become InputMsg records.
//
// Sections: state; deferred queues; record makers (one per native message);
// GetInputMsg; WaitForInput and DrainInput; the window procedure; remote replies.
// The modal wait and the character conversion live in input_wait.cpp.
#include "host/input.h"

#include "host/main_loop.h"
#include "host/remote.h"
#include "host/screen.h"
#include "host/tablet.h"
#include "store/bitmap.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

int32_t LastPointerFX = PointerAwayFixed, LastPointerFY = PointerAwayFixed;
NativeMsg HeldMessage;
int32_t HeldFlag = 0;
uint32_t WaitTimer = 0;
int32_t CaptureCount = 0;
int32_t LeftIsRight = 0;
int32_t BreakRequested = 0;
int32_t DialogMode = 0;

constexpr uint32_t WaitTimerId = 100;
constexpr uint32_t WaitTimerPeriod = 20;

// ---- Deferred queues ------------------------------------------------------------------
// Pictures: appended at the tail, taken from the head. Requests: pushed at the head
// (the newest end), taken from the tail (the oldest). Both are first in, first out.

struct PictureNode {
    Bitmap* Picture;
    PictureNode* Next;
};
static PictureNode* PictureHead = nullptr;
static PictureNode* PictureTail = nullptr;
static RemoteRequest* RemoteNewest = nullptr;
static RemoteRequest* RemoteOldest = nullptr;

int QueuePicture(Bitmap* bitmap) {
    if (!bitmap) return 0;
    auto* node = static_cast<PictureNode*>(std::malloc(sizeof(PictureNode)));
    if (!node) return 0;
    node->Picture = bitmap;
    node->Next = nullptr;
    if (PictureTail)
        PictureTail->Next = node;
    else
        PictureHead = node;
    PictureTail = node;
    return 1;
}

static Bitmap* TakePicture() {
    PictureNode* node = PictureHead;
    if (!node) return nullptr;
    PictureHead = node->Next;
    if (!PictureHead) PictureTail = nullptr;
    Bitmap* picture = node->Picture;
    std::free(node);
    return picture;
}

static void PushRemote(RemoteRequest* request) {
    request->Newer = nullptr;
    request->Older = RemoteNewest;
    if (RemoteNewest)
        RemoteNewest->Newer = request;
    else
        RemoteOldest = request;
    RemoteNewest = request;
}

static RemoteRequest* TakeRemote() {
    RemoteRequest* request = RemoteOldest;
    if (!request) return nullptr;
    RemoteOldest = request->Newer;
    if (RemoteOldest)
        RemoteOldest->Older = nullptr;
    else
        RemoteNewest = nullptr;
    request->Newer = request->Older = nullptr;
    return request;
}

int PictureQueueLength() {
    int n = 0;
    for (PictureNode* p = PictureHead; p; p = p->Next) n++;
    return n;
}

int RemoteQueueLength() {
    int n = 0;
    for (RemoteRequest* r = RemoteOldest; r; r = r->Newer) n++;
    return n;
}

static void FreeRemoteRequest(RemoteRequest* request) {
    std::free(request->Text);
    std::free(request);
}

void CloseInputQueues() {
    while (Bitmap* picture = TakePicture()) FreeBitmap(picture);
    while (RemoteRequest* request = TakeRemote()) {
        RemoteAck(request->Client, 0);
        FreeRemoteRequest(request);
    }
}

// ---- Record makers ------------------------------------------------------------------------

static InputMsg* NewRecord(int32_t type, int32_t code) {
    auto* msg = static_cast<InputMsg*>(std::calloc(1, sizeof(InputMsg)));
    if (!msg) return nullptr;
    msg->Type = type;
    msg->Code = code;
    return msg;
}

void FreeInputMsg(InputMsg* msg) {
    std::free(msg);
}

// The fraction is one half, so a pixel's centre is where the pointer stands; the 16-bit
// value lands in the high half, so a position left of or above the window stays negative.
static void UpdatePosition(intptr_t positionWord) {
    uint32_t word = uint32_t(positionWord);
    LastPointerFX = int32_t((word << 16) | 0x8000);
    LastPointerFY = int32_t((word & 0xFFFF0000u) + 0x8000);
}

static void TakeCapture() {
    // The window system grabs the pointer for a held button by itself; the count is what
    // the program relies on, so that two buttons release the capture only once.
    CaptureCount++;
}

static void DropCapture() {
    if (CaptureCount == 1)
        CaptureCount = 0;
    else if (CaptureCount > 1)
        CaptureCount--;
}

struct MakeContext {
    const NativeMsg* Native;
    int DeferredOk;
    bool Merged; // the maker already merged the tablet into the record
};

using RecordMaker = InputMsg* (*)(MakeContext& c);

static InputMsg* MakePointer(MakeContext& c) {
    UpdatePosition(c.Native->LParam);
    return NewRecord(IM_POINTER, 0);
}

static InputMsg* MakeLeftDown(MakeContext& c) {
    UpdatePosition(c.Native->LParam);
    InputMsg* msg = NewRecord(IM_BUTTON, BUTTON_LEFT_DOWN);
    InputMsg scratch{};
    InputMsg* r = msg ? msg : &scratch;
    // The pen's second end, or Alt, turns a left press into a right one; its release
    // must then be reported as right up, whatever Alt does in between.
    int secondEnd = TabletMerge(&LastPointerFX, &LastPointerFY, &r->PressureHigh, &r->PressureLow, c.Native,
                                &r->Azimuth, &r->Altitude, &r->TabletFlag);
    c.Merged = true;
    if (secondEnd || (PlatformQualifiers() & QUAL_ALT)) {
        r->Code = BUTTON_RIGHT_DOWN;
        LeftIsRight = 1;
    }
    TakeCapture();
    return msg;
}

static InputMsg* MakeLeftUp(MakeContext& c) {
    int32_t code = BUTTON_LEFT_UP;
    if (LeftIsRight) {
        code = BUTTON_RIGHT_UP;
        LeftIsRight = 0;
    }
    UpdatePosition(c.Native->LParam);
    DropCapture();
    return NewRecord(IM_BUTTON, code);
}

static InputMsg* MakeButton(MakeContext& c, int32_t code, bool down) {
    UpdatePosition(c.Native->LParam);
    if (down)
        TakeCapture();
    else
        DropCapture();
    return NewRecord(IM_BUTTON, code);
}

static InputMsg* MakeRightDown(MakeContext& c) {
    return MakeButton(c, BUTTON_RIGHT_DOWN, true);
}
static InputMsg* MakeRightUp(MakeContext& c) {
    return MakeButton(c, BUTTON_RIGHT_UP, false);
}
static InputMsg* MakeMiddleDown(MakeContext& c) {
    return MakeButton(c, BUTTON_MIDDLE_DOWN, true);
}
static InputMsg* MakeMiddleUp(MakeContext& c) {
    return MakeButton(c, BUTTON_MIDDLE_UP, false);
}

static InputMsg* MakeWheel(MakeContext& c) {
    InputMsg* msg = NewRecord(IM_WHEEL, 0);
    // Whole notches only, truncated toward zero: half a notch turns nothing.
    int16_t delta = int16_t(uint16_t(uint32_t(c.Native->WParam) >> 16));
    if (msg) msg->WheelY = delta / 120;
    UpdatePosition(c.Native->LParam);
    return msg;
}

static InputMsg* MakeKeyDown(MakeContext& c) {
    int32_t vk = int32_t(c.Native->WParam & 0xFFFF);
    BreakRequested = (vk == int32_t(VK_DELETE) && !DialogMode && !InputLocked) ? 1 : 0;
    // The back ends deliver the character message themselves, after this one.
    return NewRecord(IM_KEY, vk);
}

static InputMsg* MakeKeyUp(MakeContext& c) {
    return NewRecord(IM_KEY, int32_t(c.Native->WParam & 0xFFFF) | KEY_RELEASED);
}

static InputMsg* MakeChar(MakeContext& c) {
    InputMsg* msg = NewRecord(IM_KEY, KEY_CHARACTER);
    if (msg) msg->Char = uint32_t(c.Native->WParam);
    return msg;
}

static InputMsg* MakeDrop(MakeContext& c) {
    // A drop during a stroke would change the page under the pen: it is lost.
    if (!c.DeferredOk) return nullptr;
    InputMsg* msg = NewRecord(IM_DROP, 0);
    if (!msg) return nullptr;
    char* buffer = static_cast<char*>(std::calloc(1, DROP_BUFFER_SIZE));
    if (buffer && c.Native->Text) {
        size_t n = strnlen(c.Native->Text, c.Native->TextLength);
        if (n > DROP_BUFFER_SIZE - 2) n = DROP_BUFFER_SIZE - 2;
        std::memcpy(buffer, c.Native->Text, n);
    }
    msg->Payload = buffer;
    return msg;
}

static InputMsg* MakeRemote(MakeContext& c) {
    uintptr_t client = c.Native->WParam;
    auto* request = static_cast<RemoteRequest*>(std::calloc(1, sizeof(RemoteRequest)));
    size_t n = c.Native->Text ? strnlen(c.Native->Text, c.Native->TextLength) : 0;
    if (n > REMOTE_TEXT_MAX) n = REMOTE_TEXT_MAX;
    char* text = request ? static_cast<char*>(std::malloc(n + 1)) : nullptr;
    if (!text) {
        // Out of memory: the client hears a failure rather than waiting for ever.
        std::free(request);
        RemoteAck(client, 0);
        return nullptr;
    }
    if (n) std::memcpy(text, c.Native->Text, n);
    text[n] = 0;
    request->Text = text;
    request->Client = client;
    request->WantsData = c.Native->Message == WM_DDE_REQUEST ? 1 : 0;
    if (c.DeferredOk) {
        InputMsg* msg = NewRecord(IM_REMOTE, 0);
        if (msg) {
            msg->Request = request;
            return msg;
        }
    }
    // During a stroke or a modal wait the command waits for the main loop.
    PushRemote(request);
    return nullptr;
}

struct MakerRow {
    uint32_t Message;
    RecordMaker Make;
    bool PassNative; // the tablet merge sees the native message
};

static const MakerRow MakerTable[] = {
    {WM_MOUSEMOVE, MakePointer, true},   {WM_LBUTTONDOWN, MakeLeftDown, true},
    {WM_LBUTTONUP, MakeLeftUp, true},    {WM_RBUTTONDOWN, MakeRightDown, true},
    {WM_RBUTTONUP, MakeRightUp, true},   {WM_MBUTTONDOWN, MakeMiddleDown, true},
    {WM_MBUTTONUP, MakeMiddleUp, true},  {WM_MOUSEWHEEL, MakeWheel, true},
    {WM_KEYDOWN, MakeKeyDown, false},    {WM_KEYUP, MakeKeyUp, false},
    {WM_CHAR, MakeChar, false},          {WM_DROPFILES, MakeDrop, false},
    {WM_DDE_REQUEST, MakeRemote, false}, {WM_DDE_EXECUTE, MakeRemote, false},
};

static const MakerRow* FindMaker(uint32_t message) {
    for (const MakerRow& row : MakerTable)
        if (row.Message == message) return &row;
    return nullptr;
}

// Steps 8 and 9: tablet, position and qualifiers, common to every record.
static InputMsg* Finish(InputMsg* msg, const NativeMsg* native) {
    TabletMerge(&LastPointerFX, &LastPointerFY, &msg->PressureHigh, &msg->PressureLow, native, &msg->Azimuth,
                &msg->Altitude, &msg->TabletFlag);
    msg->X = LastPointerFX;
    msg->Y = LastPointerFY;
    msg->Qualifiers = PlatformQualifiers() & (QUAL_SHIFT | QUAL_CTRL | QUAL_ALT);
    return msg;
}

// ---- GetInputMsg ---------------------------------------------------------------------------

static bool NextNative(NativeMsg* out) {
    if (HeldFlag) {
        HeldFlag = 0;
        *out = HeldMessage;
        HeldMessage = NativeMsg{};
    } else if (!PlatformPeek(out)) {
        return false;
    }
    while (out->Message == WM_TIMER) {
        if (WaitTimer) {
            PlatformKillTimer(WaitTimer);
            WaitTimer = 0;
        }
        if (!PlatformPeek(out)) return false;
    }
    return true;
}

InputMsg* GetInputMsg(int deferredOk) {
    if (deferredOk) {
        if (Bitmap* picture = TakePicture()) {
            InputMsg* msg = NewRecord(IM_PICTURE, 0);
            if (!msg) {
                FreeBitmap(picture);
                return nullptr;
            }
            msg->Payload = picture;
            return Finish(msg, nullptr);
        }
        if (RemoteRequest* request = TakeRemote()) {
            InputMsg* msg = NewRecord(IM_REMOTE, 0);
            if (!msg) {
                PushRemote(request); // it waits for memory rather than being lost
                return nullptr;
            }
            msg->Request = request;
            return Finish(msg, nullptr);
        }
    }
    // Messages that make no record (window messages, requests put aside, lost drops) are
    // handled on the way: the result is null only when nothing is pending, so that every
    // reader's drain goes on to the messages behind them.
    NativeMsg native;
    while (NextNative(&native)) {
        const MakerRow* row = FindMaker(native.Message);
        InputMsg* msg = nullptr;
        MakeContext c{&native, deferredOk, false};
        if (row)
            msg = row->Make(c);
        else
            WindowProcedure(native);
        if (msg) {
            if (c.Merged) {
                msg->X = LastPointerFX;
                msg->Y = LastPointerFY;
                msg->Qualifiers = PlatformQualifiers() & (QUAL_SHIFT | QUAL_CTRL | QUAL_ALT);
            } else {
                Finish(msg, row->PassNative ? &native : nullptr);
            }
        }
        PlatformFreeMsg(&native);
        if (msg) return msg;
        if (QuitFlag) break;
    }
    return nullptr;
}

// ---- Waiting -----------------------------------------------------------------------------------

int WaitForInput(int mode) {
    int pending = (PictureHead || RemoteOldest || HeldFlag) ? 1 : 0;
    if (mode > 1) {
        if (RemoteOldest) return 1;
        if (PictureHead) return pending;
    }
    if (HeldFlag) return pending;
    if (!WaitTimer) {
        PlatformSetTimer(WaitTimerId, WaitTimerPeriod);
        WaitTimer = WaitTimerId;
    }
    for (;;) {
        PlatformGetMessage(&HeldMessage);
        if (HeldMessage.Message != WM_TIMER) break;
        if (mode == 0 && WaitTimer) {
            PlatformKillTimer(WaitTimer);
            WaitTimer = 0;
        }
        PlatformFreeMsg(&HeldMessage);
        HeldMessage = NativeMsg{};
        if (mode != 0) return 0; // one tick is enough
    }
    HeldFlag = 1;
    return 1;
}

void DrainInput() {
    while (InputMsg* msg = GetInputMsg(0)) FreeInputMsg(msg);
}

// ---- Window procedure -------------------------------------------------------------------------

static void OnSize(const NativeMsg& m) {
    uint32_t word = uint32_t(m.LParam);
    ScreenResize(int(word & 0xFFFF), int(word >> 16));
}

static void OnPaint(const NativeMsg& m) {
    uint32_t corner = uint32_t(m.LParam), size = uint32_t(m.WParam);
    ScreenPaint(int16_t(corner & 0xFFFF), int16_t(corner >> 16), int(size & 0xFFFF), int(size >> 16));
}

static void WakeLoop() {
    NativeMsg wake;
    wake.Message = WM_WAKE;
    PlatformPost(wake);
}

static void OnClose(const NativeMsg&) {
    CloseRequest = 1;
    WakeLoop();
}

static void OnQueryEndSession(const NativeMsg&) {
    PlatformRaise();
    CloseRequest = 1;
    WakeLoop();
}

static void OnDestroy(const NativeMsg&) {
    QuitFlag = 1;
    CloseInputQueues();
}

static void OnDisplayChange(const NativeMsg& m) {
    if (!Screen) return;
    uint32_t word = uint32_t(m.LParam);
    Screen->ScreenWidth = int32_t(word & 0xFFFF);
    Screen->ScreenHeight = int32_t(word >> 16);
}

static void OnTabletChange(const NativeMsg&) {
    TabletInfoChanged();
}

struct WindowRow {
    uint32_t Message;
    void (*Handle)(const NativeMsg& m);
};

static const WindowRow WindowTable[] = {
    {WM_SIZE, OnSize},
    {WM_PAINT, OnPaint},
    {WM_CLOSE, OnClose},
    {WM_QUERYENDSESSION, OnQueryEndSession},
    {WM_DESTROY, OnDestroy},
    {WM_DISPLAYCHANGE, OnDisplayChange},
    {WT_INFOCHANGE, OnTabletChange},
};

void WindowProcedure(const NativeMsg& msg) {
    for (const WindowRow& row : WindowTable)
        if (row.Message == msg.Message) {
            row.Handle(msg);
            return;
        }
    // Everything else (moves of the window, the wake message, the DDE handshake that the
    // socket door has no use for) needs nothing.
}

// ---- Remote replies ---------------------------------------------------------------------------

void ReplyRemote(RemoteRequest* request) {
    if (!request) return;
    if (request->WantsData) {
        if (!request->HasResult && !BreakRequested) {
            RemoteAck(request->Client, 0);
        } else {
            const char* text = request->ResultText;
            bool faulty = request->Faulty != 0;
            if (BreakRequested) {
                text = "BREAK";
                faulty = true;
                BreakRequested = 0;
            }
            request->ResultText[sizeof request->ResultText - 1] = 0;
            RemoteData(request->Client, text, faulty);
        }
    } else {
        RemoteAck(request->Client, BreakRequested ? 0 : 1);
    }
    FreeRemoteRequest(request);
}

} // namespace nemu
