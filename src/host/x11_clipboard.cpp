// The clipboard: text as UTF-8 (Latin-1 for old clients), pictures as PNG. What we put
// there stays ours and is answered on request until another client takes the clipboard.
//
// Sections: text encodings; PNG; owning; taking.
#include "host/x11_platform.h"

#include "store/bitmap.h"

#include <X11/Xatom.h>
#include <cstdlib>
#include <cstring>
#include <png.h>

namespace nemu {

namespace {
struct ClipboardState {
    bool Owned = false;
    Time Since = CurrentTime;
    ByteBuffer Text; // UTF-8, without a final NUL; empty Data when the clipboard holds a picture
    ByteBuffer Png;
};
ClipboardState C;
} // namespace

// ---- Text encodings ------------------------------------------------------------------------

// Latin-1 for clients that ask for STRING; what it cannot say becomes '?'.
static bool Utf8ToLatin1(const uint8_t* text, size_t size, ByteBuffer* out) {
    auto* block = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    if (!block) return false;
    size_t n = 0;
    for (size_t i = 0; i < size;) {
        uint32_t cp = 0;
        i += Utf8Next(reinterpret_cast<const char*>(text + i), size - i, &cp);
        if (cp != Utf8Invalid) block[n++] = cp < 256 ? uint8_t(cp) : '?';
    }
    bool ok = out->Assign(block, n);
    std::free(block);
    return ok;
}

static char* Latin1ToUtf8(const uint8_t* text, size_t size) {
    char* out = static_cast<char*>(std::malloc(size * 2 + 1));
    if (!out) return nullptr;
    size_t n = 0;
    for (size_t i = 0; i < size; i++) {
        uint8_t c = text[i];
        if (c < 0x80) {
            out[n++] = char(c);
        } else {
            out[n++] = char(0xC0 | (c >> 6));
            out[n++] = char(0x80 | (c & 0x3F));
        }
    }
    out[n] = 0;
    return out;
}

// ---- PNG -------------------------------------------------------------------------------------

// Largest picture taken from another client: its sides, and its pixels.
constexpr uint32_t PngMaxSide = 32767;
constexpr uint64_t PngMaxPixels = 64u << 20;

bool EncodeClipboardPng(const Bitmap* bitmap, ByteBuffer* out) {
    if (!bitmap || !bitmap->Pixels || bitmap->Width < 1 || bitmap->Height < 1) return false;
    size_t count = size_t(bitmap->Width) * size_t(bitmap->Height);
    auto* straight = static_cast<uint32_t*>(std::malloc(count * 4));
    if (!straight) return false;
    for (size_t i = 0; i < count; i++) {
        uint32_t p = bitmap->Pixels[i], a = p >> 24;
        if (a == 255 || a == 0) {
            straight[i] = a ? p : 0;
            continue;
        }
        uint32_t q = a << 24;
        for (int shift = 0; shift < 24; shift += 8) {
            uint32_t c = (p >> shift) & 255, v = 255 * c / a; // undoes the rounded-up product
            q |= (v > 255 ? 255 : v) << shift;
        }
        straight[i] = q;
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = png_uint_32(bitmap->Width);
    image.height = png_uint_32(bitmap->Height);
    image.format = PNG_FORMAT_BGRA; // the bitmap's byte order
    png_alloc_size_t size = 0;
    bool ok = png_image_write_to_memory(&image, nullptr, &size, 0, straight, 0, nullptr) && size;
    uint8_t* block = ok ? static_cast<uint8_t*>(std::malloc(size)) : nullptr;
    ok = block && png_image_write_to_memory(&image, block, &size, 0, straight, 0, nullptr);
    std::free(straight);
    if (ok) ok = out->Assign(block, size);
    std::free(block);
    return ok;
}

Bitmap* DecodeClipboardPng(const uint8_t* data, size_t size) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!data || !png_image_begin_read_from_memory(&image, data, size)) return nullptr;
    if (image.width < 1 || image.height < 1 || image.width > PngMaxSide || image.height > PngMaxSide ||
        uint64_t(image.width) * image.height > PngMaxPixels) {
        png_image_free(&image);
        return nullptr;
    }
    image.format = PNG_FORMAT_BGRA;
    Bitmap* bitmap = NewBitmap(int32_t(image.width), int32_t(image.height));
    if (!bitmap || !png_image_finish_read(&image, nullptr, bitmap->Pixels, 0, nullptr)) {
        png_image_free(&image);
        FreeBitmap(bitmap);
        return nullptr;
    }
    png_image_free(&image);
    size_t count = size_t(image.width) * image.height;
    for (size_t i = 0; i < count; i++) {
        uint32_t p = bitmap->Pixels[i], a = p >> 24;
        if (a == 255) continue;
        uint32_t q = a << 24;
        for (int shift = 0; shift < 24; shift += 8) q |= ((((p >> shift) & 255) * a + 254) / 255) << shift;
        bitmap->Pixels[i] = q;
    }
    return bitmap;
}

// ---- Owning --------------------------------------------------------------------------------------

void X11ClipboardLost() {
    C.Owned = false;
    C.Text.Clear();
    C.Png.Clear();
}

void X11CloseClipboard() {
    // FIXME: what we own goes with us; handing it to a clipboard manager would keep it.
    X11ClipboardLost();
}

