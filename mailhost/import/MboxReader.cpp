#include "mailhost/import/MboxReader.h"

#include "mailhost/import/MboxFromLine.h"
#include "mailhost/message/MessageBody.h"

#include <algorithm>
#include <cstring>

namespace mailhost {

namespace {

bool isBlank(std::string_view line) {
    return line == "\n" || line == "\r\n";
}

} // namespace

MboxReader::MboxReader(InputFile file, std::filesystem::path path, MboxReaderOptions options)
    : file_(std::move(file)), path_(std::move(path)), options_(options),
      buffer_(std::max(options.bufferBytes, MboxReaderOptions::kMinimumBufferBytes)) {}

platform::Result<std::unique_ptr<MboxReader>> MboxReader::open(const std::filesystem::path& path,
                                                               MboxReaderOptions options) {
    auto file = LUMETTA_TRY(InputFile::open(path));
    std::unique_ptr<MboxReader> reader(new MboxReader(std::move(file), path, options));
    auto first = LUMETTA_TRY(reader->nextLine());
    if (!first) {
        return reader;
    }
    const Line& line = *first;
    if (!line.text.starts_with("From ")) {
        return platform::makeError(path.string() +
                                   " is not an mbox file: it does not start with a \"From \" line");
    }
    reader->pending_ = Separator{line.number, line.offset, MboxFromLine::parseDate(line.text)};
    reader->skipContinuation_ = !line.complete;
    return reader;
}

platform::Result<std::optional<MboxReader::Line>> MboxReader::nextLine() {
    while (true) {
        if (begin_ < end_) {
            const char* base = buffer_.data();
            const void* newline = std::memchr(base + begin_, '\n', end_ - begin_);
            const bool bufferFull = begin_ == 0 && end_ == buffer_.size();
            if (newline != nullptr || atEnd_ || bufferFull) {
                const std::size_t stop =
                    newline != nullptr
                        ? static_cast<std::size_t>(static_cast<const char*>(newline) - base) + 1
                        : end_;
                Line line{
                    {base + begin_, stop - begin_}, !midLine_, newline != nullptr, lineNumber_, consumed_};
                consumed_ += stop - begin_;
                begin_ = stop;
                midLine_ = newline == nullptr;
                if (newline != nullptr) {
                    ++lineNumber_;
                }
                return std::optional<Line>(line);
            }
        } else if (atEnd_) {
            return std::optional<Line>();
        }
        if (begin_ > 0) {
            std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
            end_ -= begin_;
            begin_ = 0;
        }
        auto got = LUMETTA_TRY(file_.read(buffer_.data() + end_, buffer_.size() - end_));
        if (got == 0) {
            atEnd_ = true;
        }
        end_ += got;
    }
}

std::string_view MboxReader::unquoted(std::string_view line) const {
    if (line.empty() || line.front() != '>') {
        return line;
    }
    std::size_t quotes = 0;
    while (quotes < line.size() && line[quotes] == '>') {
        ++quotes;
    }
    const bool quotedFrom = line.substr(quotes).starts_with("From ");
    const bool undo = quotedFrom && (options_.quoting == MboxReaderOptions::Quoting::Mboxrd || quotes == 1);
    return undo ? line.substr(1) : line;
}

std::string MboxReader::origin(std::uint64_t line) const {
    return path_.string() + ":line " + std::to_string(line);
}

platform::Result<bool> MboxReader::next(ImportedMessage& out) {
    if (failed_ || !pending_) {
        return false;
    }
    const Separator entry = *pending_;
    pending_.reset();

    out.bytes.clear();
    out.origin = origin(entry.line);
    out.byteOffset = entry.offset;
    out.read = out.flagged = out.answered = out.draft = out.deleted = out.forwarded = false;
    out.receivedDate = entry.date;

    bool oversize = false;
    bool previousBlank = false;
    std::size_t blankLength = 0;
    while (true) {
        auto fetched = nextLine();
        if (!fetched) {
            failed_ = true;
            return platform::makeError(out.origin + ": " + fetched.error().message, fetched.error().code);
        }
        if (!fetched.value()) {
            break;
        }
        const Line& line = *fetched.value();
        if (skipContinuation_) {
            // The rest of a separator line longer than the buffer.
            skipContinuation_ = !line.complete;
            continue;
        }
        if (line.startsLine && line.text.starts_with("From ")) {
            auto date = MboxFromLine::parseDate(line.text);
            if (previousBlank || date) {
                pending_ = Separator{line.number, line.offset, date};
                skipContinuation_ = !line.complete;
                break;
            }
        }
        const std::string_view text = line.startsLine ? unquoted(line.text) : line.text;
        if (!oversize) {
            if (out.bytes.size() + text.size() > options_.maxMessageBytes) {
                oversize = true;
                std::string().swap(out.bytes);
            } else {
                out.bytes.append(text);
            }
        }
        previousBlank = line.startsLine && line.complete && isBlank(text);
        blankLength = text.size();
    }
    if (oversize) {
        return platform::makeError(out.origin + ": the message is larger than " +
                                   MessageBody::describeSize(options_.maxMessageBytes) + "; skipped");
    }
    if (previousBlank) {
        out.bytes.resize(out.bytes.size() - blankLength);
    }
    if (out.bytes.find_first_not_of(" \t\r\n") == std::string::npos) {
        return platform::makeError(out.origin + ": the entry holds no message");
    }
    return true;
}

} // namespace mailhost
