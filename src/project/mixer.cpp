// The mixer's buffers, made on demand.
#include "project/mixer.h"

#include "host/main_loop.h"
#include "store/bitmap.h"
#include "ui/requests.h"

namespace nemu {

Bitmap* MixerA = nullptr;
Bitmap* MixerB = nullptr;
Bitmap* MixerC = nullptr;

// B's texts are A's: the buffer the user knows as B has always been reported so.
static const char* const MissingText[3] = {"Layer A doesn't exist...", "Layer B doesn't exist...",
                                           "Layer C doesn't exist..."};
static const char* const NoMemoryText[3] = {
    " Not enough memory for layer A", " Not enough memory for layer A", " Not enough memory for layer C"};

static Bitmap** Slot(int which) {
    return which == 0 ? &MixerA : which == 1 ? &MixerB : which == 2 ? &MixerC : nullptr;
}

static bool PageSized(const Bitmap* b) {
    return b && b->Width == PageWidth && b->Height == PageHeight;
}

Bitmap* EnsureMixer(int which, int ask) {
    Bitmap** slot = Slot(which);
    if (!slot) return nullptr;
    // B is the page: whatever the page is now is the buffer.
    if (which == 1 && PageSized(PageBase)) *slot = PageBase;
    if (*slot && PageSized(*slot)) return *slot;
    if (which != 1 && *slot) {
        FreeBitmap(*slot);
        *slot = nullptr;
    }
    if (ask && !AskYesNo(MissingText[which], " Create it ", " Abort ")) return nullptr;
    Bitmap* made = which == 1 || PageWidth < 1 || PageHeight < 1 ? nullptr : NewBitmap(PageWidth, PageHeight);
    if (!made) {
        Alert(NoMemoryText[which]);
        return nullptr;
    }
    *slot = made;
    return made;
}

void DropMixer() {
    FreeBitmap(MixerA);
    FreeBitmap(MixerC);
    MixerA = MixerB = MixerC = nullptr;
}

} // namespace nemu
