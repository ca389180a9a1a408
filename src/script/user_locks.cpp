// The locks a script may put on the interface while it runs.
#include "script/command_host.h"
#include "script/screen_seam.h"
#include "ui/catalog.h"

namespace nemu {

int32_t UserLocked = 0;
int32_t UserLockShape = -1;
int32_t MouseLockCount = 0;
int32_t MouseLockShape = -1;
int32_t DisplayLocked = 0;

// Pointer shape 2 is the busy pointer; message 7400 the default busy note.
constexpr int BusyShape = 2;
constexpr uint32_t DefaultNoteMessage = 7400;

void LockUser() {
    // Not counted: a second lock must not save the busy shape as the one to restore.
    if (UserLocked) return;
    UserLockShape = ShowPointerShape(BusyShape);
    UserLocked = 1;
}

void UnlockUser() {
    if (!UserLocked) return;
    UserLocked = 0;
    ShowPointerShape(UserLockShape);
}

void LockMouse(int shape) {
    if (MouseLockCount++ == 0) MouseLockShape = ShowPointerShape(shape);
}

void UnlockMouse() {
    if (MouseLockCount == 0) return;
    if (--MouseLockCount == 0) ShowPointerShape(MouseLockShape);
}

void LockDisplay(const char* note) {
    ShowBusyNote(note && *note ? note : MsgGet(nullptr, DefaultNoteMessage));
    DisplayLocked = 1;
}

void UnlockDisplay() {
    EndBusyNote();
    DisplayLocked = 0;
    RedrawAll();
}

void EndScriptLocks() {
    if (DisplayLocked) UnlockDisplay();
    UnlockUser();
    if (MouseLockCount) {
        MouseLockCount = 1;
        UnlockMouse();
    }
}

} // namespace nemu
