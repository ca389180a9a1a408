// Random sequences of layer operations, each checked against a plain model of the stack:
// which layers there are, in what order, over what images, holding what pictures; and
// after every step the invariants of the project and of the tile store. Each operation
// that makes an undo step is sometimes undone and redone at once, and both states are
// compared with the model. A failing case prints its case and step numbers.
#include "project_fixture.h"

#include "../store/store_fixture.h"
#include "ui/catalog.h"

#include <algorithm>
#include <optional>
#include <random>
#include <sstream>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

struct ModelLayer {
    uint32_t Id = 0;
    std::string Name;
    int32_t First = 0, Last = 0;
    bool Hidden = false, IsClip = false;
    std::vector<uint32_t> Images; // one picture for a plain layer
    uint32_t At(int32_t t) const { return IsClip ? Images[size_t(t - First)] : Images[0]; }
};

struct Model {
    std::vector<ModelLayer> Layers;
    int32_t Current = 0, Image = 0;
    int32_t SelStart = 0, SelLength = 0;
    std::optional<std::vector<uint32_t>> Board; // the clipboard's pictures, in order
    ModelLayer& Cur() { return Layers[size_t(Current)]; }
};

constexpr int32_t MaxImages = 14; // keeps the stacks small enough to read back every step

class StackModelTest : public ProjectTest {
  protected:
    std::mt19937 Rng;
    Model M;
    uint32_t NextColour = 0xFF000001;
    std::string Where;
    int Steps = 0;

    int32_t Random(int32_t lo, int32_t hi) { return lo + int32_t(Rng() % uint32_t(hi - lo + 1)); }

    // ---- Reading the real stack ------------------------------------------------------------------
    // A pixel of a layer's image without flushing: a flush would end the page's undo step.
    static uint32_t ReadPixel(int32_t index, int32_t t) {
        if (index == CurrentLayer && (t == CurrentImage || !Layers[index].Clip)) return At(0, 0);
        Bitmap* b = NewClearBitmap(PageWidth, PageHeight);
        EXPECT_EQ(LoadLayerImage(b, &Layers[index], t), 1);
        uint32_t p = b->Pixels[0];
        FreeBitmap(b);
        return p;
    }
    // What the press of a stroke does: the stroke before becomes final, and the next undo
    // means the page.
    static void Press() { BeginStrokeCommit(); }
    std::string Describe() {
        std::ostringstream s;
        for (int32_t i = 0; i < LayerCount; i++) {
            const Layer& l = Layers[i];
            s << (i == CurrentLayer ? "*" : " ") << l.Id << " '" << l.Name << "' " << l.FirstImage << ".."
              << l.LastImage << (l.Clip ? " clip" : " plain") << ((l.Flags & LayerHidden) ? " hidden" : "")
              << ":";
            for (int32_t t = l.FirstImage; t <= l.LastImage; t++)
                s << " " << std::hex << ReadPixel(i, t) << std::dec;
            s << "\n";
        }
        s << "image " << CurrentImage;
        return s.str();
    }
    std::string Expected() {
        std::ostringstream s;
        for (size_t i = 0; i < M.Layers.size(); i++) {
            const ModelLayer& l = M.Layers[i];
            s << (int32_t(i) == M.Current ? "*" : " ") << l.Id << " '" << l.Name << "' " << l.First << ".."
              << l.Last << (l.IsClip ? " clip" : " plain") << (l.Hidden ? " hidden" : "") << ":";
            for (int32_t t = l.First; t <= l.Last; t++) s << " " << std::hex << l.At(t) << std::dec;
            s << "\n";
        }
        s << "image " << M.Image;
        return s.str();
    }
    void CheckAgainstModel() {
        ASSERT_EQ(Describe(), Expected()) << Where;
        EXPECT_EQ(SelectionLength, M.SelLength) << Where;
        EXPECT_EQ(M.SelLength ? SelectionStart : 0, M.SelLength ? M.SelStart : 0) << Where;
        CheckInvariants();
    }
    void CheckInvariants() {
        ASSERT_GE(LayerCount, 1) << Where;
        const Layer& current = Layers[CurrentLayer];
        EXPECT_FALSE(current.Flags & LayerHidden) << Where;
        EXPECT_TRUE(LayerPresent(&current, CurrentImage)) << Where;
        EXPECT_EQ(PageLayerId, current.Id) << Where;
        std::vector<Clip*> clips;
        for (int32_t i = 0; i < LayerCount; i++) {
            const Layer& l = Layers[i];
            if (!l.Clip) continue;
            clips.push_back(l.Clip);
            EXPECT_EQ(l.Clip->ImageCount, l.LastImage - l.FirstImage + 1) << Where << " layer " << i;
        }
        EXPECT_EQ(current.ClipIndex, current.Clip ? CurrentImage - current.FirstImage : 0) << Where;
        if (UndoClip) clips.push_back(UndoClip);
        if (UndoLayer.Clip) clips.push_back(UndoLayer.Clip);
        if (LayerClipboard && LayerClipboard->Clip) clips.push_back(LayerClipboard->Clip);
        EXPECT_EQ(CheckInvariant(clips), "") << Where;
        // The page equals the store once flushed.
        if (StoredSerial == PageVersion) {
            Bitmap* stored = NewBitmap(PageWidth, PageHeight);
            LoadLayerImage(stored, &Layers[CurrentLayer], CurrentImage);
            EXPECT_EQ(PixelsOf(stored), PixelsOf(Page)) << Where;
            FreeBitmap(stored);
        }
    }

