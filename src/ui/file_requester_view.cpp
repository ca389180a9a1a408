// The requester's list as drawn: rows of names (with their previews when icons are on),
// the scroll bar, the large preview of the selection and the detail line; and the idle
// work that makes the previews of the rows in view, a slice at a time, so the panel
// opens at once on a folder of thousands of pictures and fills in while the user looks.
#include "host/input.h"
#include "host/main_loop.h"
#include "project/blend.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/file_requester_panel.h"
#include "ui/font.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nemu {

constexpr uint32_t MsgFolderUnreadable = 4057;
constexpr uint32_t FolderIconColour = 0xFFE0B040;

// ---- Small drawing helpers ------------------------------------------------------------------------------

struct PixelRect {
    int32_t X, Y, W, H;
};

static PixelRect RowRect(RequesterPanel* panel, int32_t id) {
    PixelRect r{0, 0, 0, 0};
    if (Gadget* g = GadgetById(id, panel->Rows)) GadgetPixelRect(g, &r.X, &r.Y, &r.W, &r.H);
    return r;
}

static void Fill(Bitmap* b, int32_t x, int32_t y, int32_t w, int32_t h, uint32_t colour) {
    int32_t x0 = std::max(x, 0), y0 = std::max(y, 0);
    int32_t x1 = std::min(x + w, b->Width), y1 = std::min(y + h, b->Height);
    for (int32_t r = y0; r < y1; r++) {
        uint32_t* row = b->Pixels + size_t(r) * b->Width;
        std::fill(row + x0, row + x1, colour);
    }
}

// A premultiplied picture over what the surface holds, centred in the box, clipped to it.
static void PutPicture(Bitmap* b, const Bitmap* picture, PixelRect box) {
    int32_t x = box.X + (box.W - picture->Width) / 2, y = box.Y + (box.H - picture->Height) / 2;
    for (int32_t j = 0; j < picture->Height; j++) {
        int32_t ty = y + j;
        if (ty < box.Y || ty >= box.Y + box.H || ty < 0 || ty >= b->Height) continue;
        for (int32_t i = 0; i < picture->Width; i++) {
            int32_t tx = x + i;
            if (tx < box.X || tx >= box.X + box.W || tx < 0 || tx >= b->Width) continue;
            uint32_t& d = b->Pixels[size_t(ty) * b->Width + tx];
            d = BehindPixel(picture->Pixels[size_t(j) * picture->Width + i], d);
        }
    }
}

// A folder drawn as a tabbed box, for the preview slot of a folder row.
static void DrawFolderIcon(Bitmap* b, PixelRect box) {
    int32_t w = box.W * 2 / 3, h = box.H / 2;
    int32_t x = box.X + (box.W - w) / 2, y = box.Y + (box.H - h) / 2;
    Fill(b, x, y - UiPx(3), w / 3, UiPx(3), FolderIconColour);
    Fill(b, x, y, w, h, FolderIconColour);
    Fill(b, x, y + h - UiLine(), w, UiLine(), DarkColour(FolderIconColour));
}

// ---- Geometry ----------------------------------------------------------------------------------------------

int32_t RequesterRowHeight(const RequesterPanel* panel) {
    return UiPx(panel->Request && panel->Request->Icons ? IconRowUnits : TextRowUnits);
}

int32_t RequesterRowsShown(const RequesterPanel* panel) {
    PixelRect list = RowRect(const_cast<RequesterPanel*>(panel), REQ_LIST);
    return std::max(1, (list.H - 2 * UiLine()) / RequesterRowHeight(panel));
}

int32_t RequesterRowAt(const RequesterPanel* panel, int32_t surfaceY) {
    PixelRect list = RowRect(const_cast<RequesterPanel*>(panel), REQ_LIST);
    int32_t rel = surfaceY - list.Y - UiLine();
    if (rel < 0) return -1;
    int32_t row = panel->Top + rel / RequesterRowHeight(panel);
    return row < panel->List.Count && rel / RequesterRowHeight(panel) < RequesterRowsShown(panel) ? row : -1;
}

void RequesterScrollTo(RequesterPanel* panel, int32_t top) {
    int32_t most = std::max(0, panel->List.Count - RequesterRowsShown(panel));
    top = std::clamp(top, 0, most);
    if (top == panel->Top) return;
    panel->Top = top;
    RequesterDrawList(panel);
}

