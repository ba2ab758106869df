#include "platform/spotlight/query/QueryLexer.h"

#include "platform/spotlight/query/QueryError.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace platform::spotlight {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isNameCharacter(char c) {
    return isLetter(c) || isDigit(c) || c == '.';
}

std::string describe(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x21 && byte < 0x7F)
        return std::string("'") + c + "'";
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02X", byte);
    return std::string("byte ") + hex;
}

} // namespace

Result<std::vector<QueryToken>> QueryLexer::tokenize(std::string_view query) {
    QueryLexer lexer(query);
    LUMETTA_TRY_VOID(lexer.run());
    return std::move(lexer.tokens_);
}

char QueryLexer::peek(std::size_t ahead) const {
    return at_ + ahead < query_.size() ? query_[at_ + ahead] : '\0';
}

void QueryLexer::add(QueryToken::Kind kind, std::size_t start, std::size_t length) {
    QueryToken token;
    token.kind = kind;
    token.position = start;
    token.text = std::string(query_.substr(start, length));
    tokens_.push_back(std::move(token));
}

void QueryLexer::skipSpace() {
    while (at_ < query_.size() && isSpace(query_[at_]))
        ++at_;
}

bool QueryLexer::startsNumber() const {
    const char c = peek();
    if (isDigit(c))
        return true;
    if (c == '.')
        return isDigit(peek(1));
    if (c == '-' || c == '+')
        return isDigit(peek(1)) || (peek(1) == '.' && isDigit(peek(2)));
    return false;
}

Result<void> QueryLexer::run() {
    for (;;) {
        skipSpace();
        if (at_ >= query_.size()) {
            add(QueryToken::Kind::End, at_, 0);
            return {};
        }
        const char c = query_[at_];
        Result<void> r;
        if (c == '"' || c == '\'')
            r = quoted();
        else if (startsNumber())
            r = number();
        else if (c == '$')
            r = variable();
        else if (isLetter(c))
            identifier();
        else
            r = symbol();
        if (!r)
            return r;
    }
}

// Inside quotes a backslash escapes either quote character; every other backslash stays, so
// that the pattern still sees \* \? and \\ as literal characters.
Result<void> QueryLexer::quoted() {
    const std::size_t start = at_;
    const char quote = query_[at_++];
    std::string text;
    for (;;) {
        if (at_ >= query_.size())
            return QueryError::at(start, "this quote is never closed");
        const char c = query_[at_];
        if (c == '\\' && at_ + 1 < query_.size()) {
            const char next = query_[at_ + 1];
            if (next != '"' && next != '\'')
                text += c;
            text += next;
            at_ += 2;
            continue;
        }
        ++at_;
        if (c == quote)
            break;
        text += c;
    }
    QueryToken token;
    token.kind = QueryToken::Kind::String;
    token.position = start;
    token.text = std::move(text);
    while (isLetter(peek())) {
        switch (peek()) {
        case 'c':
            token.modifiers.caseInsensitive = true;
            break;
        case 'd':
            token.modifiers.diacriticInsensitive = true;
            break;
        case 'w':
            token.modifiers.wordBased = true;
            break;
        default:
            return QueryError::at(at_,
                                  "unknown modifier " + describe(peek()) + "; the modifiers are c, d and w");
        }
        ++at_;
    }
    tokens_.push_back(std::move(token));
    return {};
}

Result<void> QueryLexer::number() {
    const std::size_t start = at_;
    if (peek() == '-' || peek() == '+')
        ++at_;
    while (isDigit(peek()))
        ++at_;
    if (peek() == '.') {
        ++at_;
        while (isDigit(peek()))
            ++at_;
    }
    if ((peek() == 'e' || peek() == 'E') &&
        (isDigit(peek(1)) || ((peek(1) == '-' || peek(1) == '+') && isDigit(peek(2))))) {
        at_ += 2;
        while (isDigit(peek()))
            ++at_;
    }
    // from_chars takes no plus sign, and is independent of the process's locale.
    const std::size_t digits = query_[start] == '+' ? start + 1 : start;
    double value = 0.0;
    const auto parsed = std::from_chars(query_.data() + digits, query_.data() + at_, value);
    if (parsed.ec != std::errc() || parsed.ptr != query_.data() + at_ || !std::isfinite(value))
        return QueryError::at(start, "this number is out of range");
    add(QueryToken::Kind::Number, start, at_ - start);
    tokens_.back().number = value;
    return {};
}

void QueryLexer::identifier() {
    const std::size_t start = at_;
    while (isNameCharacter(peek()))
        ++at_;
    add(QueryToken::Kind::Identifier, start, at_ - start);
}

// $time.iso takes a date that is usually written without quotes and holds characters (':'
// and '-') that are no tokens of their own, so its argument is read raw up to ')'.
Result<void> QueryLexer::variable() {
    const std::size_t start = at_++;
    while (isNameCharacter(peek()))
        ++at_;
    if (at_ == start + 1)
        return QueryError::at(start, "expected a name after '$', as in $time.today");
    add(QueryToken::Kind::Variable, start, at_ - start);
    if (tokens_.back().text != "$time.iso")
        return {};
    skipSpace();
    if (peek() != '(')
        return {};
    add(QueryToken::Kind::LeftParen, at_++, 1);
    skipSpace();
    if (peek() == '"' || peek() == '\'')
        return {};
    const std::size_t argument = at_;
    while (at_ < query_.size() && query_[at_] != ')')
        ++at_;
    std::size_t end = at_;
    while (end > argument && isSpace(query_[end - 1]))
        --end;
    add(QueryToken::Kind::Raw, argument, end - argument);
    return {};
}

Result<void> QueryLexer::symbol() {
    using Kind = QueryToken::Kind;
    const std::size_t start = at_;
    const char c = peek();
    const bool equalsNext = peek(1) == '=';
    auto one = [&](Kind kind) {
        add(kind, start, 1);
        at_ += 1;
        return Result<void>();
    };
    auto two = [&](Kind kind) {
        add(kind, start, 2);
        at_ += 2;
        return Result<void>();
    };
    switch (c) {
    case '(':
        return one(Kind::LeftParen);
    case ')':
        return one(Kind::RightParen);
    case ',':
        return one(Kind::Comma);
    case '*':
        return one(Kind::Star);
    case '=':
        return equalsNext ? two(Kind::Equal) : one(Kind::Equal);
    case '!':
        return equalsNext ? two(Kind::NotEqual) : one(Kind::Not);
    case '<':
        return equalsNext ? two(Kind::LessOrEqual) : one(Kind::Less);
    case '>':
        return equalsNext ? two(Kind::GreaterOrEqual) : one(Kind::Greater);
    case '&':
        if (peek(1) == '&')
            return two(Kind::And);
        return QueryError::at(start, "unknown operator '&'; write && to join terms");
    case '|':
        if (peek(1) == '|')
            return two(Kind::Or);
        return QueryError::at(start, "unknown operator '|'; write || for either term");
    default:
        return QueryError::at(start, "unexpected " + describe(c));
    }
}

} // namespace platform::spotlight
