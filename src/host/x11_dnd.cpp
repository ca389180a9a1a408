// Files dropped on the window (XDND, versions 3 to 5): the source offers a list of URIs,
// the local file names among them go to the program as one WM_DROPFILES.
//
// Sections: URI lists; the drop conversation.
#include "host/x11_platform.h"

#include <X11/Xatom.h>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace nemu {

// ---- URI lists --------------------------------------------------------------------------

static int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

static bool StartsWithNoCase(const std::string& s, const char* prefix) {
    size_t n = std::strlen(prefix);
    return s.size() >= n && strncasecmp(s.c_str(), prefix, n) == 0;
}

// The local path of one file: URI, or empty when it has none.
static std::string LocalPath(const std::string& uri, const char* hostname) {
    if (!StartsWithNoCase(uri, "file:")) return {};
    std::string rest = uri.substr(5), path;
    if (rest.compare(0, 2, "//") == 0) {
        size_t slash = rest.find('/', 2);
        if (slash == std::string::npos) return {};
        std::string host = rest.substr(2, slash - 2);
        if (!host.empty() && strcasecmp(host.c_str(), "localhost") != 0 &&
            !(hostname && *hostname && strcasecmp(host.c_str(), hostname) == 0))
            return {}; // on another machine
        rest.erase(0, slash);
    }
    if (rest.empty() || rest[0] != '/') return {};
    for (size_t i = 0; i < rest.size(); i++) {
        char c = rest[i];
        if (c != '%') {
            path += c;
            continue;
        }
        int hi = i + 2 < rest.size() ? HexValue(rest[i + 1]) : -1, lo = hi >= 0 ? HexValue(rest[i + 2]) : -1;
        if (lo < 0 || (hi == 0 && lo == 0)) return {}; // a broken escape, or a NUL inside the name
        path += char(hi * 16 + lo);
        i += 2;
    }
    return path;
}

std::string DecodeUriList(const char* data, size_t size, const char* hostname) {
    std::string out;
    size_t start = 0;
    while (start < size) {
        const void* nl = std::memchr(data + start, '\n', size - start);
        size_t end = nl ? size_t(static_cast<const char*>(nl) - data) : size;
        std::string line(data + start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue; // comments are allowed in the list
        if (line.find('\0') != std::string::npos) continue;
        std::string path = LocalPath(line, hostname);
        if (path.empty()) continue;
        out += path;
        out += '\0';
    }
    if (!out.empty()) out += '\0';
    return out;
}

// ---- The drop conversation ----------------------------------------------------------------------

namespace {
struct DndState {
    Window Source = 0; // the window dragging over ours, 0 when none
    int Version = 0;
    bool Offered = false; // the source has a text/uri-list
    bool Waiting = false; // dropped; the names are on their way
    double Deadline = 0;
    char Hostname[256] = {};
};
DndState D;
} // namespace

constexpr int DndVersion = 5;
constexpr size_t DropLimit = 4u << 20; // bytes of URI list taken
constexpr double DropWait = 5.0;       // seconds a source has to send the names

void X11OpenDnd() {
    D = DndState{};
    if (gethostname(D.Hostname, sizeof D.Hostname - 1) != 0) D.Hostname[0] = 0;
    long version = DndVersion;
    XChangeProperty(X11.Dpy, X11.Win, X11.Atoms[A_XdndAware], XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&version), 1);
}

void X11CloseDnd() {
    D = DndState{};
}

static void SendToSource(Atom type, long l1, long l2, long l3, long l4) {
    XEvent e = {};
    e.xclient.type = ClientMessage;
    e.xclient.window = D.Source;
    e.xclient.message_type = type;
    e.xclient.format = 32;
    e.xclient.data.l[0] = long(X11.Win);
    e.xclient.data.l[1] = l1;
    e.xclient.data.l[2] = l2;
    e.xclient.data.l[3] = l3;
    e.xclient.data.l[4] = l4;
    X11Trap();
    XSendEvent(X11.Dpy, D.Source, False, NoEventMask, &e);
    X11Untrap(); // the source may have gone
}

