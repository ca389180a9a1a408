// The alert and the questions: small dialogs built on the stack as a handful of rows,
// a window sized to the text, and the modal loop. Without a display they fall back on the
// host's boxes of last resort, and questions then take the cautious answer.
#include "ui/requests.h"

#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace nemu {

int (*AskYesNoHook)(const char* text, const char* yes, const char* no) = nullptr;
int32_t HeadlessDialogs = 0;

constexpr uint32_t MsgOutOfMemory = 1000, MsgYes = 1001, MsgNo = 1002, MsgOk = 1005, MsgCancel = 1006;
// Sizes in layout units.
constexpr int LineHeight = 13, ButtonHeight = 20, ButtonPad = 16, TextX = 16, TextY = 13;
constexpr uint32_t DialogText = 0xFF000000;

bool DialogsShown() {
    return Screen && !QuitFlag && (PlatformKind() != BACKEND_HEADLESS || HeadlessDialogs);
}

// ---- Shared building blocks ------------------------------------------------------------------------

static std::vector<std::string> SplitLines(const char* text) {
    std::vector<std::string> out;
    std::string t = text ? text : "";
    size_t start = 0;
    for (;;) {
        size_t nl = t.find('\n', start);
        out.push_back(t.substr(start, nl == std::string::npos ? std::string::npos : nl - start));
        if (nl == std::string::npos) break;
        start = nl + 1;
    }
    return out;
}

static int WidestLine(const std::vector<std::string>& lines) {
    int w = 0;
    for (const auto& l : lines) w = std::max(w, UiTextWidth(l.c_str()));
    return w;
}

static const char* Or(const char* label, uint32_t message) {
    return label && *label ? label : MsgGet(nullptr, message);
}

// The answer rows are numbered from 1 in the order given; Return picks the first and
// Escape the last.
static int32_t AnswerClick(GuiWindow*, Gadget* g, int32_t code) {
    if (g && g->Id > 0 && (code == GC_CLICK || code == GC_RETURN)) return g->Id;
    return 0;
}

static int32_t LastRowId(GuiWindow* window) {
    int32_t last = 0;
    for (Gadget* g = window->Gadgets; g && g->Id != 0; g++)
        if (g->Id > 0 && !(g->Flags & GF_STRING) && !(g->Flags & GF_SMALL_ACTION))
            last = std::max(last, g->Id);
    return last;
}

// Keys come as the characters (the key-down records carry none), so that an Escape closes
// only the innermost dialog.
static int32_t AnswerKey(const char* text, int32_t* length, int32_t, GuiWindow* window, int32_t, uint32_t) {
    if (*length == 1 && text[0] == '\r') return 1;
    if (*length == 1 && text[0] == 27) return LastRowId(window);
    return 0;
}

// Opens window over its rows and waits for an answer; 0 when the window vanished.
static int32_t RunDialog(GuiWindow* window, const std::vector<std::string>& lines, int textY) {
    int y = textY;
    for (const auto& l : lines) {
        WindowDrawText(window, TextX, y, l.c_str(), DialogText);
        y += LineHeight;
    }
    window->OnGadget = AnswerClick;
    window->OnKey = AnswerKey;
    PlatformRaise();
    BusyEnd();
    WindowOpen(window);
    int32_t result = ModalLoop(window);
    WindowDelete(window);
    return result;
}

static Gadget Button(int id, int left, int top, int width, const char* label) {
    Gadget g{};
    g.Id = id;
    g.Left = int16_t(left);
    g.Top = int16_t(top);
    g.Right = int16_t(left + width - 1);
    g.Bottom = int16_t(top + ButtonHeight - 1);
    g.Flags = GF_ACTION;
    g.Label = label;
    g.LabelFlags = LF_CENTRE;
    return g;
}

// ---- Alert ------------------------------------------------------------------------------------------

