// The program under a real X server: a pointer device (xdotool) paints a stroke with
// each pen, and the brush ghost moves over the page without leaving a trace. What the
// window shows is read back through the remote-command door (om_getpixeldisplay reads
// the shared image the window is drawn from), so the test needs no access of its own to
// the server's pixels.
#include "host/x11_test_support.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace nemu::x11test {

namespace {

struct Rgba {
    int R = -1, G = -1, B = -1, A = -1;
    bool operator==(const Rgba& o) const { return R == o.R && G == o.G && B == o.B && A == o.A; }
};

// Runs nemu-remote with one command text; its standard output without the line end.
std::string Remote(const std::string& text) {
    std::string command = NEMU_BINARY_DIR "/nemu-remote '" + text + "' 2>/dev/null";
    FILE* p = popen(command.c_str(), "r");
    if (!p) return "";
    std::string out;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    pclose(p);
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
    return out;
}

// Each "[r g b a]" of a reply.
std::vector<Rgba> Colours(const std::string& reply) {
    std::vector<Rgba> out;
    std::istringstream in(reply);
    char open = 0, close = 0;
    Rgba c;
    while (in >> open >> c.R >> c.G >> c.B >> c.A >> close) out.push_back(c);
    return out;
}

// What the display shows at page pixels (x, y) for each x of xs. A remote command text
// holds at most 2047 bytes: the row is asked for in parts.
std::vector<Rgba> ShownRow(const std::vector<int>& xs, int y) {
    std::vector<Rgba> out;
    for (size_t i = 0; i < xs.size(); i += 40) {
        std::string text;
        for (size_t k = i; k < xs.size() && k < i + 40; k++)
            text += "[om_getpixeldisplay " + std::to_string(xs[k]) + " " + std::to_string(y) + "] ";
        for (const Rgba& c : Colours(Remote(text))) out.push_back(c);
    }
    return out;
}

bool Until(const std::function<bool()>& done, double seconds = 15) {
    double deadline = PlatformSeconds() + seconds;
    while (PlatformSeconds() < deadline) {
        if (done()) return true;
        usleep(50000);
    }
    return false;
}

class X11Stroke : public X11Bare {
  protected:
    void SetUp() override {
        X11Bare::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        std::string binary = NEMU_BINARY_DIR "/nemu";
        char* argv[] = {binary.data(), const_cast<char*>("--size"), const_cast<char*>("320x240"), nullptr};
        ASSERT_EQ(posix_spawn(&Pid, binary.c_str(), nullptr, nullptr, argv, environ), 0);
        ASSERT_TRUE(Until([] { return Remote("[om_getwidth]") == "[320]"; })) << "nemu never answered";
        // Where the page stands on the screen: two pointer positions 13 and 7 pixels
        // apart tell, once the program has seen the second.
        ASSERT_TRUE(RunXdotool({"mousemove", "200", "200"}));
        int px = 0, py = 0;
        ASSERT_TRUE(
            Until([&] { return std::sscanf(Remote("om_getmouse").c_str(), "%d %d", &px, &py) == 2; }));
        ASSERT_TRUE(RunXdotool({"mousemove", "213", "207"}));
        ASSERT_TRUE(Until([&] {
            int qx = 0, qy = 0;
            if (std::sscanf(Remote("om_getmouse").c_str(), "%d %d", &qx, &qy) != 2) return false;
            OriginX = 213 - qx, OriginY = 207 - qy;
            return qx - px == 13 && qy - py == 7;
        }));
    }

