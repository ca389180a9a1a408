// The modal wait that dialogs and long operations read events through, and the turning
// of key records into text.
#include "host/input.h"

#include "host/main_loop.h"

#include <cstring>

namespace nemu {

char EventKeyText[32];
int32_t EventKeyLength = 0, EventKeyCode = 0;
uint32_t EventKeyQualifiers = 0;

int EncodeUtf8(uint32_t cp, char out[4]) {
    if (cp < 0x80) {
        out[0] = char(cp);
        return 1;
    }
    if (cp < 0x800) {
        out[0] = char(0xC0 | (cp >> 6));
        out[1] = char(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp >= 0xD800 && cp <= 0xDFFF) return 0; // a lone surrogate is no character
    if (cp < 0x10000) {
        out[0] = char(0xE0 | (cp >> 12));
        out[1] = char(0x80 | ((cp >> 6) & 0x3F));
        out[2] = char(0x80 | (cp & 0x3F));
        return 3;
    }
    if (cp < 0x110000) {
        out[0] = char(0xF0 | (cp >> 18));
        out[1] = char(0x80 | ((cp >> 12) & 0x3F));
        out[2] = char(0x80 | ((cp >> 6) & 0x3F));
        out[3] = char(0x80 | (cp & 0x3F));
        return 4;
    }
    return 0;
}

int InputCharacters(const InputMsg* msg, char* buffer, size_t size, int flags) {
    (void)flags;
    if (!msg || msg->Type != IM_KEY || !buffer || size == 0) return 0;
    char bytes[4];
    int n = 0;
    if (msg->Code == int32_t(VK_DELETE)) {
        bytes[0] = 127; // Delete edits text as the delete character
        n = 1;
    } else if (msg->Code == KEY_CHARACTER) {
        n = EncodeUtf8(msg->Char, bytes);
    }
    // A character that does not fit whole is not cut in half.
    if (n == 0 || size_t(n) > size) return 0;
    std::memcpy(buffer, bytes, size_t(n));
    if (size_t(n) < size) buffer[n] = 0;
    return n;
}

static void TakeQualifiers(const InputMsg* msg) {
    TabletActive = msg->TabletFlag;
    ShiftHeld = (msg->Qualifiers & QUAL_SHIFT) ? 1 : 0;
    CtrlHeld = (msg->Qualifiers & QUAL_CTRL) ? 1 : 0;
    AltHeld = (msg->Qualifiers & QUAL_ALT) ? 1 : 0;
}

static int ModalKey(const InputMsg* msg) {
    std::memset(EventKeyText, 0, sizeof EventKeyText);
    EventKeyLength = InputCharacters(msg, EventKeyText, sizeof EventKeyText - 1, 0);
    EventKeyCode = msg->Code;
    EventKeyQualifiers = msg->Qualifiers;
    if ((msg->Qualifiers & QUAL_CTRL) && msg->Code == int32_t(VK_F1 + 8)) PlatformIconify();
    return 4;
}

static int ModalWheel(const InputMsg* msg) {
    // The wheel acts as the arrow keys in dialogs.
    std::memset(EventKeyText, 0, sizeof EventKeyText);
    EventKeyLength = 0;
    EventKeyQualifiers = msg->Qualifiers;
    if (msg->WheelY < 0)
        EventKeyCode = VK_DOWN;
    else if (msg->WheelY > 0)
        EventKeyCode = VK_UP;
    else if (msg->WheelX > 0)
        EventKeyCode = VK_RIGHT;
    else if (msg->WheelX < 0)
        EventKeyCode = VK_LEFT;
    else
        EventKeyCode = 0;
    return 4;
}

int WaitEvent(int mode) {
    LeftPressed = RightPressed = 0;
    ButtonEdge = 0;
    bool tick = mode == 10 && !LeftHeld && !RightHeld;
    InputMsg* msg = GetInputMsg(0);
    if (!msg && mode != 0) {
        int any = WaitForInput(tick ? 1 : 0);
        if (!any && mode == 10) return 6;
    }
    if (!msg) {
        if (QuitFlag) return 0;
        msg = GetInputMsg(0);
        if (!msg) return 0;
    }
    int result = 0;
    while (msg) {
        TakeQualifiers(msg);
        switch (msg->Type) {
        case IM_KEY:
            result = ModalKey(msg);
            break;
        case IM_WHEEL:
            result = ModalWheel(msg);
            break;
        case IM_POINTER:
        case IM_BUTTON:
            result = UpdatePointerState(msg, 0);
            break;
        default:
            break; // nothing else reaches a modal reader
        }
        FreeInputMsg(msg);
        if (result || QuitFlag) break;
        msg = GetInputMsg(0);
    }
    return result;
}

} // namespace nemu
