#include "mailhost/message/MessageBody.h"

#include "mailhost/message/GMimeSupport.h"
#include "mailhost/message/HtmlText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace mailhost {

struct MessageBody::Parsed {
    gmime::Ref<GMimeMessage> message;
};

namespace {

std::string lowercase(std::string text) {
    for (char& c : text) {
        c = g_ascii_tolower(c);
    }
    return text;
}

// Real mail nests a handful of levels; anything deeper is hostile and left unread
// rather than walked on the stack.
constexpr int kMaxDepth = 64;

bool isSignature(GMimeContentType* type) {
    return g_mime_content_type_is_type(type, "application", "pgp-signature") ||
           g_mime_content_type_is_type(type, "application", "pkcs7-signature") ||
           g_mime_content_type_is_type(type, "application", "x-pkcs7-signature");
}

// Encrypted payloads are neither text nor files the user attached; taking them apart
// or replacing them would destroy the message.
bool isOpaque(GMimeObject* object) {
    return GMIME_IS_MULTIPART_ENCRYPTED(object) || GMIME_IS_APPLICATION_PKCS7_MIME(object);
}

bool isAttachment(GMimeObject* object) {
    if (GMIME_IS_MULTIPART(object) || isOpaque(object)) {
        return false;
    }
    const char* disposition = g_mime_object_get_disposition(object);
    const bool marked = disposition != nullptr && g_ascii_strcasecmp(disposition, "attachment") == 0;
    if (GMIME_IS_MESSAGE_PART(object)) {
        // A forwarded message shown inline is part of the text; an attached one is a file.
        return marked;
    }
    if (!GMIME_IS_PART(object)) {
        return false;
    }
    GMimeContentType* type = g_mime_object_get_content_type(object);
    if (isSignature(type)) {
        return false;
    }
    if (marked || g_mime_part_get_filename(GMIME_PART(object)) != nullptr) {
        return true;
    }
    return !g_mime_content_type_is_type(type, "text", "*");
}

std::uint64_t writtenSize(GMimeObject* object) {
    gmime::Ref<GMimeStream> counter(g_mime_stream_null_new());
    g_mime_object_write_to_stream(object, nullptr, counter.get());
    return GMIME_STREAM_NULL(counter.get())->written;
}

std::uint64_t decodedSize(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (content == nullptr) {
        return 0;
    }
    gmime::Ref<GMimeStream> counter(g_mime_stream_null_new());
    g_mime_data_wrapper_write_to_stream(content, counter.get());
    return GMIME_STREAM_NULL(counter.get())->written;
}

std::string decodedBytes(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (content == nullptr) {
        return {};
    }
    gmime::Ref<GMimeStream> memory(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(content, memory.get());
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory.get()));
    return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

// Text in the part's declared charset, converted to UTF-8. A missing, wrong or unknown
// charset falls back to reading the bytes as UTF-8 when they are valid UTF-8 and
// through the shared fallback charsets otherwise, so every part yields text.
std::string toUtf8(std::string bytes, const char* charset) {
    std::erase(bytes, '\0');
    if (charset != nullptr && g_ascii_strcasecmp(charset, "utf-8") != 0 &&
        g_ascii_strcasecmp(charset, "us-ascii") != 0) {
        gsize written = 0;
        GError* error = nullptr;
        gmime::OwnedText converted(g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                             g_mime_charset_iconv_name(charset), nullptr, &written, &error));
        g_clear_error(&error);
        if (converted) {
            return std::string(converted.get(), written);
        }
    }
    if (g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr)) {
        return bytes;
    }
    return gmime::take(g_mime_utils_decode_8bit(gmime::parserOptions(), bytes.data(), bytes.size()));
}

std::string withUnixLineEnds(std::string text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            if (i + 1 < text.size() && text[i + 1] == '\n') {
                continue;
            }
            out += '\n';
        } else {
            out += text[i];
        }
    }
    return out;
}

struct TextPiece {
    bool fromHtml = false;
    std::string text;
};

void collectText(GMimeObject* object, std::vector<TextPiece>& pieces, int depth);

