// Help bubbles: a small window beside a gadget with its help text and, in the full mode,
// the key of its command under it.
#include "host/screen.h"
#include "ui/catalog.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace nemu {

GuiWindow* HelpBubbleWindow = nullptr;
int32_t HelpMode = 2;

constexpr uint32_t BubbleFill = 0xFFFFF8D8, BubbleText = 0xFF202020, BubbleKey = 0xFF505050;
constexpr int BubblePad = 5, BubbleGap = 4, BubbleLine = 13;
// Rows holding all of these have no bubble.
constexpr uint32_t NoBubbleFlags = 0x208010;
constexpr uint32_t MsgCutMark = 40, MsgShortcut = 19920;

static const struct {
    int32_t Id;
    uint32_t Message;
} SystemHelp[] = {{GADGET_TITLE_B, 1110}, {GADGET_TITLE_A, 1110}, {GADGET_SIZE, 1101},
                  {GADGET_CLOSE, 1102},   {GADGET_DRAG, 1103},    {GADGET_DEPTH, 1104}};

static std::string HelpText(const Gadget* g) {
    if (g->Help) return g->Help;
    for (const auto& row : SystemHelp)
        if (row.Id == g->Id) return MsgGet(nullptr, row.Message);
    return "";
}

static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    size_t start = 0;
    for (;;) {
        size_t nl = text.find('\n', start);
        out.push_back(text.substr(start, nl == std::string::npos ? std::string::npos : nl - start));
        if (nl == std::string::npos) break;
        start = nl + 1;
    }
    return out;
}

void CloseHelpBubble() {
    GuiWindow* bubble = HelpBubbleWindow;
    HelpBubbleWindow = nullptr;
    if (WindowInList(bubble)) WindowDelete(bubble);
}

void HelpBubble(GuiWindow* window, Gadget* g) {
    CloseHelpBubble();
    if (!WindowInList(window) || !g || HelpMode <= 0 || (g->Flags & NoBubbleFlags) == NoBubbleFlags) return;
    std::string text = HelpText(g);
    if (text.empty()) return;
    if (HelpMode == 1) {
        // The short mode keeps what stands before the catalog's cut mark.
        const char* mark = MsgGet(nullptr, MsgCutMark);
        size_t cut = *mark ? text.find(mark) : std::string::npos;
        if (cut != std::string::npos) text.resize(cut);
    }
    std::vector<std::string> lines = Lines(text);
    std::string key;
    const char* command = g->HelpCommand ? g->HelpCommand : g->Command;
    char label[64];
    if (HelpMode >= 2)
        if (const char* k = CommandKeyText(command, label, sizeof label))
            key = std::string(MsgGet(nullptr, MsgShortcut)) + " " + k;
    int width = 0;
    for (const auto& l : lines) width = std::max(width, UiTextWidth(l.c_str()));
    if (!key.empty()) width = std::max(width, UiTextWidth(key.c_str()));
    int rows = int(lines.size()) + (key.empty() ? 0 : 1);
    int W = width + 2 * BubblePad, H = rows * BubbleLine + 2 * BubblePad - 2 + (key.empty() ? 0 : BubbleGap);
    GuiWindow* bubble = WindowNew(W, H, WINDOW_KEEP_STRING | WINDOW_SIMPLE_FRAME | WINDOW_THIN_FRAME);
    if (!bubble) return;
    Bitmap* s = bubble->Surface;
    UiFill(s, 0, 0, W - 1, H - 1, BubbleFill);
    UiBevel(s, 0, 0, W - 1, H - 1, 0xFF808080, 0xFF404040);
    int y = BubblePad - 1;
    for (const auto& l : lines) {
        UiText(s, BubblePad, y, l.c_str(), BubbleText, 1, 1, W - 2, H - 2);
        y += BubbleLine;
    }
    if (!key.empty()) {
        UiFill(s, BubblePad, y + BubbleGap / 2 - 1, W - BubblePad - 1, y + BubbleGap / 2 - 1, 0xFFC8C0A0);
        UiText(s, BubblePad, y + BubbleGap, key.c_str(), BubbleKey, 1, 1, W - 2, H - 2);
    }
    // Beside the gadget: below it, or above when the screen ends.
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int x = window->Left + gx, top = window->Top + gy + gh + UiPx(2);
    int sw = Screen ? Screen->Width : 0, sh = Screen ? Screen->Height : 0;
    if (top + int(bubble->Height) > sh) top = window->Top + gy - int(bubble->Height) - UiPx(2);
    x = std::clamp(x, 0, std::max(0, sw - int(bubble->Width)));
    top = std::max(top, 0);
    bubble->Left = x, bubble->Top = top;
    bubble->Right = x + int(bubble->Width), bubble->Bottom = top + int(bubble->Height);
    HelpBubbleWindow = bubble;
    WindowOpen(bubble);
}

void LoadHelpMode() {
    HelpMode = std::clamp(ConfigGetInt("System", "Bulle", 2), 0, 2);
}

} // namespace nemu