    void TearDown() override {
        if (Pid > 0) {
            Remote("[om_quit]");
            int status = 0;
            bool ended = Until([&] { return waitpid(Pid, &status, WNOHANG) == Pid; }, 20);
            if (!ended) {
                kill(Pid, SIGKILL);
                waitpid(Pid, &status, 0);
            }
            EXPECT_TRUE(ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "nemu did not end cleanly";
        }
        X11Bare::TearDown();
    }

    // The pointer to page pixel (x, y).
    bool MoveTo(int x, int y) {
        return RunXdotool({"mousemove", std::to_string(x + OriginX), std::to_string(y + OriginY)});
    }
    // Waits until the program has seen the pointer at page pixel (x, y).
    bool SeenAt(int x, int y) {
        std::string want = std::to_string(x) + " " + std::to_string(y);
        return Until([&] { return Remote("om_getmouse") == want; });
    }

    pid_t Pid = 0;
    int OriginX = 0, OriginY = 0;
};

} // namespace

TEST_F(X11Stroke, EachPenPaintsItsStrokeAndTheGhostLeavesNoTrace) {
    const Rgba background = ShownRow({300}, 230).at(0);
    ASSERT_EQ(background.A, 255);
    const char* pens[] = {"[om_pen 4]", "[om_aeropen 12]", "[om_chalkpen 10]", "[om_pencil 6]",
                          "[om_point 1]"};
    std::vector<int> xs;
    for (int x = 60; x <= 200; x += 4) xs.push_back(x);
    for (int i = 0; i < 5; i++) {
        const int y = 20 + 28 * i;
        EXPECT_EQ(Remote(pens[i]), "[]");
        ASSERT_TRUE(MoveTo(30, y));
        ASSERT_TRUE(SeenAt(30, y));
        ASSERT_TRUE(RunXdotool({"mousedown", "1"}));
        for (int x = 30; x <= 230; x += 8) ASSERT_TRUE(MoveTo(x, y));
        ASSERT_TRUE(RunXdotool({"mouseup", "1"}));
        ASSERT_TRUE(MoveTo(300, 10));
        ASSERT_TRUE(SeenAt(300, 10));
        // Chalk and pencil dither: a good part, not all, of the stroke's middle row is paint.
        int painted = 0;
        ASSERT_TRUE(Until([&] {
            painted = 0;
            for (const Rgba& c : ShownRow(xs, y)) painted += c.R > background.R + 20;
            return painted > int(xs.size()) / 3;
        })) << pens[i]
            << " painted " << painted << " of " << xs.size();
        // Above the stroke nothing changed.
        for (const Rgba& c : ShownRow(xs, y - 12)) EXPECT_EQ(c, background) << pens[i];
    }

    // The ghost of a large airbrush, moved in overlapping steps over an empty part of
    // the page and then away: where it passed, the page shows again, exactly.
    EXPECT_EQ(Remote("[om_aeropen 20] [om_setapen 255 255 0]"), "[][]");
    for (int x = 30; x <= 250; x += 6) ASSERT_TRUE(MoveTo(x, 195 + (x % 5)));
    ASSERT_TRUE(MoveTo(290, 220));
    ASSERT_TRUE(SeenAt(290, 220));
    Rgba ghost;
    ASSERT_TRUE(Until([&] { return (ghost = ShownRow({290}, 220).at(0)).G > 100; })) << "no ghost shows";
    std::vector<int> path;
    for (int x = 10; x <= 262; x += 3) path.push_back(x);
    for (int y : {180, 190, 195, 200, 210}) {
        std::vector<Rgba> row = ShownRow(path, y);
        ASSERT_EQ(row.size(), path.size());
        for (size_t k = 0; k < row.size(); k++)
            EXPECT_EQ(row[k], background) << "trace at " << path[k] << "," << y;
    }
}

// A stroke of many small pointer moves, sent as a mouse sends them (a report every 8 ms),
// paints the round pen as wide as its ghost: a mouse has no pressure, and the pen's size
// is its own.
TEST_F(X11Stroke, SmallMovesOfAMousePaintTheRoundPenAsWideAsItsGhost) {
    EXPECT_EQ(Remote("[om_pen 8]"), "[]");
    const int y = 100;
    ASSERT_TRUE(MoveTo(30, y));
    ASSERT_TRUE(SeenAt(30, y));
    std::vector<std::string> moves = {"mousedown", "1"};
    for (int x = 30; x <= 230; x += 2) {
        moves.insert(moves.end(), {"mousemove", std::to_string(x + OriginX), std::to_string(y + OriginY)});
        moves.insert(moves.end(), {"sleep", "0.008"});
    }
    moves.insert(moves.end(), {"mouseup", "1"});
    ASSERT_TRUE(RunXdotool(moves));
    ASSERT_TRUE(MoveTo(300, 10));
    ASSERT_TRUE(SeenAt(300, 10));
    // The page is clear: each painted pixel of a column across the stroke counts.
    for (int x : {80, 130, 180}) {
        int width = 0;
        for (int row = y - 14; row <= y + 14; row++)
            width += Remote("[om_getpixel " + std::to_string(x) + " " + std::to_string(row) + "]") != "[0 0 0 0]";
        EXPECT_GE(width, 16) << "at " << x;
        EXPECT_LE(width, 18) << "at " << x;
    }
}

} // namespace nemu::x11test
