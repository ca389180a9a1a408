// The Pens and Pressure sections of the settings, and the response curves.
//
// Every pen is one line of numbers. A number is clamped to its field's range; a word that
// is not a number, or is missing, keeps the field's default, so a damaged line loses only
// what is damaged.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>

#include "host/main_loop.h"
#include "paint/pens.h"
#include "ui/settings.h"

namespace nemu {

int32_t PressureX = 0, PressureY = 0, SpeedX = 0, SpeedY = 0;

namespace {
const char* const PensSection = "Pens";

template <class R> struct Field {
    int32_t R::*Member; // null: a constant word, written as Constant and ignored when read
    int32_t Min, Max;
    bool DefaultIfOutside; // out of range keeps the default instead of being clamped
    int32_t Constant = 0;
};

using MediaField = Field<PenSettings>;
const MediaField Word0to7[] = {
    {&PenSettings::PressureOn, 0, 1, false},   {&PenSettings::SpeedOn, 0, 1, false},
    {&PenSettings::SpeedScale, 1, 999, false}, {&PenSettings::Size, 3, 100, false},
    {&PenSettings::Power, 0, 255, false},      {&PenSettings::Step, 0, 999, false},
    {&PenSettings::AutoStep, 0, 1, false},     {&PenSettings::Invert, 0, 1, false},
    {&PenSettings::Preset, 0, 11, false},
};
const MediaField Strength = {&PenSettings::Strength, 1, 100, true};
const MediaField ConstantStrength = {nullptr, 0, 0, false, 100};
const MediaField Bristle = {&PenSettings::Bristle, 0, 3, false};
const MediaField Continuous = {&PenSettings::Continuous, 0, 1, false};

const Field<RoundPenSettings> RoundFields[] = {
    {&RoundPenSettings::PressureOn, 0, 1, false},   {&RoundPenSettings::SpeedOn, 0, 1, false},
    {&RoundPenSettings::SpeedScale, 1, 999, false}, {&RoundPenSettings::PenRadius, 0, 100, false},
    {&RoundPenSettings::PenMaxSize, 0, 100, false},
};
const Field<PointeSettings> PointeFields[] = {
    {&PointeSettings::PressureOn, 0, 1, false},   {&PointeSettings::SpeedOn, 0, 1, false},
    {&PointeSettings::SpeedScale, 1, 999, false}, {&PointeSettings::Power, 1, 255, false},
    {&PointeSettings::Invert, 0, 1, false},
};
const Field<BrushPenSettings> BrushFields[] = {
    {&BrushPenSettings::PressureOn, 0, 1, false},   {&BrushPenSettings::SpeedOn, 0, 1, false},
    {&BrushPenSettings::SpeedScale, 1, 999, false}, {&BrushPenSettings::Power, 1, 255, false},
    {&BrushPenSettings::Step, 0, 999, false},       {&BrushPenSettings::AutoStep, 0, 1, false},
    {&BrushPenSettings::Margin, 0, 20, false},      {&BrushPenSettings::Invert, 0, 1, false},
};

struct MediaLayout {
    int32_t Pen;
    const char* Key;
    const char* CurveKey;
    const char* Selected; // name of the pen in key Selected
    int Extra;            // 0 none, 1 Strength, 2 Strength Bristle Continuous, 3 100 Bristle Continuous
};
const MediaLayout MediaLayouts[] = {
    {PenAirbrush, "Airbrush", "Airbrush_Curve", "airbrush", 1},
    {PenWet, "Wet", "Wet_Curve", "wet", 3},
    {PenOil, "Oil", "Oil_Curve", "oil", 2},
    {PenWater, "Water", "Water_Curve", "water", 2},
    {PenChalk, "Chalk", "Chalk_Curve", "chalk", 0},
    {PenPencil, "Pencil", "Pencil_Curve", "pencil", 0},
};

// The fields of one media pen's line, in the order they are stored.
int MediaFields(const MediaLayout& l, const MediaField** out) {
    int n = 0;
    for (const MediaField& f : Word0to7) out[n++] = &f;
    if (l.Extra == 1 || l.Extra == 2) out[n++] = &Strength;
    if (l.Extra == 3) out[n++] = &ConstantStrength;
    if (l.Extra >= 2) out[n++] = &Bristle, out[n++] = &Continuous;
    return n;
}

// Reads the next whole number of a line; false when the word is not one. `p` moves past it.
bool NextNumber(const char*& p, int64_t& value, bool& present) {
    while (*p == ' ' || *p == '\t' || *p == ',') ++p;
    present = *p != 0;
    if (!present) return false;
    const char* start = p;
    while (*p && *p != ' ' && *p != '\t' && *p != ',') ++p;
    std::string word(start, size_t(p - start));
    char* end = nullptr;
    errno = 0;
    long long v = std::strtoll(word.c_str(), &end, 10);
    if (end == word.c_str() || *end) return false;
    value = (errno == ERANGE) ? (v < 0 ? INT32_MIN : INT32_MAX) : v;
    return true;
}

template <class R> void ReadFields(const char* key, R& record, const Field<R>* const* fields, int n) {
    char line[512];
    if (!ConfigGet(PensSection, key, line, "", sizeof line)) return;
    const char* p = line;
    for (int i = 0; i < n; ++i) {
        int64_t v;
        bool present;
        bool ok = NextNumber(p, v, present);
        if (!present) break;
        const Field<R>& f = *fields[i];
        if (!ok || !f.Member) continue;
        if (v < f.Min || v > f.Max) {
            if (f.DefaultIfOutside) continue;
            v = std::clamp<int64_t>(v, f.Min, f.Max);
        }
        record.*f.Member = int32_t(v);
    }
}

template <class R> void WriteFields(const char* key, const R& record, const Field<R>* const* fields, int n) {
    std::string line;
    for (int i = 0; i < n; ++i) {
        if (i) line += ' ';
        line += std::to_string(fields[i]->Member ? record.*fields[i]->Member : fields[i]->Constant);
    }
    ConfigSet(PensSection, key, line.c_str());
}

template <class R, size_t N> void ReadAll(const char* key, R& record, const Field<R> (&table)[N]) {
    const Field<R>* fields[N];
    for (size_t i = 0; i < N; ++i) fields[i] = &table[i];
    ReadFields(key, record, fields, int(N));
}
template <class R, size_t N> void WriteAll(const char* key, const R& record, const Field<R> (&table)[N]) {
    const Field<R>* fields[N];
    for (size_t i = 0; i < N; ++i) fields[i] = &table[i];
    WriteFields(key, record, fields, int(N));
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// 128 hexadecimal digits, or the profile stays as it was.
void ReadCurve(const char* key, uint8_t* profile) {
    char text[160];
    if (ConfigGet(PensSection, key, text, "", sizeof text) != 128) return;
    uint8_t bytes[64];
    for (int i = 0; i < 64; ++i) {
        int hi = HexDigit(text[2 * i]), lo = HexDigit(text[2 * i + 1]);
        if (hi < 0 || lo < 0) return;
        bytes[i] = uint8_t(hi * 16 + lo);
    }
    std::memcpy(profile, bytes, 64);
}

void WriteCurve(const char* key, const uint8_t* profile) {
    char text[129];
    for (int i = 0; i < 64; ++i) std::snprintf(text + 2 * i, 3, "%02x", profile[i]);
    ConfigSet(PensSection, key, text);
}
} // namespace

const char* PenKeyName(int32_t pen) {
    static const char* const names[10] = {"Pen", "Pointe", "Pencil", "Chalk", "Airbrush",
                                          "Wet", "Oil",    "Water",  "Brush", nullptr};
    return pen >= 0 && pen < 10 ? names[pen] : nullptr;
}

void LoadPensSettings() {
    ReadAll("Pen", RoundPen, RoundFields);
    ReadAll("Pointe", PointePen, PointeFields);
    ReadAll("Brush", BrushPen, BrushFields);
    for (const MediaLayout& l : MediaLayouts) {
        const MediaField* fields[16];
        int n = MediaFields(l, fields);
        ReadFields(l.Key, MediaPens[l.Pen], fields, n);
        ReadCurve(l.CurveKey, MediaPens[l.Pen].Profile);
    }
    char selected[32];
    ConfigGet(PensSection, "Selected", selected, "", sizeof selected);
    int32_t pen = PenRound;
    if (!strcasecmp(selected, "pointe")) pen = PenPointe;
    for (const MediaLayout& l : MediaLayouts)
        if (!strcasecmp(selected, l.Selected)) pen = l.Pen;
    SetPen(pen);
}

void SavePensSettings() {
    WriteAll("Pen", RoundPen, RoundFields);
    WriteAll("Pointe", PointePen, PointeFields);
    WriteAll("Brush", BrushPen, BrushFields);
    const char* selected = nullptr;
    for (const MediaLayout& l : MediaLayouts) {
        const MediaField* fields[16];
        int n = MediaFields(l, fields);
        WriteFields(l.Key, MediaPens[l.Pen], fields, n);
        WriteCurve(l.CurveKey, MediaPens[l.Pen].Profile);
        if (Pen == l.Pen) selected = l.Selected;
    }
    ConfigSet(PensSection, "Selected", selected ? selected : Pen == PenPointe ? "pointe" : "pen");
}

// ---- Response curves --------------------------------------------------------------------------------

// The Hermite cubic from (0, 0) to (255, 255) whose end tangents are set by the one
// control point, sampled at 101 points and joined by straight lines.
void MakeCurve(int32_t x, int32_t y, uint8_t* table) {
    const double t0x = 2.0 * x, t0y = 2.0 * y, t1x = 2.0 * (255 - x), t1y = 2.0 * (255 - y);
    int prevX = 0, prevY = 0;
    table[0] = 0;
    for (int s = 1; s <= 100; ++s) {
        double t = s * 0.01, t2 = t * t, t3 = t2 * t;
        double h10 = t3 - 2 * t2 + t, h01 = -2 * t3 + 3 * t2, h11 = t3 - t2;
        int px = std::clamp(int(std::floor(h10 * t0x + h01 * 255 + h11 * t1x + 0.5)), 0, 255);
        int py = std::clamp(int(std::floor(h10 * t0y + h01 * 255 + h11 * t1y + 0.5)), 0, 255);
        if (px > prevX) {
            for (int i = prevX + 1; i <= px; ++i)
                table[i] = uint8_t(prevY + (py - prevY) * (i - prevX) / (px - prevX));
            prevX = px, prevY = py;
        }
    }
    for (int i = prevX + 1; i < 256; ++i) table[i] = uint8_t(prevY);
    table[255] = uint8_t(std::clamp(2 * table[254] - table[253], 0, 255));
}

void LoadPressureSettings() {
    PressureX = std::clamp(ConfigGetInt("Pressure", "PressureX", 0), 0, 255);
    PressureY = std::clamp(ConfigGetInt("Pressure", "PressureY", 0), 0, 255);
    SpeedX = std::clamp(ConfigGetInt("Pressure", "SpeedX", 0), 0, 255);
    SpeedY = std::clamp(ConfigGetInt("Pressure", "SpeedY", 0), 0, 255);
    MakeCurve(PressureX, PressureY, PressureCurve);
    MakeCurve(SpeedX, SpeedY, SpeedCurve);
}

void SavePressureSettings() {
    ConfigSetInt("Pressure", "PressureX", PressureX);
    ConfigSetInt("Pressure", "PressureY", PressureY);
    ConfigSetInt("Pressure", "SpeedX", SpeedX);
    ConfigSetInt("Pressure", "SpeedY", SpeedY);
}

} // namespace nemu
