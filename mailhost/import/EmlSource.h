#pragma once

#include "mailhost/import/MessageSource.h"

namespace mailhost {

// A single message file: an .eml (the file is the message) or an .emlx written by the
// mail client (a line with the byte count N, N bytes of message, then a property list
// with the client's flags and dates, which are taken over when readable).
class EmlSource final : public MessageSource {
public:
    enum class Format { Eml, Emlx };

    // The format follows the name: *.emlx (including *.partial.emlx) is Emlx.
    [[nodiscard]] static platform::Result<std::unique_ptr<EmlSource>>
    open(const std::filesystem::path& path, std::uint64_t maxMessageBytes = kDefaultMaxMessageBytes);

    [[nodiscard]] platform::Result<bool> next(ImportedMessage& out) override;
    std::uint64_t bytesRead() const override { return done_ ? total_ : 0; }
    std::uint64_t totalBytes() const override { return total_; }

private:
    EmlSource(std::filesystem::path path, Format format, std::uint64_t total, std::uint64_t maxMessageBytes);

    platform::Result<bool> takeEmlx(std::string file, ImportedMessage& out) const;

    std::filesystem::path path_;
    Format format_;
    std::uint64_t total_;
    std::uint64_t maxMessageBytes_;
    bool done_ = false;
};

} // namespace mailhost
