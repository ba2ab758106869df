#pragma once

#include "mailhost/import/InputFile.h"
#include "mailhost/import/MessageSource.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace mailhost {

struct MboxReaderOptions {
    // Enough for any real "From " line and any run of '>' quoting, which are only
    // recognised whole.
    static constexpr std::size_t kMinimumBufferBytes = 256;

    // How body lines that begin with "From " were escaped when the file was written.
    // mboxrd writers add one '>' to every line matching ">*From ", so one is taken off
    // each such line; mboxo writers only turned "From " into ">From ", so only that
    // is undone and ">>From " stays as it is.
    enum class Quoting { Mboxrd, Mboxo };
    Quoting quoting = Quoting::Mboxrd;
    std::uint64_t maxMessageBytes = MessageSource::kDefaultMaxMessageBytes;
    // The read-ahead (at least kMinimumBufferBytes); longer lines are taken in pieces.
    std::size_t bufferBytes = 64 * 1024;
};

// Reads an mbox file entry by entry, holding one message and a fixed buffer in memory.
//
// An entry starts at a line beginning "From " that either follows an empty line or
// carries a readable date, so a stray "From " sentence in an unescaped body does not
// split a message. The empty line that writers put between entries is not part of the
// message; the last message may end without a line break. LF and CRLF files both work,
// and the message keeps the file's line ends.
class MboxReader final : public MessageSource {
public:
    // Fails when the file cannot be opened or does not start with "From " (an empty
    // file is an mbox without messages).
    [[nodiscard]] static platform::Result<std::unique_ptr<MboxReader>> open(const std::filesystem::path& path,
                                                                            MboxReaderOptions options = {});

    [[nodiscard]] platform::Result<bool> next(ImportedMessage& out) override;
    std::uint64_t bytesRead() const override { return consumed_; }
    std::uint64_t totalBytes() const override { return file_.size(); }

private:
    struct Line {
        std::string_view text; // valid until the next call of nextLine()
        bool startsLine = true;
        bool complete = true; // ends with its line break
        std::uint64_t number = 0;
        std::uint64_t offset = 0;
    };
    struct Separator {
        std::uint64_t line = 0;
        std::uint64_t offset = 0;
        std::optional<platform::Date> date;
    };

    MboxReader(InputFile file, std::filesystem::path path, MboxReaderOptions options);

    platform::Result<std::optional<Line>> nextLine();
    std::string_view unquoted(std::string_view line) const;
    std::string origin(std::uint64_t line) const;

    InputFile file_;
    std::filesystem::path path_;
    MboxReaderOptions options_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    bool atEnd_ = false;
    bool failed_ = false;
    bool midLine_ = false;
    bool skipContinuation_ = false;
    std::uint64_t consumed_ = 0;
    std::uint64_t lineNumber_ = 1;
    std::optional<Separator> pending_;
};

} // namespace mailhost
