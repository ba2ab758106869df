// Reading an mbox archive for import: splitting it into messages, then what the import
// does with each one before storing it, reading the headers for the library index and
// the text for the full-text index. Import as a whole should manage 2,000 messages a
// second; this is the parsing share of that budget.
#include "mailhost/import/MboxReader.h"
#include "mailhost/message/MessageBody.h"
#include "mailhost/message/MessageHeaders.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace mailhost;

namespace {

constexpr int kMessages = 20000;

std::string paragraph(int seed) {
    std::string text;
    for (int line = 0; line < 12; ++line) {
        text += "Line " + std::to_string(line) + " of message " + std::to_string(seed) +
                ": the quarterly figures look fine, see the attached notes for details.\n";
    }
    return text;
}

// Five kinds of message in turn: plain, Latin-1 quoted-printable with encoded words,
// plain and HTML alternatives, a small attachment, HTML only.
std::string message(int i) {
    const std::string common = "Return-Path: <sender" + std::to_string(i) + "@example.org>\n" +
                               "Received: from mail.example.org (mail.example.org [192.0.2.1])\n"
                               "\tby mx.example.net (Postfix) with ESMTPS id 4F3A21C0\n"
                               "\tfor <reader@example.net>; Fri, 26 Jan 2018 17:44:32 +0100 (CET)\n"
                               "Message-ID: <" +
                               std::to_string(i) + ".bench@example.org>\n" +
                               "Date: Fri, 26 Jan 2018 17:44:31 +0100\nTo: Reader <reader@example.net>\n"
                               "MIME-Version: 1.0\n";
    switch (i % 5) {
    case 0:
        return common + "From: Sender <sender@example.org>\nSubject: Quarterly report, part " +
               std::to_string(i) +
               ",\n continued on a folded line\nContent-Type: text/plain; charset=us-ascii\n\n" +
               paragraph(i);
    case 1:
        return common +
               "From: =?ISO-8859-1?Q?J=F6rg_M=FCller?= <joerg@example.de>\n"
               "Subject: =?ISO-8859-1?Q?Gr=FC=DFe_aus_K=F6ln?= " +
               std::to_string(i) +
               "\nContent-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: "
               "quoted-printable\n\n"
               "Gr=FC=DFe aus K=F6ln!\n" +
               paragraph(i);
    case 2:
        return common + "From: Sender <sender@example.org>\nSubject: Alternatives " + std::to_string(i) +
               "\nContent-Type: multipart/alternative; boundary=\"alt\"\n\n--alt\n"
               "Content-Type: text/plain; charset=utf-8\n\n" +
               paragraph(i) + "--alt\nContent-Type: text/html; charset=utf-8\n\n<html><body><p>" +
               paragraph(i) + "</p></body></html>\n--alt--\n";
    case 3:
        return common + "From: Sender <sender@example.org>\nSubject: With attachment " + std::to_string(i) +
               "\nContent-Type: multipart/mixed; boundary=\"mix\"\n\n--mix\n"
               "Content-Type: text/plain; charset=utf-8\n\n" +
               paragraph(i) +
               "--mix\nContent-Type: application/pdf; name=notes.pdf\n"
               "Content-Disposition: attachment; filename=notes.pdf\nContent-Transfer-Encoding: base64\n\n" +
               std::string(60, 'Q') + "\n" + std::string(60, 'Q') + "\n--mix--\n";
    default:
        return common + "From: Sender <sender@example.org>\nSubject: HTML only " + std::to_string(i) +
               "\nContent-Type: text/html; "
               "charset=utf-8\n\n<html><head><style>p{}</style></head><body><div>" +
               paragraph(i) + "</div></body></html>\n";
    }
}

// The archive is written once per run and removed at exit.
const std::filesystem::path& archive() {
    struct Archive {
        std::filesystem::path path;
        Archive() {
            path = std::filesystem::temp_directory_path() /
                   ("lumetta-bench-" + std::to_string(::getpid()) + ".mbox");
            std::ofstream out(path, std::ios::binary);
            for (int i = 0; i < kMessages; ++i) {
                out << "From sender@example.org Fri Jan 26 16:44:32 2018\n" << message(i) << "\n";
            }
        }
        ~Archive() {
            std::error_code ignored;
            std::filesystem::remove(path, ignored);
        }
    };
    static const Archive instance;
    return instance.path;
}

template <class PerMessage> void readArchive(benchmark::State& state, PerMessage perMessage) {
    const std::filesystem::path& path = archive();
    std::int64_t messages = 0;
    for (auto _ : state) {
        auto reader = MboxReader::open(path);
        if (!reader) {
            state.SkipWithError(reader.error().message.c_str());
            return;
        }
        ImportedMessage imported;
        while (true) {
            auto next = reader.value()->next(imported);
            if (!next || !next.value()) {
                break;
            }
            perMessage(imported);
            ++messages;
        }
    }
    state.SetItemsProcessed(messages);
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(messages), benchmark::Counter::kIsRate);
}

void BM_SplitArchive(benchmark::State& state) {
    readArchive(state, [](const ImportedMessage& m) { benchmark::DoNotOptimize(m.bytes.data()); });
}
BENCHMARK(BM_SplitArchive)->Unit(benchmark::kMillisecond);

void BM_SplitAndReadHeaders(benchmark::State& state) {
    readArchive(state, [](const ImportedMessage& m) {
        auto headers = MessageHeaders::parse(m.bytes);
        benchmark::DoNotOptimize(headers);
    });
}
BENCHMARK(BM_SplitAndReadHeaders)->Unit(benchmark::kMillisecond);

void BM_SplitReadHeadersAndText(benchmark::State& state) {
    readArchive(state, [](const ImportedMessage& m) {
        auto headers = MessageHeaders::parse(m.bytes);
        auto text = MessageBody::textContent(m.bytes);
        benchmark::DoNotOptimize(headers);
        benchmark::DoNotOptimize(text);
    });
}
BENCHMARK(BM_SplitReadHeadersAndText)->Unit(benchmark::kMillisecond);

} // namespace
