#include "mailhost/library/TailSite.h"

#include "mailhost/library/Crc32.h"
#include "mailhost/library/EmlxFile.h"

#include <algorithm>

using platform::makeError;
using platform::Result;

namespace mailhost {

namespace {

// Files up to this size are read in one call; the count line, the fingerprinted
// bytes and the tail are all near each other in a typical message.
constexpr std::uint64_t kOneRead = 16 * 1024;

Result<std::string> readAt(FileLayer& files, int fd, std::uint64_t offset, std::uint64_t size) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    auto n = LUMETTA_TRY(files.pread(fd, bytes.data(), bytes.size(), offset));
    if (n != bytes.size())
        return makeError("the file became shorter while it was read", TailSite::kNotAsExpected);
    return bytes;
}

Result<EmlxFile::CountLine> checkCountLine(std::string_view head, std::uint64_t tailOffset) {
    auto line = EmlxFile::parseCountLine(head);
    if (!line)
        return makeError(line.error().message, TailSite::kNotAsExpected);
    if (line.value().count > tailOffset || line.value().length + line.value().count != tailOffset)
        return makeError("its count line puts the property list at byte " +
                             std::to_string(line.value().length + line.value().count) + ", not at " +
                             std::to_string(tailOffset),
                         TailSite::kNotAsExpected);
    return line;
}

std::uint64_t fingerprintStart(const EmlxFile::CountLine& line, std::uint64_t tailOffset) {
    return std::max<std::uint64_t>(
        line.length, tailOffset - std::min<std::uint64_t>(tailOffset, TailSite::kFingerprintSpan));
}

} // namespace

Result<TailSite> TailSite::ofBytes(std::string_view file, std::uint64_t tailOffset,
                                   std::size_t keepOldTailUpTo) {
    if (tailOffset > file.size())
        return makeError("the file is shorter than the expected start of its property list", kNotAsExpected);
    auto line = LUMETTA_TRY(
        checkCountLine(file.substr(0, std::min(file.size(), EmlxFile::kMaxCountLine)), tailOffset));
    TailSite site;
    site.fileSize = file.size();
    const auto spanStart = static_cast<std::size_t>(fingerprintStart(line, tailOffset));
    site.fingerprint =
        Crc32::update(Crc32::of(file.substr(0, line.length)),
                      file.substr(spanStart, static_cast<std::size_t>(tailOffset) - spanStart));
    if (file.size() - tailOffset <= keepOldTailUpTo)
        site.oldTail = std::string(file.substr(static_cast<std::size_t>(tailOffset)));
    return site;
}

Result<TailSite> TailSite::inspect(FileLayer& files, int fd, std::uint64_t tailOffset,
                                   std::size_t keepOldTailUpTo) {
    auto status = LUMETTA_TRY(files.fstat(fd));
    TailSite site;
    site.fileSize = status.size;
    if (tailOffset > site.fileSize)
        return makeError("the file is shorter (" + std::to_string(site.fileSize) +
                             " bytes) than the expected start of its property list (" +
                             std::to_string(tailOffset) + ")",
                         kNotAsExpected);

    const bool whole = site.fileSize <= kOneRead;
    auto head = LUMETTA_TRY(
        readAt(files, fd, 0,
               whole ? site.fileSize : std::min<std::uint64_t>(site.fileSize, EmlxFile::kMaxCountLine)));
    auto line = LUMETTA_TRY(checkCountLine(head, tailOffset));

    const std::uint64_t spanStart = fingerprintStart(line, tailOffset);
    const std::uint64_t tailSize = site.fileSize - tailOffset;
    const bool keepTail = tailSize <= keepOldTailUpTo;
    std::string rest;
    if (whole) {
        rest = head.substr(static_cast<std::size_t>(spanStart));
    } else {
        auto read =
            LUMETTA_TRY(readAt(files, fd, spanStart, (keepTail ? site.fileSize : tailOffset) - spanStart));
        rest = std::move(read);
    }
    const std::string_view region =
        std::string_view(rest).substr(0, static_cast<std::size_t>(tailOffset - spanStart));
    site.fingerprint = Crc32::update(Crc32::of(std::string_view(head).substr(0, line.length)), region);
    if (keepTail)
        site.oldTail = rest.substr(static_cast<std::size_t>(tailOffset - spanStart));
    return site;
}

} // namespace mailhost
