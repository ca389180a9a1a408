// Pictures into the project: a picture file as the page's contents, as a new layer, or as
// the whole project when a file that isn't a project is opened as one.
#pragma once
#include <cstddef>

namespace nemu {

struct Bitmap;

// Loads a picture of width by height pixels into target: scaled to it with stretch (by the
// filtered scaler when the anti-alias switch is on), else into its corner, cropped. Target
// pixels that the picture doesn't cover are left alone. 0 or -1, reported.
int LoadPictureScaled(const char* path, Bitmap* target, int width, int height, int stretch);

// The project reader's fallback for a file that isn't a project: replacing, the project
// becomes one layer named after the file (the page takes the file's size if allowed);
// adding, the picture becomes a new layer above the current one. 0 or -1.
int LoadPictureProject(const char* path, int allowResize, int scaleToPage, int replace);

// A file as further layers: a project's layers, or a picture as a new layer above the
// current one at the current image, named after the file and scaled by the setting
// Stretch. Undoable. 0 or -1.
int ImportFile(const char* path);

// A picture into the page, over what it shows (a script's om_loadimage); undoable as a
// change of the page. 0 or -1.
int LoadPictureToPage(const char* path, int stretch);

// Layer names from file names, without folders. The project reader's: the last 50
// characters, an extension of three or four letters dropped, then "-" and the layer's
// number from 1. An imported picture's: an extension of three letters dropped.
void LayerNameFromFile(const char* path, int number, char* name, int size);
void PictureLayerName(const char* path, char* name, int size);

// Says why a file can't be loaded as a picture: no such file, or an unknown format.
void ReportUnknownFile(const char* path);

} // namespace nemu
