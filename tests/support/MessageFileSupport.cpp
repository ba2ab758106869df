#include "support/MessageFileSupport.h"

#include "platform/foundation/Value.h"

#include <algorithm>
#include <fstream>
#include <stdlib.h>

namespace fs = std::filesystem;

namespace testsupport {

ScratchFolder::ScratchFolder() {
    char tmpl[] = "/tmp/lumetta-emlx-XXXXXX";
    path_ = ::mkdtemp(tmpl);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ec;
    fs::remove_all(path_, ec);
}

fs::path realMessagesFolder() {
    return fs::path(LUMETTA_FIXTURES_DIR) / "emlx-real";
}

std::vector<fs::path> realMessageFiles() {
    std::vector<fs::path> out;
    for (const auto& entry : fs::recursive_directory_iterator(realMessagesFolder()))
        if (entry.is_regular_file() && entry.path().extension() == ".emlx")
            out.push_back(entry.path());
    std::sort(out.begin(), out.end());
    return out;
}

std::string syntheticMessage(std::size_t size, int seed) {
    std::string s = "Return-Path: <sender" + std::to_string(seed) + "@example.com>\nMessage-Id: <" +
                    std::to_string(seed) + "@example.com>\nSubject: Message " + std::to_string(seed) +
                    "\nContent-Type: text/plain; charset=utf-8\n\n";
    std::uint32_t x = static_cast<std::uint32_t>(seed) * 2654435761u + 1;
    while (s.size() + 1 < size) {
        x = x * 1664525u + 1013904223u;
        s.push_back((s.size() % 72 == 71) ? '\n' : static_cast<char>('a' + (x >> 24) % 26));
    }
    s.push_back('\n');
    return s;
}

platform::Dictionary clientKeys(int seed) {
    return platform::Dictionary{
        {"color", "000000"},
        {"date-last-viewed", 0},
        {"date-received", 1516985072 + seed},
        {"flags", 8623750272LL + seed},
        {"remote-id", std::to_string(50000 + seed)},
    };
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

} // namespace testsupport
