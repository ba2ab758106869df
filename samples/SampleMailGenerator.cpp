#include "samples/SampleMailGenerator.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace samples {

namespace {

struct Person {
    const char* display; // already in header form (RFC 2047 where needed)
    const char* address;
};

const Person kPeople[] = {
    {"Ada Lovelace", "ada@example.org"},
    {"Grace Hopper", "grace@example.org"},
    {"=?UTF-8?Q?J=C3=BCrgen_M=C3=BCller?=", "juergen.mueller@example.de"},
    {"=?UTF-8?B?5bGx55Sw5aSq6YOO?=", "yamada@example.jp"},
    {"=?ISO-8859-1?Q?Fran=E7oise_Ren=E9?=", "francoise@example.fr"},
    {"Accounts Payable", "accounts@example.com"},
    {"Zephyr CI", "ci@zephyr.example.net"},
    {"=?UTF-8?Q?=C3=85sa_Lindstr=C3=B6m?=", "asa@example.se"},
    {"Tomás O'Brien", "tomas@example.ie"}, // raw 8-bit in a header, as some clients send
    {"Support Desk", "support@example.com"},
};

const char* kTopics[] = {"launch plan",     "budget review",  "design notes", "Q3 roadmap",  "offsite agenda",
                         "vendor contract", "release 2.4",    "bug triage",   "hiring loop", "customer visit",
                         "security audit",  "data migration", "press kit",    "travel",      "team lunch"};

const char* kBodies[] = {
    "Here are my notes from today. Let me know if I missed anything important.\n",
    "Could you review the attached draft before Friday? I would like to send it out next week.\n",
    "Quick reminder that the deadline moved up by two days. Please plan accordingly.\n",
    "Thanks for the quick turnaround. Everything looks good on my side.\n",
    "I talked to the vendor and they agreed to the new terms, pending legal review.\n",
    "The build is green again; the flaky test was a time-zone issue in the fixture.\n",
    "Grüße aus Berlin! Die Unterlagen kommen morgen per Post.\n",
    "Merci pour votre message. Je reviens vers vous dès que possible.\n",
};

// A small deterministic generator: the sample must not change between runs.
struct Random {
    std::uint64_t state = 0x2545F4914F6CDD1DULL;
    std::uint32_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return static_cast<std::uint32_t>(state >> 11);
    }
    std::size_t pick(std::size_t n) { return next() % n; }
};

std::string rfc2822Date(std::time_t t) {
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[64];
    std::strftime(buf, sizeof buf, "%a, %d %b %Y %H:%M:%S +0000", &tm);
    return buf;
}

std::string mboxDate(std::time_t t) {
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[64];
    std::strftime(buf, sizeof buf, "%a %b %e %H:%M:%S %Y", &tm);
    return buf;
}

std::string base64(const std::string& in) {
    static const char* table = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t line = 0;
    for (std::size_t i = 0; i < in.size(); i += 3) {
        const std::uint32_t b0 = static_cast<unsigned char>(in[i]);
        const std::uint32_t b1 = i + 1 < in.size() ? static_cast<unsigned char>(in[i + 1]) : 0;
        const std::uint32_t b2 = i + 2 < in.size() ? static_cast<unsigned char>(in[i + 2]) : 0;
        out += table[b0 >> 2];
        out += table[((b0 & 3) << 4) | (b1 >> 4)];
        out += i + 1 < in.size() ? table[((b1 & 15) << 2) | (b2 >> 6)] : '=';
        out += i + 2 < in.size() ? table[b2 & 63] : '=';
        if ((line += 4) >= 76) {
            out += '\n';
            line = 0;
        }
    }
    return out + "\n";
}

