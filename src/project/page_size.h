// The page sizes a new project may take, and the change of the page's size.
#pragma once
#include <cstdint>

namespace nemu {

struct PageSizeEntry {
    char Name[256]; // "/" in a name is shown as a blank
    int32_t Width, Height;
    double Rate;
};
static_assert(sizeof(PageSizeEntry) == 272, "an entry is 272 bytes");

constexpr int MaxPageSizes = 128;
constexpr int32_t MaxPageSide = 16384; // the largest side a listed size may have
extern PageSizeEntry PageSizes[MaxPageSizes];
extern int32_t PageSizeCount;

// Builds the list: the built-in rows (the display's size, the largest page when no limit
// is set, the spare page's size when there is one), then the [PageSize] section of
// pagesize.conf in the data folder. Returns the count.
int32_t LoadPageSizes();
// Reads the [PageSize] section from the text of a file onto the end of the list.
void ParsePageSizes(const char* text);
// The entry as the panels show it: "name width height". 0 out of range.
int PageSizeLabel(int32_t index, char* buffer, int size);

} // namespace nemu
