// Script commands of layers and the time line. Layers are named by their id, which
// stays while the stack changes around them; an id of 0 (or none given) means the
// current layer. Positions count from 0 at the top of the stack.
//
// Sections: helpers; the stack; images; questions; display and background.
#include "host/main_loop.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "script/command_families.h"
#include "store/undo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>

namespace nemu {

// ---- Helpers -------------------------------------------------------------------------------------------

static uint32_t CurrentId() {
    Layer* layer = GetLayer(CurrentLayer);
    return layer ? layer->Id : 0;
}

// The id of the k-th number read, the current layer's for 0 or a negative number.
static uint32_t IdArg(int k) {
    return ArgInt[k] > 0 ? uint32_t(ArgInt[k]) : CurrentId();
}

// Success gives no result; a refusal gives ERROR -1.
static void Done(CommandRequest* request, int ok) {
    if (!ok) ReplyError(request, -1);
}

// A layer name: the rest of the text, or the text inside quotes; null when there is none.
static const char* ReadName(const char* text, char* name, size_t size) {
    ReadMessageText(text, name, size);
    size_t n = std::strlen(name);
    if (n >= 2 && name[0] == '"' && name[n - 1] == '"') {
        std::memmove(name, name + 1, n - 2);
        name[n - 2] = 0;
    }
    return name[0] ? name : nullptr;
}

// ---- The stack -------------------------------------------------------------------------------------------

// om_layercreate [name]: a plain layer above the current one at the current image; the id.
static void LayerCreate(CommandRequest* request, const char* args) {
    char name[128];
    // A script is not asked for a name: none given is an empty one.
    if (!ReadName(args, name, sizeof name)) name[0] = 0;
    if (!NewLayerNamed(name)) {
        ReplyError(request, -1);
        return;
    }
    ReplyFormat(request, "%u", CurrentId());
}

// om_layeranim [id]: makes a plain layer into an animation of its images.
static void LayerAnim(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, MakeAnim(LayerIndexById(IdArg(0)), 0));
}

// om_layerduplicate [id [name]]: a copy behind the layer; the copy's id.
static void LayerDuplicate(CommandRequest* request, const char* args) {
    const char* rest = ReadArgs(args, 1);
    Layer* layer = FindLayerById(IdArg(0));
    char name[128];
    if (!layer) {
        ReplyError(request, -1);
        return;
    }
    if (!ReadName(rest, name, sizeof name)) std::memcpy(name, layer->Name, sizeof name);
    if (!DuplicateLayerById(layer->Id, name)) {
        ReplyError(request, -1);
        return;
    }
    ReplyFormat(request, "%u", CurrentId());
}

// om_layermove id position: the layer ends at that position of the stack (undoable).
static void LayerMove(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    int32_t index = LayerIndexById(IdArg(0));
    if (index < 0 || (index != CurrentLayer && !SelectLayerImage(index, CurrentImage, 1))) {
        ReplyError(request, -1);
        return;
    }
    int32_t position = std::clamp(ArgInt[1], 0, LayerCount - 1);
    // MoveLayerCommand takes the index to land before.
    MoveLayerCommand(position > CurrentLayer ? position + 1 : position);
}

// om_layerimage n: another image of the current layer, held to its range.
static void LayerImage(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, SelectImage(ArgInt[0], 0));
}

// om_layerkill [id]
static void LayerKill(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, DeleteLayerById(IdArg(0)));
}

// om_layerset id [image]: makes the layer current, at the image or the current one.
static void LayerSet(CommandRequest* request, const char* args) {
    const char* rest = ReadArgs(args, 1);
    int32_t index = LayerIndexById(IdArg(0));
    bool imageGiven = !ArgsEmpty(rest);
    ReadArgs(rest, 1);
    int32_t image = imageGiven ? ArgInt[0] : CurrentImage;
    Done(request, index >= 0 && SelectLayerImage(index, image, 0));
}

// om_layermerge id: that layer merged into the current one by the draw mode.
static void LayerMerge(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, ArgInt[0] > 0 && MergeLayerById(uint32_t(ArgInt[0])));
}

// om_layerrename id name
static void LayerRename(CommandRequest* request, const char* args) {
    const char* rest = ReadArgs(args, 1);
    uint32_t id = IdArg(0);
    char name[128];
    if (!ReadName(rest, name, sizeof name)) name[0] = 0;
    std::printf("RenameLayerID(%d, %s);\n", int(id), name);
    std::fflush(stdout);
    if (!FindLayerById(id))
        ReplyError(request, -1);
    else
        RenameLayerById(id, name);
}

