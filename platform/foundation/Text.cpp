#include "platform/foundation/Text.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <memory>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <vector>

namespace platform::text {

namespace {

using icu::BreakIterator;
using icu::Normalizer2;
using icu::UnicodeString;

UnicodeString fromUtf8(std::string_view s) {
    // Longer strings than an int32_t can count never occur in mail metadata; clamp rather
    // than overflow.
    const auto length = static_cast<int32_t>(std::min<std::size_t>(s.size(), INT32_MAX));
    return UnicodeString::fromUTF8(icu::StringPiece(s.data(), length));
}

std::string toUtf8(const UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

// Normalises with the given instance; when ICU's data is unavailable the text is left as
// it is, which degrades matching but never fails it.
UnicodeString normalized(const Normalizer2* (*instance)(UErrorCode&), const UnicodeString& s) {
    UErrorCode status = U_ZERO_ERROR;
    const Normalizer2* normalizer = instance(status);
    if (U_FAILURE(status)) {
        return s;
    }
    UnicodeString out = normalizer->normalize(s, status);
    return U_SUCCESS(status) ? out : s;
}

UnicodeString nfc(const UnicodeString& s) {
    return normalized(&Normalizer2::getNFCInstance, s);
}
UnicodeString nfd(const UnicodeString& s) {
    return normalized(&Normalizer2::getNFDInstance, s);
}

UnicodeString withoutNonspacingMarks(const UnicodeString& s) {
    UnicodeString out;
    for (int32_t i = 0; i < s.length();) {
        const UChar32 c = s.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK) {
            out.append(c);
        }
        i += U16_LENGTH(c);
    }
    return out;
}

// The form in which two strings are compared: canonically decomposed so that folding and
// mark removal see every accent, then recomposed so that one accented letter is one
// character again for `?`.
UnicodeString comparable(const UnicodeString& s, bool caseInsensitive, bool diacriticInsensitive) {
    UnicodeString out = nfd(s);
    if (caseInsensitive) {
        out.foldCase(U_FOLD_CASE_DEFAULT);
        out = nfd(out);
    }
    if (diacriticInsensitive) {
        out = withoutNonspacingMarks(out);
    }
    return nfc(out);
}

// Break iterators are costly to build and not thread-safe, so each thread keeps its own.
BreakIterator* characterIterator() {
    thread_local std::unique_ptr<BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<BreakIterator> it(
            BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(it) : nullptr;
    }();
    return iterator.get();
}

BreakIterator* wordIterator() {
    thread_local std::unique_ptr<BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<BreakIterator> it(BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(it) : nullptr;
    }();
    return iterator.get();
}

// Text cut into user-perceived characters: character i is buf[ends[i-1], ends[i]).
// `boundary[i]` tells whether a match may end after i characters (wordMatch only).
struct Characters {
    std::u16string buf;
    std::vector<std::size_t> ends;
    std::vector<bool> boundary;

