#include "support/MessageFileSupport.h"

#include "platform/foundation/Value.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
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
    const fs::path folder = fs::path(LUMETTA_FIXTURES_DIR) / "emlx-real";
    if (!fs::is_directory(folder))
        throw std::runtime_error("the genuine message files are missing: " + folder.string());
    return folder;
}

std::vector<fs::path> realMessageFiles() {
    std::vector<fs::path> out;
    for (const auto& entry : fs::recursive_directory_iterator(realMessagesFolder()))
        if (entry.is_regular_file() && entry.path().extension() == ".emlx")
            out.push_back(entry.path());
    if (out.empty())
        throw std::runtime_error("no .emlx file in " + realMessagesFolder().string());
    std::sort(out.begin(), out.end());
    return out;
}

fs::path realMessage(const std::string& name) {
    const fs::path path = realMessagesFolder() / name;
    if (!fs::exists(path))
        throw std::runtime_error("missing fixture " + path.string());
    return path;
}

std::string readRealMessage(const std::string& name) {
    std::ifstream in(realMessage(name), std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::string realMessageBytes(const std::string& name) {
    const std::string file = readRealMessage(name);
    const std::size_t lineEnd = file.find('\n');
    if (lineEnd == std::string::npos)
        throw std::runtime_error("fixture " + name + " has no count line");
    return file.substr(lineEnd + 1, std::stoul(file.substr(0, lineEnd)));
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
