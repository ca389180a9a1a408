#include "files/curve_preset.h"
#include "files/tagfile.h"
#include "support/file_helpers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

using namespace nemu;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

uint32_t Word(const std::vector<uint8_t>& b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | uint32_t(b[at + 3]) << 24;
}

// A file of root, tag 7 (5 bytes "hello"), tag 8 holding empty tag 9, tag 10 empty.
std::string WriteSample() {
    std::string path = TestPath("sample.tag");
    TagFile* f = TF_Open(path.c_str(), "w");
    EXPECT_NE(f, nullptr);
    Tag a{7, 2, 3, 999, 0};
    EXPECT_EQ(TF_OpenTag(f, &a), 0);
    EXPECT_EQ(a.DataStart, 24u);
    EXPECT_EQ(TF_Write(f, "hello", 5), 0);
    EXPECT_EQ(TF_CloseTag(f), 0);
    Tag b{8, 1, 0, 0, 0}, c{9, 1, 0, 0, 0}, d{10, 0, 0, 0, 0};
    EXPECT_EQ(TF_OpenTag(f, &b), 0);
    EXPECT_EQ(TF_OpenTag(f, &c), 0);
    EXPECT_EQ(TF_CloseTag(f), 0);
    EXPECT_EQ(TF_CloseTag(f), 0);
    EXPECT_EQ(TF_OpenTag(f, &d), 0);
    EXPECT_EQ(TF_CloseTag(f), 0);
    EXPECT_EQ(TF_Close(f), 0);
    return path;
}

} // namespace

TEST(TagFile, WriterPatchesEverySizeAndTheRoot) {
    CaptureStdout();
    std::vector<uint8_t> b = ReadBytes(WriteSample());
    EXPECT_EQ(GetCapturedStdout(), "") << "closing at root depth warns of nothing";
    ASSERT_EQ(b.size(), 12u + 17 + 24 + 12);
    // Root: magic 43 36 74 92, size = length - 12, version 0, revision 1.
    EXPECT_EQ(std::vector<uint8_t>(b.begin(), b.begin() + 4), (std::vector<uint8_t>{0x43, 0x36, 0x74, 0x92}));
    EXPECT_EQ(Word(b, 4), b.size() - 12);
    EXPECT_EQ(b[8] | b[9] << 8, 0);
    EXPECT_EQ(b[10] | b[11] << 8, 1);
    // The caller's stale size is replaced; version and revision kept as u16.
    EXPECT_EQ(Word(b, 12), 7u);
    EXPECT_EQ(Word(b, 16), 5u);
    EXPECT_EQ(b[20], 2);
    EXPECT_EQ(b[22], 3);
    EXPECT_EQ(std::string(b.begin() + 24, b.begin() + 29), "hello");
    // A tag holding one empty tag counts its header: 12; the empty ones 0.
    EXPECT_EQ(Word(b, 29), 8u);
    EXPECT_EQ(Word(b, 33), 12u);
    EXPECT_EQ(Word(b, 41), 9u);
    EXPECT_EQ(Word(b, 45), 0u);
    EXPECT_EQ(Word(b, 53), 10u);
    EXPECT_EQ(Word(b, 57), 0u);
}

TEST(TagFile, CloseWithAnOpenTagWarnsCountingTheRootAndPatchesBoth) {
    std::string path = TestPath("open.tag");
    TagFile* f = TF_Open(path.c_str(), "w");
    Tag a{1, 0, 0, 0, 0};
    TF_OpenTag(f, &a);
    TF_Write(f, "abc", 3);
    CaptureStdout();
    EXPECT_EQ(TF_Close(f), 0);
    EXPECT_EQ(GetCapturedStdout(), "TagFile : WARNING : There are 2 open tags at close\n");
    std::vector<uint8_t> b = ReadBytes(path);
    ASSERT_EQ(b.size(), 27u);
    EXPECT_EQ(Word(b, 4), 15u);
    EXPECT_EQ(Word(b, 16), 3u);
}

