#include "script/command_host.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

using namespace nemu;

TEST(CommandArgs, NumbersMissingOrAfterAWordReadZero) {
    const char* rest = ReadArgs(" 12 -3.9 7.5", 4);
    EXPECT_EQ(ArgInt[0], 12);
    EXPECT_EQ(ArgInt[1], -3); // toward zero
    EXPECT_DOUBLE_EQ(ArgReal[2], 7.5);
    EXPECT_EQ(ArgInt[2], 7);
    EXPECT_EQ(ArgInt[3], 0);
    EXPECT_STREQ(rest, "");

    ReadArgs(" 1 two 3", 3);
    EXPECT_EQ(ArgInt[0], 1);
    EXPECT_EQ(ArgInt[1], 0);
    EXPECT_EQ(ArgInt[2], 0) << "a word stops the reading where it stands";

    // Extra numbers are left for the caller; what follows the last one is returned.
    rest = ReadArgs(" 5 6 7 brush", 2);
    EXPECT_EQ(ArgInt[1], 6);
    EXPECT_STREQ(rest, " 7 brush");

    ReadArgs(nullptr, 2);
    EXPECT_EQ(ArgInt[0], 0);
    EXPECT_EQ(ArgReal[1], 0.0);
}

TEST(CommandArgs, CharactersGluedToTheNameArePassedOver) {
    ReadArgs("xyz 4 5", 2);
    EXPECT_EQ(ArgInt[0], 4);
    EXPECT_EQ(ArgInt[1], 5);
}

TEST(CommandArgs, OutOfRangeNumbersStayDefined) {
    ReadArgs(" 1e300 -1e300 nan inf 2147483648 -2147483649", 6);
    EXPECT_EQ(ArgInt[0], INT_MAX);
    EXPECT_EQ(ArgInt[1], INT_MIN);
    EXPECT_EQ(ArgInt[2], 0);
    EXPECT_EQ(ArgInt[3], INT_MAX);
    EXPECT_EQ(ArgInt[4], INT_MAX);
    EXPECT_EQ(ArgInt[5], INT_MIN);
    std::string many;
    for (int i = 1; i <= 40; i++) many += " " + std::to_string(i);
    ReadArgs(many.c_str(), 1000); // more than the arrays hold
    EXPECT_EQ(ArgInt[MaxArgs - 1], MaxArgs);
}

TEST(CommandArgs, WordOrQuotedAndTheOptionsAfterIt) {
    char word[WordSize];
    const char* rest = ReadWordOrQuoted("  \"my file.png\" stretch", word, sizeof word);
    EXPECT_STREQ(word, "my file.png");
    EXPECT_STREQ(rest, " stretch");
    rest = ReadWordOrQuoted(" a.png 90", word, sizeof word);
    EXPECT_STREQ(word, "a.png");
    EXPECT_STREQ(rest, " 90");
    rest = ReadWordOrQuoted(" \"open to the end", word, sizeof word);
    EXPECT_STREQ(word, "open to the end");
    EXPECT_STREQ(rest, "");
    rest = ReadWordOrQuoted("   ", word, sizeof word);
    EXPECT_STREQ(word, "");
    EXPECT_STREQ(rest, "");
    rest = ReadWordOrQuoted(" \"\" x", word, sizeof word);
    EXPECT_STREQ(word, "");
    EXPECT_STREQ(rest, " x");
}

TEST(CommandArgs, AWordTooLongIsRefusedNotCut) {
    char word[WordSize];
    std::string fits(WordSize - 1, 'f');
    EXPECT_NE(ReadWordOrQuoted((" " + fits).c_str(), word, sizeof word), nullptr);
    EXPECT_EQ(std::string(word), fits);
    EXPECT_EQ(ReadWordOrQuoted((" " + fits + "g").c_str(), word, sizeof word), nullptr);
    EXPECT_EQ(ReadWordOrQuoted((" \"" + fits + "g\"").c_str(), word, sizeof word), nullptr);
    EXPECT_STREQ(word, "");
}

TEST(CommandArgs, MessageTextReadsBackslashNAndIsCut) {
    char text[32];
    EXPECT_EQ(ReadMessageText("   two\\nlines \\t kept  ", text, sizeof text), 17u);
    EXPECT_STREQ(text, "two\nlines \\t kept");
    std::string longText(100, 'm');
    EXPECT_EQ(ReadMessageText(longText.c_str(), text, sizeof text), 31u);
    EXPECT_EQ(ReadMessageText(" \\", text, sizeof text), 1u);
    EXPECT_STREQ(text, "\\");
    EXPECT_TRUE(ArgsEmpty(" \t "));
    EXPECT_FALSE(ArgsEmpty(" x"));
}