void RequesterKeepInView(RequesterPanel* panel, int32_t row) {
    int32_t shown = RequesterRowsShown(panel);
    if (row < panel->Top)
        RequesterScrollTo(panel, row);
    else if (row >= panel->Top + shown)
        RequesterScrollTo(panel, row - shown + 1);
}

// ---- The list and its scroll bar -------------------------------------------------------------------------

static void DrawScrollBar(RequesterPanel* panel) {
    Bitmap* s = panel->Window->Surface;
    PixelRect bar = RowRect(panel, REQ_SCROLL);
    Fill(s, bar.X, bar.Y, bar.W, bar.H, INFOAREACOLOR);
    int32_t knob = 0, pos = 0;
    ScrollerKnob(bar.H, std::max(panel->List.Count, 1), RequesterRowsShown(panel), panel->Top, &knob, &pos);
    knob = std::min(knob, bar.H);
    Fill(s, bar.X + UiLine(), bar.Y + pos, bar.W - 2 * UiLine(), knob, DRAGBUTTONCOLOR);
    WindowRefreshRect(panel->Window, bar.X, bar.Y, bar.W, bar.H);
}

static void DrawRow(RequesterPanel* panel, int32_t row, PixelRect box) {
    Bitmap* s = panel->Window->Surface;
    const bool selected = row == panel->Selected;
    Fill(s, box.X, box.Y, box.W, box.H, selected ? DRAGBUTTONSELECTCOLOR : INFOAREACOLOR);
    if (row >= panel->List.Count) return;
    const FileEntry& e = panel->List.Entries[row];
    int32_t textX = box.X + UiPx(4);
    if (panel->Request->Icons) {
        PixelRect slot{box.X + UiPx(2), box.Y + (box.H - UiPx(IconUnitsH)) / 2, UiPx(IconUnitsW), UiPx(IconUnitsH)};
        if (e.IsFolder)
            DrawFolderIcon(s, slot);
        else if (e.Preview)
            PutPicture(s, e.Preview, slot);
        textX = slot.X + slot.W + UiPx(6);
    }
    char name[FilePathSize + 2];
    std::snprintf(name, sizeof name, "%s%s", e.Shown, e.IsFolder ? "/" : "");
    int32_t textY = box.Y + (box.H - FontLineHeight()) / 2;
    DrawText(s, textX, textY, name, -1, INFOAREATEXTCOLOR, box.X, box.Y, box.X + box.W - 1, box.Y + box.H - 1);
}

void RequesterDrawList(RequesterPanel* panel) {
    if (!panel || !WindowInList(panel->Window)) return;
    Bitmap* s = panel->Window->Surface;
    PixelRect list = RowRect(panel, REQ_LIST);
    const int32_t line = UiLine(), height = RequesterRowHeight(panel);
    Fill(s, list.X, list.Y, list.W, list.H, INFOAREACOLOR);
    // A sunken edge around the rows.
    Fill(s, list.X, list.Y, list.W, line, DarkColour(BACKGROUNDCOLOR));
    Fill(s, list.X, list.Y, line, list.H, DarkColour(BACKGROUNDCOLOR));
    Fill(s, list.X, list.Y + list.H - line, list.W, line, LightColour(BACKGROUNDCOLOR));
    Fill(s, list.X + list.W - line, list.Y, line, list.H, LightColour(BACKGROUNDCOLOR));
    const int32_t shown = RequesterRowsShown(panel);
    for (int32_t i = 0; i < shown; i++)
        DrawRow(panel, panel->Top + i, PixelRect{list.X + line, list.Y + line + i * height, list.W - 2 * line, height});
    if (panel->List.ReadError) {
        // Say why the folder is empty, under what could be listed.
        int32_t y = list.Y + line + std::min(panel->List.Count, shown) * height + UiPx(4);
        DrawText(s, list.X + UiPx(6), y, MsgGet(nullptr, MsgFolderUnreadable), -1, INFOAREATEXTCOLOR, list.X, list.Y,
                 list.X + list.W - 1, list.Y + list.H - 1);
    }
    WindowRefreshRect(panel->Window, list.X, list.Y, list.W, list.H);
    DrawScrollBar(panel);
    panel->PreviewsPending = 1; // the rows in view may want previews
}