TEST(TagFile, ReaderLeavesATagAnywhereAndSeeksWithinIt) {
    std::string path = WriteSample();
    TagFile* f = TF_Open(path.c_str(), "r");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->Depth, 1);
    EXPECT_EQ(f->Position, 12u);
    EXPECT_EQ(f->Stack[0].Size, 53u);
    Tag t;
    ASSERT_EQ(TF_OpenTag(f, &t), 0);
    EXPECT_EQ(t.Id, 7u);
    EXPECT_EQ(t.Size, 5u);
    EXPECT_EQ(t.Version, 2u);
    EXPECT_EQ(t.Revision, 3u);
    // Seeking to 0 right after the header changes nothing.
    EXPECT_EQ(TF_Seek(f, 0), 0);
    EXPECT_EQ(f->Position, 24u);
    char two[3] = {};
    EXPECT_EQ(TF_Read(f, two, 2), 0);
    EXPECT_STREQ(two, "he");
    EXPECT_EQ(TF_Seek(f, 3), 0);
    EXPECT_EQ(TF_Read(f, two, 2), 0);
    EXPECT_STREQ(two, "lo");
    EXPECT_EQ(TF_Seek(f, 1), 0);
    // Stopping half way: the next tag starts right after this one.
    EXPECT_EQ(TF_CloseTag(f), 0);
    EXPECT_EQ(f->Position, 29u);
    ASSERT_EQ(TF_OpenTag(f, &t), 0);
    EXPECT_EQ(t.Id, 8u);
    ASSERT_EQ(TF_CloseTag(f), 0);
    ASSERT_EQ(TF_OpenTag(f, &t), 0);
    EXPECT_EQ(t.Id, 10u);
    EXPECT_EQ(TF_Close(f), 0);
}

