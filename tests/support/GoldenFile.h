#pragma once

#include <filesystem>
#include <string>

namespace testsupport {

// Compares `actual` with the golden file byte for byte. On a mismatch it writes the
// actual bytes beside the golden file as `<name>.fail` and returns a diff to print,
// so a reviewer can see the change and, if it is right, move the .fail file over.
// Returns an empty string when the bytes match.
std::string compareWithGolden(const std::filesystem::path& golden, const std::string& actual);

std::string readFile(const std::filesystem::path& path);

} // namespace testsupport
