// The project file: everything the user has open (every layer with all its images, their
// order, density, onion settings and flags, the frame rate, the page size, the background
// and a thumbnail) in an IFF-style FORM of type OMXP, extensions .nem and .omx.
//
// Clip layers go out tile by tile as their tiles lie packed in the cache, with the sharing
// between images and tiles written as links, so saving and loading an animation of the
// page's size never unpacks a tile and a held image costs a few bytes.
//
// The writer is in files/project_write, the reader in files/project_read (chunks of the
// file and the project) and files/project_layers (the layers' images).
#pragma once
#include <cstdint>

namespace nemu {

// The compression of new files: 1 run-length, 8 LZW. Nothing in the program sets it: every
// project is written run-length, and LZW files are read.
extern int ProjectCompression;

// ---- Saving ---------------------------------------------------------------------------------
// The writer. The file is written beside the old one and replaces it once complete. 0, or
// -1 on failure or when the user stopped it (what was written up to then is kept).
int WriteProject(const char* path);
// The save command after its requester: ".nem" added to a name with neither extension,
// the question before an existing file is replaced, then the writer.
int SaveProjectAs(const char* path);
// The user's SaveProject: asks for the file name first (message 2735).
int SaveProject();

// ---- Loading --------------------------------------------------------------------------------
// Replaces the open project. allowResize lets the page take the file's size; scaleToPage
// scales images of another size to the page (else they are cropped, or fill its corner).
int LoadProject(const char* path, int allowResize, int scaleToPage);
// The reader. With replace 0 the file's layers are added to the open project, at its page
// size. A file that isn't a project is loaded as a picture. 0 when the whole file was read;
// -1 when it could not be, or only in part (the layers read so far stay).
int ReadProject(const char* path, int allowResize, int scaleToPage, int replace);

// ---- Files that carry the project across an operation -------------------------------------------
// A change of page size saves the project and loads it again at the new size. Such a file
// is nobody's document: it goes in no recent list, gives the project no name, and leaves
// the saved state to the caller.
constexpr int ProjectFileTemporary = 1;
int WriteProjectFile(const char* path, int flags);
int ReadProjectFile(const char* path, int allowResize, int scaleToPage, int replace, int flags);

// ---- Looking inside ---------------------------------------------------------------------------
// The header test of the format registry: 0 when the file is a project, with its page size
// (DLOC) and 32 as the depth; -1 otherwise.
int TestProject(const char* path, int* width, int* height, int* depth);
// The page size and the length of the time line (the last image of any layer, plus 1).
int ProjectInfo(const char* path, int* width, int* height, int* frames);

} // namespace nemu
