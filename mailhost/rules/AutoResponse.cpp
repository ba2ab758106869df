#include "mailhost/rules/AutoResponse.h"

#include "mailhost/mail/OutgoingMessage.h"
#include "mailhost/message/MessageBody.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/foundation/CalendarDateFormatter.h"
#include "platform/foundation/Log.h"

#include <atomic>
#include <cctype>

namespace mailhost {

namespace {

std::string join(const std::vector<std::string>& parts) {
    std::string out;
    for (const auto& p : parts)
        out += (out.empty() ? "" : ", ") + p;
    return out;
}

std::string base64(std::string_view bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](std::size_t k) {
            return k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0u;
        };
        const unsigned n = (byte(i) << 16) | (byte(i + 1) << 8) | byte(i + 2);
        out += kAlphabet[(n >> 18) & 63];
        out += kAlphabet[(n >> 12) & 63];
        out += i + 1 < bytes.size() ? kAlphabet[(n >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? kAlphabet[n & 63] : '=';
    }
    return out;
}

// A header value as text that every mail reader takes: ASCII as it is, anything else
// as one encoded word.
std::string headerText(const std::string& text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\n' || c == '\r')
            return "=?UTF-8?B?" + base64(text) + "?=";
    return text;
}

std::string prefixed(const std::string& prefix, const std::string& subject) {
    if (subject.size() >= prefix.size()) {
        bool same = true;
        for (std::size_t i = 0; i < prefix.size() && same; ++i)
            same = std::tolower(static_cast<unsigned char>(subject[i])) ==
                   std::tolower(static_cast<unsigned char>(prefix[i]));
        if (same)
            return subject;
    }
    return prefix + subject;
}

std::string addresses(const MessageHeaders& headers, const char* field) {
    std::vector<std::string> out;
    for (const auto& person : headers.people(field))
        if (!person.address.empty())
            out.push_back(person.address);
    return join(out);
}

std::string newMessageID(platform::Date now) {
    static std::atomic<unsigned> counter{0};
    return "<lumetta-rule-" + std::to_string(static_cast<long long>(now.unixSeconds())) + "-" +
           std::to_string(counter++) + "@localhost>";
}

std::string common(platform::Date now) {
    return "Date: " + platform::CalendarDateFormatter::format(now, "%a, %d %b %Y %H:%M:%S %z") +
           "\nMessage-ID: " + newMessageID(now) + "\nMIME-Version: 1.0\n";
}

std::string quoted(const std::string& text) {
    std::string out = "> ";
    for (std::size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] == '\n' && i + 1 < text.size())
            out += "> ";
    }
    if (out.back() != '\n')
        out += '\n';
    return out;
}

} // namespace

std::optional<std::string> AutoResponse::compose(int type, const std::vector<std::string>& recipients,
                                                 const Message& original, platform::Date now) {
    const MessageHeaders* headers = original.headers();
    auto bytes = original.messageBytes();
    if (!headers || !bytes)
        return std::nullopt;
    // The response comes from the address the original was sent to.
    const auto to = headers->people("To");
    const std::string from = to.empty() ? std::string() : to.front().address;
    const std::string fromLine = from.empty() ? std::string() : "From: " + from + "\n";
    if (type == MessageRule::kForward) {
        if (recipients.empty())
            return std::nullopt;
        const std::string boundary =
            "lumetta-forward-" + std::to_string(static_cast<long long>(now.unixSeconds()));
        return fromLine + "To: " + join(recipients) +
               "\nSubject: " + headerText(prefixed("Fwd: ", headers->subject())) + "\n" + common(now) +
               "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\n\n--" + boundary +
               "\nContent-Type: text/plain; charset=utf-8\n\nForwarded message attached.\n\n--" + boundary +
               "\nContent-Type: message/rfc822\nContent-Disposition: attachment\n\n" + bytes.value() +
               "\n--" + boundary + "--\n";
    }
    if (type == MessageRule::kReply) {
        std::string replyTo = addresses(*headers, "Reply-To");
        if (replyTo.empty())
            replyTo = addresses(*headers, "From");
        if (replyTo.empty())
            return std::nullopt;
        const std::string id = headers->messageID();
        const std::string thread =
            id.empty() ? std::string() : "In-Reply-To: " + id + "\nReferences: " + id + "\n";
        const std::string text = MessageBody::textContent(bytes.value()).valueOr(std::string());
        return fromLine + "To: " + replyTo +
               "\nSubject: " + headerText(prefixed("Re: ", headers->subject())) + "\n" + thread +
               common(now) + "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n" +
               headers->from() + " wrote:\n\n" + (text.empty() ? std::string() : quoted(text));
    }
    if (type == MessageRule::kRedirect) {
        if (recipients.empty())
            return std::nullopt;
        return "Resent-To: " + join(recipients) + "\n" + (from.empty() ? "" : "Resent-From: " + from + "\n") +
               "Resent-Date: " + platform::CalendarDateFormatter::format(now, "%a, %d %b %Y %H:%M:%S %z") +
               "\nResent-Message-ID: " + newMessageID(now) + "\n" + bytes.value();
    }
    return std::nullopt;
}

void AutoResponse::send(const MessageRule& rule, const MessageList& messages) {
    Library* library = Library::current();
    if (!library)
        return;
    if (!library->index().mailboxNamed(kOutbox))
        if (auto made = library->createMailbox(kOutbox); !made) {
            platform::Log::line("A rule could not make the Outbox: " + made.error().message);
            return;
        }
    const platform::Date now = platform::Clock::now();
    for (const auto& m : messages) {
        if (!m)
            continue;
        auto bytes = compose(rule.autoResponseType(), rule.autoResponseRecipients(), *m, now);
        if (!bytes)
            continue;
        auto outgoing = OutgoingMessage::withBytes(std::move(*bytes));
        if (!outgoing)
            continue;
        auto content = outgoing->messageBytes();
        if (auto stored = library->addMessage(kOutbox, content.value(), 0, now.seconds); !stored)
            platform::Log::line("A rule's response to message " + m->messageID() +
                                " was not stored: " + stored.error().message);
    }
}

} // namespace mailhost