static void Finish(bool accepted) {
    if (D.Source)
        SendToSource(X11.Atoms[A_XdndFinished], accepted ? 1 : 0,
                     accepted ? long(X11.Atoms[A_XdndActionCopy]) : long(None), 0, 0);
    D.Source = 0;
    D.Offered = D.Waiting = false;
}

static void OnEnter(const XClientMessageEvent* m) {
    D.Source = Window(m->data.l[0]);
    D.Version = int((unsigned long)m->data.l[1] >> 24);
    D.Offered = D.Waiting = false;
    if (D.Version < 3 || !D.Source) {
        D.Source = 0;
        return;
    }
    Atom want = X11.Atoms[A_TEXT_URI_LIST];
    if (m->data.l[1] & 1) {
        // More than three types: the source lists them on its window.
        std::vector<Atom> types;
        X11ReadAtoms(D.Source, X11.Atoms[A_XdndTypeList], 1024, &types);
        for (Atom t : types) D.Offered |= t == want;
    } else {
        for (int i = 2; i <= 4; i++) D.Offered |= Atom(m->data.l[i]) == want;
    }
}

void X11HandleDndMessage(XClientMessageEvent* m) {
    const Atom* a = X11.Atoms;
    Atom type = m->message_type;
    if (m->format != 32 || m->window != X11.Win) return;
    if (type == a[A_XdndEnter]) {
        if (D.Waiting) Finish(false); // a new drag while an old drop never delivered
        OnEnter(m);
        return;
    }
    // Everything else must come from the source that entered.
    if (!D.Source || Window(m->data.l[0]) != D.Source) return;
    if (type == a[A_XdndPosition]) {
        if (D.Waiting) return;
        bool accept = D.Offered;
        SendToSource(a[A_XdndStatus], accept ? 1 : 0, 0, 0, accept ? long(a[A_XdndActionCopy]) : long(None));
    } else if (type == a[A_XdndLeave]) {
        if (!D.Waiting) D.Source = 0, D.Offered = false;
    } else if (type == a[A_XdndDrop]) {
        if (D.Waiting) return;
        if (!D.Offered) {
            Finish(false);
            return;
        }
        Time when = Time(m->data.l[2]);
        XDeleteProperty(X11.Dpy, X11.Win, a[A_NEMU_DROP]);
        XConvertSelection(X11.Dpy, a[A_XdndSelection], a[A_TEXT_URI_LIST], a[A_NEMU_DROP], X11.Win,
                          when ? when : X11.LastTime);
        D.Waiting = true;
        D.Deadline = PlatformSeconds() + DropWait;
    }
}

bool X11HandleDndSelection(XSelectionEvent* e) {
    if (e->requestor != X11.Win || e->selection != X11.Atoms[A_XdndSelection]) return false;
    if (!D.Waiting) return true; // late, after we gave up
    ByteBuffer data;
    Atom type = None;
    std::string names;
    if (e->property != None && X11ReadProperty(X11.Win, e->property, DropLimit, true, &data, &type))
        names = DecodeUriList(reinterpret_cast<const char*>(data.Data), data.Size, D.Hostname);
    bool ok = false;
    if (!names.empty()) {
        NativeMsg msg;
        msg.Message = WM_DROPFILES;
        msg.Text = static_cast<char*>(std::malloc(names.size()));
        if (msg.Text) {
            std::memcpy(msg.Text, names.data(), names.size());
            msg.TextLength = names.size();
            X11Queue(msg);
            ok = true;
        }
    }
    Finish(ok);
    return true;
}

void X11CheckDndTimeout() {
    if (D.Waiting && PlatformSeconds() > D.Deadline) Finish(false);
}

} // namespace nemu
