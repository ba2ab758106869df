#include "mailhost/message/MessageBody.h"

#include "EmlxFixture.h"
#include "mailhost/message/MessageHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace mailhost {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const char* const kPartial = "02-mail10.3-partial-4att-114892.partial.emlx";
const char* const kUnterminated = "08-SYNTH-N-short-by-2-issue5-114895.partial.emlx";

std::string textOf(const std::string& message) {
    auto text = MessageBody::textContent(message);
    if (!text) {
        ADD_FAILURE() << text.error().message;
        return {};
    }
    return text.value();
}

std::vector<AttachmentInfo> attachmentsOf(const std::string& message) {
    auto body = MessageBody::parse(message);
    if (!body) {
        ADD_FAILURE() << body.error().message;
        return {};
    }
    return body.value().attachments();
}

std::string headerBlock(const std::string& message) {
    return message.substr(0, message.find("\n\n") + 1);
}

// Content of `bytes` bytes in base64, wrapped as mail writers wrap it.
std::string base64Payload(std::size_t bytes) {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    const std::size_t characters = (bytes + 2) / 3 * 4;
    for (std::size_t i = 0; i < characters; ++i) {
        out += kAlphabet[(i * 7 + 3) % 64];
        if (i % 76 == 75) {
            out += '\n';
        }
    }
    return out + "\n";
}

std::string messageWithPdf() {
    return "From: Ann <ann@example.org>\n"
           "To: bob@example.org\n"
           "Subject: =?utf-8?q?Bericht_f=C3=BCr_M=C3=A4rz?=\n"
           "Message-ID: <report@example.org>\n"
           "MIME-Version: 1.0\n"
           "Content-Type: multipart/mixed; boundary=\"outer\"\n"
           "\n"
           "--outer\n"
           "Content-Type: text/plain; charset=utf-8\n"
           "Content-Transfer-Encoding: 8bit\n"
           "\n"
           "Hier ist der Bericht.\n"
           "--outer\n"
           "Content-Type: application/pdf; name=\"report.pdf\"\n"
           "Content-Disposition: attachment; filename=\"report.pdf\"\n"
           "Content-Transfer-Encoding: base64\n"
           "\n" +
           base64Payload(120 * 1024) + "--outer--\n";
}

// Text for the index: the plain alternative wins over HTML, transfer encodings and
// charsets are undone, attached files stay out.
TEST(MessageBody, TextOfTheClientsFiles) {
    const std::string full = textOf(emlxMessage("01-mail10.3-full-multipart-alt-114862.emlx"));
    EXPECT_THAT(
        full, testing::StartsWith("Lorem ipsum dolor sit amet, consetetur sadipscing elitr, sed diam nonumy "
                                  "eirmod tempor"));
    EXPECT_THAT(full, testing::EndsWith("http://example.com <http://example.com/>"));
    EXPECT_THAT(full, Not(HasSubstr("<html>")));

    for (const char* name : {kPartial, kUnterminated}) {
        const std::string text = textOf(emlxMessage(name));
        EXPECT_THAT(text, testing::StartsWith("> Anfang der weitergeleiteten Nachricht:\n")) << name;
        EXPECT_THAT(text, HasSubstr("pleasure and praising pain was born")) << name;
        EXPECT_THAT(text, Not(HasSubstr("=20"))) << name;
        EXPECT_THAT(text, Not(HasSubstr("<div"))) << name;
    }

    EXPECT_EQ(textOf(emlxMessage("09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx")),
              "好看的呀小狗🐶——8.7");
}

// Attachments of the client's files: partial ones report the size the client recorded.
TEST(MessageBody, AttachmentsOfTheClientsFiles) {
    const std::vector<AttachmentInfo> partial = {
        {"short.txt", "text/plain", 12, false},
        {"original.doc", "application/msword", 35967, false},
        {"text.txt", "text/plain", 2146, false},
        {"image001.png", "image/png", 101404, false},
    };
    EXPECT_EQ(attachmentsOf(emlxMessage(kPartial)), partial);
    EXPECT_EQ(attachmentsOf(emlxMessage(kUnterminated)), partial);

    EXPECT_TRUE(attachmentsOf(emlxMessage("01-mail10.3-full-multipart-alt-114862.emlx")).empty());

    // An inline picture whose name is split into RFC 2231 continuations.
    const auto inlineImage =
        attachmentsOf(emlxMessage("09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx"));
    ASSERT_EQ(inlineImage.size(), 1u);
    EXPECT_EQ(inlineImage[0].filename, "magazine-unlock-05-2.3.1417-29eba6ac323848b7aca161fdb67290cf.jpeg");
    EXPECT_EQ(inlineImage[0].contentType, "image/jpeg");
    EXPECT_EQ(inlineImage[0].size, 10283u);
    EXPECT_TRUE(inlineImage[0].contentPresent);
}

// HTML without a plain alternative: markup, head, scripts and styles go; references decode.
TEST(MessageBody, HtmlOnlyBodiesLoseTheirMarkup) {
    const std::string message = "Subject: html\nContent-Type: text/html; charset=iso-8859-1\n"
                                "Content-Transfer-Encoding: quoted-printable\n\n"
                                "<html><head><title>T</title><style>p {color: red}</style></head>"
                                "<body><p>Caf=E9 &amp; cr&egrave;me&nbsp;br=FBl=E9e</p>"
                                "<script>alert('x')</script>"
                                "<div>Price &lt; 5&#8364; &#x2014; a < b</div><!-- hidden --><br>"
                                "<ul><li>one</li><li>two</li></ul></body></html>\n";
    EXPECT_EQ(textOf(message), "Café & cr&egrave;me\u00A0brûlée\nPrice < 5€ — a < b\none\ntwo");
}

