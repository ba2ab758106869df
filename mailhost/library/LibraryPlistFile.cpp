#include "mailhost/library/LibraryPlistFile.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/PropertyList.h"

#include <system_error>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;
using platform::Value;

LibraryPlistFile::LibraryPlistFile(fs::path file, std::string what)
    : file_(std::move(file)), what_(std::move(what)) {}

std::string LibraryPlistFile::damaged() const {
    return file_.string() + " is damaged and was left as it is (repair or remove it): ";
}

Result<Value> LibraryPlistFile::read(bool forEditing) {
    if (forEditing && !lock_) {
        auto held =
            platform::FileLock::acquire(file_.parent_path() / ("." + file_.filename().string() + ".lock"));
        if (!held)
            return platform::makeError(what_ + " cannot be changed: " + held.error().message);
        lock_ = std::move(held.value());
    }
    std::error_code ec;
    if (!fs::exists(file_, ec) && !ec)
        return Value();
    auto bytes = platform::AtomicFile::read(file_);
    if (!bytes)
        return platform::makeError("cannot read " + file_.string() + ": " + bytes.error().message);
    auto parsed = platform::PropertyList::parse(bytes.value());
    if (!parsed)
        return platform::makeError(damaged() + parsed.error().message);
    return std::move(parsed.value());
}

Result<void> LibraryPlistFile::write(const Value& value) const {
    auto xml = platform::PropertyList::xml(value);
    if (!xml)
        return platform::makeError(what_ + " cannot be written: " + xml.error().message);
    auto written = platform::AtomicFile::write(file_, xml.value());
    if (!written)
        return platform::makeError("cannot save " + file_.string() + ": " + written.error().message);
    return {};
}

} // namespace mailhost
