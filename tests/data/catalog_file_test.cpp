// The shipped message catalog: it must load cleanly, hold every text the program
// asks for, and keep the printf conversions that the callers pass.
#include "ui/catalog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace nemu;

namespace {

const char* const CatalogPath = NEMU_BINARY_DIR "/data/nemu.loc";

// What a strict reading of the file found: the texts by id, and every fault.
struct StrictCatalog {
    std::map<uint32_t, std::string> Texts;
    std::vector<std::string> Faults;
};

// Reads the catalog with rules stricter than the program's: a duplicate id, an
// unterminated text, a malformed id and anything after the closing quote are all
// faults. The program would accept most of these silently, or with a warning that
// nobody sees at start-up.
StrictCatalog ReadStrict(const char* path) {
    StrictCatalog out;
    std::ifstream in(path);
    if (!in) {
        out.Faults.push_back("cannot open " + std::string(path));
        return out;
    }
    std::string line;
    int lineNo = 0;
    while (std::getline(in, line)) {
        lineNo++;
        auto fault = [&](const std::string& what) {
            out.Faults.push_back("line " + std::to_string(lineNo) + ": " + what);
        };
        size_t i = line.find_first_not_of(" \t");
        if (i == std::string::npos || line[i] != '$') continue;
        size_t digits = i + 1;
        while (digits < line.size() && isdigit(static_cast<unsigned char>(line[digits]))) digits++;
        if (digits == i + 1) {
            fault("no id after $");
            continue;
        }
        uint32_t id = uint32_t(std::strtoul(line.c_str() + i + 1, nullptr, 10));
        size_t q = line.find('"', digits);
        if (q == std::string::npos || line.find_first_not_of(" \t", digits) != q) {
            fault("id not followed by a quoted text");
            continue;
        }
        std::string text;
        bool closed = false;
        size_t p = q + 1;
        for (;;) {
            if (p >= line.size()) break;
            char c = line[p];
            if (c == '"') {
                closed = true;
                p++;
                break;
            }
            if (c == '\\') {
                if (p + 1 >= line.size()) {
                    // The text goes on at the start of the next line.
                    if (!std::getline(in, line)) break;
                    lineNo++;
                    p = 0;
                    continue;
                }
                char e = line[p + 1];
                switch (e) {
                case 'n': text += '\n'; break;
                case 't': text += '\t'; break;
                case '0': text += '\0'; break;
                case '"': case '\'': case '\\': text += e; break;
                default: fault(std::string("unknown escape \\") + e); text += e; break;
                }
                p += 2;
                continue;
            }
            text += c;
            p++;
        }
        if (!closed) fault("unterminated text of " + std::to_string(id));
        else if (line.find_first_not_of(" \t\r", p) != std::string::npos)
            fault("text of " + std::to_string(id) + " has something after its closing quote");
        if (!out.Texts.emplace(id, text).second) fault("id " + std::to_string(id) + " given twice");
    }
    return out;
}

// The printf conversions of a text, in order, each as "%" and its letter; "%%" and a
// lone % with no conversion after it are plain text.
std::string Conversions(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != '%') continue;
        size_t j = i + 1;
        if (j < text.size() && text[j] == '%') {
            i = j;
            continue;
        }
        while (j < text.size() && std::string("-+ #0").find(text[j]) != std::string::npos) j++;
        while (j < text.size() && (isdigit(static_cast<unsigned char>(text[j])) || text[j] == '.' || text[j] == '*')) j++;
        while (j < text.size() && std::string("hlLqjzt").find(text[j]) != std::string::npos) j++;
        if (j < text.size() && std::string("diouxXeEfFgGaAcspn").find(text[j]) != std::string::npos) {
            out += '%';
            out += text[j];
            i = j;
        }
    }
    return out;
}

struct ShippedCatalog : ::testing::Test {
    static StrictCatalog strict;
    static void SetUpTestSuite() { strict = ReadStrict(CatalogPath); }
    const std::string& Text(uint32_t id) {
        static const std::string none;
        auto it = strict.Texts.find(id);
        return it == strict.Texts.end() ? none : it->second;
    }
};
StrictCatalog ShippedCatalog::strict;

} // namespace

TEST_F(ShippedCatalog, ReadsStrictlyWithoutFaultsAndHoldsAllTexts) {
    for (const std::string& f : strict.Faults) ADD_FAILURE() << f;
    EXPECT_GT(strict.Texts.size(), 400u);
}

TEST_F(ShippedCatalog, ProgramLoadsItWithoutWarningAndSeesTheSameTexts) {
    testing::internal::CaptureStderr();
    MsgCatalog* c = CatalogLoad(CatalogPath);
    std::string warnings = testing::internal::GetCapturedStderr();
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(warnings, "") << "the loader complained";
    for (const auto& [id, text] : strict.Texts) {
        // The program's texts end at a zero byte; the strict reader keeps what follows.
        std::string upToZero = text.substr(0, text.find('\0'));
        EXPECT_EQ(std::string(MsgGet(c, id)), upToZero) << "id " << id;
    }
    CatalogFree(c);
}

