// Message catalog: loading nemu.loc and looking texts up by number.
#include "ui/catalog.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "ui/settings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <strings.h>
#include <sys/stat.h>

namespace nemu {

MsgCatalog* GlobalCatalog = nullptr;
MsgCatalog* CatalogList = nullptr;
int LocalDebug = 0;
static const char EmptyText[1] = "";

const char* MsgGet(const MsgCatalog* catalog, uint32_t id) {
    if (!catalog) catalog = GlobalCatalog;
    if (!catalog) return EmptyText;
    char**** l1 = catalog->Root[id >> 24];
    if (!l1) return EmptyText;
    char*** l2 = l1[(id >> 16) & 255];
    if (!l2) return EmptyText;
    char** l3 = l2[(id >> 8) & 255];
    if (!l3) return EmptyText;
    const char* text = l3[id & 255];
    return text ? text : EmptyText;
}

template <typename T> static T* NewLevel() {
    T* level = static_cast<T*>(std::calloc(256, sizeof(T)));
    return level;
}

static void Warn(const char* text) {
    PlatformMessageBox(text, "Nemu");
}

static void Link(MsgCatalog* c) {
    c->Next = CatalogList;
    c->Prev = nullptr;
    if (CatalogList) CatalogList->Prev = c;
    CatalogList = c;
}

void CatalogSet(MsgCatalog* catalog, uint32_t id, const char* text, uint32_t length) {
    if (!text) return;
    if (!catalog) {
        if (!GlobalCatalog) {
            GlobalCatalog = new (std::nothrow) MsgCatalog;
            if (!GlobalCatalog) return;
            Link(GlobalCatalog);
        }
        catalog = GlobalCatalog;
    }
    char****& l1 = catalog->Root[(id >> 24) & 255];
    if (!l1 && !(l1 = NewLevel<char***>())) return;
    char***& l2 = l1[(id >> 16) & 255];
    if (!l2 && !(l2 = NewLevel<char**>())) return;
    char**& l3 = l2[(id >> 8) & 255];
    if (!l3 && !(l3 = NewLevel<char*>())) return;
    size_t n = length ? length : std::strlen(text);
    char* copy = static_cast<char*>(std::malloc(n + 1));
    if (!copy) return;
    std::memcpy(copy, text, n);
    copy[n] = 0;
    char*& slot = l3[id & 255];
    if (slot) {
        // The new text, as written, names the line to look for; it is the one that stands.
        std::string warning = "Warning: multiple line " + std::to_string(int(id)) + "\n\"" + copy + "\"";
        Warn(warning.c_str());
        std::free(slot);
    }
    if (LocalDebug)
        for (size_t i = 0; i < n; i++) copy[i] = '*';
    slot = copy;
}

// Parses one "$id "text"" line, continuing over escaped line ends with more lines from f.
static void ParseLine(MsgCatalog* c, std::string line, FILE* f, char* buf, size_t bufSize) {
    size_t i = 0;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) i++;
    if (i >= line.size() || line[i] != '$') return;
    // Blanks after the "$" are passed over, as the number reader does; a number too large
    // for an id wraps instead of being undefined.
    uint32_t id = uint32_t(std::strtol(line.c_str() + i + 1, nullptr, 10));
    size_t q = line.find('"', i);
    if (q == std::string::npos) return;
    std::string text;
    bool closed = false;
    size_t p = q + 1;
    for (;;) {
        if (p >= line.size() || line[p] == '\n' || line[p] == '\r') break;
        char ch = line[p];
        if (ch == '"') {
            closed = true;
            break;
        }
        if (ch == '\\') {
            p++;
            if (p >= line.size() || line[p] == '\n' || line[p] == '\r') {
                // The text goes on at the start of the next line.
                if (!std::fgets(buf, int(bufSize), f)) break;
                line = buf;
                p = 0;
                continue;
            }
            char e = line[p];
            switch (e) {
            case 'n':
                text += '\n';
                break;
            case 't':
                text += '\t';
                break;
            case '0':
                text += '\0';
                break;
            default:
                text += e;
                break; // \" \' \\ and anything else stand for themselves
            }
            p++;
            continue;
        }
        text += ch;
        p++;
    }
    if (!closed) {
        std::string warning = "Warning: Bad line " + std::to_string(int(id));
        Warn(warning.c_str());
    }
    if (text.empty())
        CatalogSet(c, id, "", 0);
    else
        CatalogSet(c, id, text.data(), uint32_t(text.size()));
}

static bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Where a catalog is looked for, in order: an absolute name as it stands, or a relative
// one under the settings folder; then the folder that the key Local names (the data
// folder unless it says otherwise); then the plug-ins beside the data. The current folder
// is never searched: a nemu.loc that happens to lie where the program was started must
// not replace its texts.
static int CatalogCandidates(const char* name, std::string out[3]) {
    char local[4096];
    StartupGet("Local", local, ProgramDir.c_str(), sizeof local);
    int n = 0;
    if (name[0] == '/') out[n++] = name;
    else if (!HomeDir.empty()) out[n++] = HomeDir + "/" + name;
    if (name[0] != '/') {
        out[n++] = std::string(local) + "/" + name;
        out[n++] = ProgramDir + "/plugins/" + name;
    }
    return n;
}

MsgCatalog* CatalogLoad(const char* name) {
    if (!name || !*name) return nullptr;
    char value[256];
    StartupGet("LocalDebug", value, "", sizeof value);
    if (std::atoi(value) != 0 || strcasecmp(value, "on") == 0) LocalDebug = 1;

    std::string candidates[3];
    const int count = CatalogCandidates(name, candidates);
    std::string path;
    for (int i = 0; i < count && path.empty(); i++)
        if (Exists(candidates[i])) path = candidates[i];
    if (path.empty()) return nullptr;
    FILE* f = std::fopen(path.c_str(), "r");
    if (!f) return nullptr;
    MsgCatalog* c = new (std::nothrow) MsgCatalog;
    if (!c) {
        std::fclose(f);
        return nullptr;
    }
    Link(c);
    char buf[8000];
    while (std::fgets(buf, sizeof buf, f)) ParseLine(c, buf, f, buf, sizeof buf);
    std::fclose(f);
    return c;
}

int CatalogLoadGlobal() {
    static const char Name[] = "nemu.loc";
    MsgCatalog* c = CatalogLoad(Name);
    if (!c) {
        // The folder of the texts is the one to name: that is where the user puts them.
        std::string candidates[3];
        CatalogCandidates(Name, candidates);
        std::string text = candidates[1] + ": file not found";
        Warn(text.c_str());
        return 0;
    }
    if (GlobalCatalog) CatalogFree(GlobalCatalog);
    GlobalCatalog = c;
    return 1;
}

void CatalogFree(MsgCatalog* catalog) {
    if (!catalog) return;
    if (catalog->Prev)
        catalog->Prev->Next = catalog->Next;
    else if (CatalogList == catalog)
        CatalogList = catalog->Next;
    if (catalog->Next) catalog->Next->Prev = catalog->Prev;
    for (auto* l1 : catalog->Root) {
        if (!l1) continue;
        for (int a = 0; a < 256; a++) {
            char*** l2 = l1[a];
            if (!l2) continue;
            for (int b = 0; b < 256; b++) {
                char** l3 = l2[b];
                if (!l3) continue;
                for (int d = 0; d < 256; d++) std::free(l3[d]);
                std::free(l3);
            }
            std::free(l2);
        }
        std::free(l1);
    }
    if (GlobalCatalog == catalog) GlobalCatalog = nullptr;
    delete catalog;
}

void CatalogFreeAll() {
    if (GlobalCatalog) CatalogFree(GlobalCatalog);
    while (CatalogList) CatalogFree(CatalogList);
}

} // namespace nemu
