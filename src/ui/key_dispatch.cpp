// From a key press to the commands it runs: the name of a key, the main loop's entry for
// keys no window took, the running of a binding, and the readable form of a key name.
//
// Sections: the name of a key; dispatch; running a binding; labels.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "paint/tools.h"
#include "ui/catalog.h"
#include "ui/commands.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <strings.h>

namespace nemu {

void (*BroadcastKeyHook)(int32_t keycode, const char* text, uint32_t qualifiers, int length) = nullptr;
void (*PendingEscapeHook)() = nullptr;

// ---- The name of a key ---------------------------------------------------------------------------------

// Keys named by their number alone: they type no text.
static const struct {
    int32_t Code;
    const char* Base;
} NumberedKeys[] = {
    {VK_PRIOR, "Page Up"}, {VK_NEXT, "Page Down"}, {VK_END, "end"},
    {VK_HOME, "home"},     {VK_LEFT, "left"},      {VK_UP, "up"},
    {VK_RIGHT, "right"},   {VK_DOWN, "down"},      {VK_INSERT, "insert"},
};
constexpr int32_t FunctionKeyCount = 12; // F1 to F12 follow VK_F1

// Characters that edit rather than type, named whatever the qualifiers.
static const struct {
    unsigned char Char;
    const char* Base;
} NamedCharacters[] = {{27, "escape"}, {8, "backspace"}, {127, "del"}, {9, "tab"}, {32, "space"}};
constexpr unsigned char EscapeChar = 27, ReturnChar = 13, LastControlLetter = 26, ControlToLetter = 96;

// Latin-1 punctuation typed as one character of several bytes (pound, section sign...):
// like ASCII punctuation it carries no prefix, as the qualifiers were part of typing it.
static bool IsWidePunctuation(const char* text) {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    if (s[0] != 0xC2 && s[0] != 0xC3) return false;
    const uint32_t cp = uint32_t(s[0] & 0x1F) << 6 | (s[1] & 0x3F);
    return (cp >= 0xA1 && cp <= 0xBF) || cp == 0xD7 || cp == 0xF7;
}

static size_t Utf8Length(const char* text) {
    const auto c = static_cast<unsigned char>(text[0]);
    size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
    for (size_t i = 1; i < n; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return i;
    return n;
}

int KeyNameOf(int32_t keycode, const char* text, uint32_t qualifiers, char* out, size_t size, int* escape,
              int* ret) {
    if (escape) *escape = 0;
    if (ret) *ret = 0;
    if (!out || size == 0) return 0;
    out[0] = 0;
    char prefix[20];
    std::snprintf(prefix, sizeof prefix, "%s%s%s", (qualifiers & QUAL_ALT) ? "alt " : "",
                  (qualifiers & QUAL_CTRL) ? "ctrl " : "", (qualifiers & QUAL_SHIFT) ? "shift " : "");
    auto put = [&](const char* format, const char* a, const char* b) {
        int n = std::snprintf(out, size, format, a, b);
        return n < 0 ? 0 : n >= int(size) ? int(size) - 1 : n;
    };
    for (const auto& key : NumberedKeys)
        if (key.Code == keycode) return put("%s%s", prefix, key.Base);
    if (keycode >= int32_t(VK_F1) && keycode < int32_t(VK_F1) + FunctionKeyCount) {
        char base[8];
        std::snprintf(base, sizeof base, "F%d", int(keycode - VK_F1 + 1));
        return put("%s%s", prefix, base);
    }
    if (keycode == int32_t(VK_RETURN)) {
        if (ret) *ret = 1;
        return 0;
    }
    if (!text || !text[0]) return 0;
    const auto c = static_cast<unsigned char>(text[0]);
    char one[5] = {};
    if (c >= 0x80) {
        std::memcpy(one, text, Utf8Length(text));
        return IsWidePunctuation(text) ? put("%s%s", "", one) : put("%s%s", prefix, one);
    }
    for (const auto& named : NamedCharacters)
        if (named.Char == c) {
            if (escape && c == EscapeChar) *escape = 1;
            return put("%s%s", prefix, named.Base);
        }
    if (c == ReturnChar) {
        if (ret) *ret = 1;
        return 0;
    }
    if (c >= 1 && c <= LastControlLetter) {
        one[0] = char(c + ControlToLetter);
        return put("%s%s", prefix, one);
    }
    if (c < 32) return 0;
    one[0] = char(c);
    return std::isalnum(c) ? put("%s%s", prefix, one) : put("%s%s", "", one);
}

// ---- Dispatch ------------------------------------------------------------------------------------------

void BroadcastKey(int32_t keycode, const char* text, uint32_t qualifiers, int length) {
    if (BroadcastKeyHook) BroadcastKeyHook(keycode, text, qualifiers, length);
}

// A key that runs nothing, bound to nothing or not in the table, is the windows' to take.
void HandleKey(int32_t keycode, const char* text, uint32_t qualifiers, int length) {
    char name[32];
    int escape = 0;
    if (!KeyNameOf(keycode, text, qualifiers, name, sizeof name, &escape)) return;
    // Escape alone: with a qualifier it is a key like any other, for a binding to take.
    if (escape && strcasecmp(name, "escape") == 0) {
        CancelTool(ToolMode);
        ToolState.ToolPhase = 0;
        if (PendingEscapeHook) PendingEscapeHook();
    }
    const KeyNameRow* row = FindKeyName(name);
    if (row && row->Binding) {
        RunBinding(row->Binding);
        return;
    }
    BroadcastKey(keycode, text, qualifiers, length);
}

// ---- Running a binding ---------------------------------------------------------------------------------

void RunCommand(const CommandRow* row) {
    if (!row) return;
    if (row->Handler) {
        row->Handler();
        return;
    }
    if (!(row->PluginRef & PluginRowFlag) || !CommandPlugins.Run || !CommandPlugins.Count) return;
    const int index = int(row->PluginRef & 0xFFFF);
    if (index < CommandPlugins.Count()) CommandPlugins.Run(index);
}

// The bindings running now, outermost first. A command may run a binding in turn (a
// plug-in or a script presses keys); one that comes back to a binding still running would
// never end, and is refused, said once for each key press.
constexpr int MaxBindingDepth = 8;
static uint64_t RunningBindings[MaxBindingDepth]; // fingerprints of the running texts
static int BindingDepth = 0;
static bool LoopReported = false;

// FNV-1a over the text in lower case: bindings compare without regard to case.
static uint64_t Fingerprint(const char* text) {
    uint64_t h = 14695981039346656037ull;
    for (const char* p = text; *p; ++p) {
        h ^= uint64_t(std::tolower(static_cast<unsigned char>(*p)));
        h *= 1099511628211ull;
    }
    return h;
}

static bool RefuseLoop(const char* text, uint64_t print) {
    bool loop = BindingDepth >= MaxBindingDepth;
    for (int i = 0; i < BindingDepth && !loop; ++i) loop = RunningBindings[i] == print;
    if (loop && !LoopReported) {
        Warning("the binding \"%.200s\" runs itself; it is not run again", text);
        LoopReported = true;
    }
    return loop;
}

int RunBinding(const char* text) {
    if (!text) return 0;
    char copy[BindingMax + 1];
    std::snprintf(copy, sizeof copy, "%s", text);
    const uint64_t print = Fingerprint(copy);
    if (RefuseLoop(copy, print)) return -1;
    RunningBindings[BindingDepth++] = print;
    int found = 0;
    for (char* piece = copy; piece;) {
        while (*piece == ' ' || *piece == '\t') ++piece;
        char* comma = std::strchr(piece, ',');
        const bool last = !comma || !comma[1];
        if (comma) *comma = 0;
        for (char* end = piece + std::strlen(piece); end > piece && (end[-1] == ' ' || end[-1] == '\t');)
            *--end = 0;
        if (*piece) {
            if (const CommandRow* row = FindCommand(piece)) {
                RunCommand(row);
                ++found;
            } else if (last) {
                Warning("function %.200s not found", piece);
            }
        }
        piece = last ? nullptr : comma + 1;
    }
    if (--BindingDepth == 0) LoopReported = false;
    return found;
}

// ---- Labels -----------------------------------------------------------------------------------------------

// Words of key names and the catalog messages that say them; longer phrases first.
static const struct {
    const char* Word;
    uint32_t Message;
} LabelWords[] = {
    {"page up", 19957}, {"page down", 19958}, {"shift", 19950}, {"ctrl", 19951},      {"alt", 19952},
    {"up", 19953},      {"down", 19954},      {"left", 19955},  {"right", 19956},     {"home", 19959},
    {"end", 19960},     {"insert", 19961},    {"del", 19962},   {"backspace", 19963}, {"tab", 19964},
    {"space", 19965},   {"escape", 19966},
};

int KeyLabel(const char* keyName, char* out, size_t size) {
    if (!out || size == 0) return 0;
    out[0] = 0;
    if (!keyName) return 0;
    size_t used = 0;
    auto append = [&](const char* s, size_t n) {
        if (used + n >= size) n = size - 1 - used;
        std::memcpy(out + used, s, n);
        used += n;
        out[used] = 0;
    };
    const char* p = keyName;
    while (*p) {
        while (*p == ' ') ++p;
        if (!*p) break;
        if (used) append("+", 1);
        const char* word = nullptr;
        size_t length = 0;
        for (const auto& w : LabelWords) {
            const size_t n = std::strlen(w.Word);
            if (strncasecmp(p, w.Word, n) == 0 && (p[n] == 0 || p[n] == ' ')) {
                word = MsgGet(nullptr, w.Message);
                length = n;
                break;
            }
        }
        if (word) {
            append(word, std::strlen(word));
            p += length;
            continue;
        }
        const char* end = std::strchr(p, ' ');
        if (!end || end == p) end = p + std::strlen(p);
        append(p, size_t(end - p));
        p = end;
    }
    return int(used);
}

} // namespace nemu
