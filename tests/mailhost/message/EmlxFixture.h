#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// The message bytes of a fixture .emlx file: after the byte-count line, that many bytes.
inline std::string emlxMessage(const std::string& fixtureName) {
    const std::filesystem::path path =
        std::filesystem::path(LUMETTA_FIXTURES_DIR) / "emlx-real" / fixtureName;
    std::ifstream in(path, std::ios::binary);
    std::stringstream contents;
    contents << in.rdbuf();
    const std::string file = contents.str();
    const std::size_t lineEnd = file.find('\n');
    if (lineEnd == std::string::npos) {
        return {};
    }
    const std::size_t count = std::stoul(file.substr(0, lineEnd));
    return file.substr(lineEnd + 1, count);
}