void RequesterScrollPress(RequesterPanel* panel) {
    PixelRect bar = RowRect(panel, REQ_SCROLL);
    int32_t shown = RequesterRowsShown(panel), total = std::max(panel->List.Count, 1);
    int32_t knob = 0, pos = 0;
    ScrollerKnob(bar.H, total, shown, panel->Top, &knob, &pos);
    int32_t y = WindowPointerY - panel->Window->Top - bar.Y;
    if (y < pos) return RequesterScrollTo(panel, panel->Top - shown);
    if (y >= pos + knob) return RequesterScrollTo(panel, panel->Top + shown);
    // On the knob: follow the pointer until the button comes up.
    const int32_t grab = y - pos, free = std::max(bar.H - knob, 1), most = std::max(total - shown, 0);
    while (LeftHeld && WindowInList(panel->Window)) {
        int32_t at = WindowPointerY - panel->Window->Top - bar.Y - grab;
        RequesterScrollTo(panel, int32_t((int64_t(std::clamp(at, 0, free)) * most + free / 2) / free));
        if (WaitMouse(1) == 2) break;
    }
}

// ---- The selection: large preview and detail line -----------------------------------------------------------

void RequesterDrawPreview(RequesterPanel* panel) {
    if (!panel || !WindowInList(panel->Window)) return;
    Bitmap* s = panel->Window->Surface;
    PixelRect box = RowRect(panel, REQ_PREVIEW);
    Fill(s, box.X, box.Y, box.W, box.H, DarkColour(BACKGROUNDCOLOR));
    if (panel->BigPreviewOf != panel->Selected) {
        FreeBitmap(panel->BigPreview);
        panel->BigPreview = nullptr;
        panel->BigPreviewOf = panel->Selected;
        const FileEntry* e = panel->Selected >= 0 ? &panel->List.Entries[panel->Selected] : nullptr;
        char path[FilePathSize];
        if (e && !e->IsFolder && JoinPath(path, sizeof path, panel->List.Folder, e->Name)) {
            FileRequest* r = panel->Request;
            if (r->DrawPreview) {
                Bitmap* own = NewClearBitmap(box.W, box.H);
                if (own && r->DrawPreview(r->User, path, own) == 0)
                    panel->BigPreview = own;
                else
                    FreeBitmap(own);
            }
            if (!panel->BigPreview) panel->BigPreview = MakePreview(path, box.W - 2, box.H - 2);
        }
    }
    if (panel->BigPreview)
        PutPicture(s, panel->BigPreview, box);
    else if (panel->Selected >= 0 && panel->List.Entries[panel->Selected].IsFolder)
        DrawFolderIcon(s, box);
    WindowRefreshRect(panel->Window, box.X, box.Y, box.W, box.H);
}

void RequesterShowDetail(RequesterPanel* panel) {
    panel->Detail[0] = 0;
    if (panel->Selected >= 0 && panel->Selected < panel->List.Count) {
        FileEntry* e = &panel->List.Entries[panel->Selected];
        FileDetailLine(&panel->List, e, panel->Detail, sizeof panel->Detail);
        FileRequest* r = panel->Request;
        char path[FilePathSize];
        if (r->AddText && !e->IsFolder && JoinPath(path, sizeof path, panel->List.Folder, e->Name)) {
            size_t used = std::strlen(panel->Detail);
            if (used + 2 < sizeof panel->Detail) {
                std::strcat(panel->Detail, "  ");
                r->AddText(r->User, path, panel->Detail + used + 2, sizeof panel->Detail - used - 2);
            }
        }
    }
    if (Gadget* g = GadgetById(REQ_DETAIL, panel->Rows)) GadgetRefresh(g, panel->Window);
}

// ---- Idle: previews --------------------------------------------------------------------------------------------

void RequesterIdle(RequesterPanel* panel) {
    if (!panel || !panel->Request->Icons || !panel->PreviewsPending || !WindowInList(panel->Window)) return;
    const int32_t first = panel->Top, last = panel->Top + RequesterRowsShown(panel) - 1;
    int32_t before = panel->List.PreviewCount;
    panel->PreviewsPending = FileListMakePreviews(&panel->List, first, last, UiPx(IconUnitsW), UiPx(IconUnitsH),
                                                  PreviewSliceSeconds);
    if (panel->List.PreviewCount != before) {
        int32_t pending = panel->PreviewsPending;
        RequesterDrawList(panel);
        panel->PreviewsPending = pending;
    }
}

void RequesterFreePreviews(RequesterPanel* panel) {
    FreeBitmap(panel->BigPreview);
    panel->BigPreview = nullptr;
    panel->BigPreviewOf = -1;
}

} // namespace nemu