// Of the alternatives, the first with plain text wins; without any, the last (the
// richest, by convention) is read with its markup stripped.
void collectAlternative(GMimeMultipart* multipart, std::vector<TextPiece>& pieces, int depth) {
    const int count = g_mime_multipart_get_count(multipart);
    std::vector<std::vector<TextPiece>> alternatives(static_cast<std::size_t>(std::max(count, 0)));
    for (int i = 0; i < count; ++i) {
        collectText(g_mime_multipart_get_part(multipart, i), alternatives[static_cast<std::size_t>(i)],
                    depth + 1);
    }
    const std::vector<TextPiece>* chosen = nullptr;
    for (const auto& alternative : alternatives) {
        for (const TextPiece& piece : alternative) {
            if (!piece.fromHtml) {
                chosen = &alternative;
                break;
            }
        }
        if (chosen != nullptr) {
            break;
        }
    }
    for (auto it = alternatives.rbegin(); chosen == nullptr && it != alternatives.rend(); ++it) {
        if (!it->empty()) {
            chosen = &*it;
        }
    }
    if (chosen != nullptr) {
        pieces.insert(pieces.end(), chosen->begin(), chosen->end());
    }
}

void collectText(GMimeObject* object, std::vector<TextPiece>& pieces, int depth) {
    if (depth > kMaxDepth || isOpaque(object) || isAttachment(object)) {
        return;
    }
    if (GMIME_IS_MULTIPART(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        if (g_mime_content_type_is_type(g_mime_object_get_content_type(object), "multipart", "alternative")) {
            collectAlternative(multipart, pieces, depth);
            return;
        }
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count; ++i) {
            collectText(g_mime_multipart_get_part(multipart, i), pieces, depth + 1);
        }
        return;
    }
    if (GMIME_IS_MESSAGE_PART(object)) {
        GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
        if (inner != nullptr && g_mime_message_get_mime_part(inner) != nullptr) {
            collectText(g_mime_message_get_mime_part(inner), pieces, depth + 1);
        }
        return;
    }
    if (!GMIME_IS_PART(object)) {
        return;
    }
    GMimeContentType* type = g_mime_object_get_content_type(object);
    const bool plain = g_mime_content_type_is_type(type, "text", "plain");
    const bool html = g_mime_content_type_is_type(type, "text", "html");
    if (!plain && !html) {
        return;
    }
    std::string text =
        toUtf8(decodedBytes(GMIME_PART(object)), g_mime_content_type_get_parameter(type, "charset"));
    pieces.push_back({html, html ? htmlToText(text) : withUnixLineEnds(std::move(text))});
}

AttachmentInfo describe(GMimeObject* object) {
    AttachmentInfo info;
    info.contentType =
        lowercase(gmime::take(g_mime_content_type_get_mime_type(g_mime_object_get_content_type(object))));
    if (GMIME_IS_PART(object)) {
        const char* filename = g_mime_part_get_filename(GMIME_PART(object));
        info.filename = filename != nullptr ? filename : "";
        info.size = decodedSize(GMIME_PART(object));
    } else if (GMIME_IS_MESSAGE_PART(object)) {
        const char* filename = g_mime_object_get_content_disposition_parameter(object, "filename");
        info.filename = filename != nullptr ? filename : "";
        GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
        info.size = inner != nullptr ? writtenSize(GMIME_OBJECT(inner)) : 0;
    }
    // The client writes this field exactly when it left the part's content out.
    if (const char* stored = g_mime_object_get_header(object, "X-Apple-Content-Length")) {
        char* end = nullptr;
        const guint64 size = g_ascii_strtoull(stored, &end, 10);
        if (end != stored) {
            info.size = size;
            info.contentPresent = false;
        }
    }
    return info;
}

void collectAttachments(GMimeObject* object, std::vector<AttachmentInfo>& out, int depth) {
    if (depth > kMaxDepth) {
        return;
    }
    if (isAttachment(object)) {
        out.push_back(describe(object));
    } else if (GMIME_IS_MULTIPART(object) && !isOpaque(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count; ++i) {
            collectAttachments(g_mime_multipart_get_part(multipart, i), out, depth + 1);
        }
    } else if (GMIME_IS_MESSAGE_PART(object)) {
        GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
        if (inner != nullptr && g_mime_message_get_mime_part(inner) != nullptr) {
            collectAttachments(g_mime_message_get_mime_part(inner), out, depth + 1);
        }
    }
}

gmime::Ref<GMimeObject> removalNote(GMimeObject* attachment) {
    const AttachmentInfo info = describe(attachment);
    const std::string note = "Attachment removed: " + (info.filename.empty() ? "untitled" : info.filename) +
                             " (" + info.contentType + ", " + MessageBody::describeSize(info.size) + ")\n";
    gmime::Ref<GMimeTextPart> part(g_mime_text_part_new_with_subtype("plain"));
    g_mime_text_part_set_text(part.get(), note.c_str());
    g_mime_object_set_disposition(GMIME_OBJECT(part.get()), "inline");
    return gmime::Ref<GMimeObject>(GMIME_OBJECT(part.release()));
}

