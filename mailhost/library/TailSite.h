#pragma once

#include "mailhost/library/FileLayer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

// A message file as a tail writer finds it just before writing: where its count
// line puts the property list, how large it is, and a fingerprint of bytes the
// writer never touches. The fingerprint (CRC-32 of the count line and of the last
// bytes of the message) is what lets a later replay tell "the file I was writing"
// from "a different message now stored under that name" without reading whole
// messages.
class TailSite {
public:
    // Error code of inspect() when the file is readable but not the one the caller
    // describes; other codes are errnos.
    static constexpr int kNotAsExpected = -1;
    // How many message bytes before the tail the fingerprint covers.
    static constexpr std::size_t kFingerprintSpan = 128;

    // Checks that the count line of the open file puts its property list at
    // `tailOffset` within the file. When the old tail is at most `keepOldTailUpTo`
    // bytes it is kept, so a failed write can put it back.
    [[nodiscard]] static platform::Result<TailSite>
    inspect(FileLayer& files, int fd, std::uint64_t tailOffset, std::size_t keepOldTailUpTo = 0);

    // The same, from the whole file's bytes as a caller has just read them: saves
    // a writer that already holds the file a second open and read.
    [[nodiscard]] static platform::Result<TailSite> ofBytes(std::string_view file, std::uint64_t tailOffset,
                                                            std::size_t keepOldTailUpTo = 0);

    std::uint64_t fileSize = 0;
    std::uint32_t fingerprint = 0;
    std::optional<std::string> oldTail;
};

} // namespace mailhost
