// Pictures into the project: a picture opened as a project, imported as a layer, or loaded
// into the page, at its own size, cropped or scaled.
#include "project_file_support.h"

#include "files/format_settings.h"
#include "files/image_import.h"
#include "files/recent_files.h"
#include "files/registry.h"
#include "host/input.h"
#include "paint/draw_modes.h"
#include "store/scale.h"

using namespace nemu;
using namespace nemu::test;

namespace {

// The corpus's 24 by 16 RGB picture as the registry loads it.
Bitmap* Picture(const std::string& path) {
    Bitmap* b = NewClearBitmap(24, 16);
    EXPECT_EQ(LoadImageFile(path.c_str(), b, 0), 0);
    return b;
}

uint32_t PixelOf(const Bitmap* b, int x, int y) {
    return b->Pixels[size_t(y) * size_t(b->Width) + size_t(x)];
}

} // namespace

TEST_F(ProjectFileTest, APictureOpenedAsAProjectBecomesItsOneLayer) {
    std::string png = SourceDataPath("png/rgb.png");
    Bitmap* picture = Picture(png);
    AddLayer("old", 0, 5);
    ASSERT_EQ(LoadProject(png.c_str(), 1, 0), 0);
    EXPECT_EQ(PageWidth * 1000 + PageHeight, 24016);
    ASSERT_EQ(LayerCount, 1);
    EXPECT_STREQ(Layers[0].Name, "rgb-1");
    EXPECT_EQ(Layers[0].Density, 255);
    EXPECT_EQ(LayerPixel(0, 0, 23, 15), PixelOf(picture, 23, 15));
    EXPECT_EQ(SavedCounter, ChangeCounter);
    EXPECT_STREQ(RecentFiles[0], png.c_str());

    // Without resize, scaled to the page by the fast scaler.
    ASSERT_EQ(ChangePageSize(48, 40, 0), 1);
    AntiAlias = 0;
    ASSERT_EQ(LoadProject(png.c_str(), 0, 1), 0);
    Bitmap* scaled = NewBitmap(48, 40);
    ASSERT_EQ(ScaleBitmap(picture, scaled, false), 1);
    Bitmap* loaded = NewBitmap(48, 40);
    ASSERT_EQ(LoadLayerImage(loaded, &Layers[0], 0), 1);
    EXPECT_EQ(PixelHash(loaded), PixelHash(scaled));
    // Nor scaled: in the corner, the rest empty.
    ASSERT_EQ(LoadProject(png.c_str(), 0, 0), 0);
    EXPECT_EQ(LayerPixel(0, 0, 23, 15), PixelOf(picture, 23, 15));
    EXPECT_EQ(LayerPixel(0, 0, 24, 15), 0u);
    for (Bitmap* b : {picture, scaled, loaded}) FreeBitmap(b);
}

TEST_F(ProjectFileTest, ImportedFilesBecomeLayersAboveTheCurrentOne) {
    std::string png = SourceDataPath("png/rgba.png");
    Bitmap* picture = Picture(png);
    std::strcpy(Layers[0].Name, "base");
    AddLayer("under", 2, 6);
    ASSERT_NE(SelectLayerImage(1, 4, 1), nullptr);
    Stretch = 0;
    ASSERT_EQ(ImportFile(png.c_str()), 0);
    ASSERT_EQ(LayerCount, 3);
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_STREQ(Layers[1].Name, "rgba");
    EXPECT_EQ(Layers[1].FirstImage * 10 + Layers[1].LastImage, 44);
    // The page's undo takes the picture away, and brings it back; the layer stays.
    EXPECT_EQ(At(5, 5), PixelOf(picture, 5, 5));
    Undo();
    EXPECT_EQ(At(5, 5), 0u);
    Undo();
    EXPECT_EQ(LayerPixel(1, 4, 5, 5), PixelOf(picture, 5, 5));
    EXPECT_EQ(LayerPixel(1, 4, 100, 50), 0u);
    EXPECT_EQ(LayerCount, 3);

    // Stretched, the picture fills the page.
    Stretch = 1;
    ASSERT_EQ(ImportFile(png.c_str()), 0);
    EXPECT_EQ(LayerPixel(1, 4, 149, 69), PixelOf(picture, 23, 15));
    Stretch = 0;

    // A project's layers are added, and an unknown file says so.
    std::string project = TestPath("two.nem");
    ASSERT_EQ(WriteProject(project.c_str()), 0);
    ASSERT_EQ(ImportFile(project.c_str()), 0);
    EXPECT_EQ(LayerCount, 8);
    std::string text = TestPath("notes.txt");
    WriteBytes(text, {'h', 'i'});
    testing::internal::CaptureStderr();
    EXPECT_EQ(ImportFile(text.c_str()), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(MsgGet(nullptr, 2355)), std::string::npos);
    EXPECT_EQ(LayerCount, 8);
    FreeBitmap(picture);
}