int replaceInMessage(GMimeMessage* message, int depth);

int replaceInPart(GMimeObject* object, int depth) {
    int replaced = 0;
    if (depth > kMaxDepth) {
        return replaced;
    }
    if (GMIME_IS_MULTIPART(object) && !isOpaque(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        const int count = g_mime_multipart_get_count(multipart);
        for (int i = 0; i < count; ++i) {
            GMimeObject* child = g_mime_multipart_get_part(multipart, i);
            if (isAttachment(child)) {
                const auto note = removalNote(child);
                gmime::Ref<GMimeObject> removed(g_mime_multipart_replace(multipart, i, note.get()));
                ++replaced;
            } else {
                replaced += replaceInPart(child, depth + 1);
            }
        }
    } else if (GMIME_IS_MESSAGE_PART(object)) {
        if (GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object))) {
            replaced += replaceInMessage(inner, depth + 1);
        }
    }
    return replaced;
}

int replaceInMessage(GMimeMessage* message, int depth) {
    GMimeObject* top = g_mime_message_get_mime_part(message);
    if (top == nullptr) {
        return 0;
    }
    if (isAttachment(top)) {
        const auto note = removalNote(top);
        g_mime_message_set_mime_part(message, note.get());
        return 1;
    }
    return replaceInPart(top, depth);
}

} // namespace

MessageBody::MessageBody(std::unique_ptr<Parsed> parsed) : parsed_(std::move(parsed)) {}
MessageBody::MessageBody(MessageBody&&) noexcept = default;
MessageBody& MessageBody::operator=(MessageBody&&) noexcept = default;
MessageBody::~MessageBody() = default;

platform::Result<MessageBody> MessageBody::parse(std::string_view messageBytes) {
    auto message = LUMETTA_TRY(gmime::parseMessage(messageBytes));
    return MessageBody(std::make_unique<Parsed>(Parsed{std::move(message)}));
}

std::string MessageBody::text() const {
    GMimeObject* top = g_mime_message_get_mime_part(parsed_->message.get());
    if (top == nullptr) {
        return {};
    }
    std::vector<TextPiece> pieces;
    collectText(top, pieces, 0);
    std::string text;
    for (const TextPiece& piece : pieces) {
        std::string_view part = piece.text;
        const std::size_t first = part.find_first_not_of(" \t\r\n");
        if (first == std::string_view::npos) {
            continue;
        }
        // Keep the indentation of the first line, drop the blank lines around the part.
        const std::size_t lineStart = part.rfind('\n', first);
        part.remove_prefix(lineStart == std::string_view::npos ? 0 : lineStart + 1);
        part.remove_suffix(part.size() - part.find_last_not_of(" \t\r\n") - 1);
        if (!text.empty()) {
            text += '\n';
        }
        text += part;
    }
    return text;
}

std::vector<AttachmentInfo> MessageBody::attachments() const {
    std::vector<AttachmentInfo> found;
    if (GMimeObject* top = g_mime_message_get_mime_part(parsed_->message.get())) {
        collectAttachments(top, found, 0);
    }
    return found;
}

platform::Result<std::string> MessageBody::textContent(std::string_view messageBytes) {
    auto body = LUMETTA_TRY(parse(messageBytes));
    return body.text();
}

platform::Result<std::string> MessageBody::removingAttachments(std::string_view messageBytes) {
    auto message = LUMETTA_TRY(gmime::parseMessage(messageBytes));
    if (replaceInMessage(message.get(), 0) == 0) {
        return std::string(messageBytes);
    }
    return gmime::serialise(GMIME_OBJECT(message.get()));
}

std::string MessageBody::describeSize(std::uint64_t bytes) {
    if (bytes == 1) {
        return "1 byte";
    }
    if (bytes < 1024) {
        return std::to_string(bytes) + " bytes";
    }
    const double kilobytes = static_cast<double>(bytes) / 1024.0;
    if (kilobytes < 1000.0) {
        return std::to_string(static_cast<std::uint64_t>(std::llround(kilobytes))) + " KB";
    }
    char buffer[32];
    const double megabytes = kilobytes / 1024.0;
    if (megabytes < 1000.0) {
        std::snprintf(buffer, sizeof buffer, "%.1f MB", megabytes);
    } else {
        std::snprintf(buffer, sizeof buffer, "%.1f GB", megabytes / 1024.0);
    }
    return buffer;
}

} // namespace mailhost
