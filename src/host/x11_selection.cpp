// Selections, the way X clients hand data to one another: reading properties within
// bounds, asking an owner and waiting for its answer, and answering requests for what
// we own. Nothing here trusts the other side: a client may die midway, answer late,
// answer with another type, or offer more than we take.
#include "host/x11_platform.h"

#include <X11/Xatom.h>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace nemu {

bool ByteBuffer::Assign(const void* data, size_t size) {
    auto* block = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    if (!block) return false;
    if (size) std::memcpy(block, data, size);
    Clear();
    Data = block;
    Size = size;
    return true;
}

void ByteBuffer::Swap(ByteBuffer& other) {
    std::swap(Data, other.Data);
    std::swap(Size, other.Size);
}

void ByteBuffer::Clear() {
    std::free(Data);
    Data = nullptr;
    Size = 0;
}

bool X11ReadProperty(Window window, Atom property, size_t maxBytes, bool remove, ByteBuffer* out,
                     Atom* type) {
    Atom actual = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    X11Trap();
    int status =
        XGetWindowProperty(X11.Dpy, window, property, 0, long(maxBytes / 4 + 1), remove ? True : False,
                           AnyPropertyType, &actual, &format, &count, &after, &data);
    bool failed = X11Untrap() != 0 || status != Success;
    // Only a property read to its end is deleted by the read itself.
    if (remove && !failed && after) XDeleteProperty(X11.Dpy, window, property);
    bool ok = !failed && data && actual != None && actual != X11.Atoms[A_INCR] && format == 8 && !after &&
              count <= maxBytes && out->Assign(data, count);
    if (data) XFree(data);
    if (ok && type) *type = actual;
    return ok;
}

bool X11ReadAtoms(Window window, Atom property, size_t maxAtoms, std::vector<Atom>* out) {
    Atom actual = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    X11Trap();
    int status = XGetWindowProperty(X11.Dpy, window, property, 0, long(maxAtoms), False, XA_ATOM, &actual,
                                    &format, &count, &after, &data);
    bool ok = X11Untrap() == 0 && status == Success && data && actual == XA_ATOM && format == 32;
    out->clear();
    // Format 32 comes as an array of longs, whatever the size of a long.
    for (unsigned long i = 0; ok && i < count && i < maxAtoms; i++)
        out->push_back(Atom(reinterpret_cast<unsigned long*>(data)[i]));
    if (data) XFree(data);
    return ok;
}

int X11ConvertSelection(Atom selection, Atom target, size_t maxBytes, ByteBuffer* out, Atom* type) {
    Display* d = X11.Dpy;
    Atom property = X11.Atoms[A_NEMU_SELECTION];
    // A late answer to an earlier request must not pass for this one.
    XDeleteProperty(d, X11.Win, property);
    XConvertSelection(d, selection, target, property, X11.Win, X11.LastTime);
    XFlush(d);
    double deadline = PlatformSeconds() + 1.0;
    for (;;) {
        while (XPending(d) > 0) {
            XEvent e;
            XNextEvent(d, &e);
            const XSelectionEvent& s = e.xselection;
            if (e.type == SelectionNotify && s.requestor == X11.Win && s.selection == selection &&
                s.target == target) {
                if (s.property == None) return 0; // the owner refused
                return X11ReadProperty(X11.Win, s.property, maxBytes, true, out, type) ? 1 : 0;
            }
            // Everything else goes on as usual, queued for the program.
            X11HandleEvent(&e);
        }
        int left = int((deadline - PlatformSeconds()) * 1000.0);
        if (left <= 0) return -1;
        X11WaitReadable(left);
    }
}

size_t X11PropertyLimit() {
    long units = XExtendedMaxRequestSize(X11.Dpy);
    if (!units) units = XMaxRequestSize(X11.Dpy);
    size_t bytes = size_t(units) * 4;
    bytes = bytes > 4096 ? bytes - 4096 : 0; // room for the request's own fields
    return bytes < SelectionLimit ? bytes : SelectionLimit;
}

void X11HandleSelectionRequest(XSelectionRequestEvent* request) {
    XSelectionEvent reply = {};
    reply.type = SelectionNotify;
    reply.display = X11.Dpy;
    reply.requestor = request->requestor;
    reply.selection = request->selection;
    reply.target = request->target;
    reply.time = request->time;
    reply.property = None;
    // Clients older than the conventions give no property: the target names it then.
    Atom property = request->property != None ? request->property : request->target;
    X11Trap();
    if (request->owner == X11.Win && request->selection == X11.Atoms[A_CLIPBOARD] &&
        X11AnswerClipboard(request->requestor, request->target, property))
        reply.property = property;
    XSendEvent(X11.Dpy, request->requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&reply));
    X11Untrap(); // a requestor that has gone is no concern of ours
}

void X11HandleSelectionClear(XSelectionClearEvent* clear) {
    if (clear->window == X11.Win && clear->selection == X11.Atoms[A_CLIPBOARD]) X11ClipboardLost();
}

} // namespace nemu