// om_layerdensity percent [id]: the former percentage.
static void LayerDensity(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    int32_t former = SetLayerDensityById(IdArg(1), ArgInt[0]);
    if (former < 0)
        ReplyError(request, -1);
    else
        ReplyFormat(request, "%d", int(former));
}

// om_layerstretch id fromEnd delta [resample]
static void LayerStretch(CommandRequest* request, const char* args) {
    ReadArgs(args, 4);
    Done(request, StretchLayer(IdArg(0), ArgInt[1] != 0, ArgInt[2], ArgInt[3] != 0));
}

// om_layershift id firstImage
static void LayerShift(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    Done(request, ShiftLayer(IdArg(0), ArgInt[1]));
}

// om_layeronion id before after: the layer's onion images, each count -7 to 7.
static void LayerOnion(CommandRequest* request, const char* args) {
    ReadArgs(args, 3);
    Done(request, SetLayerOnion(IdArg(0), ArgInt[1], ArgInt[2]));
}

// ---- Images -----------------------------------------------------------------------------------------------

// om_layerinsertimage count [copies]: empty images behind the current one, or copies of it.
static void LayerInsertImage(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    int32_t count = std::min(ArgInt[0], MaxInsertCount);
    Done(request, ArgInt[1] ? InsertImages(CurrentLayer, count) : InsertEmptyImages(count));
}

static void LayerCutCommand(CommandRequest* request, const char*) {
    Done(request, LayerCut());
}
static void LayerCopyCommand(CommandRequest* request, const char*) {
    Done(request, LayerCopy());
}
// om_layerpaste [replace]
static void LayerPasteCommand(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, LayerPaste(ArgInt[0]));
}

// om_layerselect start length
static void LayerSelect(CommandRequest*, const char* args) {
    ReadArgs(args, 2);
    SelectImages(ArgInt[0], ArgInt[1]);
}

// om_clear [pen]: the page, or the selected images of a clip, cleared to nothing, or to
// the background pen when the number is not 0.
static void Clear(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    Done(request, ClearImages(ArgInt[0] != 0));
}

// ---- Questions -------------------------------------------------------------------------------------------

// om_layerinfo [id]: "Image first last before after" or "Sequence ...".
static void LayerInfo(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    const Layer* layer = FindLayerById(IdArg(0));
    if (!layer) {
        ReplyAppend(request, "none");
        return;
    }
    ReplyFormat(request, "%s%d %d %d %d", layer->Clip ? "Sequence " : "Image ", int(layer->FirstImage),
                int(layer->LastImage), int(layer->PelureBefore), int(layer->PelureAfter));
}

// om_layergetid position
static void LayerGetId(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    const Layer* layer = GetLayer(ArgInt[0]);
    if (layer)
        ReplyFormat(request, "%u", layer->Id);
    else
        ReplyAppend(request, "none");
}

// om_layergetpos id
static void LayerGetPos(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    int32_t index = ArgInt[0] > 0 ? LayerIndexById(uint32_t(ArgInt[0])) : -1;
    if (index >= 0)
        ReplyFormat(request, "%d", int(index));
    else
        ReplyAppend(request, "none");
}

static void LayerCurrentId(CommandRequest* request, const char*) {
    ReplyFormat(request, "%u", CurrentId());
}
static void LayerGetImage(CommandRequest* request, const char*) {
    ReplyFormat(request, "%d", int(CurrentImage));
}

// om_layerselectinfo [full]: "start length"; with full, "first last" of the selection.
static void LayerSelectInfo(CommandRequest* request, const char* args) {
    char word[16];
    const char* rest = ReadWordOrQuoted(args, word, sizeof word);
    int32_t first, last;
    if (!rest || strcasecmp(word, "full") != 0)
        ReplyFormat(request, "%d %d", int(SelectionStart), int(SelectionLength));
    else if (SelectionRange(&first, &last))
        ReplyFormat(request, "%d %d", int(first), int(last));
    else
        ReplyAppend(request, "none");
}

// om_firstimage [id], om_lastimage [id]: the layer's place on the time line.
static void FirstImage(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    if (const Layer* layer = FindLayerById(IdArg(0)))
        ReplyFormat(request, "%d", int(layer->FirstImage));
    else
        ReplyError(request, -1);
}
static void LastImage(CommandRequest* request, const char* args) {
    ReadArgs(args, 1);
    if (const Layer* layer = FindLayerById(IdArg(0)))
        ReplyFormat(request, "%d", int(layer->LastImage));
    else
        ReplyError(request, -1);
}

