#include "mailhost/import/MessageSource.h"

#include "mailhost/import/EmlSource.h"
#include "mailhost/import/InputFile.h"
#include "mailhost/import/MaildirReader.h"
#include "mailhost/import/MboxReader.h"

#include <system_error>

namespace mailhost {

namespace fs = std::filesystem;

namespace {

template <class Reader>
platform::Result<std::unique_ptr<MessageSource>> widened(platform::Result<std::unique_ptr<Reader>> opened) {
    if (!opened) {
        return opened.error();
    }
    return std::unique_ptr<MessageSource>(std::move(opened).value());
}

std::string lowercaseExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) {
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension;
}

} // namespace

platform::Result<std::unique_ptr<MessageSource>> MessageSource::open(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error || !fs::exists(status)) {
        return platform::makeError("cannot open " + path.string() + ": no such file or folder");
    }
    if (fs::is_directory(status)) {
        if (fs::is_directory(path / "cur", error) || fs::is_directory(path / "new", error)) {
            return widened(MaildirReader::open(path));
        }
        if (fs::is_regular_file(path / "mbox", error)) {
            return widened(MboxReader::open(path / "mbox"));
        }
        return platform::makeError(
            path.string() +
            " is neither a Maildir folder (cur/, new/) nor an exported mailbox (an mbox file)");
    }
    auto file = LUMETTA_TRY(InputFile::open(path));
    char start[5] = {};
    std::size_t got = 0;
    while (got < sizeof start) {
        auto read = LUMETTA_TRY(file.read(start + got, sizeof start - got));
        if (read == 0) {
            break;
        }
        got += read;
    }
    const std::string extension = lowercaseExtension(path);
    if (std::string_view(start, got) == "From " || extension == ".mbox" || extension == ".mbx") {
        return widened(MboxReader::open(path));
    }
    return widened(EmlSource::open(path));
}

} // namespace mailhost