void Alert(const char* text) {
    if (!DialogsShown()) {
        PlatformMessageBox(text, MsgGet(nullptr, MsgOk));
        return;
    }
    std::vector<std::string> lines = SplitLines(text);
    const char* ok = MsgGet(nullptr, MsgOk);
    int okW = UiTextWidth(ok) + ButtonPad;
    int textW = std::max({30, WidestLine(lines), okW});
    int W = textW + 33, H = int(lines.size()) * LineHeight + 50;
    int bw = std::max(okW, 60);
    Gadget rows[] = {Button(1, (W - bw) / 2, H - 30, bw, ok), Gadget{}, Gadget{}};
    rows[1].Id = GADGET_FRAME;
    GuiWindow* window = WindowFromRows(W, H, rows);
    if (!window) {
        PlatformMessageBox(text, ok);
        return;
    }
    RunDialog(window, lines, TextY);
}

void AlertMsg(uint32_t id) {
    Alert(MsgGet(nullptr, id));
}

// ---- Questions ------------------------------------------------------------------------------------------

static int Ask(const char* text, const std::vector<const char*>& labels) {
    std::vector<std::string> lines = SplitLines(text);
    int n = int(labels.size());
    std::vector<int> widths;
    int sum = 0;
    for (const char* l : labels) {
        widths.push_back(std::max(UiTextWidth(l) + ButtonPad, 60));
        sum += widths.back();
    }
    int width = std::max(WidestLine(lines), sum + 16 * n);
    int W = width + 33, H = int(lines.size()) * LineHeight + 50;
    int top = int(lines.size()) * LineHeight + 19;
    std::vector<Gadget> rows;
    rows.push_back(Button(1, 8, top, widths[0], labels[0]));
    if (n == 3) rows.push_back(Button(2, (W - widths[1]) / 2, top, widths[1], labels[1]));
    rows.push_back(
        Button(n, width + 25 - widths[size_t(n - 1)], top, widths[size_t(n - 1)], labels[size_t(n - 1)]));
    rows.push_back(Gadget{});
    rows.back().Id = GADGET_FRAME;
    rows.push_back(Gadget{});
    rows[0].Flags = GF_DIALOG; // the first answer is the one Return gives
    GuiWindow* window = WindowFromRows(W, H, rows.data());
    if (!window) return -1;
    return RunDialog(window, lines, TextY);
}

int AskYesNo(const char* text, const char* yes, const char* no) {
    yes = Or(yes, MsgYes);
    no = Or(no, MsgNo);
    if (AskYesNoHook) return AskYesNoHook(text, yes, no) ? 1 : 0;
    if (!DialogsShown()) return PlatformAsk(text, yes, no);
    int r = Ask(text, {yes, no});
    if (r < 0) return PlatformAsk(text, yes, no);
    return r == 1 ? 1 : 0;
}

int AskThree(const char* text, const char* a, const char* b, const char* c) {
    a = Or(a, MsgYes);
    c = Or(c, MsgCancel);
    b = b && *b ? b : MsgGet(nullptr, MsgNo);
    if (AskYesNoHook) return std::clamp(AskYesNoHook(text, a, c), 0, 2);
    if (!DialogsShown()) {
        std::fprintf(stderr, "Nemu: %s [%s/%s/%s] -> %s\n", text ? text : "", a, b, c, c);
        return 2;
    }
    int r = Ask(text, {a, b, c});
    return r >= 1 && r <= 3 ? r - 1 : 2;
}

// ---- Number and string requests ------------------------------------------------------------------------

struct FieldRequest {
    Gadget* Field;
};

static int32_t FieldAnswer(GuiWindow* window, Gadget* g, int32_t code) {
    if (!g) return 0;
    if (g->Id == 4 && code == GC_PRESS) { // the drag button
        ValueDrag(window, GadgetById(3, window->Gadgets), AdjustStringInt, nullptr);
        return 0;
    }
    if (g->Id == 3) return code == GC_RETURN ? 1 : 0;
    return code == GC_CLICK ? g->Id : 0;
}

static int32_t RunFieldDialog(GuiWindow* window, const char* title, Gadget* field) {
    WindowDrawText(window, 10, 4, title, DialogText);
    window->OnGadget = FieldAnswer;
    window->OnKey = AnswerKey;
    PlatformRaise();
    BusyEnd();
    WindowOpen(window);
    StringActivate(field, window, 1000000);
    if (ActiveGadget == field) {
        field->String->SelectAnchor = 0; // typing replaces the value
        GadgetRefresh(field, window);
    }
    int32_t result = ModalLoop(window);
    if (ActiveGadget == field) StringCommitResult(field, window, GC_DRAG_DONE);
    return result;
}