    std::size_t size() const { return ends.size(); }
    std::u16string_view at(std::size_t i) const {
        const std::size_t begin = i == 0 ? 0 : ends[i - 1];
        return std::u16string_view(buf).substr(begin, ends[i] - begin);
    }
};

// Appends the characters of `s` to `out`, falling back to code points when no break
// iterator could be built.
void appendCharacters(const UnicodeString& s, Characters& out) {
    const std::size_t base = out.buf.size();
    out.buf.append(s.getBuffer(), static_cast<std::size_t>(s.length()));
    BreakIterator* it = characterIterator();
    if (it == nullptr) {
        for (int32_t i = 0; i < s.length();) {
            i += U16_LENGTH(s.char32At(i));
            out.ends.push_back(base + static_cast<std::size_t>(i));
        }
        return;
    }
    it->setText(s);
    it->first();
    for (int32_t end = it->next(); end != BreakIterator::DONE; end = it->next()) {
        out.ends.push_back(base + static_cast<std::size_t>(end));
    }
}

struct Token {
    enum Kind { Character, AnyOne, AnyRun } kind;
    std::u16string character;
};

std::vector<Token> parsePattern(std::string_view pattern, bool caseInsensitive, bool diacriticInsensitive) {
    const UnicodeString source = fromUtf8(pattern);
    std::vector<Token> tokens;
    UnicodeString literal;
    auto flushLiteral = [&] {
        Characters chars;
        appendCharacters(comparable(literal, caseInsensitive, diacriticInsensitive), chars);
        for (std::size_t i = 0; i < chars.size(); ++i) {
            tokens.push_back({Token::Character, std::u16string(chars.at(i))});
        }
        literal.remove();
    };
    for (int32_t i = 0; i < source.length(); ++i) {
        const char16_t c = source.charAt(i);
        if (c == u'\\' && i + 1 < source.length()) {
            const char16_t next = source.charAt(i + 1);
            if (next == u'*' || next == u'?' || next == u'\\') {
                literal.append(next);
                ++i;
                continue;
            }
        }
        if (c == u'*' || c == u'?') {
            flushLiteral();
            // Adjacent stars mean no more than one.
            if (c == u'?' || tokens.empty() || tokens.back().kind != Token::AnyRun) {
                tokens.push_back({c == u'*' ? Token::AnyRun : Token::AnyOne, {}});
            }
            continue;
        }
        literal.append(c);
    }
    flushLiteral();
    return tokens;
}

// Matches the pattern against the text from character `start`, accepting an end position
// where `acceptEnd` holds. Greedy with a single backtrack point at the last star: every
// later segment is matched at its leftmost place, which is enough, and keeps the cost at
// O(text × pattern) instead of exponential.
template <class AcceptEnd>
bool matchFrom(const Characters& text, std::size_t start, const std::vector<Token>& pattern,
               AcceptEnd acceptEnd) {
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    const std::size_t n = text.size();
    const std::size_t m = pattern.size();
    std::size_t t = start;
    std::size_t p = 0;
    std::size_t starP = none;
    std::size_t starT = 0;
    for (;;) {
        if (p < m && pattern[p].kind == Token::AnyRun) {
            starP = p++;
            starT = t;
            continue;
        }
        if (p == m) {
            if (acceptEnd(t)) {
                return true;
            }
        } else if (t < n && (pattern[p].kind == Token::AnyOne || pattern[p].character == text.at(t))) {
            ++p;
            ++t;
            continue;
        }
        if (starP == none || starT >= n) {
            return false;
        }
        t = ++starT;
        p = starP + 1;
    }
}

} // namespace

bool containsCaseInsensitive(std::string_view haystack, std::string_view needle) {
    if (needle.empty()) {
        return false;
    }
    UnicodeString folded = fromUtf8(haystack);
    folded.foldCase(U_FOLD_CASE_DEFAULT);
    UnicodeString wanted = fromUtf8(needle);
    wanted.foldCase(U_FOLD_CASE_DEFAULT);
    return folded.indexOf(wanted) >= 0;
}

std::string lowercase(std::string_view s) {
    UnicodeString u = fromUtf8(s);
    u.toLower(icu::Locale::getRoot());
    return toUtf8(u);
}

bool hasLowercasePrefix(std::string_view s, std::string_view prefix) {
    return lowercase(s).starts_with(lowercase(prefix));
}

bool equalsIgnoringCaseAndDiacritics(std::string_view a, std::string_view b) {
    return comparable(fromUtf8(a), true, true) == comparable(fromUtf8(b), true, true);
}

bool wildcardMatch(std::string_view text, std::string_view pattern, bool caseInsensitive,
                   bool diacriticInsensitive) {
    Characters chars;
    appendCharacters(comparable(fromUtf8(text), caseInsensitive, diacriticInsensitive), chars);
    const std::vector<Token> tokens = parsePattern(pattern, caseInsensitive, diacriticInsensitive);
    return matchFrom(chars, 0, tokens, [&](std::size_t end) { return end == chars.size(); });
}

bool wordMatch(std::string_view text, std::string_view pattern, bool caseInsensitive,
               bool diacriticInsensitive) {
    // Looking for nothing finds nothing, as with containsCaseInsensitive.
    BreakIterator* words = wordIterator();
    if (pattern.empty() || words == nullptr) {
        return false;
    }
    // Each segment between word boundaries is prepared on its own, so that positions in
    // the prepared text still line up with the boundaries. Combining marks never start a
    // segment, so folding and normalising per segment gives the same characters.
    const UnicodeString source = fromUtf8(text);
    Characters chars;
    chars.boundary.push_back(true);
    std::vector<std::size_t> wordStarts;
    words->setText(source);
    int32_t begin = words->first();
    for (int32_t end = words->next(); end != BreakIterator::DONE; begin = end, end = words->next()) {
        const bool isWord = words->getRuleStatus() >= UBRK_WORD_NONE_LIMIT;
        const std::size_t first = chars.size();
        UnicodeString segment;
        source.extract(begin, end - begin, segment);
        appendCharacters(comparable(segment, caseInsensitive, diacriticInsensitive), chars);
        if (chars.size() == first) {
            continue;
        }
        if (isWord) {
            wordStarts.push_back(first);
        }
        chars.boundary.resize(chars.size() + 1, false);
        chars.boundary.back() = true;
    }
    const std::vector<Token> tokens = parsePattern(pattern, caseInsensitive, diacriticInsensitive);
    const auto atBoundary = [&](std::size_t end) {
        return chars.boundary[end];
    };
    // The part before the first star has a fixed length, so trying it at a start costs
    // little. What follows the star can only fail more from a later position; so the first
    // start whose head matches decides, and a text of many words is scanned once, not
    // once per word.
    const auto star = std::find_if(tokens.begin(), tokens.end(),
                                   [](const Token& token) { return token.kind == Token::AnyRun; });
    const auto headLength = static_cast<std::size_t>(star - tokens.begin());
    for (const std::size_t start : wordStarts) {
        if (star == tokens.end()) {
            if (matchFrom(chars, start, tokens, atBoundary)) {
                return true;
            }
            continue;
        }
        if (start + headLength > chars.size()) {
            return false;
        }
        bool headMatches = true;
        for (std::size_t i = 0; i < headLength && headMatches; ++i) {
            headMatches = tokens[i].kind == Token::AnyOne || tokens[i].character == chars.at(start + i);
        }
        if (headMatches) {
            return matchFrom(chars, start, tokens, atBoundary);
        }
    }
    return false;
}

std::string fold(std::string_view s, bool caseInsensitive, bool diacriticInsensitive) {
    return toUtf8(comparable(fromUtf8(s), caseInsensitive, diacriticInsensitive));
}

int compareCaseInsensitive(std::string_view a, std::string_view b) {
    const UnicodeString left = nfc(fromUtf8(a));
    const UnicodeString right = nfc(fromUtf8(b));
    return left.caseCompare(right, U_FOLD_CASE_DEFAULT | U_COMPARE_CODE_POINT_ORDER);
}

} // namespace platform::text
