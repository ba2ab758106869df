#include "mailhost/message/MessageHeaders.h"

#include "EmlxFixture.h"

#include <gtest/gtest.h>
#include <string>

namespace mailhost {
namespace {

MessageHeaders headersOf(const std::string& bytes) {
    auto parsed = MessageHeaders::parse(bytes);
    if (!parsed) {
        ADD_FAILURE() << parsed.error().message << " for:\n" << bytes;
        return MessageHeaders::parse("X-Empty: yes\n").value();
    }
    return std::move(parsed).value();
}

std::string subjectOf(const std::string& raw) {
    return headersOf("Subject: " + raw + "\nFrom: a@example.com\n\nbody\n").subject();
}

// Encoded words become UTF-8 whatever their charset and encoding.
TEST(MessageHeaders, EncodedWordsDecodeToUtf8) {
    struct Case {
        const char* raw;
        const char* decoded;
    };
    const Case cases[] = {
        {"=?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus_K=C3=B6ln?=", "Grüße aus Köln"},
        {"=?utf-8?B?5paH5pys4p6V5Y2V54Wn54mH?=", "文本➕单照片"},
        {"=?ISO-8859-1?Q?Caf=E9?= ouvert", "Café ouvert"},
        {"=?iso-8859-15?q?=A4uro?=", "€uro"},
        {"=?windows-1252?Q?=93quoted=94?=", "“quoted”"},
        {"=?KOI8-R?B?8NLJ18XU?=", "Привет"},
        // White space between adjacent encoded words is not text; around plain words it is.
        {"=?utf-8?q?a?= =?utf-8?q?b?=", "ab"},
        {"=?utf-8?q?a?= plain =?utf-8?q?b?=", "a plain b"},
        // Several charsets in one field.
        {"=?UTF-8?B?R3LDvMOfZQ==?= =?ISO-8859-1?Q?=E9?= =?KOI8-R?B?8NLJ18XU?=", "GrüßeéПривет"},
        // Not encoded words: left as written.
        {"=?utf-8?q?unterminated", "=?utf-8?q?unterminated"},
        {"price = 5?", "price = 5?"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(subjectOf(c.raw), c.decoded) << c.raw;
    }
}

// Undeclared 8-bit text: valid UTF-8 stays UTF-8, anything else reads as Windows-1252.
TEST(MessageHeaders, RawEightBitFieldsReadSensibly) {
    struct Case {
        const char* raw;
        const char* decoded;
    };
    const Case cases[] = {
        {"Caf\xC3\xA9 cr\xC3\xA8me", "Café crème"},
        {"Caf\xE9 cr\xE8me", "Café crème"},
        {"\x93smart\x94 quotes", "“smart” quotes"},
        {"Stra\xDF"
         "e",
         "Straße"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(subjectOf(c.raw), c.decoded) << c.raw;
    }
}

// A folded field reads as one line: each break with its indentation becomes a space.
TEST(MessageHeaders, FoldedFieldsUnfold) {
    const MessageHeaders headers = headersOf("Subject: a long\n subject\n\t  line\n"
                                             "To: Ann <ann@example.org>,\n  Bob <bob@example.org>\n"
                                             "X-Encoded: =?utf-8?q?Gr=C3=BC?=\n =?utf-8?q?=C3=9Fe?=\n\n");
    EXPECT_EQ(headers.subject(), "a long subject line");
    EXPECT_EQ(headers.to(), "Ann <ann@example.org>, Bob <bob@example.org>");
    EXPECT_EQ(headers.firstHeaderForKey("X-Encoded"), "Grüße");
}

// CRLF line ends read exactly like LF ones.
TEST(MessageHeaders, CrlfMessagesReadLikeLf) {
    const std::string lf = "From: =?utf-8?q?J=C3=B6rg?= <j@example.com>\nSubject: folded\n over\n"
                           "Date: Fri, 26 Jan 2018 17:44:31 +0100\n\nbody\n";
    std::string crlf;
    for (char c : lf) {
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    const MessageHeaders fromLf = headersOf(lf);
    const MessageHeaders fromCrlf = headersOf(crlf);
    EXPECT_EQ(fromCrlf.all(), fromLf.all());
    EXPECT_EQ(fromCrlf.from(), "Jörg <j@example.com>");
    EXPECT_EQ(fromCrlf.subject(), "folded over");
    EXPECT_EQ(fromCrlf.dateSent(), fromLf.dateSent());
}

// Lookup ignores case; repeats and the order of the message are kept, the body is not read.
TEST(MessageHeaders, FieldsKeepOrderRepeatsAndIgnoreNameCase) {
    const MessageHeaders headers = headersOf("Received: from a by b\nReceived: from c by d\n"
                                             "Content-Type: text/plain; charset=utf-8\nSubject: s\n"
                                             "MIME-Version: 1.0\nContent-Transfer-Encoding: 8bit\n\n"
                                             "X-In-Body: not a header\n");
    EXPECT_EQ(headers.firstHeaderForKey("RECEIVED"), "from a by b");
    EXPECT_EQ(headers.headersForKey("received"), (std::vector<std::string>{"from a by b", "from c by d"}));
    std::vector<std::string> names;
    for (const auto& [name, value] : headers.all()) {
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Received", "Received", "Content-Type", "Subject",
                                               "MIME-Version", "Content-Transfer-Encoding"}));
    EXPECT_EQ(headers.firstHeaderForKey("content-type"), "text/plain; charset=utf-8");
    EXPECT_EQ(headers.firstHeaderForKey("X-In-Body"), std::nullopt);
    EXPECT_TRUE(headers.headersForKey("Cc").empty());
    EXPECT_EQ(headers.cc(), "");
}

// Addresses come in display form, names decoded, a comma inside a name kept in it.
TEST(MessageHeaders, AddressesShowDecodedNames) {
    struct Case {
        const char* raw;
        const char* shown;
    };
    const Case cases[] = {
        {"Philipp Katz <philipp@example.com>", "Philipp Katz <philipp@example.com>"},
        {"=?ISO-8859-1?Q?J=F6rg_M=FCller?= <jm@example.de>", "Jörg Müller <jm@example.de>"},
        {"plain@example.com", "plain@example.com"},
        {"\"Katz, Philipp\" <p@example.com>", "\"Katz, Philipp\" <p@example.com>"},
        {"=?utf-8?q?Katz=2C_Philipp?= <p@example.com>", "\"Katz, Philipp\" <p@example.com>"},
        {"p@example.com (Philipp Katz)", "Philipp Katz <p@example.com>"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(headersOf(std::string("From: ") + c.raw + "\n\n").from(), c.shown) << c.raw;
    }
    const MessageHeaders twoFields =
        headersOf("To: a@example.com\nCc: c@example.com\nTo: B <b@example.com>\n\n");
    EXPECT_EQ(twoFields.to(), "a@example.com, B <b@example.com>");
    EXPECT_EQ(twoFields.cc(), "c@example.com");
}

// The message-id keeps its brackets as written; the bare form drops brackets and comments.
TEST(MessageHeaders, MessageIdWithAndWithoutBrackets) {
    struct Case {
        const char* field;
        const char* withBrackets;
        const char* bare;
    };
    const Case cases[] = {
        {"Message-ID: <abc.123@host.example>\n", "<abc.123@host.example>", "abc.123@host.example"},
        {"message-id:   <abc@host>   (sent by x)\n", "<abc@host>   (sent by x)", "abc@host"},
        {"Message-Id: <no-at-sign>\n", "<no-at-sign>", "no-at-sign"},
        {"Message-Id:\n <folded@host>\n", "<folded@host>", "folded@host"},
        {"", "", ""},
    };
    for (const Case& c : cases) {
        const MessageHeaders headers = headersOf(std::string("Subject: s\n") + c.field + "\n");
        EXPECT_EQ(headers.messageID(), c.withBrackets) << c.field;
        EXPECT_EQ(headers.messageIDWithoutBrackets(), c.bare) << c.field;
    }
}

// Dates in current and obsolete forms; an unreadable or missing Date gives nothing.
TEST(MessageHeaders, DateSent) {
    constexpr double kInstant = 1516985071; // 2018-01-26 16:44:31 UTC
    struct Case {
        const char* field;
        std::optional<double> unixSeconds;
    };
    const Case cases[] = {
        {"Date: Fri, 26 Jan 2018 17:44:31 +0100\n", kInstant},
        {"Date: 26 Jan 2018 16:44:31 GMT\n", kInstant},
        {"Date: Fri, 26 Jan 2018 11:44:31 EST\n", kInstant},
        {"Date: Fri, 26 Jan 18 08:44:31 -0800\n", kInstant},
        {"Date: Fri,\n 26 Jan 2018 17:44:31 +0100 (CET)\n", kInstant},
        {"Date: not a date\n", std::nullopt},
        {"Date:\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto date = headersOf(std::string("Subject: s\n") + c.field + "\n").dateSent();
        ASSERT_EQ(date.has_value(), c.unixSeconds.has_value()) << c.field;
        if (date) {
            EXPECT_EQ(date->unixSeconds(), *c.unixSeconds) << c.field;
        }
    }
}

// A header block alone is a message; bytes that are not a header block are errors.
TEST(MessageHeaders, HeaderBlocksAloneAndNonMessages) {
    EXPECT_EQ(headersOf("Subject: only headers\nFrom: a@example.com").subject(), "only headers");
    EXPECT_EQ(headersOf("Subject: only headers\n").subject(), "only headers");
    for (const char* bad :
         {"", "\n\nbody only\n", "\r\nbody only\r\n", "just some words, no field\nmore\n"}) {
        const auto parsed = MessageHeaders::parse(bad);
        ASSERT_FALSE(parsed.ok()) << bad;
        EXPECT_FALSE(parsed.error().message.empty());
    }
}

// A real message of the mail client: base64 UTF-8 subject, several recipients' fields.
TEST(MessageHeaders, ReadsTheClientsFiles) {
    const MessageHeaders headers =
        headersOf(emlxMessage("09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx"));
    EXPECT_EQ(headers.subject(), "文本➕单照片");
    EXPECT_EQ(headers.from(), "kpc <ha17112345212@126.com>");
    EXPECT_EQ(headers.cc(), "1512347812@qq.com");
    EXPECT_EQ(headers.messageID(), "<23CC1A87-AE0C-4206-AAED-4FBED372F69E@163.com>");
    ASSERT_TRUE(headers.dateSent().has_value());
    EXPECT_EQ(headers.dateSent()->unixSeconds(), 1565148386); // 2019-08-07 11:26:26 +0800
    EXPECT_EQ(headers.firstHeaderForKey("content-type"),
              "multipart/alternative; boundary=\"Apple-Mail=_6F8B7CD2-7D4F-4BF1-8AC6-1CE5B9CA3980\"");
}

} // namespace
} // namespace mailhost
