#include "files/curve_preset.h"

#include "files/tagfile.h"

#include <algorithm>

namespace nemu {

namespace {

constexpr uint32_t BodySize = 8 + CURVE_CHANNELS * 24;

void PutWord(uint8_t* out, uint32_t value) {
    for (int i = 0; i < 4; i++) out[i] = uint8_t(value >> (8 * i));
}

uint32_t GetWord(const uint8_t* in) {
    return uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
}

} // namespace

int SaveCurvePreset(const char* path, const CurvePreset* preset) {
    uint8_t body[BodySize];
    PutWord(body, preset->Channel);
    PutWord(body + 4, preset->Constraint);
    for (int c = 0; c < CURVE_CHANNELS; c++)
        for (int i = 0; i < 6; i++) PutWord(body + 8 + c * 24 + i * 4, uint32_t(preset->Values[c][i]));
    TagFile* file = TF_Open(path, "w");
    if (!file) return -1;
    Tag tag{CURVE_PRESET_ID, 1, 0, 0, 0};
    int error = TF_OpenTag(file, &tag);
    if (!error) error = TF_Write(file, body, BodySize);
    if (!error) error = TF_CloseTag(file);
    int closeError = TF_Close(file);
    return error || closeError ? -1 : 0;
}

int LoadCurvePreset(const char* path, CurvePreset* preset) {
    TagFile* file = TF_Open(path, "r");
    if (!file) return -1;
    Tag tag;
    uint8_t body[BodySize];
    int error = TF_OpenTag(file, &tag);
    bool ours = !error && tag.Id == CURVE_PRESET_ID && tag.Version == 1 && tag.Revision == 0;
    if (ours) error = TF_Read(file, body, BodySize);
    TF_Close(file);
    if (!ours || error) return -1;
    uint32_t channel = GetWord(body);
    bool known = channel == 40 || channel == 41 || channel == 42 || channel == 44 || channel == 45;
    preset->Channel = known ? channel : 44;
    preset->Constraint = GetWord(body + 4);
    for (int c = 0; c < CURVE_CHANNELS; c++)
        for (int i = 0; i < 6; i++)
            preset->Values[c][i] = std::clamp(int32_t(GetWord(body + 8 + c * 24 + i * 4)), 0, 100);
    return 0;
}

} // namespace nemu
