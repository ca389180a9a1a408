// The X11 back end's conversions, which need no server: keys, UTF-8, tablet values,
// pixel layouts, PNG and URI lists.
#include <gtest/gtest.h> // before Xlib and its None

#include "host/x11_platform.h"
#include "store/bitmap.h"

#include <X11/keysym.h>
#include <cmath>
#include <cstring>

using namespace nemu;

namespace {

TEST(X11Keys, KeysymsMapToTheVirtualKeyNumbers) {
    struct Row {
        uint32_t Keysym, Vk;
    };
    const Row rows[] = {
        {XK_a, 65},           {XK_z, 90},
        {XK_Q, 81},           {XK_0, 48},
        {XK_9, 57},           {XK_F1, 112},
        {XK_F12, 123},        {XK_KP_0, 96},
        {XK_KP_7, 103},       {XK_KP_Add, 107},
        {XK_KP_Divide, 111},  {XK_KP_Decimal, 110},
        {XK_KP_Home, 36},     {XK_KP_Delete, 46},
        {XK_Return, 13},      {XK_KP_Enter, 13},
        {XK_BackSpace, 8},    {XK_Tab, 9},
        {XK_Escape, 27},      {XK_space, 32},
        {XK_Delete, 46},      {XK_Insert, 45},
        {XK_Left, 37},        {XK_Down, 40},
        {XK_Prior, 33},       {XK_Shift_R, 16},
        {XK_Control_L, 17},   {XK_Alt_L, 18},
        {XK_semicolon, 186},  {XK_equal, 187},
        {XK_comma, 188},      {XK_minus, 189},
        {XK_period, 190},     {XK_slash, 191},
        {XK_grave, 192},      {XK_bracketleft, 219},
        {XK_backslash, 220},  {XK_bracketright, 221},
        {XK_apostrophe, 222}, {XK_eacute, 0},
        {XK_VoidSymbol, 0},
    };
    for (const Row& r : rows) EXPECT_EQ(KeysymToVirtualKey(r.Keysym), r.Vk) << std::hex << r.Keysym;
}

TEST(X11Keys, KeysymsWithoutInputMethodGiveTheirCharacters) {
    EXPECT_EQ(KeysymToUnicode(XK_a), uint32_t('a'));
    EXPECT_EQ(KeysymToUnicode(XK_eacute), 0xE9u);
    EXPECT_EQ(KeysymToUnicode(0x10020AC), 0x20ACu); // a keysym that is a code point
    EXPECT_EQ(KeysymToUnicode(XK_KP_5), uint32_t('5'));
    EXPECT_EQ(KeysymToUnicode(XK_Return), 13u);
    EXPECT_EQ(KeysymToUnicode(XK_Left), 0u);
    EXPECT_EQ(KeysymToUnicode(XK_Delete), 0u);
}

TEST(X11Keys, Utf8DecodesAndSkipsWhatIsMalformed) {
    uint32_t cp[16];
    const char good[] = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    ASSERT_EQ(DecodeUtf8(good, std::strlen(good), cp, 16), 4);
    EXPECT_EQ(cp[0], 0x61u);
    EXPECT_EQ(cp[1], 0xE9u);
    EXPECT_EQ(cp[2], 0x20ACu);
    EXPECT_EQ(cp[3], 0x1F600u);
    // Overlong, surrogate, cut short, stray continuation, beyond U+10FFFF: all dropped.
    const char bad[] = "\xC0\xAF"
                       "x\xED\xA0\x80"
                       "y\x80\xF4\x90\x80\x80"
                       "z\xE2\x82";
    ASSERT_EQ(DecodeUtf8(bad, std::strlen(bad), cp, 16), 3);
    EXPECT_EQ(cp[0], uint32_t('x'));
    EXPECT_EQ(cp[1], uint32_t('y'));
    EXPECT_EQ(cp[2], uint32_t('z'));
    EXPECT_EQ(DecodeUtf8(good, std::strlen(good), cp, 2), 2); // never more than asked
}

// ---- Tablet ----------------------------------------------------------------------------

// A coordinate as the protocol carries it, 32 bits whole and 32 bits fraction, given the
// way Xlib hands it over.
double FromFp3232(int32_t integral, uint32_t fraction) {
    return integral + fraction / 4294967296.0;
}

TEST(X11Tablet, ProtocolCoordinatesBecome16Dot16WithTheirFraction) {
    EXPECT_EQ(CoordToFixed(FromFp3232(100, 0x80000000u)), (100 << 16) | 0x8000);
    EXPECT_EQ(CoordToFixed(FromFp3232(1279, 0xFFFF0000u)), (1279 << 16) | 0xFFFF);
    EXPECT_EQ(CoordToFixed(FromFp3232(7, 0x0000FFFFu)), 7 << 16);              // below 1/65536 is dropped
    EXPECT_EQ(CoordToFixed(FromFp3232(-3, 0xC0000000u)), -3 * 65536 + 0xC000); // -2.25
    EXPECT_EQ(CoordToFixed(1e9), INT32_MAX);
    EXPECT_EQ(CoordToFixed(-1e9), INT32_MIN);
    EXPECT_EQ(CoordToFixed(std::nan("")), 0);
}

TEST(X11Tablet, PressureKeepsAWholeRangeAndSpreadsANarrowOne) {
    TabletPacket p;
    ScalePressure(512, 0, 1023, &p);
    EXPECT_EQ(p.Pressure, 512);
    EXPECT_EQ(p.PressureMin, 0);
    EXPECT_EQ(p.PressureMax, 1023);
    ScalePressure(-40, 0, 1023, &p); // outside the axis: held to its ends
    EXPECT_EQ(p.Pressure, 0);
    ScalePressure(5000, 0, 1023, &p);
    EXPECT_EQ(p.Pressure, 1023);
    ScalePressure(0.5, 0, 1, &p); // a range of 0 to 1 becomes 0 to 65535
    EXPECT_EQ(p.Pressure, 32768);
    EXPECT_EQ(p.PressureMax, 65535);
    ScalePressure(200, 100, 100, &p); // no range: nothing to measure
    EXPECT_EQ(p.Pressure, 0);
    EXPECT_EQ(p.PressureMax, 0);
    ScalePressure(std::nan(""), 0, 1023, &p);
    EXPECT_EQ(p.PressureMax, 0);
}

TEST(X11Tablet, TiltBecomesAzimuthAndAltitude) {
    int32_t az = -1, alt = -1;
    TiltToOrientation(0, 0, &az, &alt);
    EXPECT_EQ(az, 0);
    EXPECT_EQ(alt, 900);
    TiltToOrientation(45, 0, &az, &alt); // top leaning right
    EXPECT_EQ(az, 900);
    EXPECT_EQ(alt, 450);
    TiltToOrientation(0, 45, &az, &alt); // toward the bottom of the screen
    EXPECT_EQ(az, 1800);
    TiltToOrientation(-45, 0, &az, &alt);
    EXPECT_EQ(az, 2700);
    TiltToOrientation(0, -45, &az, &alt);
    EXPECT_EQ(az, 0);
    TiltToOrientation(30, -30, &az, &alt); // up and to the right
    EXPECT_EQ(az, 450);
    EXPECT_EQ(alt, 508);                 // atan(1 / (tan 30 * sqrt 2)) = 50.77 degrees
    TiltToOrientation(90, 0, &az, &alt); // flat on the tablet, not beyond
    EXPECT_GE(alt, 0);

    TabletAxis degrees{3, -64, 63}, units{4, 0, 1000};
    EXPECT_DOUBLE_EQ(TiltDegrees(-30, degrees), -30);
    EXPECT_DOUBLE_EQ(TiltDegrees(1000, units), 60);
    EXPECT_DOUBLE_EQ(TiltDegrees(500, units), 0);
}

TEST(X11Tablet, EraserIsFoundByName) {
    EXPECT_TRUE(IsEraserName("Wacom Intuos Pro M Pen eraser"));
    EXPECT_TRUE(IsEraserName("ERASER"));
    EXPECT_TRUE(IsEraserName("HUION pen (Eraser)"));
    EXPECT_FALSE(IsEraserName("Wacom Intuos Pro M Pen stylus"));
    EXPECT_FALSE(IsEraserName("erase"));
    EXPECT_FALSE(IsEraserName(""));
    EXPECT_FALSE(IsEraserName(nullptr));
}

TEST(X11Tablet, PacketsRememberValuatorsTheEventLeavesOut) {
    TabletDevice pen;
    pen.Id = 12;
    pen.Eraser = true;
    pen.Pressure = {2, 0, 2047};
    pen.TiltX = {3, -64, 63};
    pen.TiltY = {4, -64, 63};
    pen.Last.assign(5, 0.0);
    // The first event sets x, y, pressure and tilt x (bits 0 to 3); values come packed.
    unsigned char mask[1] = {0x0F};
    double values[] = {1000, 2000, 1024, 45};
    TabletPacket p;
    MakeTabletPacket(&pen, mask, 1, values, 10.25, 20.5, 1, &p);
    EXPECT_EQ(p.Cursor, 2u);
    EXPECT_EQ(p.Buttons, 1u);
    EXPECT_EQ(p.X, (10 << 16) | 0x4000);
    EXPECT_EQ(p.Y, (20 << 16) | 0x8000);
    EXPECT_EQ(p.Pressure, 1024);
    EXPECT_EQ(p.PressureMax, 2047);
    EXPECT_EQ(p.Azimuth, 900);
    EXPECT_EQ(p.Altitude, 450);
    // The next moves only x (bit 0): pressure and tilt stay as they were.
    unsigned char onlyX[2] = {0x01, 0x00};
    double x[] = {1001};
    MakeTabletPacket(&pen, onlyX, 2, x, 11, 20, 0, &p);
    EXPECT_EQ(p.Pressure, 1024);
    EXPECT_EQ(p.Azimuth, 900);
    EXPECT_EQ(p.Buttons, 0u);
    // A valuator beyond the device's own is read past but not kept.
    unsigned char far[2] = {0x04, 0x80};
    double farValues[] = {300, 7};
    MakeTabletPacket(&pen, far, 2, farValues, 11, 20, 0, &p);
    EXPECT_EQ(p.Pressure, 300);
    EXPECT_EQ(pen.Last.size(), 5u);
}

// ---- Pixel layouts ------------------------------------------------------------------------

TEST(X11Blit, PixelsConvertToOtherLayouts) {
    const uint32_t src[2] = {0x80123456, 0xFFF0E0D0}; // alpha is dropped
    uint8_t out[8];
    PixelLayout bgr;
    bgr.RedMask = 0xFF, bgr.BlueMask = 0xFF0000;
    ConvertPixels(src, out, 2, bgr);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 8),
              (std::vector<uint8_t>{0x12, 0x34, 0x56, 0, 0xF0, 0xE0, 0xD0, 0}));
    PixelLayout big;
    big.MsbFirst = true;
    ConvertPixels(src, out, 2, big);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 8),
              (std::vector<uint8_t>{0, 0x12, 0x34, 0x56, 0, 0xF0, 0xE0, 0xD0}));
    PixelLayout packed;
    packed.BitsPerPixel = 24;
    ConvertPixels(src, out, 2, packed);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 6), (std::vector<uint8_t>{0x56, 0x34, 0x12, 0xD0, 0xE0, 0xF0}));
    // 5-6-5: 0x12 >> 3 = 2, 0x34 >> 2 = 13, 0x56 >> 3 = 10: 2 << 11 | 13 << 5 | 10 = 0x11AA.
    PixelLayout short565{16, false, 0xF800, 0x07E0, 0x001F};
    ConvertPixels(src, out, 1, short565);
    EXPECT_EQ(out[0], 0xAA);
    EXPECT_EQ(out[1], 0x11);
    // 10 bits a channel: the top bits repeat into the bottom, so white stays white.
    PixelLayout deep{32, false, 0x3FF00000, 0xFFC00, 0x3FF};
    const uint32_t white = 0xFFFFFFFF;
    ConvertPixels(&white, out, 1, deep);
    uint32_t v = uint32_t(out[0]) | uint32_t(out[1]) << 8 | uint32_t(out[2]) << 16 | uint32_t(out[3]) << 24;
    EXPECT_EQ(v, 0x3FFFFFFFu);
    EXPECT_TRUE(IsNativeLayout(PixelLayout{}));
    EXPECT_FALSE(IsNativeLayout(bgr));
    EXPECT_FALSE(IsNativeLayout(big));
}

