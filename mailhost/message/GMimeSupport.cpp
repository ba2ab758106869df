#include "mailhost/message/GMimeSupport.h"

#include <mutex>

namespace mailhost::gmime {

GMimeParserOptions* parserOptions() {
    static std::once_flag once;
    static GMimeParserOptions* options = nullptr;
    std::call_once(once, [] {
        g_mime_init();
        options = g_mime_parser_options_new();
        static const char* fallbackCharsets[] = {"UTF-8", "windows-1252", "iso-8859-1", nullptr};
        g_mime_parser_options_set_fallback_charsets(options, fallbackCharsets);
        g_mime_parser_options_set_rfc2047_compliance_mode(options, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_address_compliance_mode(options, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_parameter_compliance_mode(options, GMIME_RFC_COMPLIANCE_LOOSE);
        g_mime_parser_options_set_allow_addresses_without_domain(options, TRUE);
    });
    return options;
}

platform::Result<Ref<GMimeMessage>> parseMessage(std::string_view bytes) {
    GMimeParserOptions* options = parserOptions();
    if (bytes.empty()) {
        return platform::makeError("the message is empty");
    }
    Ref<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    Ref<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    g_mime_parser_set_format(parser.get(), GMIME_FORMAT_MESSAGE);
    Ref<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), options));
    if (!message) {
        return platform::makeError("the bytes are not a mail message (no header block)");
    }
    GMimeHeaderList* headers = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    if (headers == nullptr || g_mime_header_list_get_count(headers) == 0) {
        return platform::makeError("the message has no header fields");
    }
    return message;
}

platform::Result<std::string> serialise(GMimeObject* object) {
    Ref<GMimeStream> stream(g_mime_stream_mem_new());
    if (g_mime_object_write_to_stream(object, nullptr, stream.get()) < 0) {
        return platform::makeError("the message could not be written out");
    }
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

std::string take(char* allocated) {
    OwnedText owned(allocated);
    return owned ? std::string(owned.get()) : std::string();
}

} // namespace mailhost::gmime