static int Own() {
    Atom clipboard = X11.Atoms[A_CLIPBOARD];
    XSetSelectionOwner(X11.Dpy, clipboard, X11.Win, X11.LastTime);
    if (XGetSelectionOwner(X11.Dpy, clipboard) != X11.Win) {
        X11ClipboardLost();
        return 0;
    }
    C.Owned = true;
    C.Since = X11.LastTime;
    return 1;
}

static bool Put(Window requestor, Atom property, Atom type, int format, const void* data, size_t count) {
    size_t bytes = count * size_t(format / 8);
    if (bytes > X11PropertyLimit()) return false; // too big for one property
    XChangeProperty(X11.Dpy, requestor, property, type, format, PropModeReplace,
                    static_cast<const unsigned char*>(data), int(count));
    return true;
}

bool X11AnswerClipboard(Window requestor, Atom target, Atom property) {
    if (!C.Owned) return false;
    const Atom* a = X11.Atoms;
    bool text = C.Text.Data != nullptr, png = C.Png.Data != nullptr;
    if (target == a[A_TARGETS]) {
        long list[8];
        int n = 0;
        list[n++] = long(a[A_TARGETS]);
        list[n++] = long(a[A_TIMESTAMP]);
        if (text) {
            for (Atom t : {a[A_UTF8_STRING], a[A_TEXT_PLAIN_UTF8], a[A_TEXT], Atom(XA_STRING)})
                list[n++] = long(t);
        }
        if (png) list[n++] = long(a[A_IMAGE_PNG]);
        return Put(requestor, property, XA_ATOM, 32, list, size_t(n));
    }
    if (target == a[A_TIMESTAMP]) {
        long time = long(C.Since);
        return Put(requestor, property, XA_INTEGER, 32, &time, 1);
    }
    if (text && (target == a[A_UTF8_STRING] || target == a[A_TEXT_PLAIN_UTF8] || target == a[A_TEXT])) {
        Atom type = target == a[A_TEXT] ? a[A_UTF8_STRING] : target;
        return Put(requestor, property, type, 8, C.Text.Data, C.Text.Size);
    }
    if (text && target == XA_STRING) {
        ByteBuffer latin;
        return Utf8ToLatin1(C.Text.Data, C.Text.Size, &latin) &&
               Put(requestor, property, XA_STRING, 8, latin.Data, latin.Size);
    }
    if (png && target == a[A_IMAGE_PNG]) return Put(requestor, property, target, 8, C.Png.Data, C.Png.Size);
    return false; // MULTIPLE and the rest: refused
}

// What no other client could be given is refused at once, and the clipboard stays as it was.
int X11ClipboardSetText(const char* text) {
    if (!X11.Dpy) return 0;
    const char* t = text ? text : "";
    size_t n = std::strlen(t);
    if (n > X11PropertyLimit() || !C.Text.Assign(t, n)) return 0;
    C.Png.Clear();
    return Own();
}

int X11ClipboardSetImage(const Bitmap* bitmap) {
    if (!X11.Dpy) return 0;
    ByteBuffer png;
    if (!EncodeClipboardPng(bitmap, &png) || png.Size > X11PropertyLimit()) return 0;
    C.Png.Swap(png);
    C.Text.Clear();
    return Own();
}

// ---- Taking ----------------------------------------------------------------------------------------

static bool WeOwn() {
    return C.Owned && XGetSelectionOwner(X11.Dpy, X11.Atoms[A_CLIPBOARD]) == X11.Win;
}

char* X11ClipboardGetText() {
    if (!X11.Dpy) return nullptr;
    if (WeOwn()) {
        if (!C.Text.Data) return nullptr;
        char* copy = static_cast<char*>(std::malloc(C.Text.Size + 1));
        if (!copy) return nullptr;
        std::memcpy(copy, C.Text.Data, C.Text.Size);
        copy[C.Text.Size] = 0;
        return copy;
    }
    ByteBuffer data;
    Atom type = None;
    Atom clipboard = X11.Atoms[A_CLIPBOARD];
    int got = X11ConvertSelection(clipboard, X11.Atoms[A_UTF8_STRING], SelectionLimit, &data, &type);
    if (got > 0) {
        char* copy = static_cast<char*>(std::malloc(data.Size + 1));
        if (!copy) return nullptr;
        if (data.Size) std::memcpy(copy, data.Data, data.Size);
        copy[data.Size] = 0; // a NUL inside ends the text early, which is all it can mean
        return copy;
    }
    // An owner that refused UTF-8 may still have the older form; one that is silent is
    // not asked twice.
    if (got == 0 && X11ConvertSelection(clipboard, XA_STRING, SelectionLimit / 2, &data, &type) > 0)
        return Latin1ToUtf8(data.Data, data.Size);
    return nullptr;
}

Bitmap* X11ClipboardGetImage() {
    if (!X11.Dpy) return nullptr;
    if (WeOwn()) return C.Png.Data ? DecodeClipboardPng(C.Png.Data, C.Png.Size) : nullptr;
    ByteBuffer data;
    Atom type = None;
    if (X11ConvertSelection(X11.Atoms[A_CLIPBOARD], X11.Atoms[A_IMAGE_PNG], SelectionLimit, &data, &type) <=
        0)
        return nullptr;
    return DecodeClipboardPng(data.Data, data.Size);
}

} // namespace nemu