// ---- PNG ----------------------------------------------------------------------------------------

TEST(X11Clipboard, PngKeepsEveryPremultipliedValue) {
    // Every pair of colour c and alpha a with c <= a, as a premultiplied pixel.
    Bitmap* all = NewBitmap(256, 256);
    ASSERT_NE(all, nullptr);
    for (uint32_t a = 0; a < 256; a++)
        for (uint32_t c = 0; c < 256; c++) {
            uint32_t v = c <= a ? c : a;
            all->Pixels[a * 256 + c] = a << 24 | v << 16 | (v / 2) << 8 | (a - v);
        }
    ByteBuffer png;
    ASSERT_TRUE(EncodeClipboardPng(all, &png));
    ASSERT_GT(png.Size, 8u);
    EXPECT_EQ(std::memcmp(png.Data, "\x89PNG", 4), 0);
    Bitmap* back = DecodeClipboardPng(png.Data, png.Size);
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->Width, 256);
    ASSERT_EQ(back->Height, 256);
    int bad = 0;
    for (int i = 0; i < 256 * 256; i++) {
        uint32_t want = (all->Pixels[i] >> 24) ? all->Pixels[i] : 0;
        if (back->Pixels[i] != want && bad++ < 5)
            ADD_FAILURE() << "pixel " << i << ": " << std::hex << back->Pixels[i] << " not " << want;
    }
    FreeBitmap(back);
    FreeBitmap(all);
}

