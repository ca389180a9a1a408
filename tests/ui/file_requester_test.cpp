// The request record: its folder, name and recent folders, section Browser, and the
// requester's answer when there is no screen.
#include "ui/file_requester.h"

#include "ui/folder_fixture.h"
#include "ui/settings.h"

#include <cstring>

using namespace nemu;

TEST_F(Folder, RequestRecordKeepsPathNameAndHistory) {
    mkdir(Path("a").c_str(), 0755);
    FileRequest* r = FileRequestNew(nullptr);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->Folder, Cwd); // an empty path starts in the current folder
    char real[FilePathSize];
    ASSERT_NE(realpath(Root.c_str(), real), nullptr);
    FileRequestSetPath(r, (Root + "/picture.png").c_str());
    EXPECT_STREQ(r->Folder, real);
    EXPECT_STREQ(r->Name, "picture.png");
    FileRequestSetPath(r, "a");
    EXPECT_EQ(std::string(r->Folder), std::string(real) + "/a");
    FileRequestSetPath(r, "/no/such/folder/x.png"); // leads nowhere: stays
    EXPECT_EQ(std::string(r->Folder), std::string(real) + "/a");
    for (int i = 0; i < 10; i++) FileRequestRemember(r, ("/f" + std::to_string(i)).c_str());
    FileRequestRemember(r, "/f5");
    const char* expect[] = {"/f5", "/f9", "/f8", "/f7", "/f6", "/f4", "/f3", "/f2"};
    for (int i = 0; i < FolderHistorySize; i++) EXPECT_STREQ(r->History[i], expect[i]) << i;
    FileRequestFree(r);
}

TEST_F(Folder, BrowserKeysGoBackAndForthThroughTheSettings) {
    ConfigFile* saved = CurrentConfig;
    CurrentConfig = new ConfigFile;
    ParseConfigText(CurrentConfig, "[Browser]\nFileReqX=30\nFilePath=" + Root + "\nFilePath03=/tmp\nProIcon=off\n");
    LoadBrowserSettings();
    ASSERT_NE(PictureRequest, nullptr);
    ASSERT_NE(ProjectRequest, nullptr);
    EXPECT_EQ(PictureRequest->X, 30);
    EXPECT_EQ(PictureRequest->Y, -1);
    EXPECT_STREQ(PictureRequest->History[3], "/tmp");
    EXPECT_EQ(ProjectRequest->Icons, 0);
    EXPECT_STREQ(ProjectRequest->Pattern, "*.nem;*.omx");
    FileRequestRemember(PictureRequest, "/var");
    SaveBrowserSettings();
    char value[64];
    ConfigGet("Browser", "FilePath00", value, "", sizeof value);
    EXPECT_STREQ(value, "/var");
    ConfigGet("Browser", "FilePath04", value, "", sizeof value);
    EXPECT_STREQ(value, "/tmp");
    ConfigGet("Browser", "ProIcon", value, "", sizeof value);
    EXPECT_STREQ(value, "off");
    FreeFileRequests();
    EXPECT_EQ(PictureRequest, nullptr);
    delete CurrentConfig;
    CurrentConfig = saved;
}

TEST(FileRequester, WithoutAScreenEveryRequestIsCancelled) {
    char path[64] = "untouched";
    EXPECT_EQ(RequestFile(2735, path, sizeof path, 1), 0);
    FreeFileRequests();
}
