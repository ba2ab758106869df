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
    auto n = files.pread(fd, bytes.data(), bytes.size(), offset);
    if (!n)
        return n.error();
    if (n.value() != bytes.size())
        return makeError("the file became shorter while it was read", TailSite::kNotAsExpected);
    return bytes;
}

} // namespace

Result<TailSite> TailSite::inspect(FileLayer& files, int fd, std::uint64_t tailOffset,
                                   std::size_t keepOldTailUpTo) {
    auto status = files.fstat(fd);
    if (!status)
        return status.error();
    TailSite site;
    site.fileSize = status.value().size;
    site.mode = status.value().mode;
    if (tailOffset > site.fileSize)
        return makeError("the file is shorter (" + std::to_string(site.fileSize) +
                             " bytes) than the expected start of its property list (" +
                             std::to_string(tailOffset) + ")",
                         kNotAsExpected);

    const bool whole = site.fileSize <= kOneRead;
    auto head =
        readAt(files, fd, 0,
               whole ? site.fileSize : std::min<std::uint64_t>(site.fileSize, EmlxFile::kMaxCountLine));
    if (!head)
        return head.error();
    auto line = EmlxFile::parseCountLine(head.value());
    if (!line)
        return makeError(line.error().message, kNotAsExpected);
    if (line.value().count > tailOffset || line.value().length + line.value().count != tailOffset)
        return makeError("its count line puts the property list at byte " +
                             std::to_string(line.value().length + line.value().count) + ", not at " +
                             std::to_string(tailOffset),
                         kNotAsExpected);

    const std::uint64_t spanStart = std::max<std::uint64_t>(
        line.value().length, tailOffset - std::min<std::uint64_t>(tailOffset, kFingerprintSpan));
    const std::uint64_t tailSize = site.fileSize - tailOffset;
    const bool keepTail = tailSize <= keepOldTailUpTo;
    std::string rest;
    if (whole) {
        rest = head.value().substr(static_cast<std::size_t>(spanStart));
    } else {
        auto read = readAt(files, fd, spanStart, (keepTail ? site.fileSize : tailOffset) - spanStart);
        if (!read)
            return read.error();
        rest = std::move(read).value();
    }
    const std::string_view region =
        std::string_view(rest).substr(0, static_cast<std::size_t>(tailOffset - spanStart));
    site.fingerprint =
        Crc32::update(Crc32::of(std::string_view(head.value()).substr(0, line.value().length)), region);
    if (keepTail)
        site.oldTail = rest.substr(static_cast<std::size_t>(tailOffset - spanStart));
    return site;
}

} // namespace mailhost