TEST(X11Clipboard, BrokenPngIsRefused) {
    Bitmap* one = NewBitmap(3, 2);
    ASSERT_NE(one, nullptr);
    ClearBitmap(one, 0xFF336699);
    ByteBuffer png;
    ASSERT_TRUE(EncodeClipboardPng(one, &png));
    FreeBitmap(one);
    EXPECT_EQ(DecodeClipboardPng(png.Data, png.Size / 2), nullptr); // cut short
    std::vector<uint8_t> damaged(png.Data, png.Data + png.Size);
    damaged[20] ^= 0x40; // inside the header, so its check sum fails
    EXPECT_EQ(DecodeClipboardPng(damaged.data(), damaged.size()), nullptr);
    const uint8_t junk[] = "not a picture at all";
    EXPECT_EQ(DecodeClipboardPng(junk, sizeof junk), nullptr);
    EXPECT_EQ(DecodeClipboardPng(nullptr, 0), nullptr);
}

// ---- URI lists ------------------------------------------------------------------------------------

std::vector<std::string> Names(const std::string& list) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < list.size() && list[i]) {
        size_t end = list.find('\0', i);
        out.push_back(list.substr(i, end - i));
        i = end + 1;
    }
    return out;
}

TEST(X11Drop, UriListsGiveLocalPaths) {
    const std::string list = "# dragged from a file manager\r\n"
                             "file:///home/ann/Pictures/sky%20at%20dusk.png\r\n"
                             "file://localhost/tmp/a%25b.tif\r\n"
                             "FILE://studio/srv/plates/01.exr\r\n"
                             "file:/var/tmp/old-style.iff\n"
                             "file:///caf%C3%A9/na%c3%afve.jpg";
    std::string out = DecodeUriList(list.data(), list.size(), "studio");
    EXPECT_EQ(Names(out), (std::vector<std::string>{"/home/ann/Pictures/sky at dusk.png", "/tmp/a%b.tif",
                                                    "/srv/plates/01.exr", "/var/tmp/old-style.iff",
                                                    "/caf\xC3\xA9/na\xC3\xAFve.jpg"}));
    // Each name ends with a NUL and one more ends the list.
    ASSERT_GE(out.size(), 2u);
    EXPECT_EQ(out[out.size() - 1], '\0');
    EXPECT_EQ(out[out.size() - 2], '\0');
}

TEST(X11Drop, WhatIsNotALocalFileIsLeftOut) {
    const std::string list = "http://example.com/a.png\r\n"
                             "file://elsewhere/home/a.png\r\n"
                             "file:///bad%zzescape.png\r\n"
                             "file:///cut%2\r\n"
                             "file:///nul%00inside.png\r\n"
                             "file://\r\n"
                             "file:relative.png\r\n"
                             "\r\n"
                             "file:///kept.png";
    EXPECT_EQ(Names(DecodeUriList(list.data(), list.size(), "studio")),
              (std::vector<std::string>{"/kept.png"}));
    EXPECT_EQ(DecodeUriList("", 0, "studio"), "");
    const std::string withNul("file:///a.png\0file:///b.png\r\nfile:///c.png", 42);
    EXPECT_EQ(Names(DecodeUriList(withNul.data(), withNul.size(), nullptr)),
              (std::vector<std::string>{"/c.png"}));
    const std::string none = "file://elsewhere/x\r\n";
    EXPECT_EQ(DecodeUriList(none.data(), none.size(), nullptr), "");
}

} // namespace