// Body text in other charsets, declared or not, reads as UTF-8 with LF line ends.
TEST(MessageBody, BodyCharsetsConvertToUtf8) {
    struct Case {
        const char* contentType;
        const char* body;
        const char* text;
    };
    const Case cases[] = {
        {"text/plain; charset=iso-8859-1",
         "Gr\xFC\xDF"
         "e\r\naus K\xF6ln\r\n",
         "Grüße\naus Köln"},
        {"text/plain; charset=koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4\n", "Привет"},
        {"text/plain", "Caf\xC3\xA9\n", "Café"},
        {"text/plain", "Caf\xE9\n", "Café"},
        {"text/plain; charset=us-ascii", "Caf\xE9\n", "Café"},
        {"text/plain; charset=x-no-such-charset", "Caf\xC3\xA9\n", "Café"},
    };
    for (const Case& c : cases) {
        const std::string message = std::string("Subject: s\nContent-Type: ") + c.contentType +
                                    "\nContent-Transfer-Encoding: 8bit\n\n" + c.body;
        EXPECT_EQ(textOf(message), c.text) << c.contentType << " / " << c.body;
    }
}

// Removing attachments keeps the headers and the text, drops the file's bytes and names it.
TEST(MessageBody, RemovingAttachmentsKeepsHeadersAndNamesTheFile) {
    const std::string original = messageWithPdf();
    auto stripped = MessageBody::removingAttachments(original);
    ASSERT_TRUE(stripped.ok()) << stripped.error().message;
    const std::string& result = stripped.value();

    EXPECT_EQ(headerBlock(result), headerBlock(original));
    EXPECT_LT(result.size(), 2000u);
    EXPECT_THAT(result, Not(HasSubstr(base64Payload(120 * 1024).substr(0, 76))));

    EXPECT_TRUE(attachmentsOf(result).empty());
    EXPECT_EQ(textOf(result),
              "Hier ist der Bericht.\nAttachment removed: report.pdf (application/pdf, 120 KB)");
    auto headers = MessageHeaders::parse(result);
    ASSERT_TRUE(headers.ok());
    EXPECT_EQ(headers.value().subject(), "Bericht für März");
}

// A message that is nothing but a file becomes a message that is nothing but the note.
TEST(MessageBody, RemovingASingleFileBody) {
    const std::string original = "Subject: scan\nContent-Type: image/png; name=scan.png\n"
                                 "Content-Transfer-Encoding: base64\n\n" +
                                 base64Payload(3000);
    auto stripped = MessageBody::removingAttachments(original);
    ASSERT_TRUE(stripped.ok()) << stripped.error().message;
    EXPECT_THAT(stripped.value(), testing::StartsWith("Subject: scan\n"));
    EXPECT_EQ(textOf(stripped.value()), "Attachment removed: scan.png (image/png, 3 KB)");
}

// Partial files and an unterminated multipart: every attachment becomes a note with its
// recorded size; the text parts stay.
TEST(MessageBody, RemovingAttachmentsFromTheClientsPartialFiles) {
    for (const char* name : {kPartial, kUnterminated}) {
        const std::string original = emlxMessage(name);
        auto stripped = MessageBody::removingAttachments(original);
        ASSERT_TRUE(stripped.ok()) << name << ": " << stripped.error().message;
        EXPECT_EQ(headerBlock(stripped.value()), headerBlock(original)) << name;
        EXPECT_TRUE(attachmentsOf(stripped.value()).empty()) << name;
        for (const char* note : {"Attachment removed: short.txt (text/plain, 12 bytes)",
                                 "Attachment removed: original.doc (application/msword, 35 KB)",
                                 "Attachment removed: text.txt (text/plain, 2 KB)",
                                 "Attachment removed: image001.png (image/png, 99 KB)"}) {
            EXPECT_THAT(stripped.value(), HasSubstr(note)) << name;
        }
        EXPECT_THAT(stripped.value(), HasSubstr("Anfang der weitergeleiteten Nachricht")) << name;
    }
}

// Without attachments nothing is rewritten.
TEST(MessageBody, MessagesWithoutAttachmentsComeBackUnchanged) {
    const std::string original = emlxMessage("01-mail10.3-full-multipart-alt-114862.emlx");
    auto stripped = MessageBody::removingAttachments(original);
    ASSERT_TRUE(stripped.ok());
    EXPECT_EQ(stripped.value(), original);
}

// Bytes that are not a message are errors, never crashes.
TEST(MessageBody, NonMessagesAreErrors) {
    for (const char* bad : {"", "no header here\n", "\n\nbody\n"}) {
        EXPECT_FALSE(MessageBody::parse(bad).ok()) << bad;
        EXPECT_FALSE(MessageBody::textContent(bad).ok()) << bad;
        EXPECT_FALSE(MessageBody::removingAttachments(bad).ok()) << bad;
    }
}

TEST(MessageBody, SizesReadAsPeopleWriteThem) {
    struct Case {
        std::uint64_t bytes;
        const char* text;
    };
    const Case cases[] = {{0, "0 bytes"},     {1, "1 byte"},           {1023, "1023 bytes"},  {1024, "1 KB"},
                          {122880, "120 KB"}, {1536 * 1024, "1.5 MB"}, {5ull << 30, "5.0 GB"}};
    for (const Case& c : cases) {
        EXPECT_EQ(MessageBody::describeSize(c.bytes), c.text) << c.bytes;
    }
}

} // namespace
} // namespace mailhost
