#include "mailhost/message/HtmlText.h"

#include "platform/foundation/XmlText.h"

#include <array>
#include <cstdint>

namespace mailhost {

namespace {

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isAsciiAlnum(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool startsWithIgnoringCase(std::string_view text, std::size_t at, std::string_view prefix) {
    if (text.size() - at < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (lowerAscii(text[at + i]) != prefix[i]) {
            return false;
        }
    }
    return true;
}

// Broken references become U+FFFD rather than bytes that are not UTF-8.
void appendUtf8(std::string& out, std::uint32_t cp) {
    if (cp == 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        cp = 0xFFFD;
    platform::XmlText::appendUtf8(out, cp);
}

struct NamedReference {
    std::string_view name;
    std::uint32_t codePoint;
};

// The references mail bodies actually use; anything else stays as written.
constexpr std::array<NamedReference, 16> kNamedReferences{{
    {"amp", '&'},
    {"lt", '<'},
    {"gt", '>'},
    {"quot", '"'},
    {"apos", '\''},
    {"nbsp", 0xA0},
    {"copy", 0xA9},
    {"reg", 0xAE},
    {"euro", 0x20AC},
    {"ndash", 0x2013},
    {"mdash", 0x2014},
    {"hellip", 0x2026},
    {"lsquo", 0x2018},
    {"rsquo", 0x2019},
    {"ldquo", 0x201C},
    {"rdquo", 0x201D},
}};

// Decodes the reference at html[at] == '&'; returns the bytes consumed, 0 when it is
// not a reference.
std::size_t decodeReference(std::string_view html, std::size_t at, std::string& out) {
    // References are short; looking further would make text full of '&' slow.
    const std::size_t found = html.substr(at, 12).find(';');
    if (found == std::string_view::npos || found == 1) {
        return 0;
    }
    const std::size_t semicolon = at + found;
    const std::string_view body = html.substr(at + 1, semicolon - at - 1);
    if (body.front() == '#') {
        std::uint32_t cp = 0;
        const bool hex = body.size() > 1 && (body[1] == 'x' || body[1] == 'X');
        const std::string_view digits = body.substr(hex ? 2 : 1);
        if (digits.empty()) {
            return 0;
        }
        for (char c : digits) {
            int digit = -1;
            if (c >= '0' && c <= '9') {
                digit = c - '0';
            } else if (hex && lowerAscii(c) >= 'a' && lowerAscii(c) <= 'f') {
                digit = lowerAscii(c) - 'a' + 10;
            }
            if (digit < 0) {
                return 0;
            }
            cp = cp * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit);
            if (cp > 0x10FFFF) {
                cp = 0x110000;
            }
        }
        appendUtf8(out, cp);
        return semicolon - at + 1;
    }
    for (const NamedReference& reference : kNamedReferences) {
        if (body == reference.name) {
            appendUtf8(out, reference.codePoint);
            return semicolon - at + 1;
        }
    }
    return 0;
}

bool isBlockElement(std::string_view name) {
    static constexpr std::array<std::string_view, 20> kBlocks{
        "br", "p",  "div", "li", "tr",    "h1",         "h2",  "h3", "h4", "h5",
        "h6", "ul", "ol",  "hr", "table", "blockquote", "pre", "dl", "dt", "dd",
    };
    for (std::string_view block : kBlocks) {
        if (name == block) {
            return true;
        }
    }
    return false;
}

// Where the tag opening at html[at] == '<' ends (one past its '>'), stepping over
// quoted attribute values; html.size() when it never closes.
std::size_t tagEnd(std::string_view html, std::size_t at) {
    char quote = 0;
    for (std::size_t i = at + 1; i < html.size(); ++i) {
        const char c = html[i];
        if (quote != 0) {
            if (c == quote) {
                quote = 0;
            }
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return i + 1;
        }
    }
    return html.size();
}

// Elements whose content a reader never sees, and whether an element of each kind was
// found without its end tag (then later ones are not searched for again, which keeps
// malformed input linear).
struct HiddenElements {
    static constexpr std::array<std::string_view, 4> kNames{"script", "style", "head", "title"};
    std::array<bool, 4> unclosed{};
};

// For an opening tag of a hidden element ending at `end`, where its content ends: one
// past its end tag. Without an end tag only the opening tag itself is skipped.
std::size_t skipHiddenContent(std::string_view html, std::string_view name, std::size_t end,
                              HiddenElements& hidden) {
    for (std::size_t n = 0; n < HiddenElements::kNames.size(); ++n) {
        if (name != HiddenElements::kNames[n] || hidden.unclosed[n]) {
            continue;
        }
        const std::string endTag = "</" + std::string(name);
        for (std::size_t k = end; k < html.size(); ++k) {
            if (html[k] == '<' && startsWithIgnoringCase(html, k, endTag)) {
                return tagEnd(html, k);
            }
        }
        hidden.unclosed[n] = true;
    }
    return end;
}

class TextBuilder {
public:
    void text(std::string_view piece) {
        out_ += piece;
        pendingSpace_ = false;
        atLineStart_ = false;
    }
    void space() { pendingSpace_ = !atLineStart_; }
    void flushSpace() {
        if (pendingSpace_) {
            out_ += ' ';
            pendingSpace_ = false;
        }
    }
    void newline() {
        pendingSpace_ = false;
        // One break between blocks, however deeply they nest.
        if (out_.empty() || out_.back() == '\n') {
            return;
        }
        out_ += '\n';
        atLineStart_ = true;
    }
    std::string& raw() { return out_; }
    void markText() { atLineStart_ = false; }

    std::string finish() {
        while (!out_.empty() && isSpace(out_.back())) {
            out_.pop_back();
        }
        return std::move(out_);
    }

private:
    std::string out_;
    bool pendingSpace_ = false;
    bool atLineStart_ = true;
};

} // namespace

std::string htmlToText(std::string_view html) {
    TextBuilder builder;
    HiddenElements hidden;
    std::size_t i = 0;
    while (i < html.size()) {
        const char c = html[i];
        if (c == '<') {
            if (html.substr(i, 4) == "<!--") {
                const std::size_t close = html.find("-->", i + 4);
                i = close == std::string_view::npos ? html.size() : close + 3;
                continue;
            }
            const bool closing = i + 1 < html.size() && html[i + 1] == '/';
            const bool declaration = i + 1 < html.size() && html[i + 1] == '!';
            const std::size_t nameStart = (closing || declaration) ? i + 2 : i + 1;
            std::size_t nameEnd = nameStart;
            while (nameEnd < html.size() && isAsciiAlnum(html[nameEnd])) {
                ++nameEnd;
            }
            if (nameEnd == nameStart && !closing && !declaration) {
                // A lone '<' in text ("a < b") is text.
                builder.flushSpace();
                builder.text("<");
                ++i;
                continue;
            }
            std::string name;
            for (std::size_t k = nameStart; k < nameEnd; ++k) {
                name += lowerAscii(html[k]);
            }
            std::size_t end = tagEnd(html, i);
            if (!closing) {
                end = skipHiddenContent(html, name, end, hidden);
            }
            if (isBlockElement(name)) {
                builder.newline();
            } else if (name == "td" || name == "th") {
                builder.space();
            }
            i = end;
            continue;
        }
        if (isSpace(c)) {
            builder.space();
            ++i;
            continue;
        }
        builder.flushSpace();
        if (c == '&') {
            const std::size_t used = decodeReference(html, i, builder.raw());
            if (used > 0) {
                builder.markText();
                i += used;
                continue;
            }
        }
        builder.text(html.substr(i, 1));
        ++i;
    }
    return builder.finish();
}

} // namespace mailhost