std::string makeMessage(Random& rng, int serial, std::time_t when, bool sent, std::vector<std::string>& ids) {
    const Person& from = sent ? kPeople[0] : kPeople[rng.pick(std::size(kPeople))];
    const Person& to = sent ? kPeople[1 + rng.pick(std::size(kPeople) - 1)] : kPeople[0];
    const std::string topic = kTopics[rng.pick(std::size(kTopics))];
    const std::string id = "<sample-" + std::to_string(serial) + "@lumetta.example>";
    std::string headers;
    headers += "From: " + std::string(from.display) + " <" + from.address + ">\n";
    headers += "To: " + std::string(to.display) + " <" + to.address + ">\n";
    if (rng.pick(4) == 0)
        headers += "Cc: Grace Hopper <grace@example.org>\n";
    const bool reply = !ids.empty() && rng.pick(3) == 0;
    std::string subject = (reply ? "Re: " : "") + topic;
    if (rng.pick(9) == 0)
        subject =
            "=?UTF-8?Q?" + std::string(reply ? "Re:_" : "") + "=C3=9Cbersicht_" + topic.substr(0, 6) + "?=";
    headers += "Subject: " + subject + "\n";
    headers += "Date: " + rfc2822Date(when) + "\n";
    headers += "Message-ID: " + id + "\n";
    if (reply)
        headers += "In-Reply-To: " + ids[rng.pick(ids.size())] + "\n";
    if (from.address[0] == 'c' && from.address[1] == 'i')
        headers += "List-Id: <builds.zephyr.example.net>\n";
    headers += "MIME-Version: 1.0\n";
    ids.push_back(id);

    const std::string text = std::string("Hello,\n\n") + kBodies[rng.pick(std::size(kBodies))] +
                             "\nAbout the " + topic + ": item " + std::to_string(serial % 97) + " of " +
                             std::to_string(100 + serial % 13) + ".\n\nBest,\n" + from.address + "\n";
    const int kind = static_cast<int>(rng.pick(10));
    if (kind < 6) // plain text, UTF-8
        return headers + "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n" +
               text;
    const std::string boundary = "=_sample_" + std::to_string(serial);
    if (kind < 8) { // text and HTML alternatives
        return headers + "Content-Type: multipart/alternative; boundary=\"" + boundary + "\"\n\n--" +
               boundary + "\nContent-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n" +
               text + "\n--" + boundary +
               "\nContent-Type: text/html; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n<p>" + text +
               "</p>\n\n--" + boundary + "--\n";
    }
    // With an attachment: a small report or an image, base64-encoded.
    std::string payload;
    const bool image = kind == 9;
    for (int i = 0; i < 600 + serial % 400; ++i)
        payload += static_cast<char>(rng.next() & 0xFF);
    const std::string filename = image ? "chart-" + std::to_string(serial) + ".png" : topic + ".pdf";
    return headers + "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\n\n--" + boundary +
           "\nContent-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n" + text + "\n--" +
           boundary + "\nContent-Type: " + (image ? "image/png" : "application/pdf") + "; name=\"" +
           filename + "\"\nContent-Disposition: attachment; filename=\"" + filename +
           "\"\nContent-Transfer-Encoding: base64\n\n" + base64(payload) + "\n--" + boundary + "--\n";
}

// Lines starting "From " inside a message are quoted, as mbox requires.
std::string quoteFromLines(const std::string& message) {
    std::string out;
    std::size_t start = 0;
    while (start < message.size()) {
        const auto end = message.find('\n', start);
        const std::string line =
            message.substr(start, end == std::string::npos ? std::string::npos : end - start + 1);
        if (line.rfind("From ", 0) == 0)
            out += '>';
        out += line;
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return out;
}

} // namespace

std::string SampleMailGenerator::nextMessage(bool sent) {
    Random rng{state_};
    when_ += 3600 + static_cast<std::time_t>(rng.pick(86400));
    std::string message = makeMessage(rng, serial_++, when_, sent, ids_);
    state_ = rng.state;
    return message;
}

void SampleMailGenerator::writeMbox(std::ostream& out, int count, bool sent) {
    for (int i = 0; i < count; ++i) {
        const std::string message = nextMessage(sent);
        out << "From " << (sent ? "ada@example.org" : "MAILER-DAEMON") << " " << mboxDate(when_) << "\n"
            << quoteFromLines(message) << "\n";
    }
}

bool SampleMailGenerator::writeMaildir(const std::filesystem::path& folder, int count) {
    std::error_code ec;
    for (const char* sub : {"cur", "new", "tmp"})
        if (std::filesystem::create_directories(folder / sub, ec); ec)
            return false;
    for (int i = 0; i < count; ++i) {
        const int serial = serial_;
        const std::string message = nextMessage(i % 2 == 1);
        std::ofstream file(folder / "cur" / (std::to_string(serial) + ".lumetta-sample:2,S"),
                           std::ios::binary);
        file << message;
        if (!file.flush())
            return false;
    }
    return true;
}

} // namespace samples
