#include "files/lzw.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace nemu {

namespace {

constexpr int HashSize = 5003;

// The encoder's state: an open-addressed table from (prefix code, byte) to code, and
// the bit packer with its output block.
struct LzwWriter {
    int32_t Keys[HashSize]; // (byte << 12) + prefix, -1 for an empty slot
    uint16_t Codes[HashSize];
    int Free = LZW_FIRST_FREE;
    int Width = 9;
    int MaxCode = 511; // the width grows when Free passes this
    bool ClearPending = false;
    uint32_t Accum = 0;
    int AccumBits = 0;
    uint8_t Block[LZW_BLOCK];
    size_t BlockUsed = 0;
    int64_t Total = 0;
    bool Failed = false;
    const ByteSink* Sink = nullptr;
};

void FlushBlock(LzwWriter& w) {
    if (w.BlockUsed && !w.Failed && w.Sink->Write(w.Sink->User, w.Block, w.BlockUsed) != 0) w.Failed = true;
    w.Total += int64_t(w.BlockUsed);
    w.BlockUsed = 0;
}

void PutByte(LzwWriter& w, uint8_t byte) {
    w.Block[w.BlockUsed++] = byte;
    if (w.BlockUsed == LZW_BLOCK) FlushBlock(w);
}

// Writes a code at the current width, then adjusts the width: the code that makes the
// table pass the limit is still written narrow, and the decoder widens at the same
// point by its own count.
void PutCode(LzwWriter& w, int code) {
    w.Accum |= uint32_t(code) << w.AccumBits;
    w.AccumBits += w.Width;
    while (w.AccumBits >= 8) {
        PutByte(w, uint8_t(w.Accum));
        w.Accum >>= 8;
        w.AccumBits -= 8;
    }
    if (w.ClearPending) {
        w.Width = 9;
        w.MaxCode = 511;
        w.ClearPending = false;
    } else if (w.Free > w.MaxCode && w.Width < 12) {
        w.Width++;
        w.MaxCode = w.Width == 12 ? LZW_MAX_CODES : (1 << w.Width) - 1;
    }
    if (code == LZW_END) {
        if (w.AccumBits > 0) PutByte(w, uint8_t(w.Accum));
        w.Accum = 0;
        w.AccumBits = 0;
        FlushBlock(w);
    }
}

void ClearTable(LzwWriter& w) {
    std::fill_n(w.Keys, HashSize, -1);
    w.Free = LZW_FIRST_FREE;
    w.ClearPending = true;
    PutCode(w, LZW_CLEAR);
}

} // namespace

int64_t WriteLzw(const ByteSink& sink, const uint8_t* data, size_t size) {
    auto* w = new (std::nothrow) LzwWriter;
    if (!w) return -1;
    w->Sink = &sink;
    std::fill_n(w->Keys, HashSize, -1);
    PutCode(*w, LZW_CLEAR);
    if (size > 0) {
        int prefix = data[0];
        for (size_t i = 1; i < size && !w->Failed; i++) {
            int byte = data[i];
            int32_t key = (int32_t(byte) << 12) + prefix;
            int slot = (byte << 4) + prefix;
            if (slot >= HashSize) slot -= HashSize;
            bool found = false;
            if (w->Keys[slot] >= 0) {
                // Probe backwards in steps that visit every slot, the table size being prime.
                int step = slot == 0 ? 1 : HashSize - slot;
                while (w->Keys[slot] >= 0) {
                    if (w->Keys[slot] == key) {
                        found = true;
                        break;
                    }
                    slot -= step;
                    if (slot < 0) slot += HashSize;
                }
            }
            if (found) {
                prefix = w->Codes[slot];
                continue;
            }
            PutCode(*w, prefix);
            prefix = byte;
            if (w->Free < LZW_MAX_CODES) {
                w->Codes[slot] = uint16_t(w->Free++);
                w->Keys[slot] = key;
            } else {
                ClearTable(*w);
            }
        }
        PutCode(*w, prefix);
    }
    PutCode(*w, LZW_END);
    int64_t result = w->Failed ? -1 : w->Total;
    delete w;
    return result;
}

void LzwReaderReset(LzwReader* reader) {
    reader->Accum = 0;
    reader->AccumBits = 0;
    reader->Width = 9;
    reader->Free = LZW_FIRST_FREE;
    reader->Prev = -1;
    reader->First = 0;
    reader->Pending = 0;
    reader->Done = false;
    reader->Error = false;
}

size_t LzwDecode(LzwReader* reader, const uint8_t* in, size_t size, size_t* used, uint8_t* out, size_t room) {
    LzwReader& r = *reader;
    size_t pos = 0, produced = 0;
    while (produced < room) {
        if (r.Pending > 0) {
            size_t n = std::min<size_t>(size_t(r.Pending), room - produced);
            for (size_t k = 0; k < n; k++) out[produced++] = r.Stack[--r.Pending];
            continue;
        }
        if (r.Done || r.Error) break;
        while (r.AccumBits < r.Width && pos < size) {
            r.Accum |= uint32_t(in[pos++]) << r.AccumBits;
            r.AccumBits += 8;
        }
        if (r.AccumBits < r.Width) break;
        int code = int(r.Accum & ((1u << r.Width) - 1));
        r.Accum >>= r.Width;
        r.AccumBits -= r.Width;
        if (code == LZW_CLEAR) {
            r.Width = 9;
            r.Free = LZW_FIRST_FREE;
            r.Prev = -1;
            continue;
        }
        if (code == LZW_END) {
            r.Done = true;
            break;
        }
        if (r.Prev < 0) {
            if (code > 255) {
                r.Error = true;
                break;
            }
            r.First = uint8_t(code);
            r.Stack[0] = r.First;
            r.Pending = 1;
            r.Prev = code;
            continue;
        }
        if (code > r.Free || code == LZW_MAX_CODES) {
            r.Error = true;
            break;
        }
        int n = 0;
        int cur = code;
        // The one code not yet in the table is the previous string plus its first byte.
        if (code == r.Free) {
            r.Stack[n++] = r.First;
            cur = r.Prev;
        }
        // Every entry's prefix is an older code, so the walk ends within the table.
        while (cur >= LZW_FIRST_FREE) {
            r.Stack[n++] = r.Suffix[cur];
            cur = r.Prefix[cur];
        }
        r.Stack[n++] = uint8_t(cur);
        r.First = uint8_t(cur);
        if (r.Free < LZW_MAX_CODES) {
            r.Prefix[r.Free] = uint16_t(r.Prev);
            r.Suffix[r.Free] = r.First;
            r.Free++;
            if (r.Free >= (1 << r.Width) && r.Width < 12) r.Width++;
        }
        r.Prev = code;
        r.Pending = n;
    }
    *used = pos;
    return produced;
}

int64_t UnpackLzw(const uint8_t* in, size_t size, uint8_t* out, size_t count) {
    auto* reader = new (std::nothrow) LzwReader;
    if (!reader) return -1;
    LzwReaderReset(reader);
    size_t used = 0;
    size_t produced = LzwDecode(reader, in, size, &used, out, count);
    delete reader;
    return produced == count ? int64_t(used) : -1;
}

} // namespace nemu
