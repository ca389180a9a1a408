// Screen output: rectangles of a 32-bit bitmap to the window, one to one.
//
// With MIT-SHM the rows are copied into one shared image the size of the window and the
// server reads them from there; without it (remote displays, NEMU_X11_NOSHM) XPutImage
// takes the bitmap's own rows when the visual's layout is the bitmap's, or converted
// bands of them when it is not.
//
// Sections: pixel layouts; shared image; blit.
#include "host/x11_platform.h"
#include "host/platform.h"

#include "store/bitmap.h"

#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace nemu {

namespace {
struct BlitState {
    PixelLayout Layout; // what XPutImage is given
    bool ShmUsable = false;
    int CompletionType = -1;
    XShmSegmentInfo Segment = {};
    XImage* Image = nullptr;               // the shared image, null when there is none
    int FailedWidth = 0, FailedHeight = 0; // the size no shared image could be made for
    PixelLayout ImageLayout;
    // Puts the server has not finished reading, and the area they cover.
    int Outstanding = 0;
    int BusyX1 = 0, BusyY1 = 0, BusyX2 = 0, BusyY2 = 0;
    uint8_t* Band = nullptr; // converted rows for XPutImage
    size_t BandSize = 0;
};
BlitState B;
} // namespace

// ---- Pixel layouts ----------------------------------------------------------------------

bool IsNativeLayout(const PixelLayout& l) {
    return l.BitsPerPixel == 32 && !l.MsbFirst && l.RedMask == 0xFF0000 && l.GreenMask == 0xFF00 &&
           l.BlueMask == 0xFF;
}

namespace {
// Where an 8-bit channel goes in a pixel of the layout: widened or narrowed to the mask.
struct Channel {
    int Shift = 0, Bits = 0;
    explicit Channel(uint32_t mask) {
        if (!mask) return;
        Shift = std::countr_zero(mask);
        Bits = std::popcount(mask);
        if (Bits > 16) Bits = 16;
    }
    uint32_t Place(uint32_t c) const {
        if (!Bits) return 0;
        uint32_t v = Bits <= 8 ? c >> (8 - Bits) : (c << (Bits - 8)) | (c >> (16 - Bits));
        return v << Shift;
    }
};
} // namespace

void ConvertPixels(const uint32_t* src, uint8_t* dst, int count, const PixelLayout& layout) {
    Channel r(layout.RedMask), g(layout.GreenMask), b(layout.BlueMask);
    int bytes = layout.BitsPerPixel / 8;
    for (int i = 0; i < count; i++) {
        uint32_t p = src[i];
        uint32_t v = r.Place((p >> 16) & 255) | g.Place((p >> 8) & 255) | b.Place(p & 255);
        for (int k = 0; k < bytes; k++) {
            int shift = layout.MsbFirst ? 8 * (bytes - 1 - k) : 8 * k;
            dst[k] = uint8_t(v >> shift);
        }
        dst += bytes;
    }
}

static PixelLayout LayoutOf(const XImage* image) {
    PixelLayout l;
    l.BitsPerPixel = image->bits_per_pixel;
    l.MsbFirst = image->byte_order == MSBFirst;
    l.RedMask = uint32_t(image->red_mask);
    l.GreenMask = uint32_t(image->green_mask);
    l.BlueMask = uint32_t(image->blue_mask);
    return l;
}

static bool LayoutSupported(const PixelLayout& l) {
    return l.BitsPerPixel == 16 || l.BitsPerPixel == 24 || l.BitsPerPixel == 32;
}

// ---- Shared image -------------------------------------------------------------------------

static void WaitForServer() {
    if (!B.Outstanding) return;
    double deadline = PlatformSeconds() + 1.0;
    XFlush(X11.Dpy);
    while (B.Outstanding > 0) {
        XEvent e;
        if (XCheckTypedEvent(X11.Dpy, B.CompletionType, &e)) {
            B.Outstanding--;
            continue;
        }
        int left = int((deadline - PlatformSeconds()) * 1000.0);
        if (left <= 0) {
            // The server will not say; it has surely read the rows by now.
            Warning("no completion from the X server for a shared image");
            B.Outstanding = 0;
            break;
        }
        pollfd fd = {ConnectionNumber(X11.Dpy), POLLIN, 0};
        if (poll(&fd, 1, left) > 0) XEventsQueued(X11.Dpy, QueuedAfterReading);
    }
}

void X11ShmCompleted() {
    if (B.Outstanding > 0) B.Outstanding--;
}

int X11ShmCompletionType() {
    return B.CompletionType;
}
bool X11ShmActive() {
    return B.Image != nullptr;
}