    // ---- The model's own rules ----------------------------------------------------------------------
    int32_t Clamp(const ModelLayer& l, int32_t t) { return std::clamp(t, l.First, l.Last); }
    void SelectModel(int32_t index, int32_t image) {
        if (M.Layers[size_t(index)].Id != M.Cur().Id) M.SelLength = 0;
        M.Current = index;
        M.Cur().Hidden = false;
        M.Image = Clamp(M.Cur(), image);
    }
    // After an undo or redo the real stack decides who is current: follow it.
    void Follow() {
        M.Current = CurrentLayer;
        M.Image = CurrentImage;
        M.SelLength = SelectionLength;
        M.SelStart = SelectionStart;
        for (int32_t i = 0; i < LayerCount && i < int32_t(M.Layers.size()); i++)
            M.Layers[size_t(i)].Hidden = Layers[i].Flags & LayerHidden;
    }
    bool SelectedRange(int32_t* first, int32_t* last) {
        if (!M.SelLength) return false;
        *first = std::max(M.SelStart, M.Cur().First);
        *last = std::min(M.SelStart + M.SelLength - 1, M.Cur().Last);
        return *first <= *last;
    }
    int32_t NextVisible(int32_t index) {
        for (int32_t i = index + 1; i < int32_t(M.Layers.size()); i++)
            if (!M.Layers[size_t(i)].Hidden) return i;
        for (int32_t i = index - 1; i >= 0; i--)
            if (!M.Layers[size_t(i)].Hidden) return i;
        return -1;
    }
    void DeleteModel() {
        int32_t index = M.Current;
        int32_t next = NextVisible(index);
        M.SelLength = 0;
        if (next < 0) {
            ModelLayer fresh;
            fresh.Id = IdOf(index);
            fresh.Name = MsgGet(nullptr, 8100);
            fresh.First = fresh.Last = M.Image;
            fresh.Images = {0};
            M.Layers[size_t(index)] = fresh;
            return;
        }
        M.Layers.erase(M.Layers.begin() + index);
        M.Current = next > index ? next - 1 : next;
        M.Cur().Hidden = false;
        M.Image = Clamp(M.Cur(), M.Image);
    }

    void RandomSelection() {
        ModelLayer& cur = M.Cur();
        int32_t start = Random(cur.First - 2, cur.Last + 1), length = Random(-1, 4);
        SelectImages(start, length);
        int64_t s = start, n = length;
        if (n >= 1 && s < cur.First) n -= cur.First - s, s = cur.First;
        if (n >= 1 && s + n - 1 > cur.Last) n = cur.Last - s + 1;
        if (n < 1 || s > cur.Last) {
            M.SelLength = 0;
        } else {
            M.SelStart = int32_t(s), M.SelLength = int32_t(n);
            M.Image = Clamp(cur, int32_t(s));
        }
    }

