// Input records: everything the program hears from the window system, the tablet, the
// remote-command door and the scanner arrives as one InputMsg. The pump turns native
// messages into records; the main loop and the modal wait are its only readers.
#pragma once
#include <cstddef>
#include <cstdint>

#include "host/platform.h"

namespace nemu {

struct Bitmap;

enum InputType : int32_t {
    IM_POINTER = 1,
    IM_BUTTON = 2,
    IM_KEY = 4,
    IM_REMOTE = 5,
    IM_PICTURE = 6,
    IM_DROP = 7,
    IM_WHEEL = 8,
};

// Button codes of IM_BUTTON.
enum ButtonCode : int32_t {
    BUTTON_LEFT_UP = 1,
    BUTTON_LEFT_DOWN = 2,
    BUTTON_RIGHT_UP = 3,
    BUTTON_RIGHT_DOWN = 4,
    BUTTON_MIDDLE_UP = 5,
    BUTTON_MIDDLE_DOWN = 6,
};

constexpr uint32_t QUAL_SHIFT = 2, QUAL_CTRL = 4, QUAL_ALT = 8;
// Code of a character record; the character itself stands in Char.
constexpr int32_t KEY_CHARACTER = 1234567;
// A key release carries its key number with this bit set.
constexpr int32_t KEY_RELEASED = 0x8000;
// Whether a key record's code is a release (KEY_CHARACTER itself has that bit set).
inline bool KeyIsRelease(int32_t code) { return code != KEY_CHARACTER && (code & KEY_RELEASED) != 0; }
// Size of the buffer that carries a dropped file name.
constexpr size_t DROP_BUFFER_SIZE = 65536;
// Longest command text the remote door accepts.
constexpr size_t REMOTE_TEXT_MAX = 2047;

// A remote command on its way to the command host and back.
struct RemoteRequest {
    char* Text;            // private copy of the command text
    char ResultText[4100]; // filled by the command host
    uint32_t HasResult;    // the command host knew the command
    uint32_t Faulty;       // a command of the text was unknown or replied an error
    uint32_t Atom;         // kept for the record's shape; the socket door has no atoms
    uintptr_t Client;      // the peer to answer
    uint32_t WantsData;    // 1 for a request (reply text wanted), 0 for an execute
    RemoteRequest* Newer;  // RemoteQueue links: pushed at the head, taken from the tail
    RemoteRequest* Older;
};

// The twenty-word input record (the two pointer fields are pointer sized).
struct InputMsg {
    int32_t Type;
    int32_t Code;
    int32_t X, Y;         // window position, 16.16
    uint32_t Char;        // Unicode code point of a character record
    int32_t PressureHigh; // 255 without a tablet
    int32_t PressureLow;  // 0 without a tablet; equal to PressureHigh when measured
    int32_t Azimuth;
    int32_t Altitude;
    uint32_t Qualifiers;
    uint32_t Reserved1[4];
    RemoteRequest* Request; // IM_REMOTE
    void* Payload;          // IM_PICTURE: a Bitmap; IM_DROP: the file name buffer. Owned by the receiver
    uint32_t Reserved2;
    int32_t WheelX;
    int32_t WheelY;
    int32_t TabletFlag;
};

// ---- Pump state ------------------------------------------------------------------------
extern int32_t LastPointerFX, LastPointerFY; // last pointer position, 16.16 with fraction one half
extern NativeMsg HeldMessage;                // fetched by WaitForInput, not yet a record
extern int32_t HeldFlag;
extern uint32_t WaitTimer;   // id of the running 20 ms tick, 0 when none
extern int32_t CaptureCount; // buttons for which the pointer capture is held
extern int32_t LeftIsRight;  // the left button went down as a right button
extern int32_t BreakRequested;
extern int32_t DialogMode; // a modal mode that keeps Delete from raising BreakRequested

// Modal wait results of a key record.
extern char EventKeyText[32];
extern int32_t EventKeyLength, EventKeyCode;
extern uint32_t EventKeyQualifiers;

// ---- Interfaces ----------------------------------------------------------------------------
InputMsg* GetInputMsg(int deferredOk);
void FreeInputMsg(InputMsg* msg);
int WaitForInput(int mode);
void DrainInput();
int WaitEvent(int mode);
int InputCharacters(const InputMsg* msg, char* buffer, size_t size, int flags);
// Appends a picture for delivery; 0 when it cannot be queued (the caller keeps it).
int QueuePicture(Bitmap* bitmap);
void ReplyRemote(RemoteRequest* request);

// Queue inspection, for the loop's idle wait and for tests.
int PictureQueueLength();
int RemoteQueueLength();
// Frees queued pictures and answers queued requests with a failed acknowledgement, as
// when the window closes.
void CloseInputQueues();

// The window procedure: native messages that never become records.
void WindowProcedure(const NativeMsg& msg);

// Encodes a code point as UTF-8; returns the byte count (0 for an invalid one).
int EncodeUtf8(uint32_t codePoint, char out[4]);

} // namespace nemu
