// A temporary folder for the file requester's tests, and pictures written into it. Every
// test checks at its end that the process's current folder did not move.
#pragma once
#include "files/png_format.h"
#include "store/bitmap.h"
#include "support/temp_files.h"
#include "ui/file_list.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

struct Folder : ::testing::Test {
    std::string Root = TempPath("requester");
    nemu::FileList List{};
    char Cwd[nemu::FilePathSize] = {};

    void SetUp() override {
        ASSERT_NE(getcwd(Cwd, sizeof Cwd), nullptr);
        std::system(("rm -rf '" + Root + "'").c_str());
        mkdir(Root.c_str(), 0755);
    }
    void TearDown() override {
        nemu::FileListFree(&List);
        chmod((Root + "/locked").c_str(), 0755);
        std::system(("rm -rf '" + Root + "'").c_str());
        char now[nemu::FilePathSize];
        // Nothing here may move the process's folder.
        EXPECT_STREQ(getcwd(now, sizeof now), Cwd);
    }
    std::string Path(const std::string& name) const { return Root + "/" + name; }
    void Picture(const std::string& name, int w, int h, uint32_t colour = 0xFF336699) {
        nemu::Bitmap* b = nemu::NewBitmap(w, h);
        nemu::ClearBitmap(b, colour);
        ASSERT_EQ(nemu::WritePng(Path(name).c_str(), b), 0);
        nemu::FreeBitmap(b);
    }
    std::vector<std::string> Shown() const {
        std::vector<std::string> names;
        for (int32_t i = 0; i < List.Count; i++) names.push_back(List.Entries[i].Shown);
        return names;
    }
};