TEST_F(ProjectFileTest, APictureLoadedIntoThePageCoversItsCornerOnlyAndIsUndone) {
    std::string png = SourceDataPath("png/rgb.png");
    Bitmap* picture = Picture(png);
    ClearBitmap(Page, 0xFF0000FF);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    ASSERT_EQ(FlushPage(), 1);
    ASSERT_EQ(LoadPictureToPage(png.c_str(), 0), 0);
    EXPECT_EQ(At(3, 3), PixelOf(picture, 3, 3));
    EXPECT_EQ(At(30, 30), 0xFF0000FFu);
    Undo();
    EXPECT_EQ(At(3, 3), 0xFF0000FFu);
    // Stretched, its corners are the page's.
    ASSERT_EQ(LoadPictureToPage(png.c_str(), 1), 0);
    EXPECT_EQ(At(149, 69), PixelOf(picture, 23, 15));
    EXPECT_EQ(At(0, 0), PixelOf(picture, 0, 0));
    testing::internal::CaptureStderr();
    EXPECT_EQ(LoadPictureToPage(TestPath("none.png").c_str(), 0), -1);
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("none.png"), std::string::npos) << said;
    FreeBitmap(picture);
}

TEST(LayerNames, FileNamesLoseTheirFoldersAndExtensions) {
    char name[128];
    LayerNameFromFile("/a/b/scene.tiff", 3, name, sizeof name);
    EXPECT_STREQ(name, "scene-3");
    LayerNameFromFile("shot.jpg", 1, name, sizeof name);
    EXPECT_STREQ(name, "shot-1");
    LayerNameFromFile("/x/no.extension", 2, name, sizeof name);
    EXPECT_STREQ(name, "no.extension-2");
    PictureLayerName("/x/y/photo.png", name, sizeof name);
    EXPECT_STREQ(name, "photo");
    PictureLayerName("photo.tiff", name, sizeof name);
    EXPECT_STREQ(name, "photo.tiff");
}

TEST_F(ProjectFileTest, DroppedFilesComeInAsLayers) {
    std::string png = SourceDataPath("png/gray8.png");
    std::string project = TestPath("dropped.nem");
    ASSERT_EQ(WriteProject(project.c_str()), 0);
    // The names as the window system hands them over: each ended by a zero, the list by one more.
    std::string names = png + '\0' + project + '\0' + '\0';
    auto* buffer = static_cast<char*>(std::malloc(names.size()));
    std::memcpy(buffer, names.data(), names.size());
    InputMsg msg{};
    msg.Type = IM_DROP;
    msg.Payload = buffer;
    DispatchInput(&msg);
    ASSERT_EQ(LayerCount, 3);
    EXPECT_STREQ(Layers[0].Name, MsgGet(nullptr, 8100)); // the project's layer, above
    EXPECT_STREQ(Layers[1].Name, "gray8");
    EXPECT_STREQ(RecentFiles[0], project.c_str());
    EXPECT_STREQ(RecentFiles[1], png.c_str());
}