// ---- Display and background -----------------------------------------------------------------------------

// om_layerdisplay flag: all layers shown, or the current one alone.
static void LayerDisplay(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    SetShowAllLayers(ArgInt[0] != 0);
}

// om_display [Current | id]: the composition built and shown anew; with an id, that layer
// is made current first.
static void Display(CommandRequest* request, const char* args) {
    char word[32];
    const char* rest = ReadWordOrQuoted(args, word, sizeof word);
    if (!rest || !word[0] || strcasecmp(word, "current") == 0) {
        Redisplay();
        return;
    }
    ReadArgs(args, 1);
    int32_t index = ArgInt[0] > 0 ? LayerIndexById(uint32_t(ArgInt[0])) : -1;
    Done(request, index >= 0 && SelectLayerImage(index, CurrentImage, 0));
}

static uint32_t Opaque(int r, int g, int b) {
    auto c = [](int v) { return uint32_t(std::clamp(v, 0, 255)); };
    return 0xFF000000u | c(r) << 16 | c(g) << 8 | c(b);
}

// om_background [none | black | color r g b | check r g b r g b]; with nothing, the state.
static void Background(CommandRequest* request, const char* args) {
    char word[16];
    const char* rest = ReadWordOrQuoted(args, word, sizeof word);
    if (!rest || !word[0]) {
        auto rgb = [](uint32_t c, int shift) { return int(c >> shift & 255); };
        int mode = BackgroundMode();
        if (mode == 1)
            ReplyFormat(request, "color %d %d %d", rgb(BGP1, 16), rgb(BGP1, 8), rgb(BGP1, 0));
        else if (mode == 2)
            ReplyFormat(request, "check %d %d %d %d %d %d", rgb(BGP1, 16), rgb(BGP1, 8), rgb(BGP1, 0),
                        rgb(BGP2, 16), rgb(BGP2, 8), rgb(BGP2, 0));
        else
            ReplyAppend(request, "none");
        return;
    }
    if (strcasecmp(word, "none") == 0) {
        SetBackgroundMode(0);
    } else if (strcasecmp(word, "black") == 0) {
        SetBackgroundColour(0, 0xFF000000u);
        SetBackgroundMode(1);
    } else if (strcasecmp(word, "color") == 0 || strcasecmp(word, "colour") == 0) {
        ReadArgs(rest, 3);
        SetBackgroundColour(0, Opaque(ArgInt[0], ArgInt[1], ArgInt[2]));
        SetBackgroundMode(1);
    } else if (strcasecmp(word, "check") == 0) {
        ReadArgs(rest, 6);
        SetBackgroundColour(0, Opaque(ArgInt[0], ArgInt[1], ArgInt[2]));
        SetBackgroundColour(1, Opaque(ArgInt[3], ArgInt[4], ArgInt[5]));
        SetBackgroundMode(2);
    } else {
        ReplyError(request, -1);
    }
}

const ScriptCommand LayerCommands[] = {
    {"om_layercreate", LayerCreate},
    {"om_layeranim", LayerAnim},
    {"om_layerduplicate", LayerDuplicate},
    {"om_layermove", LayerMove},
    {"om_layerimage", LayerImage},
    {"om_layerkill", LayerKill},
    {"om_layerset", LayerSet},
    {"om_layermerge", LayerMerge},
    {"om_layerrename", LayerRename},
    {"om_layerinsertimage", LayerInsertImage},
    {"om_layercut", LayerCutCommand},
    {"om_layercopy", LayerCopyCommand},
    {"om_layerpaste", LayerPasteCommand},
    {"om_layerdensity", LayerDensity},
    {"om_layerstretch", LayerStretch},
    {"om_layershift", LayerShift},
    {"om_layeronion", LayerOnion},
    {"om_layerdisplay", LayerDisplay},
    {"om_layerinfo", LayerInfo},
    {"om_layergetid", LayerGetId},
    {"om_layergetpos", LayerGetPos},
    {"om_layercurrentid", LayerCurrentId},
    {"om_layergetimage", LayerGetImage},
    {"om_layerselect", LayerSelect},
    {"om_layerselectinfo", LayerSelectInfo},
    {"om_firstimage", FirstImage},
    {"om_lastimage", LastImage},
    {"om_display", Display},
    {"om_background", Background},
    {"om_clear", Clear},
    {nullptr, nullptr},
};

} // namespace nemu
