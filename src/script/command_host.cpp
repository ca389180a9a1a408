// The dispatcher and the reply rules of the command host.
#include "script/command_host.h"
#include "host/platform.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

namespace nemu {

int32_t BracketMode = 0;
int32_t ReplyState = 0;
int32_t UserBreak = 0;

// ---- The table --------------------------------------------------------------------------------
// The families' rows, sorted by name once, so a lookup is a binary search whatever the
// number of families. A name given twice is a programming error: the first row stands
// and a warning says which name.
static std::vector<const ScriptCommand*> SortedRows;

static bool ByName(const ScriptCommand* a, const ScriptCommand* b) {
    return std::strcmp(a->Name, b->Name) < 0;
}

static void BuildIndex() {
    for (const ScriptCommand* const* family = CommandFamilies; *family; family++)
        for (const ScriptCommand* row = *family; row->Name; row++) SortedRows.push_back(row);
    std::stable_sort(SortedRows.begin(), SortedRows.end(), ByName);
    auto same = [](const ScriptCommand* a, const ScriptCommand* b) {
        return std::strcmp(a->Name, b->Name) == 0;
    };
    for (size_t i = 1; i < SortedRows.size(); i++)
        if (same(SortedRows[i - 1], SortedRows[i]))
            Warning("script command %s is defined twice", SortedRows[i]->Name);
    SortedRows.erase(std::unique(SortedRows.begin(), SortedRows.end(), same), SortedRows.end());
}

const ScriptCommand* FindScriptCommand(const char* name) {
    if (SortedRows.empty()) BuildIndex();
    ScriptCommand key{name, nullptr};
    auto it = std::lower_bound(SortedRows.begin(), SortedRows.end(), &key, ByName);
    if (it == SortedRows.end() || std::strcmp((*it)->Name, name) != 0) return nullptr;
    return *it;
}

// ---- Replies ----------------------------------------------------------------------------------
static void AppendRaw(CommandRequest* request, const char* text, size_t n) {
    size_t used = std::strlen(request->Reply);
    size_t room = ReplySize - 1 - used;
    if (n > room) n = room;
    std::memcpy(request->Reply + used, text, n);
    request->Reply[used + n] = 0;
}

void ReplyAppend(CommandRequest* request, const char* text) {
    ReplyState = 2;
    if (!text) text = "";
    if (BracketMode) AppendRaw(request, "[", 1);
    AppendRaw(request, text, std::strlen(text));
    if (BracketMode) AppendRaw(request, "]", 1);
    request->Known++;
}

void ReplyFormat(CommandRequest* request, const char* format, ...) {
    char text[ReplySize];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(text, sizeof text, format, ap);
    va_end(ap);
    ReplyAppend(request, text);
}

void ReplyError(CommandRequest* request, int number) {
    if (number == 0) {
        ReplyAppend(request, "");
        return;
    }
    request->Failed++;
    ReplyFormat(request, "ERROR %d", number);
}

// ---- Dispatch -----------------------------------------------------------------------------------
static bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

static const char* SkipSpace(const char* p) {
    while (*p && IsSpace(*p)) p++;
    return p;
}

// Finds the inside of the bracketed group that starts at p ("["). Groups nest, and a
// group left open runs to the end of the text. Iterative, so any depth is safe.
static const char* GroupEnd(const char* p, const char** next) {
    size_t depth = 0;
    const char* q = p;
    for (; *q; q++) {
        if (*q == '[')
            depth++;
        else if (*q == ']' && --depth == 0)
            break;
    }
    *next = *q ? q + 1 : q;
    return q;
}

// Runs one command of length n at text: blanks for white space, the name lower-cased,
// the arguments left as they are. The name is what stands before the first blank, so a
// group that opens with white space ("[ om_nop]") has an empty name and runs nothing,
// as an unknown name does: a stray blank must not quietly choose another reading.
static void RunOne(CommandRequest* request, const char* text, size_t n) {
    char* command = new (std::nothrow) char[n + 1];
    ReplyState = 0;
    if (!command) {
        ReplyError(request, -1);
        request->Known = 0;
        return;
    }
    for (size_t i = 0; i < n; i++) command[i] = IsSpace(text[i]) ? ' ' : text[i];
    command[n] = 0;
    char* name = command;
    char* args = name;
    while (*args && *args != ' ') {
        *args = char(std::tolower(static_cast<unsigned char>(*args)));
        args++;
    }
    char saved = *args;
    *args = 0;
    const ScriptCommand* row = FindScriptCommand(name);
    *args = saved;
    if (row) row->Handler(request, args);
    request->Known = row ? 1 : 0;
    if (!row) request->Unknown++;
    delete[] command;
}

void RunCommandText(CommandRequest* request) {
    // A handler may run a text of its own (a plug-in calling back, a dialog that runs a
    // script); the outer run must find its two globals as it left them.
    int32_t outerBracket = BracketMode, outerState = ReplyState;
    request->Reply[0] = 0;
    request->Known = request->Unknown = request->Failed = 0;
    const char* p = request->Text ? SkipSpace(request->Text) : "";
    // Once the program has been asked to end, no further command is begun: that is the
    // break check between the commands of a long text.
    if (*p != '[') {
        BracketMode = 0;
        if (!PlatformStopSignal()) RunOne(request, p, std::strlen(p));
    } else {
        BracketMode = 1;
        while (*p == '[' && !PlatformStopSignal()) {
            const char* next;
            const char* end = GroupEnd(p, &next);
            RunOne(request, p + 1, size_t(end - (p + 1)));
            if (ReplyState == 0) AppendRaw(request, "[]", 2);
            p = SkipSpace(next);
        }
    }
    BracketMode = outerBracket;
    ReplyState = outerState;
}

bool RequestFaulty(const CommandRequest* request) {
    return request->Unknown > 0 || request->Failed > 0;
}

int RunRemoteText(const char* text, char* result, size_t size, uint32_t* faulty) {
    CommandRequest* request = new (std::nothrow) CommandRequest;
    if (!request) {
        if (size) std::snprintf(result, size, "ERROR -1");
        if (faulty) *faulty = 1;
        return 0;
    }
    request->Text = text;
    RunCommandText(request);
    if (size) {
        size_t n = std::min(std::strlen(request->Reply), size - 1);
        std::memcpy(result, request->Reply, n);
        result[n] = 0;
    }
    int known = request->Known ? 1 : 0;
    if (faulty) *faulty = RequestFaulty(request) ? 1 : 0;
    delete request;
    return known;
}

} // namespace nemu
