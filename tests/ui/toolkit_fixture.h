// A headless screen with the toolkit open on it: dialogs shown as windows, the real font,
// and a record of every gadget as drawn, so tests find and press gadgets by their label
// and read the screen's pixels.
#pragma once
#include "host/host_fixture.h"
#include "ui/catalog.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <functional>
#include <string>
#include <vector>

struct DrawnGadget {
    const nemu::GuiWindow* Window;
    int32_t Id;
    std::string Label;
    int X, Y, W, H; // pixels on the window's surface; windows move after drawing
    int CentreX() const { return Window->Left + X + W / 2; }
    int CentreY() const { return Window->Top + Y + H / 2; }
};

inline std::vector<DrawnGadget>& DrawnGadgets() {
    static std::vector<DrawnGadget> list;
    return list;
}

// Called for each row drawn; a test may queue input from it (for dialogs, whose place is
// only known once they are made).
inline std::function<void(const DrawnGadget&)>& OnGadgetDrawn() {
    static std::function<void(const DrawnGadget&)> f;
    return f;
}

inline void RecordGadget(const nemu::GuiWindow* w, const nemu::Gadget* g, const char* label, int32_t x,
                         int32_t y, int32_t width, int32_t height) {
    DrawnGadget d{w, g->Id, label ? label : "", x - w->Left, y - w->Top, width, height};
    auto& list = DrawnGadgets();
    bool replaced = false;
    for (auto& e : list)
        if (e.Window == w && e.Id == g->Id) e = d, replaced = true;
    if (!replaced) list.push_back(d);
    if (OnGadgetDrawn()) OnGadgetDrawn()(d);
}

// The latest drawing of the gadget with this label in a window still in the list.
inline const DrawnGadget* FindGadget(const std::string& label) {
    auto& list = DrawnGadgets();
    for (auto it = list.rbegin(); it != list.rend(); ++it)
        if (it->Label == label && nemu::WindowInList(it->Window)) return &*it;
    return nullptr;
}

inline void QueueClickAt(int x, int y, bool right = false) {
    nemu::HeadlessQueuePointer(x, y);
    nemu::HeadlessQueuePointer(x, y, right ? nemu::WM_RBUTTONDOWN : nemu::WM_LBUTTONDOWN);
    nemu::HeadlessQueuePointer(x, y, right ? nemu::WM_RBUTTONUP : nemu::WM_LBUTTONUP);
}

inline bool QueueClick(const std::string& label, bool right = false) {
    const DrawnGadget* g = FindGadget(label);
    if (!g) return false;
    QueueClickAt(g->CentreX(), g->CentreY(), right);
    return true;
}

// Characters as the window system sends them: a key-down, then the character.
inline void QueueText(const char* text) {
    for (const char* p = text; *p; p++) nemu::HeadlessQueueKey(0, uint8_t(*p));
}

inline void QueueKey(uint32_t vk, uint32_t character = 0) {
    nemu::HeadlessQueueKey(vk, character);
}

// Runs the main loop while input is queued.
inline void RunQueued() {
    for (int i = 0; i < 200 && nemu::HeadlessPending() > 0 && !nemu::QuitFlag; i++) nemu::MainLoopPass();
}

struct ToolkitHost : HeadlessHost {
    explicit ToolkitHost(int scaleHalves = 2) : HeadlessHost(800, 600, 320, 240, 20, 20) {
        using namespace nemu;
        HeadlessDialogs = 1;
        if (!GlobalCatalog) GlobalCatalog = CatalogLoad(NEMU_SOURCE_DIR "/data/nemu.loc");
        UiScaleHalves = scaleHalves;
        FontOpen();
        GadgetDrawnHook = RecordGadget;
        WindowMagnet = 1;
        DragLimit = 250000;
        SpawnX = SpawnY = -1;
        DrawnGadgets().clear();
        OnGadgetDrawn() = nullptr;
    }
    ~ToolkitHost() {
        using namespace nemu;
        WindowDeleteAll();
        GadgetDrawnHook = nullptr;
        OnGadgetDrawn() = nullptr;
        DrawnGadgets().clear();
        HeadlessDialogs = 0;
        UiScaleHalves = 2;
        WorkAreaX = WorkAreaY = WorkAreaW = WorkAreaH = 0;
        QuitFlag = 0;
        FontClose();
        CatalogFreeAll();
    }
};