    // ---- Operations: each returns whether it made an undo step ----------------------------------------
    bool Step(int op) {
        ModelLayer& cur = M.Cur();
        int32_t count = cur.Last - cur.First + 1;
        switch (op) {
        case 0: { // a new layer above, at the current image
            if (M.Layers.size() >= 6) return false;
            EXPECT_EQ(NewLayerCommand(), 1);
            ModelLayer made;
            made.Id = IdOf(CurrentLayer);
            made.First = made.Last = M.Image;
            made.Images = {0};
            M.Layers.insert(M.Layers.begin() + M.Current, made);
            M.SelLength = 0;
            return true;
        }
        case 1: { // select a layer and an image
            int32_t index = Random(0, int32_t(M.Layers.size()) - 1), image = Random(0, 16);
            EXPECT_NE(SelectLayerImage(index, image, 1), nullptr);
            SelectModel(index, image);
            return false;
        }
        case 2: { // another image
            int32_t image = Random(cur.First - 1, cur.Last + 1);
            EXPECT_EQ(SelectImage(image, 1), 1);
            M.Image = Clamp(cur, image);
            return false;
        }
        case 3: { // paint the page
            uint32_t colour = NextColour++;
            Press();
            Paint(colour);
            (cur.IsClip ? cur.Images[size_t(M.Image - cur.First)] : cur.Images[0]) = colour;
            return true;
        }
        case 4: // delete the current layer
            EXPECT_EQ(DeleteCurrentLayer(), 1);
            DeleteModel();
            return true;
        case 5: { // move the current layer
            int32_t to = Random(0, int32_t(M.Layers.size()));
            int32_t from = M.Current, final = to > from ? to - 1 : to;
            MoveLayerCommand(to);
            if (final == from) return false;
            ModelLayer moved = cur;
            M.Layers.erase(M.Layers.begin() + from);
            M.Layers.insert(M.Layers.begin() + final, moved);
            M.Current = final;
            return true;
        }
        case 6: // make an animation
            if (cur.IsClip || count > MaxImages) return false;
            EXPECT_EQ(MakeAnim(M.Current, 1), 1);
            cur.IsClip = true;
            cur.Images.assign(size_t(count), cur.Images[0]);
            return true;
        case 7: { // insert copies, or empty images
            int32_t n = Random(1, 3);
            bool empty = Rng() % 2;
            if (count + n > MaxImages) return false;
            EXPECT_EQ(empty ? InsertEmptyImages(n) : InsertImages(M.Current, n), 1);
            if (cur.IsClip) {
                size_t at = size_t(M.Image - cur.First);
                cur.Images.insert(cur.Images.begin() + at + 1, size_t(n), empty ? 0 : cur.Images[at]);
            }
            cur.Last += n;
            M.Image++;
            return true;
        }
        case 8: // a selection of images
            RandomSelection();
            return false;
        case 9: { // cut, of a selection made first when there is none
            int32_t first, last;
            if (!M.SelLength) RandomSelection();
            if (!SelectedRange(&first, &last)) return false;
            EXPECT_EQ(LayerCut(), 1);
            std::vector<uint32_t> board;
            for (int32_t t = first; t <= last; t++) board.push_back(cur.At(t));
            M.Board = board;
            if (cur.IsClip && first == cur.First && last == cur.Last) {
                DeleteModel();
                return true;
            }
            M.SelLength = 0;
            if (cur.IsClip)
                cur.Images.erase(cur.Images.begin() + (first - cur.First),
                                 cur.Images.begin() + (last - cur.First + 1));
            cur.Last -= last - first + 1;
            if (cur.Last < cur.First) cur.Last = cur.First, cur.Images = {0};
            M.Image = Clamp(cur, M.Image);
            return true;
        }
        case 10: { // copy, likewise
            int32_t first, last;
            if (!M.SelLength) RandomSelection();
            if (!SelectedRange(&first, &last)) return false;
            EXPECT_EQ(LayerCopy(), 1);
            std::vector<uint32_t> board;
            for (int32_t t = first; t <= last; t++) board.push_back(cur.At(t));
            M.Board = board;
            return false;
        }
        case 11: { // paste
            if (!M.Board) return false;
            const std::vector<uint32_t>& board = *M.Board;
            if (!cur.IsClip) {
                EXPECT_EQ(LayerPaste(0), 1);
                cur.Images[0] = board[0];
                return true;
            }
            int32_t first, last, index, removed;
            if (SelectedRange(&first, &last))
                index = first - cur.First, removed = last - first + 1;
            else
                index = M.Image - cur.First + 1, removed = 0;
            if (count - removed + int32_t(board.size()) > MaxImages) return false;
            EXPECT_EQ(LayerPaste(0), 1);
            cur.Images.erase(cur.Images.begin() + index, cur.Images.begin() + index + removed);
            cur.Images.insert(cur.Images.begin() + index, board.begin(), board.end());
            cur.Last = cur.First + int32_t(cur.Images.size()) - 1;
            M.SelLength = 0;
            M.Image = Clamp(cur, M.Image);
            return true;
        }
        case 12: { // clear
            int32_t first, last;
            EXPECT_EQ(ClearImages(0), 1);
            if (cur.IsClip && SelectedRange(&first, &last)) {
                for (int32_t t = first; t <= last; t++) cur.Images[size_t(t - cur.First)] = 0;
            } else {
                (cur.IsClip ? cur.Images[size_t(M.Image - cur.First)] : cur.Images[0]) = 0;
            }
            return true;
        }
        case 13: { // reverse a range of the current layer
            int32_t start = Random(cur.First, cur.Last), length = Random(2, 5) * (Rng() % 2 ? 1 : -1);
            int64_t a = start, b = int64_t(start) + length + (length > 0 ? -1 : 0);
            int32_t first = int32_t(std::max<int64_t>(std::min(a, b), cur.First));
            int32_t last = int32_t(std::min<int64_t>(std::max(a, b), cur.Last));
            int expected = cur.IsClip && length != 0 && last - first >= 1;
            EXPECT_EQ(ReverseSelection(cur.Id, start, length), expected);
            if (!expected) return false;
            std::reverse(cur.Images.begin() + (first - cur.First),
                         cur.Images.begin() + (last - cur.First + 1));
            return true;
        }
        case 14: { // stretch an end
            bool fromEnd = Rng() % 2;
            int32_t delta = Random(-3, 3);
            int32_t first = cur.First, last = cur.Last;
            if (fromEnd)
                last = std::max(last + delta, first);
            else
                first = std::clamp(first + delta, 0, last);
            if (last - first + 1 > MaxImages || (first == cur.First && last == cur.Last)) return false;
            EXPECT_EQ(StretchLayer(cur.Id, fromEnd, delta, 0), 1);
            if (cur.IsClip) {
                std::vector<uint32_t> images;
                for (int32_t t = first; t <= last; t++)
                    images.push_back(cur.At(std::clamp(t, cur.First, cur.Last)));
                cur.Images = images;
            }
            cur.First = first, cur.Last = last;
            M.Image = Clamp(cur, M.Image);
            return true;
        }
        case 15: { // shift in time
            int32_t first = Random(0, 8);
            if (first == cur.First) return false;
            EXPECT_EQ(ShiftLayer(cur.Id, first), 1);
            cur.Last += first - cur.First;
            cur.First = first;
            M.Image = Clamp(cur, M.Image);
            return true;
        }
        case 16: { // rename
            std::string name = "n" + std::to_string(Rng() % 100);
            if (name == cur.Name) return false;
            EXPECT_EQ(RenameLayer(M.Current, name.c_str()), 1);
            cur.Name = name;
            return true;
        }
        case 17: { // hide or show another layer
            int32_t index = Random(0, int32_t(M.Layers.size()) - 1);
            if (index == M.Current) return false;
            Layers[index].Flags ^= LayerHidden;
            M.Layers[size_t(index)].Hidden = !M.Layers[size_t(index)].Hidden;
            return false;
        }
        }
        return false;
    }
};

} // namespace

