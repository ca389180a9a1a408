// Files dropped on the window by a drag source that speaks the protocol from another
// connection, and sources that get it wrong.
#include "host/x11_test_support.h"

#include <X11/Xatom.h>

using namespace nemu;
using namespace nemu::x11test;

namespace {

// A drag source on its own connection: it offers text/uri-list with the given bytes and
// records what the target tells it.
class DragSource {
  public:
    DragSource(Display* d, std::string uris) : D(d), Uris(std::move(uris)) {
        Win = XCreateSimpleWindow(D, DefaultRootWindow(D), 0, 0, 1, 1, 0, 0, 0);
        UriList = XInternAtom(D, "text/uri-list", False);
        XSetSelectionOwner(D, Atom(XInternAtom(D, "XdndSelection", False)), Win, CurrentTime);
    }
    ~DragSource() { XDestroyWindow(D, Win); }

    void Send(const char* type, Window target, long l1, long l2 = 0, long l3 = 0, long l4 = 0,
              long from = 0) {
        XEvent e = {};
        e.xclient.type = ClientMessage;
        e.xclient.window = target;
        e.xclient.message_type = XInternAtom(D, type, False);
        e.xclient.format = 32;
        e.xclient.data.l[0] = from ? from : long(Win);
        e.xclient.data.l[1] = l1, e.xclient.data.l[2] = l2, e.xclient.data.l[3] = l3,
        e.xclient.data.l[4] = l4;
        XSendEvent(D, target, False, NoEventMask, &e);
        XFlush(D);
    }

    // Answers requests for the drop's data and notes the target's messages.
    void Serve() {
        while (XPending(D)) {
            XEvent e;
            XNextEvent(D, &e);
            if (e.type == SelectionRequest) {
                XSelectionRequestEvent& r = e.xselectionrequest;
                bool ours = r.target == UriList;
                if (ours)
                    XChangeProperty(D, r.requestor, r.property, UriList, 8, PropModeReplace,
                                    reinterpret_cast<const unsigned char*>(Uris.data()), int(Uris.size()));
                Requests++;
                AnswerRequest(D, r, ours ? r.property : None);
            } else if (e.type == ClientMessage) {
                char* name = XGetAtomName(D, e.xclient.message_type);
                std::string type = name ? name : "";
                XFree(name);
                if (type == "XdndStatus") Statuses.push_back(e.xclient.data.l[1] & 1);
                if (type == "XdndFinished") Finished.push_back(e.xclient.data.l[1] & 1);
            }
        }
    }

    Display* D;
    std::string Uris;
    Window Win = 0;
    Atom UriList = None;
    int Requests = 0;
    std::vector<int> Statuses, Finished;
};

class X11DropTest : public X11Test {
  protected:
    // Pumps both sides until the source hears that the drop finished.
    bool RunUntilFinished(DragSource& source, double seconds = 10) {
        double deadline = PlatformSeconds() + seconds;
        while (PlatformSeconds() < deadline) {
            source.Serve();
            if (!source.Finished.empty()) return true;
            PumpUntil([](const NativeMsg&) { return false; }, 0.02);
        }
        return false;
    }

    void Drag(DragSource& source, const char* offered = "text/uri-list") {
        Atom type = XInternAtom(Other, offered, False);
        source.Send("XdndEnter", X11.Win, 5L << 24, long(type));
        source.Send("XdndPosition", X11.Win, 0, (100 << 16) | 80, CurrentTime,
                    long(XInternAtom(Other, "XdndActionCopy", False)));
        source.Send("XdndDrop", X11.Win, 0, CurrentTime);
    }
};

TEST_F(X11DropTest, DroppedFilesArriveAsOneMessageOfNames) {
    DragSource source(Other, "file:///tmp/one.png\r\nfile:///tmp/two%20words.tif\r\n");
    Drag(source);
    ASSERT_TRUE(RunUntilFinished(source));
    EXPECT_EQ(source.Statuses, std::vector<int>{1});
    EXPECT_EQ(source.Finished, std::vector<int>{1});
    PumpUntil([](const NativeMsg&) { return false; }, 0.1); // the message went before the answer
    ASSERT_EQ(Logged(WM_DROPFILES).size(), 1u);
    std::string names;
    for (const auto& s : Log)
        if (s.Msg.Message == WM_DROPFILES) names = s.Text;
    EXPECT_EQ(names, std::string("/tmp/one.png\0/tmp/two words.tif\0\0", 33));
}

TEST_F(X11DropTest, DropsWithoutUsableNamesAreDeclined) {
    DragSource junk(Other, "http://example.com/x.png\r\nfile:///bad%zz\r\n\xff\xfe garbage");
    Drag(junk);
    ASSERT_TRUE(RunUntilFinished(junk));
    EXPECT_EQ(junk.Finished, std::vector<int>{0});
    PumpUntil([](const NativeMsg&) { return false; }, 0.1);
    EXPECT_TRUE(Logged(WM_DROPFILES).empty());

    // A source that offers no file list is told no at once and never asked for data.
    DragSource text(Other, "file:///tmp/one.png");
    Drag(text, "text/plain");
    ASSERT_TRUE(RunUntilFinished(text));
    EXPECT_EQ(text.Statuses, std::vector<int>{0});
    EXPECT_EQ(text.Finished, std::vector<int>{0});
    EXPECT_EQ(text.Requests, 0);
}

TEST_F(X11DropTest, MessagesFromStrangersAndVanishedSourcesAreHarmless) {
    DragSource source(Other, "file:///tmp/one.png");
    // Position and drop with no enter before them, and an enter that names a window which
    // does not exist and says its types are listed there.
    source.Send("XdndPosition", X11.Win, 0, 0, CurrentTime, 0);
    source.Send("XdndDrop", X11.Win, 0, CurrentTime);
    source.Send("XdndEnter", X11.Win, (5L << 24) | 1, 0, 0, 0, 0x7ffffff0);
    source.Send("XdndPosition", X11.Win, 0, 0, CurrentTime, 0, 0x7ffffff0);
    source.Send("XdndDrop", X11.Win, 0, CurrentTime, 0, 0, 0x7ffffff0);
    // An old protocol version is ignored.
    source.Send("XdndEnter", X11.Win, 2L << 24, long(source.UriList));
    source.Send("XdndDrop", X11.Win, 0, CurrentTime);
    PumpUntil([](const NativeMsg&) { return false; }, 0.5);
    EXPECT_TRUE(Logged(WM_DROPFILES).empty());
    source.Serve();
    EXPECT_EQ(source.Requests, 0);
    // After all that, a proper drop still works.
    Drag(source);
    ASSERT_TRUE(RunUntilFinished(source));
    EXPECT_EQ(source.Finished, std::vector<int>{1});
}

} // namespace