bool X11ReadPixel(int x, int y, uint32_t* colour) {
    XImage* image = B.Image;
    if (!image || x < 0 || y < 0 || x >= image->width || y >= image->height) return false;
    const PixelLayout& l = B.ImageLayout;
    const int bytes = l.BitsPerPixel / 8;
    const auto* p = reinterpret_cast<const uint8_t*>(image->data) + size_t(y) * size_t(image->bytes_per_line) +
                    size_t(x) * size_t(bytes);
    uint32_t v = 0;
    for (int k = 0; k < bytes; k++) v |= uint32_t(p[k]) << (l.MsbFirst ? 8 * (bytes - 1 - k) : 8 * k);
    // Each channel back to 8 bits, as ConvertPixels placed it; the window is opaque.
    auto channel = [v](uint32_t mask) {
        if (!mask) return 0u;
        uint32_t c = (v & mask) >> std::countr_zero(mask);
        int bits = std::popcount(mask);
        return bits >= 8 ? c >> (bits - 8) : (c << (8 - bits)) | (c >> (2 * bits - 8 > 0 ? 2 * bits - 8 : 0));
    };
    *colour = 0xFF000000u | channel(l.RedMask) << 16 | channel(l.GreenMask) << 8 | channel(l.BlueMask);
    return true;
}

static void FreeSharedImage() {
    if (!B.Image) return;
    WaitForServer();
    XShmDetach(X11.Dpy, &B.Segment);
    XSync(X11.Dpy, False);
    shmdt(B.Segment.shmaddr);
    B.Image->data = nullptr;
    XDestroyImage(B.Image);
    B.Image = nullptr;
    B.Segment = {};
}

// The shared image for the present window size. False when there is none: a server
// that cannot attach our memory (a remote display) never gets asked again; memory we
// cannot have for one size is asked for again at the next size.
static bool SharedImageReady() {
    if (!B.ShmUsable) return false;
    if (B.Image && B.Image->width == X11.Width && B.Image->height == X11.Height) return true;
    if (!B.Image && B.FailedWidth == X11.Width && B.FailedHeight == X11.Height) return false;
    FreeSharedImage();
    B.FailedWidth = X11.Width, B.FailedHeight = X11.Height;
    XImage* image = XShmCreateImage(X11.Dpy, X11.Vis, unsigned(X11.Depth), ZPixmap, nullptr, &B.Segment,
                                    unsigned(X11.Width), unsigned(X11.Height));
    if (!image) return false;
    PixelLayout layout = LayoutOf(image);
    size_t bytes = size_t(image->bytes_per_line) * size_t(image->height);
    int id = LayoutSupported(layout) ? shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600) : -1;
    void* address = id >= 0 ? shmat(id, nullptr, 0) : nullptr;
    // Marked for removal at once, the segment goes with its last user, even after a crash.
    if (id >= 0) shmctl(id, IPC_RMID, nullptr);
    if (address == reinterpret_cast<void*>(-1) || !address) {
        XDestroyImage(image);
        B.Segment = {};
        return false;
    }
    B.Segment.shmid = id;
    B.Segment.shmaddr = image->data = static_cast<char*>(address);
    B.Segment.readOnly = False;
    X11Trap();
    XShmAttach(X11.Dpy, &B.Segment);
    if (X11Untrap()) {
        shmdt(address);
        image->data = nullptr;
        XDestroyImage(image);
        B.Segment = {};
        B.ShmUsable = false;
        Warning("no shared memory with the X server, drawing through plain requests");
        return false;
    }
    B.Image = image;
    B.ImageLayout = layout;
    B.FailedWidth = B.FailedHeight = 0;
    return true;
}

bool X11OpenBlit() {
    B = BlitState{};
    XImage* probe = XCreateImage(X11.Dpy, X11.Vis, unsigned(X11.Depth), ZPixmap, 0, nullptr, 1, 1, 32, 0);
    if (!probe) return false;
    B.Layout = LayoutOf(probe);
    XDestroyImage(probe);
    if (!LayoutSupported(B.Layout)) {
        Warning("the X visual has %d bits a pixel, which cannot be drawn",
                    B.Layout.BitsPerPixel);
        return false;
    }
    if (!X11.NoShm && XShmQueryExtension(X11.Dpy)) {
        B.ShmUsable = true;
        B.CompletionType = XShmGetEventBase(X11.Dpy) + ShmCompletion;
    }
    return true;
}

void X11CloseBlit() {
    FreeSharedImage();
    std::free(B.Band);
    B = BlitState{};
}

// ---- Blit ---------------------------------------------------------------------------------

// Clips the rectangle to the bitmap and the window; false when nothing is left.
static bool Clip(const Bitmap* bm, int* sx, int* sy, int* dx, int* dy, int* w, int* h) {
    int lx = std::max({0, -*sx, -*dx}), ty = std::max({0, -*sy, -*dy});
    *sx += lx, *dx += lx, *w -= lx;
    *sy += ty, *dy += ty, *h -= ty;
    *w = std::min({*w, bm->Width - *sx, X11.Width - *dx});
    *h = std::min({*h, bm->Height - *sy, X11.Height - *dy});
    return *w > 0 && *h > 0;
}

