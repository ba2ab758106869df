#include "mailhost/mail/Message.h"

#include <gtest/gtest.h>
#include <string>

namespace mailhost {
namespace {

struct HeaderEndCase {
    const char* name;
    const char* bytes;
    std::size_t end; // std::string::npos: no blank line
};

class HeaderEnd : public ::testing::TestWithParam<HeaderEndCase> {};

// Header criteria parse only the header block, so where it ends decides what they see:
// a blank line in either line-end style, and never a line that merely looks empty.
TEST_P(HeaderEnd, FindsTheBlankLineThatEndsTheHeaders) {
    EXPECT_EQ(Message::headerEnd(GetParam().bytes), GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(
    Message, HeaderEnd,
    ::testing::Values(HeaderEndCase{"LineFeeds", "From: a\nTo: b\n\nbody\n\nmore", 15},
                      HeaderEndCase{"CarriageReturns", "From: a\r\nTo: b\r\n\r\nbody", 18},
                      HeaderEndCase{"NoBody", "From: a\nTo: b\n", std::string::npos},
                      HeaderEndCase{"WhitespaceLineIsNoEnd", "From: a\n \nTo: b\n\nx", 17},
                      HeaderEndCase{"EmptyHeaders", "\n\nbody", 2},
                      HeaderEndCase{"Nothing", "", std::string::npos}),
    [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace mailhost
