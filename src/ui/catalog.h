// The message catalog: every sentence the program shows, by number, from nemu.loc.
// A sparse four-level radix tree, one level per byte of the id, most significant first.
#pragma once
#include <cstdint>

namespace nemu {

struct MsgCatalog {
    MsgCatalog* Next = nullptr; // all catalogs hang in CatalogList
    MsgCatalog* Prev = nullptr;
    char**** Root[256] = {}; // levels made on first write, zero-filled
};

extern MsgCatalog* GlobalCatalog;
extern MsgCatalog* CatalogList;
extern int LocalDebug;

// The text of a message; never null. A null catalog means the program's own.
const char* MsgGet(const MsgCatalog* catalog, uint32_t id);
MsgCatalog* CatalogLoad(const char* name);
int CatalogLoadGlobal();
void CatalogFree(MsgCatalog* catalog);
void CatalogFreeAll();
void CatalogSet(MsgCatalog* catalog, uint32_t id, const char* text, uint32_t length);

} // namespace nemu
