// The image list of a clip: a doubly linked list in time order, reached by index from the
// nearest known image (the first, the last, or one of two remembered places), so that
// walking it in order costs one step per image. Runs of images are deleted or moved
// between clips as whole chains, which costs the run and not the clip.
// Sections: the clock; places in the list; inserting and removing; runs; sharing.
#include "store/tile_store.h"

#include "host/platform.h"

#include <climits>
#include <cstdlib>
#include <new>

namespace nemu {

uint64_t ImageListChanges = 0;

// ---- The clock ------------------------------------------------------------------------------------

uint32_t ClipClock() {
    return PlatformTicks();
}

// ---- Places in the list -----------------------------------------------------------------------
// A remembered place stays right while the list changes: the helpers move its index along
// with an insertion or removal before it, and forget it when its image goes.

static void ForgetPlaces(const Clip* clip) {
    clip->Mark[0] = clip->Mark[1] = nullptr;
}

// count images were put in at index: the places at or after it move along.
static void PlacesInserted(const Clip* clip, int32_t index, int32_t count) {
    for (int k = 0; k < 2; k++)
        if (clip->Mark[k] && clip->MarkIndex[k] >= index) clip->MarkIndex[k] += count;
}

// images [index, index + count) went: places on them are forgotten, later ones move back.
static void PlacesRemoved(const Clip* clip, int32_t index, int32_t count) {
    for (int k = 0; k < 2; k++) {
        if (!clip->Mark[k] || clip->MarkIndex[k] < index) continue;
        if (clip->MarkIndex[k] < index + count)
            clip->Mark[k] = nullptr;
        else
            clip->MarkIndex[k] -= count;
    }
}

static void Remember(const Clip* clip, int slot, ClipImage* image, int32_t index) {
    clip->Mark[slot] = image;
    clip->MarkIndex[slot] = index;
    clip->OlderMark = 1 - slot;
}

ClipImage* FindImage(const Clip* clip, int index) {
    if (index < 0 || index >= clip->ImageCount) return nullptr;
    // Start from whichever known image is nearest: the first, the last, or a place.
    ClipImage* image = clip->Images;
    int32_t at = 0, steps = index, slot = -1;
    if (clip->Last && clip->ImageCount - 1 - index < steps) {
        image = clip->Last;
        at = clip->ImageCount - 1;
        steps = at - index;
    }
    for (int k = 0; k < 2; k++) {
        int32_t d = clip->Mark[k] ? std::abs(clip->MarkIndex[k] - index) : INT32_MAX;
        if (d < steps) {
            image = clip->Mark[k];
            at = clip->MarkIndex[k];
            steps = d;
            slot = k;
        }
    }
    while (image && at < index) image = image->Next, at++;
    while (image && at > index) image = image->Prev, at--;
    if (!image) return nullptr;
    // The place walked from follows the walk; a walk from an end takes the older place.
    Remember(clip, slot >= 0 ? slot : clip->OlderMark, image, index);
    return image;
}

// ---- Inserting and removing ----------------------------------------------------------------------

// Links the chain first..last (count images) behind `before`, or first when it is null.
static void LinkChain(Clip* clip, ClipImage* before, ClipImage* first, ClipImage* last, int32_t count) {
    ClipImage* after = before ? before->Next : clip->Images;
    first->Prev = before;
    last->Next = after;
    if (before)
        before->Next = first;
    else
        clip->Images = first;
    if (after)
        after->Prev = last;
    else
        clip->Last = last;
    clip->ImageCount += count;
    ImageListChanges++;
}

// Takes the chain first..last (count images) out of the list.
static void UnlinkChain(Clip* clip, ClipImage* first, ClipImage* last, int32_t count) {
    if (first->Prev)
        first->Prev->Next = last->Next;
    else
        clip->Images = last->Next;
    if (last->Next)
        last->Next->Prev = first->Prev;
    else
        clip->Last = first->Prev;
    first->Prev = last->Next = nullptr;
    clip->ImageCount -= count;
    ImageListChanges++;
}

// The image behind which one put at index (first when negative, last when past the end)
// goes, null for the head; *position receives the index it will have.
static ClipImage* PlaceFor(Clip* clip, int index, int32_t* position) {
    if (index < 0 || !clip->Images) {
        *position = 0;
        return nullptr;
    }
    int32_t behind = index < clip->ImageCount ? index : clip->ImageCount - 1;
    *position = behind + 1;
    return FindImage(clip, behind);
}

ClipImage* InsertEmptyImage(Clip* clip, int index) {
    ClipImage* image = new (std::nothrow) ClipImage{nullptr, nullptr, ImageEmpty, ClipClock(), nullptr};
    if (!image) return nullptr;
    int32_t position;
    ClipImage* before = PlaceFor(clip, index, &position);
    PlacesInserted(clip, position, 1);
    LinkChain(clip, before, image, image, 1);
    return image;
}

void RemoveImage(Clip* clip, ClipImage* image) {
    // The index is not known here; the places are cheaply found again.
    ForgetPlaces(clip);
    UnlinkChain(clip, image, image, 1);
    ReleaseLink(image->Link);
    delete image;
}

// ---- Runs ----------------------------------------------------------------------------------------

int DeleteImages(Clip* clip, int index, int count) {
    if (count < 0 || index < 0 || count > clip->ImageCount - index) return 0;
    if (count == 0) return 1;
    ClipImage* first = FindImage(clip, index);
    ClipImage* last = FindImage(clip, index + count - 1);
    PlacesRemoved(clip, index, count);
    UnlinkChain(clip, first, last, count);
    while (first) {
        ClipImage* next = first->Next;
        ReleaseLink(first->Link);
        delete first;
        first = next;
    }
    return 1;
}

int MoveImages(Clip* from, int index, int count, Clip* to, int toIndex) {
    if (!from || !to || from == to || from->Width != to->Width || from->Height != to->Height ||
        from->TileSize != to->TileSize || count < 0 || index < 0 || count > from->ImageCount - index)
        return 0;
    if (count == 0) return 1;
    ClipImage* first = FindImage(from, index);
    ClipImage* last = FindImage(from, index + count - 1);
    PlacesRemoved(from, index, count);
    UnlinkChain(from, first, last, count);
    int32_t position;
    ClipImage* before = PlaceFor(to, toIndex - 1, &position);
    PlacesInserted(to, position, count);
    LinkChain(to, before, first, last, count);
    // The moved images' first is a good place to go on from.
    Remember(to, to->OlderMark, first, position);
    return 1;
}

// ---- Sharing -------------------------------------------------------------------------------------

void ShareImage(ClipImage* source, ClipImage* copy) {
    copy->Flags = source->Flags;
    ImageListChanges++;
    if ((source->Flags & ImageEmpty) || !source->Link) return;
    source->Stamp = copy->Stamp = ClipClock();
    copy->Link = source->Link;
    copy->Link->RefCount++;
}

} // namespace nemu
