#include "FixedFormat.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace {

using orvex::test::LiteralRegex;

TEST(FixedFormat, TextThatFitsWithItsTerminatorIsWrittenWhole) {
    char buffer[4];
    Utils::FormatFixed(buffer, sizeof buffer, "a test text", "%s%d", "ab", 7);
    EXPECT_STREQ("ab7", buffer);
}

TEST(FixedFormatDeathTest, OneByteTooLongEndsTheProcessNamingTheText) {
    char buffer[4];
    EXPECT_DEATH(Utils::FormatFixed(buffer, sizeof buffer, "a test text", "%s", "abcd"),
                 LiteralRegex(" F ScannerFramework: [Utils::FormatFixed] a test text does not "
                              "fit in 4 bytes (5 needed)\n"));
}

}  // namespace