static void BlitShared(const Bitmap* bm, int sx, int sy, int dx, int dy, int w, int h) {
    // Rows the server may still be reading must not change under it.
    if (B.Outstanding && dx < B.BusyX2 && dx + w > B.BusyX1 && dy < B.BusyY2 && dy + h > B.BusyY1)
        WaitForServer();
    if (!B.Outstanding) B.BusyX1 = dx, B.BusyY1 = dy, B.BusyX2 = dx + w, B.BusyY2 = dy + h;
    B.BusyX1 = std::min(B.BusyX1, dx), B.BusyY1 = std::min(B.BusyY1, dy);
    B.BusyX2 = std::max(B.BusyX2, dx + w), B.BusyY2 = std::max(B.BusyY2, dy + h);
    int bytes = B.ImageLayout.BitsPerPixel / 8;
    bool native = IsNativeLayout(B.ImageLayout);
    for (int y = 0; y < h; y++) {
        const uint32_t* src = bm->Pixels + size_t(sy + y) * size_t(bm->Width) + sx;
        auto* dst = reinterpret_cast<uint8_t*>(B.Image->data) +
                    size_t(dy + y) * size_t(B.Image->bytes_per_line) + size_t(dx) * size_t(bytes);
        if (native)
            std::memcpy(dst, src, size_t(w) * 4);
        else
            ConvertPixels(src, dst, w, B.ImageLayout);
    }
    XShmPutImage(X11.Dpy, X11.Win, X11.Gc, B.Image, dx, dy, dx, dy, unsigned(w), unsigned(h), True);
    B.Outstanding++;
}

static void InitPutImage(XImage* image, char* data, int width, int height, int stride, const PixelLayout& l) {
    *image = XImage{};
    image->width = width;
    image->height = height;
    image->format = ZPixmap;
    image->data = data;
    image->byte_order = l.MsbFirst ? MSBFirst : LSBFirst;
    image->bitmap_unit = 32;
    image->bitmap_bit_order = image->byte_order;
    image->bitmap_pad = 32;
    image->depth = X11.Depth;
    image->bytes_per_line = stride;
    image->bits_per_pixel = l.BitsPerPixel;
    image->red_mask = l.RedMask;
    image->green_mask = l.GreenMask;
    image->blue_mask = l.BlueMask;
    XInitImage(image);
}

static void BlitPlain(const Bitmap* bm, int sx, int sy, int dx, int dy, int w, int h) {
    XImage image;
    PixelLayout l = B.Layout;
    if (l.BitsPerPixel == 32 && l.RedMask == 0xFF0000 && l.GreenMask == 0xFF00 && l.BlueMask == 0xFF) {
        // The bitmap's rows as they stand; Xlib swaps the bytes for a big-endian server.
        l.MsbFirst = false;
        char* rows = reinterpret_cast<char*>(bm->Pixels + size_t(sy) * size_t(bm->Width));
        InitPutImage(&image, rows, bm->Width, h, bm->Width * 4, l);
        XPutImage(X11.Dpy, X11.Win, X11.Gc, &image, sx, 0, dx, dy, unsigned(w), unsigned(h));
        return;
    }
    int stride = (w * l.BitsPerPixel + 31) / 32 * 4;
    int rows = std::max(1, std::min(h, (256 << 10) / stride));
    size_t need = size_t(stride) * size_t(rows);
    if (B.BandSize < need) {
        auto* band = static_cast<uint8_t*>(std::realloc(B.Band, need));
        if (!band) return; // this rectangle is not shown; the next refresh tries again
        B.Band = band;
        B.BandSize = need;
    }
    for (int y0 = 0; y0 < h; y0 += rows) {
        int n = std::min(rows, h - y0);
        for (int y = 0; y < n; y++)
            ConvertPixels(bm->Pixels + size_t(sy + y0 + y) * size_t(bm->Width) + sx,
                          B.Band + size_t(y) * size_t(stride), w, l);
        InitPutImage(&image, reinterpret_cast<char*>(B.Band), w, n, stride, l);
        XPutImage(X11.Dpy, X11.Win, X11.Gc, &image, 0, 0, dx, dy + y0, unsigned(w), unsigned(n));
    }
}

void X11Blit(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h) {
    if (!X11.Dpy || !bitmap || !bitmap->Pixels) return;
    if (!Clip(bitmap, &sx, &sy, &dx, &dy, &w, &h)) return;
    if (SharedImageReady())
        BlitShared(bitmap, sx, sy, dx, dy, w, h);
    else
        BlitPlain(bitmap, sx, sy, dx, dy, w, h);
}

void X11Flush() {
    if (X11.Dpy) XFlush(X11.Dpy);
}

} // namespace nemu
