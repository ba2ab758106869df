#include "platform/interface/XmlDocument.h"

#include <gtest/gtest.h>
#include <string>

using namespace platform;

namespace {

std::string nested(std::size_t depth, bool closed) {
    std::string xml;
    for (std::size_t i = 0; i < depth; ++i)
        xml += "<a>";
    if (closed)
        for (std::size_t i = 0; i < depth; ++i)
            xml += "</a>";
    return xml;
}

} // namespace

// Structure: prolog noise is skipped, elements, attributes and text come through.
TEST(XmlDocument, ReadsElementsAttributesAndTextThroughPrologNoise) {
    const auto root = XmlDocument::parse("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<!-- generated -->\n"
                                         "<!DOCTYPE ui [ <!ENTITY x \"a>b\"> ]>\n"
                                         "<?designer hint?>\n"
                                         "<ui version=\"4.0\" lang='de'>\n"
                                         "  <class>Panel</class>\n"
                                         "  <widget class=\"QWidget\" name = \"panel\"><empty/></widget>\n"
                                         "</ui>\n"
                                         "<!-- trailing -->\n");
    ASSERT_TRUE(root.ok()) << root.error().message;
    const XmlElement& ui = root.value();
    EXPECT_EQ(ui.name, "ui");
    EXPECT_EQ(ui.attribute("version"), "4.0");
    EXPECT_EQ(ui.attribute("lang"), "de");
    EXPECT_EQ(ui.attribute("missing"), "");
    EXPECT_EQ(ui.line, 5u);
    ASSERT_EQ(ui.children.size(), 2u);
    EXPECT_EQ(ui.child("class")->text, "Panel");
    const XmlElement* widget = ui.child("widget");
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->line, 7u);
    EXPECT_EQ(widget->attribute("name"), "panel");
    ASSERT_EQ(widget->children.size(), 1u);
    EXPECT_EQ(widget->children[0].name, "empty");
    EXPECT_EQ(ui.child("nothing"), nullptr);
}

// Character data: entities, references and CDATA decode; line ends normalise.
TEST(XmlDocument, DecodesCharacterDataAndAttributeValues) {
    struct Case {
        const char* xml;
        const char* text;
        const char* attribute;
    };
    const Case cases[] = {
        {"<s>&lt;a&gt; &amp; &quot;b&quot; &apos;c&apos;</s>", "<a> & \"b\" 'c'", ""},
        {"<s>&#65;&#x42;&#xe9;&#x263A;&#x1F600;</s>", "AB\xC3\xA9\xE2\x98\xBA\xF0\x9F\x98\x80", ""},
        {"<s><![CDATA[<b>&amp;</b>]]> tail</s>", "<b>&amp;</b> tail", ""},
        {"<s>a<!-- x --><?pi y?>b</s>", "ab", ""},
        {"<s>line1\r\nline2\rline3</s>", "line1\nline2\nline3", ""},
        {"<s a=\"x &amp; 'y'\"/>", "", "x & 'y'"},
        {"<s a='say \"hi\" &#60;'/>", "", "say \"hi\" <"},
        {"<s a=\"tab\tnew\nline&#10;kept\"/>", "", "tab new line\nkept"},
    };
    for (const auto& c : cases) {
        const auto root = XmlDocument::parse(c.xml);
        ASSERT_TRUE(root.ok()) << c.xml << ": " << root.error().message;
        EXPECT_EQ(root.value().text, c.text) << c.xml;
        EXPECT_EQ(root.value().attribute("a"), c.attribute) << c.xml;
    }
}

// Malformed documents: an error naming the line, never a crash.
TEST(XmlDocument, RejectsMalformedDocumentsNamingTheLine) {
    struct Case {
        std::string xml;
        const char* message;
    };
    const Case cases[] = {
        {"", "line 1: no root element"},
        {"  <!-- only a comment -->\n", "line 2: no root element"},
        {"hello <a/>", "line 1: text before the root element"},
        {"<a/><b/>", "line 1: content after the root element"},
        {"<a/>text", "line 1: content after the root element"},
        {"<a>\n<b>\n</a>", "line 3: </a> does not close <b> opened at line 2"},
        {"<a>\n  <b>", "line 2: unterminated element <b> opened at line 2"},
        {"<a\n b=\"1\"", "line 1: unterminated start tag <a>"},
        {"<a></a", "line 1: unterminated end tag"},
        {"<a>\n&bogus;</a>", "line 2: unknown entity &bogus;"},
        {"<a>AT&T</a>", "line 1: '&' that does not start an entity"},
        {"<a>&#0;</a>", "invalid character reference &#0;"},
        {"<a>&#xD800;</a>", "invalid character reference &#xD800;"},
        {"<a>&#x110000;</a>", "invalid character reference"},
        {"<a>&#12a;</a>", "invalid character reference"},
        {"<a b=1/>", "attribute b value is not quoted"},
        {"<a b/>", "attribute b without a value"},
        {"<a b=\"1\" b=\"2\"/>", "duplicate attribute b in <a>"},
        {"<a b=\"1\"c=\"2\"/>", "expected white space"},
        {"<a b=\"<\"/>", "'<' in the value of attribute b"},
        {"<a b=\"1/>", "unterminated value of attribute b"},
        {"<1a/>", "invalid element name"},
        {"<a><!-- open</a>", "unterminated comment"},
        {"<a><![CDATA[x</a>", "unterminated CDATA section"},
        {"<a>x]]>y</a>", "']]>' in character data"},
        {"<a><!DOCTYPE a></a>", "markup declaration inside an element"},
        {"<!DOCTYPE a [ <!ENTITY x 'y'>", "unterminated document type declaration"},
        {"<?xml version=\"1.0\"", "unterminated processing instruction"},
    };
    for (const auto& c : cases) {
        const auto root = XmlDocument::parse(c.xml);
        ASSERT_FALSE(root.ok()) << c.xml;
        EXPECT_NE(root.error().message.find(c.message), std::string::npos)
            << c.xml << " gave: " << root.error().message;
    }
}

// Nesting: the limit is exact, and hostile depth fails cleanly.
TEST(XmlDocument, LimitsNestingDepth) {
    EXPECT_TRUE(XmlDocument::parse(nested(XmlDocument::kMaxDepth, true)).ok());
    for (const auto& xml :
         {nested(XmlDocument::kMaxDepth + 1, true), nested(10000, true), nested(100000, false)}) {
        const auto root = XmlDocument::parse(xml);
        ASSERT_FALSE(root.ok());
        EXPECT_NE(root.error().message.find("nested deeper than 256"), std::string::npos)
            << root.error().message;
    }
}