TEST(TagFile, AFileWithoutTheRootGivesNothingAndSaysNothing) {
    std::string path = TestPath("other.bin");
    WriteBytes(path, std::vector<uint8_t>{0x43, 0x36, 0x74, 0x93, 0, 0, 0, 0, 0, 0, 1, 0});
    CaptureStdout();
    CaptureStderr();
    EXPECT_EQ(TF_Open(path.c_str(), "r"), nullptr);
    EXPECT_EQ(TF_Open(TestPath("missing.tag").c_str(), "r"), nullptr);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST(TagFile, ShortTransfersReportTheirLabelAndKeepThePosition) {
    std::string path = TestPath("short.tag");
    WriteBytes(path, std::vector<uint8_t>{0x43, 0x36, 0x74});
    CaptureStderr();
    EXPECT_EQ(TF_Open(path.c_str(), "r"), nullptr);
    EXPECT_EQ(GetCapturedStderr().rfind("TF_Read: ", 0), 0u);

    TagFile* f = TF_Open(WriteSample().c_str(), "r");
    Tag t;
    TF_OpenTag(f, &t);
    char buffer[64];
    CaptureStderr();
    int error = TF_Read(f, buffer, 60);
    EXPECT_NE(error, 0);
    EXPECT_EQ(error, EIO) << "an end of file without a system error still fails";
    EXPECT_EQ(GetCapturedStderr().rfind("TF_Read: ", 0), 0u);
    EXPECT_EQ(f->Position, 24u);
    // The file stays open: the caller may still go on.
    EXPECT_EQ(TF_Seek(f, 0), 0);
    EXPECT_EQ(TF_Read(f, buffer, 5), 0);
    TF_Close(f);

    // A tag whose end lies beyond 32-bit positions can't be left.
    std::string huge = TestPath("huge.tag");
    WriteBytes(huge, std::vector<uint8_t>{0x43, 0x36, 0x74, 0x92, 12,   0,    0,    0,    0, 0, 1, 0,
                                          1,    0,    0,    0,    0xff, 0xff, 0xff, 0xff, 0, 0, 0, 0});
    f = TF_Open(huge.c_str(), "r");
    ASSERT_EQ(TF_OpenTag(f, &t), 0);
    CaptureStderr();
    EXPECT_NE(TF_CloseTag(f), 0);
    EXPECT_EQ(GetCapturedStderr().rfind("lseek 1: ", 0), 0u);
    TF_Close(f);
}

TEST(TagFile, AFailedRootWriteGivesNothing) {
    CaptureStderr();
    EXPECT_EQ(TF_Open("/dev/full", "w"), nullptr);
    EXPECT_EQ(GetCapturedStderr().rfind("TF_Write: ", 0), 0u);
}

TEST(TagFile, MisuseStopsTheOperationWithItsExactText) {
    CaptureStdout();
    EXPECT_EQ(TF_Open(TestPath("x").c_str(), "a"), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "FATAL : TF_Open : unknown mode >a<\n");
    EXPECT_STREQ(TF_FatalText, "FATAL : TF_Open : unknown mode >a<\n");

    TagFile* f = TF_Open(WriteSample().c_str(), "r");
    char byte;
    // Seeking is fine while reading; seeking to the end is not; nor is writing.
    EXPECT_EQ(TF_Seek(f, 2), 0);
    CaptureStdout();
    EXPECT_EQ(TF_SeekEnd(f), TF_FATAL);
    EXPECT_EQ(TF_Write(f, "x", 1), TF_FATAL);
    EXPECT_EQ(GetCapturedStdout(), "FATAL : TF_SeekEnd : bad mode >0<\nFATAL : TF_Write : bad mode >0<\n");

    struct Case {
        int (*Run)(TagFile*);
        const char* Text;
    };
    static Tag tag;
    static char buffer[4];
    const Case cases[] = {
        {[](TagFile* t) { return TF_Read(t, buffer, 1); }, "FATAL : TF_Read : bad mode >7<\n"},
        {[](TagFile* t) { return TF_Write(t, buffer, 1); }, "FATAL : TF_Write : bad mode >7<\n"},
        {[](TagFile* t) { return TF_Seek(t, 0); }, "FATAL : TF_Seek : bad mode >7<\n"},
        {[](TagFile* t) { return TF_SeekEnd(t); }, "FATAL : TF_SeekEnd : bad mode >7<\n"},
        {[](TagFile* t) { return TF_OpenTag(t, &tag); }, "FATAL : TF_OpenTag : bad mode >7<\n"},
        {[](TagFile* t) { return TF_CloseTag(t); }, "FATAL : TF_CloseTag : bad mode >7<\n"},
        {TF_Close, "FATAL : TF_Close : bad mode >7<\n"},
    };
    f->Mode = 7;
    for (const Case& c : cases) {
        uint32_t position = f->Position;
        int depth = f->Depth;
        CaptureStdout();
        EXPECT_EQ(c.Run(f), TF_FATAL);
        EXPECT_EQ(GetCapturedStdout(), c.Text);
        EXPECT_STREQ(TF_FatalText, c.Text);
        if (c.Run == TF_Close) break; // the record is gone
        EXPECT_EQ(f->Position, position);
        EXPECT_EQ(f->Depth, depth);
    }
    (void)byte;
}

TEST(TagFile, NestingStopsAtTheStackInsteadOfOverrunningIt) {
    TagFile* f = TF_Open(TestPath("deep.tag").c_str(), "w");
    Tag t{1, 0, 0, 0, 0};
    for (int i = 1; i < TF_MAX_DEPTH; i++) ASSERT_EQ(TF_OpenTag(f, &t), 0) << i;
    CaptureStdout();
    EXPECT_EQ(TF_OpenTag(f, &t), TF_FATAL);
    GetCapturedStdout();
    EXPECT_EQ(f->Depth, TF_MAX_DEPTH);
    CaptureStdout();
    EXPECT_EQ(TF_Close(f), 0);
    EXPECT_EQ(GetCapturedStdout(), "TagFile : WARNING : There are 32 open tags at close\n");
    std::vector<uint8_t> b = ReadBytes(TestPath("deep.tag"));
    EXPECT_EQ(b.size(), 12u * TF_MAX_DEPTH);
    EXPECT_EQ(Word(b, 4), b.size() - 12);
    EXPECT_EQ(Word(b, 16), b.size() - 24);
}

TEST(CurvePreset, RoundTripsAndRefusesOtherTags) {
    CurvePreset p;
    p.Channel = 41;
    p.Constraint = 1;
    for (int c = 0; c < CURVE_CHANNELS; c++)
        for (int i = 0; i < 6; i++) p.Values[c][i] = c * 10 + i;
    std::string path = TestPath("curve.tag");
    ASSERT_EQ(SaveCurvePreset(path.c_str(), &p), 0);
    std::vector<uint8_t> b = ReadBytes(path);
    ASSERT_EQ(b.size(), 12u + 12 + 8 + 144);
    EXPECT_EQ(Word(b, 12), 0x82364623u);
    EXPECT_EQ(Word(b, 16), 152u);
    EXPECT_EQ(b[20], 1);
    EXPECT_EQ(b[22], 0);
    EXPECT_EQ(Word(b, 24), 41u);
    EXPECT_EQ(Word(b, 32 + 24 * 2 + 4), 21u);

    CurvePreset q;
    ASSERT_EQ(LoadCurvePreset(path.c_str(), &q), 0);
    EXPECT_EQ(q.Channel, 41u);
    EXPECT_EQ(q.Constraint, 1u);
    EXPECT_EQ(std::memcmp(q.Values, p.Values, sizeof p.Values), 0);

    // A channel outside the panel reads as light; percentages stay percentages.
    b[24] = 43;
    b[32] = 0xff, b[33] = 0xff, b[34] = 0xff, b[35] = 0xff;
    b[36] = 200;
    WriteBytes(path, b);
    ASSERT_EQ(LoadCurvePreset(path.c_str(), &q), 0);
    EXPECT_EQ(q.Channel, 44u);
    EXPECT_EQ(q.Values[0][0], 0);
    EXPECT_EQ(q.Values[0][1], 100);

    for (int at : {12, 20, 22}) {
        std::vector<uint8_t> other = b;
        other[at] ^= 1;
        WriteBytes(path, other);
        EXPECT_EQ(LoadCurvePreset(path.c_str(), &q), -1) << "byte " << at;
    }
    b.resize(100);
    WriteBytes(path, b);
    CaptureStderr();
    EXPECT_EQ(LoadCurvePreset(path.c_str(), &q), -1);
    GetCapturedStderr();
}