TEST_F(StackModelTest, RandomSequencesKeepTheStackAsTheModelSaysAndUndoAsItWas) {
    for (int round = 0; round < 30; round++) {
        Rng.seed(1000 + round);
        ASSERT_EQ(ResetProject("", 1, 0), 1);
        FreeLayerClipboard();
        M = Model();
        ModelLayer first;
        first.Id = IdOf(0);
        first.Images = {0};
        M.Layers.push_back(first);
        for (int step = 0; step < 80; step++) {
            int op = Random(0, 17);
            Where = "case " + std::to_string(round) + " step " + std::to_string(step) + " op " +
                    std::to_string(op);
            Model before = M;
            bool undoable = Step(op);
            Steps++;
            CheckAgainstModel();
            if (HasFatalFailure() || HasNonfatalFailure()) return;
            if (!undoable || Rng() % 3) continue;
            Model after = M;
            Where += " undone";
            Undo();
            M = before;
            M.Current = CurrentLayer; // the undo picks who is current: only the stack is compared
            M.Image = CurrentImage;
            for (int32_t i = 0; i < LayerCount && i < int32_t(M.Layers.size()); i++)
                M.Layers[size_t(i)].Hidden = Layers[i].Flags & LayerHidden;
            ASSERT_EQ(Describe(), Expected()) << Where;
            CheckInvariants();
            Where += " and redone";
            Undo();
            M = after;
            Follow();
            ASSERT_EQ(Describe(), Expected()) << Where;
            CheckInvariants();
            if (HasFatalFailure() || HasNonfatalFailure()) return;
        }
    }
    EXPECT_EQ(Steps, 30 * 80);
}
