#pragma once

#include "platform/foundation/Dictionary.h"

#include <filesystem>
#include <string>
#include <vector>

namespace testsupport {

// A fresh folder under /tmp, removed with everything in it at the end of the test.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// The genuine message files kept in tests/fixtures/emlx-real. A missing fixture throws,
// so the test that wanted it fails and says which: it never passes by skipping.
std::filesystem::path realMessagesFolder();
std::vector<std::filesystem::path> realMessageFiles();
std::filesystem::path realMessage(const std::string& name);
std::string readRealMessage(const std::string& name);
// The message bytes of a genuine file: the count line's number of bytes after it.
std::string realMessageBytes(const std::string& name);

// A plausible message of about `size` bytes (headers and body, LF endings, ending in
// LF), different for every `seed`.
std::string syntheticMessage(std::size_t size, int seed);
// The keys the mail client writes into a message's property list.
platform::Dictionary clientKeys(int seed);

void writeBytes(const std::filesystem::path& path, const std::string& bytes);

} // namespace testsupport
