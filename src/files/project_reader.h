// The project reader's state, shared by the chunk loop (files/project_read) and the
// reading of the layers' images (files/project_layers). Not for other modules.
#pragma once
#include "files/deep_body.h"
#include "project/layer_edit.h"

#include <cstdint>
#include <cstdio>

namespace nemu {

struct Bitmap;
struct Clip;
struct Layer;

struct ProjectReader {
    // The file and the chunk in hand.
    FILE* File = nullptr;
    const char* Path = nullptr;
    int64_t FileSize = 0;
    int64_t BodyStart = 0; // the body's first byte
    uint32_t BodySize = 0; // what the size field says
    bool CutShort = false; // the body goes past the file's end

    // What the caller asked.
    int AllowResize = 0, Scale = 0, Replace = 1;
    int Flags = 0; // ProjectFileTemporary

    // What the file has said so far.
    bool HaveGlobal = false, HaveLocation = false;
    int Compression = 1;
    int32_t FileWidth = 0, FileHeight = 0;
    PixelLayout Layout;
    bool HaveBackground = false;
    uint32_t BackgroundBits = 0;
    bool HaveColour[2] = {};
    uint32_t Colour[2] = {};
    uint32_t CurrentIndex = 0;
    double Rate = 0; // from FRAT; 0 until one is met
    bool HaveVideo = false;
    VideoSource Video = {};
    int32_t VideoFirst = 0;
    uint32_t VideoFlags = 0;

    // The layer to come: its name and header, if given since the last body.
    bool HaveName = false;
    char Name[128] = {};
    bool HaveHead = false;
    uint8_t Head[104] = {};
    int32_t PelureBefore = 0, PelureAfter = 0; // kept from layer to layer, as the file has them

    // The layer being read.
    int32_t LayersRead = 0;
    uint32_t LayerId = 0;
    int32_t ClipCount = 0;       // the images its header announced; 0 for a plain layer
    int32_t FirstIndex = 0;      // where the file's first layer went in the stack
    int32_t ImageBefore = 0;     // CurrentImage before an adding load
    bool Native = false;         // file pixels and size are the page's: tiles go straight in
    Bitmap* FileImage = nullptr; // not native: the layer's last image at the file's size, as the file has it
    Bitmap* Converted = nullptr; // FileImage in memory's pixels, when the file's layout differs
    Bitmap* Delta = nullptr;     // a delta as decoded
    Bitmap* Scratch = nullptr;   // a page-sized image on its way into the clip
    Clip* FileClip = nullptr;    // not native: the layer's images at the file's size, for links
    bool RunningValid = false;   // native: Scratch holds the clip's last image

    int Result = 0; // -1 once anything went wrong
};

// The chunk handlers of the layers' images: 0 to go on, -1 to end the load.
int ReadLayerBody(ProjectReader& r);   // DBOD
int ReadStoredImage(ProjectReader& r); // SRAW
int ReadDeltaImage(ProjectReader& r);  // LDLT
// Ends the layer being read: a layer announced as a clip is one even with a single image.
void FinishLayer(ProjectReader& r);
// Frees the reader's pictures and clip.
void FreeReaderBuffers(ProjectReader& r);

// Ends the load with a catalog message (shown once) and result -1.
int StopLoad(ProjectReader& r, uint32_t message);

} // namespace nemu
