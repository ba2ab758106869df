#include "mailhost/library/MailboxName.h"

#include <gtest/gtest.h>

using mailhost::MailboxName;

namespace {

// Names that become folders inside the library pass; names that would lead out of it,
// into nowhere, or break a listing's lines are refused, and the refusal says why.
TEST(MailboxName, AcceptsNamesWithinTheLibraryAndRefusesTheOthers) {
    for (const char* name : {"INBOX", "Projects/Apollo", "a..b", "Café", ".hidden", "Receipts 2026"})
        EXPECT_TRUE(MailboxName::check(name).ok()) << name;

    struct Case {
        std::string name;
        std::string why;
    };
    const Case refused[] = {
        {"", "it is empty"},
        {"/etc", "begins with \"/\""},
        {"../x", "a part of it is \"..\""},
        {"Projects/../../x", "a part of it is \"..\""},
        {"Projects/.", "a part of it is \".\""},
        {"Projects//Apollo", "empty part"},
        {"Projects/", "empty part"},
        {"Line\nbreak", "control character"},
        {"Tab\there", "control character"},
        {std::string("Nul\0x", 5), "control character"},
        {"Del\x7f", "control character"},
    };
    for (const Case& c : refused) {
        auto checked = MailboxName::check(c.name);
        ASSERT_FALSE(checked.ok()) << c.name;
        EXPECT_NE(checked.error().message.find(c.why), std::string::npos) << checked.error().message;
        EXPECT_EQ(checked.error().message.find('\n'), std::string::npos) << checked.error().message;
        EXPECT_EQ(checked.error().message.rfind(MailboxName::quoted(c.name), 0), 0u)
            << checked.error().message;
    }
}

TEST(MailboxName, QuotesControlCharactersAsEscapes) {
    EXPECT_EQ(MailboxName::quoted("Projects/Apollo"), "\"Projects/Apollo\"");
    EXPECT_EQ(MailboxName::quoted("a\nb\tc\rd\x01"), "\"a\\nb\\tc\\rd\\x01\"");
}

} // namespace