int AskNumber(const char* title, int32_t* value, int32_t min, int32_t max) {
    if (!value) return -1;
    if (!DialogsShown()) return -1;
    const char* ok = MsgGet(nullptr, MsgOk);
    const char* cancel = MsgGet(nullptr, MsgCancel);
    int okW = std::max(UiTextWidth(ok) + ButtonPad, 60),
        cancelW = std::max(UiTextWidth(cancel) + ButtonPad, 60);
    int W = std::max({152, 32 + okW + cancelW, UiTextWidth(title) + 14}), H = 76;
    char buffer[24];
    StringInfo si{};
    si.Buffer = buffer;
    si.MaxLen = sizeof buffer;
    si.StrFlags = STR_INTEGER;
    si.IntValue = std::clamp(*value, min, max);
    si.Min = min, si.Max = max;
    si.Cursor = -1, si.SelectAnchor = -1;
    std::snprintf(buffer, sizeof buffer, "%d", si.IntValue);
    Gadget rows[6] = {Button(1, 8, H - 28, okW, ok), Button(2, W - 8 - cancelW, H - 28, cancelW, cancel)};
    rows[0].Flags = GF_DIALOG;
    rows[2].Id = 3, rows[2].Flags = GK_NUMBER, rows[2].String = &si;
    rows[2].Left = 8, rows[2].Top = 22, rows[2].Right = int16_t(W - 31), rows[2].Bottom = 39;
    rows[3].Id = 4, rows[3].Flags = GK_DRAG_VALUE, rows[3].Left = int16_t(W - 27), rows[3].Top = 23;
    rows[4].Id = GADGET_FRAME;
    GuiWindow* window = WindowFromRows(W, H, rows);
    if (!window) {
        AlertMsg(MsgOutOfMemory);
        return -1;
    }
    int32_t r = RunFieldDialog(window, title, &rows[2]);
    WindowDelete(window);
    std::free(si.UndoText);
    if (r != 1) return -1;
    *value = si.IntValue;
    return 0;
}

int AskString(const char* title, char* buffer, uint32_t size) {
    if (!buffer || size < 1 || !DialogsShown()) return -1;
    const char* ok = MsgGet(nullptr, MsgOk);
    const char* cancel = MsgGet(nullptr, MsgCancel);
    int okW = std::max(UiTextWidth(ok) + ButtonPad, 60),
        cancelW = std::max(UiTextWidth(cancel) + ButtonPad, 60);
    int W = std::max({250, 32 + okW + cancelW, UiTextWidth(title) + 20}), H = 76;
    std::string edit(buffer, strnlen(buffer, size - 1));
    std::vector<char> work(size, 0);
    std::memcpy(work.data(), edit.data(), edit.size());
    StringInfo si{};
    si.Buffer = work.data();
    si.MaxLen = size;
    si.Cursor = -1, si.SelectAnchor = -1;
    Gadget rows[5] = {Button(1, 8, H - 28, okW, ok), Button(2, W - 8 - cancelW, H - 28, cancelW, cancel)};
    rows[0].Flags = GF_DIALOG;
    rows[2].Id = 3, rows[2].Flags = GK_STRING, rows[2].String = &si;
    rows[2].Left = 8, rows[2].Top = 22, rows[2].Right = int16_t(W - 9), rows[2].Bottom = 39;
    rows[3].Id = GADGET_FRAME;
    GuiWindow* window = WindowFromRows(W, H, rows);
    if (!window) {
        AlertMsg(MsgOutOfMemory);
        return -1;
    }
    int32_t r = RunFieldDialog(window, title, &rows[2]);
    WindowDelete(window);
    std::free(si.UndoText);
    if (r != 1) return -1;
    std::memcpy(buffer, work.data(), size);
    buffer[size - 1] = 0;
    return 0;
}

} // namespace nemu
