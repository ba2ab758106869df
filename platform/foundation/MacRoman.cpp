#include "platform/foundation/MacRoman.h"

#include <climits>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <unicode/normalizer2.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

namespace platform {

namespace {

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// A converter that stops at the first character or byte it has no mapping for; ICU's
// default would quietly substitute one.
Result<Converter> openConverter() {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open("macintosh", &status));
    if (U_FAILURE(status)) {
        return makeError(std::string("the Mac OS Roman converter is unavailable: ") + u_errorName(status));
    }
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    if (U_FAILURE(status)) {
        return makeError(std::string("the Mac OS Roman converter is unavailable: ") + u_errorName(status));
    }
    return converter;
}

Result<icu::UnicodeString> utf16FromUtf8(std::string_view utf8) {
    if (utf8.size() > INT32_MAX / 2) {
        return makeError("text too long to convert to Mac OS Roman");
    }
    const auto length = static_cast<int32_t>(utf8.size());
    icu::UnicodeString out;
    // UTF-8 never needs more UTF-16 code units than it has bytes.
    char16_t* buffer = out.getBuffer(length);
    int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(buffer, length, &written, utf8.data(), length, &status);
    out.releaseBuffer(U_SUCCESS(status) ? written : 0);
    if (U_FAILURE(status)) {
        return makeError("the text is not valid UTF-8");
    }
    return out;
}

std::string codePointName(UChar32 c) {
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(c));
    return name;
}

bool isUrlByte(unsigned char byte) {
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9')) {
        return true;
    }
    return std::string_view("-_.!~*'();/?:@&=+$,#").find(static_cast<char>(byte)) != std::string_view::npos;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

Result<std::string> MacRoman::encode(std::string_view utf8) {
    auto utf16 = LUMETTA_TRY(utf16FromUtf8(utf8));
    // The encoding only has precomposed accented letters, so decomposed input (as some
    // file systems store names) must be composed first.
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {
        return makeError(std::string("Unicode normalisation data is unavailable: ") + u_errorName(status));
    }
    const icu::UnicodeString composed = nfc->normalize(utf16, status);
    if (U_FAILURE(status)) {
        return makeError(std::string("the text cannot be normalised: ") + u_errorName(status));
    }

    auto converter = LUMETTA_TRY(openConverter());
    // One byte per character at most; the extra byte leaves room for ICU's terminator.
    std::string bytes(static_cast<std::size_t>(composed.length()) + 1, '\0');
    const int32_t written = ucnv_fromUChars(converter.get(), bytes.data(), static_cast<int32_t>(bytes.size()),
                                            composed.getBuffer(), composed.length(), &status);
    if (status == U_INVALID_CHAR_FOUND || status == U_ILLEGAL_CHAR_FOUND) {
        char16_t invalid[4];
        int8_t invalidLength = static_cast<int8_t>(std::size(invalid));
        UErrorCode ignored = U_ZERO_ERROR;
        ucnv_getInvalidUChars(converter.get(), invalid, &invalidLength, &ignored);
        if (U_SUCCESS(ignored) && invalidLength > 0) {
            UChar32 c = 0;
            int32_t offset = 0;
            U16_NEXT(invalid, offset, invalidLength, c);
            return makeError(codePointName(c) + " cannot be written in Mac OS Roman");
        }
        return makeError("the text has a character that cannot be written in Mac OS Roman");
    }
    if (U_FAILURE(status)) {
        return makeError(std::string("conversion to Mac OS Roman failed: ") + u_errorName(status));
    }
    bytes.resize(static_cast<std::size_t>(written));
    return bytes;
}

Result<std::string> MacRoman::decode(std::string_view bytes) {
    if (bytes.size() > INT32_MAX / 2) {
        return makeError("data too long to convert from Mac OS Roman");
    }
    auto converter = LUMETTA_TRY(openConverter());
    const auto length = static_cast<int32_t>(bytes.size());
    icu::UnicodeString text;
    // Every Mac OS Roman byte is one BMP character.
    char16_t* buffer = text.getBuffer(length + 1);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t written = ucnv_toUChars(converter.get(), buffer, length + 1, bytes.data(), length, &status);
    text.releaseBuffer(U_SUCCESS(status) ? written : 0);
    if (U_FAILURE(status)) {
        return makeError(std::string("the data is not Mac OS Roman: ") + u_errorName(status));
    }
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
}

Result<std::string> MacRoman::percentEscape(std::string_view utf8) {
    auto bytes = LUMETTA_TRY(encode(utf8));
    return percentEscapeBytes(bytes);
}

std::string MacRoman::percentEscapeBytes(std::string_view bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string escaped;
    escaped.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (isUrlByte(byte)) {
            escaped.push_back(c);
        } else {
            escaped.push_back('%');
            escaped.push_back(kHex[byte >> 4]);
            escaped.push_back(kHex[byte & 0x0F]);
        }
    }
    return escaped;
}

Result<std::string> MacRoman::percentUnescape(std::string_view escaped) {
    // Unescaped characters stand for their own Mac OS Roman bytes; ASCII, and so every
    // escape sequence, comes through the encoding unchanged.
    auto bytes = LUMETTA_TRY(encode(escaped));
    const std::string& in = bytes;
    std::string raw;
    raw.reserve(in.size());
    for (std::size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '%') {
            raw.push_back(in[i]);
            continue;
        }
        const int high = i + 1 < in.size() ? hexValue(in[i + 1]) : -1;
        const int low = i + 2 < in.size() ? hexValue(in[i + 2]) : -1;
        if (high < 0 || low < 0) {
            return makeError("malformed percent escape in \"" + std::string(escaped) + "\"");
        }
        raw.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return decode(raw);
}

} // namespace platform
