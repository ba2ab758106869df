#include "platform/foundation/Format.h"

#include "platform/foundation/StringsTable.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace platform;

namespace {

// Log and query templates: each conversion, missing and surplus arguments.
TEST(Format, RendersEachConversion) {
    const std::pair<std::string, std::string> cases[] = {
        {format("Setting Tag: %@ with value %@ for Message: %@", {"lumettaProject", "Apollo", 1234}),
         "Setting Tag: lumettaProject with value Apollo for Message: 1234"},
        {format("kMDItemStarRating == %d && x == %ld", {"3", 8623750272LL}),
         "kMDItemStarRating == 3 && x == 8623750272"},
        {format("%s|%f|%g|%u", {"text", 2.5, 0.25, -1}), "text|2.500000|0.25|18446744073709551615"},
        {format("100%% of %@", {}), "100% of (null)"},
        {format("%@", {Array{"a b"}}), "(\n    \"a b\"\n)"},
        {format("odd %q and trailing %", {1}), "odd %q and trailing %"},
        {format("only %@", {1, 2, 3}), "only 1"},
        {format("%02i:%02i", {7, 5}), "07:05"},
        {format("[%-6s|%6@|%.2s]", {"ab", "cd", "xyz"}), "[ab    |    cd|xy]"},
        {format("%.1f %5.2f %x", {2.25, 3.14159, 255}), "2.2  3.14 ff"},
    };
    for (const auto& [actual, expected] : cases)
        EXPECT_EQ(actual, expected);
}

// Strings tables fall back to the caller's text, and refuse what they cannot read.
TEST(StringsTable, LooksUpWithFallback) {
    const auto path = std::filesystem::temp_directory_path() / "lumetta-strings-test.strings";
    std::ofstream(path) << "<plist version=\"1.0\"><dict><key>$date</key><string>$datum</string>"
                           "<key>count</key><integer>3</integer></dict></plist>";
    auto table = StringsTable::load(path);
    ASSERT_TRUE(table.ok()) << table.error().message;
    EXPECT_EQ(table.value().lookup("$date", "$date"), "$datum");
    EXPECT_EQ(table.value().lookup("Remove from Preferences", "Remove from Preferences"),
              "Remove from Preferences");
    EXPECT_EQ(table.value().lookup("count", "fallback"), "fallback"); // not a string
    std::ofstream(path) << "not a plist";
    EXPECT_FALSE(StringsTable::load(path).ok());
    std::filesystem::remove(path);
    EXPECT_FALSE(StringsTable::load(path).ok());
}

} // namespace
