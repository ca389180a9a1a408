// Argument readers shared by every command handler.
#include "script/command_host.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace nemu {

double ArgReal[MaxArgs];
int32_t ArgInt[MaxArgs];

static bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// Truncation toward zero that cannot overflow: "1e300" or "nan" must not become
// undefined behaviour on the way to an integer.
static int32_t ToInt(double v) {
    if (std::isnan(v)) return 0;
    if (v >= 2147483647.0) return INT32_MAX;
    if (v <= -2147483648.0) return INT32_MIN;
    return int32_t(v);
}

const char* ReadArgs(const char* args, int count) {
    if (count > MaxArgs) count = MaxArgs;
    const char* p = args ? args : "";
    // The text normally begins with the blank after the name; anything glued to the
    // name is passed over.
    while (*p && !IsSpace(*p)) p++;
    for (int k = 0; k < count; k++) {
        while (*p == ' ' || *p == '\t') p++;
        double v = 0.0;
        if (*p) {
            char* end;
            v = std::strtod(p, &end);
            p = end;
        }
        ArgReal[k] = v;
        ArgInt[k] = ToInt(v);
    }
    return p;
}

const char* ReadWordOrQuoted(const char* args, char* buffer, size_t size) {
    const char* p = args ? args : "";
    while (*p && IsSpace(*p)) p++;
    const char* start;
    const char* end;
    const char* after;
    if (*p == '"') {
        start = p + 1;
        end = std::strchr(start, '"');
        if (!end) end = start + std::strlen(start);
        after = *end ? end + 1 : end;
    } else {
        start = p;
        end = p;
        while (*end && !IsSpace(*end)) end++;
        after = end;
    }
    size_t n = size_t(end - start);
    if (size == 0 || n > size - 1) {
        if (size) buffer[0] = 0;
        return nullptr;
    }
    std::memcpy(buffer, start, n);
    buffer[n] = 0;
    return after;
}

size_t ReadMessageText(const char* args, char* buffer, size_t size) {
    if (size == 0) return 0;
    const char* p = args ? args : "";
    while (*p && IsSpace(*p)) p++;
    size_t n = 0;
    while (*p && n < size - 1) {
        if (p[0] == '\\' && p[1] == 'n') {
            buffer[n++] = '\n';
            p += 2;
        } else {
            buffer[n++] = *p++;
        }
    }
    // The line's end arrives as a blank (white space is blanked before dispatch).
    while (n > 0 && buffer[n - 1] == ' ') n--;
    buffer[n] = 0;
    return n;
}

bool ArgsEmpty(const char* args) {
    if (!args) return true;
    while (*args && IsSpace(*args)) args++;
    return *args == 0;
}

} // namespace nemu