TEST_F(ShippedCatalog, CentralTextsAreThere) {
    std::vector<uint32_t> central = {
        1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007, // memory, answers, on/off, OK/Cancel
        7400, 7410, 7411, 7412, 7413, 7414, 7415, 7420, 7421, 7422, // busy note, text menu, progress scale
        1101, 1102, 1103, 1104, 1110, // default help of title bar buttons
        1062, 1401, 1420, 1421, 1422, 1430, 1435, 2350, 2364, 2367, 2369, // alerts everybody meets
        3220, 3221, 8100, 10235, 10236, 3403, // undo label, unnamed layer, quit dialog
        10000, 10001, 10002, 10003, 10004, // menu bar titles
        19900, 19920, 20481, // keyboard dialog, shortcut caption, plug-in commands
    };
    for (uint32_t id : central) EXPECT_NE(Text(id), "") << "id " << id;
    // Every draw mode has a name in the menu, on the button and in the status line.
    for (uint32_t i = 0; i <= 16; i++) {
        EXPECT_NE(Text(3100 + i), "") << "menu entry of draw mode " << i;
        EXPECT_NE(Text(3200 + i), "") << "button of draw mode " << i;
        EXPECT_NE(Text(5500 + i), "") << "status of draw mode " << i;
    }
    // Whole ranges that panels fill their labels from.
    for (uint32_t id = 3700; id <= 3768; id++) EXPECT_NE(Text(id), "") << "pens panel " << id;
    for (uint32_t id = 4401; id <= 4414; id++) EXPECT_NE(Text(id), "") << "pens panel " << id;
    for (uint32_t id = 4500; id <= 4564; id++) EXPECT_NE(Text(id), "") << "monitor panel " << id;
    for (uint32_t id = 8200; id <= 8220; id++) EXPECT_NE(Text(id), "") << "undo step " << id;
}

TEST_F(ShippedCatalog, EveryCommandHasATitle) {
    // The command families and how far each runs; the dialog lists commands by these titles.
    const std::pair<uint32_t, uint32_t> families[] = {
        {20000, 20000}, {20002, 20004}, {20010, 20013}, {20020, 20029}, {20040, 20042}, {20050, 20074},
        {20090, 20121}, {20130, 20131}, {20140, 20141}, {20150, 20153}, {20160, 20174}, {20200, 20208},
        {20210, 20221}, {20230, 20230}, {20240, 20240}, {20250, 20250}, {20260, 20260}, {20270, 20270},
        {20280, 20282}, {20300, 20300}, {20305, 20305}, {20310, 20310}, {20315, 20315}, {20320, 20320},
        {20350, 20360}, {20380, 20388}, {20400, 20405}, {20410, 20410}, {20415, 20415}, {20420, 20423},
        {20430, 20433}, {20440, 20441}, {20445, 20446}, {20460, 20477}, {20480, 20480},
    };
    int count = 0;
    for (auto [first, last] : families)
        for (uint32_t id = first; id <= last; id++, count++) EXPECT_NE(Text(id), "") << "command title " << id;
    EXPECT_EQ(count, 194);
}

TEST_F(ShippedCatalog, TextsKeepTheConversionsTheirCallersPass) {
    // Texts the program fills in, and the conversions its callers pass, in order. Texts
    // that callers join with a file name, a system error or another text themselves
    // must hold none, or the join would print garbage.
    const std::map<uint32_t, std::string> formats = {
        {8152, "%s"}, // resampling a layer, with its name
        {8219, "%s"}, // undo step deleting a layer, with its name
        {8220, "%s"}, // undo step duplicating a layer, with its name
    };
    for (const auto& [id, conversions] : formats) EXPECT_EQ(Conversions(Text(id)), conversions) << "id " << id;
    for (const auto& [id, text] : strict.Texts) {
        if (formats.count(id)) continue;
        EXPECT_EQ(Conversions(text), "") << "id " << id << " is not filled in: \"" << text << "\"";
    }
}

TEST_F(ShippedCatalog, ConversionReaderTellsFormatsFromPlainPercents) {
    EXPECT_EQ(Conversions("100%"), "");
    EXPECT_EQ(Conversions("50%% of %s"), "%s");
    EXPECT_EQ(Conversions("%d x %-3ld, %s"), "%d%d%s");
    EXPECT_EQ(Conversions("a % d"), "%d"); // a space flag still makes a conversion
}

TEST_F(ShippedCatalog, UndoPrefixesCanBeToldApart) {
    // The Undo button toggles its label by comparing prefixes: neither may start the other.
    const std::string& undo = Text(3220);
    const std::string& redo = Text(3221);
    ASSERT_FALSE(undo.empty());
    ASSERT_FALSE(redo.empty());
    EXPECT_NE(undo.rfind(redo, 0), 0u);
    EXPECT_NE(redo.rfind(undo, 0), 0u);
}

TEST_F(ShippedCatalog, InterfaceColoursAreThreeChannels) {
    std::vector<uint32_t> colours;
    for (uint32_t id = 101; id <= 116; id++) colours.push_back(id);
    colours.push_back(140);
    colours.push_back(141);
    for (uint32_t id : colours) {
        std::istringstream in(Text(id));
        int r = -1, g = -1, b = -1;
        std::string rest;
        in >> r >> g >> b;
        EXPECT_TRUE(in && !(in >> rest)) << "id " << id << " is not three numbers: \"" << Text(id) << "\"";
        for (int v : {r, g, b}) EXPECT_TRUE(v >= 0 && v <= 255) << "id " << id << " channel " << v;
    }
}

TEST_F(ShippedCatalog, ButtonLabelsFitTheirButtons) {
    // Buttons are sized for a word or two; a sentence here would spill over its neighbours.
    for (uint32_t id : {1001u, 1002u, 1003u, 1004u, 1005u, 1006u, 1007u, 1062u, 3306u, 3321u, 3322u, 2360u, 2361u,
                        2940u, 2941u, 7420u, 7421u, 7422u, 10000u, 10001u, 10002u, 10003u, 10004u})
        EXPECT_LE(Text(id).size(), 14u) << "id " << id << ": \"" << Text(id) << "\"";
    // The short help bubble ends at the first character of message 40.
    EXPECT_EQ(Text(40).size(), 1u);
}
