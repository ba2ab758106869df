#include "platform/interface/XmlDocument.h"

#include "platform/foundation/XmlText.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace platform {

std::string XmlElement::attribute(std::string_view attributeName) const {
    for (const auto& [key, value] : attributes)
        if (key == attributeName)
            return value;
    return {};
}

bool XmlElement::hasAttribute(std::string_view attributeName) const {
    return std::any_of(attributes.begin(), attributes.end(),
                       [&](const auto& entry) { return entry.first == attributeName; });
}

const XmlElement* XmlElement::child(std::string_view childName) const {
    for (const auto& c : children)
        if (c.name == childName)
            return &c;
    return nullptr;
}

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Bytes from 0x80 up belong to multi-byte UTF-8 names; they are let through
// rather than classified, which is all a reader of trusted-format files needs.
bool isNameStart(char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_' || u == ':' || u >= 0x80;
}

bool isNameChar(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

class Parser {
public:
    explicit Parser(std::string_view text) : s_(text) {}

    Result<XmlElement> run() {
        if (s_.substr(0, 3) == "\xEF\xBB\xBF")
            pos_ = 3;
        if (auto e = skipMisc(true))
            return *e;
        if (atEnd())
            return fail(pos_, "no root element");
        if (s_[pos_] != '<')
            return fail(pos_, "text before the root element");
        std::optional<XmlElement> root;
        if (auto e = readStartTag(root))
            return *e;
        while (!open_.empty()) {
            if (auto e = readContent(root))
                return *e;
        }
        if (auto e = skipMisc(false))
            return *e;
        if (!atEnd())
            return fail(pos_, "content after the root element");
        return std::move(*root);
    }

private:
    bool atEnd() const { return pos_ >= s_.size(); }
    bool at(std::string_view token) const { return s_.substr(pos_, token.size()) == token; }

    std::size_t lineAt(std::size_t pos) {
        if (pos < countedTo_) {
            countedTo_ = 0;
            line_ = 1;
        }
        pos = std::min(pos, s_.size());
        line_ += static_cast<std::size_t>(std::count(s_.begin() + static_cast<std::ptrdiff_t>(countedTo_),
                                                     s_.begin() + static_cast<std::ptrdiff_t>(pos), '\n'));
        countedTo_ = pos;
        return line_;
    }

    Error fail(std::size_t pos, std::string_view what) {
        return makeError("line " + std::to_string(lineAt(pos)) + ": " + std::string(what));
    }

    // Skips white space, comments and processing instructions between elements;
    // a document type declaration only before the root, where XML allows it.
    std::optional<Error> skipMisc(bool beforeRoot) {
        for (;;) {
            while (!atEnd() && isSpace(s_[pos_]))
                ++pos_;
            if (at("<!--")) {
                if (auto e = skipPast(pos_ + 4, "-->", "unterminated comment"))
                    return e;
            } else if (at("<?")) {
                if (auto e = skipPast(pos_ + 2, "?>", "unterminated processing instruction"))
                    return e;
            } else if (beforeRoot && at("<!DOCTYPE")) {
                if (auto e = skipDoctype())
                    return e;
            } else {
                return std::nullopt;
            }
        }
    }

    std::optional<Error> skipPast(std::size_t from, std::string_view terminator, std::string_view what) {
        const auto end = s_.find(terminator, from);
        if (end == std::string_view::npos)
            return fail(pos_, what);
        pos_ = end + terminator.size();
        return std::nullopt;
    }

    // The declaration's internal subset may hold '>' inside brackets or quotes;
    // nothing in it is used, so it is only stepped over.
    std::optional<Error> skipDoctype() {
        const std::size_t start = pos_;
        int brackets = 0;
        char quote = 0;
        for (std::size_t i = pos_ + 9; i < s_.size(); ++i) {
            const char c = s_[i];
            if (quote) {
                if (c == quote)
                    quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '[') {
                ++brackets;
            } else if (c == ']') {
                --brackets;
            } else if (c == '>' && brackets <= 0) {
                pos_ = i + 1;
                return std::nullopt;
            }
        }
        return fail(start, "unterminated document type declaration");
    }

    std::optional<Error> readContent(std::optional<XmlElement>& root) {
        if (atEnd()) {
            const XmlElement& innermost = open_.back();
            return makeError("line " + std::to_string(lineAt(pos_)) + ": unterminated element <" +
                             innermost.name + "> opened at line " + std::to_string(innermost.line));
        }
        if (s_[pos_] != '<')
            return readText();
        if (at("<!--"))
            return skipPast(pos_ + 4, "-->", "unterminated comment");
        if (at("<![CDATA[")) {
            const auto end = s_.find("]]>", pos_ + 9);
            if (end == std::string_view::npos)
                return fail(pos_, "unterminated CDATA section");
            appendNormalised(open_.back().text, s_.substr(pos_ + 9, end - pos_ - 9));
            pos_ = end + 3;
            return std::nullopt;
        }
        if (at("<?"))
            return skipPast(pos_ + 2, "?>", "unterminated processing instruction");
        if (at("<!"))
            return fail(pos_, "markup declaration inside an element");
        if (at("</"))
            return readEndTag(root);
        return readStartTag(root);
    }

    std::optional<Error> readText() {
        const auto end = std::min(s_.find('<', pos_), s_.size());
        const std::string_view raw = s_.substr(pos_, end - pos_);
        if (const auto bad = raw.find("]]>"); bad != std::string_view::npos)
            return fail(pos_ + bad, "']]>' in character data");
        if (auto e = decode(raw, pos_, false, open_.back().text))
            return e;
        pos_ = end;
        return std::nullopt;
    }

    // Line ends become '\n' as XML requires; inside attribute values every white
    // space character becomes a plain space.
    static void appendNormalised(std::string& out, std::string_view raw, bool attributeValue = false) {
        for (std::size_t i = 0; i < raw.size(); ++i) {
            char c = raw[i];
            if (c == '\r') {
                if (i + 1 < raw.size() && raw[i + 1] == '\n')
                    ++i;
                c = '\n';
            }
            if (attributeValue && (c == '\n' || c == '\t'))
                c = ' ';
            out += c;
        }
    }

    std::optional<Error> decode(std::string_view raw, std::size_t rawPos, bool attributeValue,
                                std::string& out) {
        std::size_t i = 0;
        while (i < raw.size()) {
            const auto amp = raw.find('&', i);
            appendNormalised(out,
                             raw.substr(i, amp == std::string_view::npos ? std::string_view::npos : amp - i),
                             attributeValue);
            if (amp == std::string_view::npos)
                break;
            const auto semi = raw.find(';', amp);
            if (semi == std::string_view::npos || semi - amp > 12)
                return fail(rawPos + amp, "'&' that does not start an entity");
            const std::string_view name = raw.substr(amp + 1, semi - amp - 1);
            if (!XmlText::appendReference(name, out))
                return fail(rawPos + amp,
                            (name.starts_with('#') ? "invalid character reference &" : "unknown entity &") +
                                std::string(name) + ";");
            i = semi + 1;
        }
        return std::nullopt;
    }

    std::string_view readName() {
        const std::size_t start = pos_;
        if (atEnd() || !isNameStart(s_[pos_]))
            return {};
        while (!atEnd() && isNameChar(s_[pos_]))
            ++pos_;
        return s_.substr(start, pos_ - start);
    }

    bool skipSpace() {
        const std::size_t start = pos_;
        while (!atEnd() && isSpace(s_[pos_]))
            ++pos_;
        return pos_ > start;
    }

    std::optional<Error> readStartTag(std::optional<XmlElement>& root) {
        const std::size_t start = pos_;
        if (open_.size() >= XmlDocument::kMaxDepth)
            return fail(start, "elements nested deeper than " + std::to_string(XmlDocument::kMaxDepth));
        ++pos_; // '<'
        XmlElement element;
        element.line = lineAt(start);
        element.name = std::string(readName());
        if (element.name.empty())
            return fail(pos_, "invalid element name");
        for (;;) {
            const bool spaced = skipSpace();
            if (atEnd())
                return fail(start, "unterminated start tag <" + element.name + ">");
            if (s_[pos_] == '>') {
                ++pos_;
                open_.push_back(std::move(element));
                return std::nullopt;
            }
            if (at("/>")) {
                pos_ += 2;
                attach(std::move(element), root);
                return std::nullopt;
            }
            if (!spaced)
                return fail(pos_, "expected white space, '>' or '/>' in <" + element.name + ">");
            if (auto e = readAttribute(element))
                return e;
        }
    }

    std::optional<Error> readAttribute(XmlElement& element) {
        const std::size_t start = pos_;
        std::string name(readName());
        if (name.empty())
            return fail(pos_, "invalid attribute name in <" + element.name + ">");
        skipSpace();
        if (atEnd() || s_[pos_] != '=')
            return fail(pos_, "attribute " + name + " without a value");
        ++pos_;
        skipSpace();
        if (atEnd() || (s_[pos_] != '"' && s_[pos_] != '\''))
            return fail(pos_, "attribute " + name + " value is not quoted");
        const char quote = s_[pos_++];
        const auto end = s_.find(quote, pos_);
        if (end == std::string_view::npos)
            return fail(start, "unterminated value of attribute " + name);
        const std::string_view raw = s_.substr(pos_, end - pos_);
        if (const auto lt = raw.find('<'); lt != std::string_view::npos)
            return fail(pos_ + lt, "'<' in the value of attribute " + name);
        if (element.hasAttribute(name))
            return fail(start, "duplicate attribute " + name + " in <" + element.name + ">");
        std::string value;
        if (auto e = decode(raw, pos_, true, value))
            return e;
        element.attributes.emplace_back(std::move(name), std::move(value));
        pos_ = end + 1;
        return std::nullopt;
    }

    std::optional<Error> readEndTag(std::optional<XmlElement>& root) {
        const std::size_t start = pos_;
        pos_ += 2;
        const std::string_view name = readName();
        skipSpace();
        if (atEnd() || s_[pos_] != '>')
            return fail(start, "unterminated end tag");
        ++pos_;
        const XmlElement& innermost = open_.back();
        if (name != innermost.name)
            return makeError("line " + std::to_string(lineAt(start)) + ": </" + std::string(name) +
                             "> does not close <" + innermost.name + "> opened at line " +
                             std::to_string(innermost.line));
        XmlElement done = std::move(open_.back());
        open_.pop_back();
        attach(std::move(done), root);
        return std::nullopt;
    }

    // Elements join their parent only when complete, so the open elements live
    // side by side in the stack and an error at any depth unwinds without recursion.
    void attach(XmlElement element, std::optional<XmlElement>& root) {
        if (open_.empty())
            root = std::move(element);
        else
            open_.back().children.push_back(std::move(element));
    }

    std::string_view s_;
    std::size_t pos_ = 0;
    std::size_t countedTo_ = 0;
    std::size_t line_ = 1;
    std::vector<XmlElement> open_; // innermost last
};

} // namespace

Result<XmlElement> XmlDocument::parse(std::string_view text) {
    return Parser(text).run();
}

} // namespace platform
