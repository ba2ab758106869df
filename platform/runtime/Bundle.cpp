#include "platform/runtime/Bundle.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Value.h"

#include <mutex>

namespace platform::runtime {

namespace fs = std::filesystem;

namespace {
std::mutex classBundlesMutex;
std::map<const Class*, Bundle*>& classBundles() {
    static auto* map = new std::map<const Class*, Bundle*>;
    return *map;
}
} // namespace

Result<std::unique_ptr<Bundle>> Bundle::open(const fs::path& path) {
    const fs::path infoPath = path / "Contents" / "Info.plist";
    auto bytes = LUMETTA_TRY(AtomicFile::read(infoPath));
    auto info = PropertyList::parse(bytes);
    if (!info)
        return makeError(infoPath.string() + ": " + info.error().message);
    if (!info.value().isDictionary())
        return makeError(infoPath.string() + ": not a dictionary");
    return std::unique_ptr<Bundle>(new Bundle(path, *info.value().dictionary()));
}

std::string Bundle::bundleIdentifier() const {
    return info_.get("CFBundleIdentifier").stringValue();
}

std::string Bundle::version() const {
    return info_.get("CFBundleVersion").stringValue();
}

fs::path Bundle::executablePath() const {
    return path_ / "Contents" / "Linux" / (info_.get("CFBundleExecutable").stringValue() + ".so");
}

std::optional<fs::path> Bundle::pathForResource(std::string_view name, std::string_view ext) const {
    const std::string file = std::string(name) + (ext.empty() ? "" : "." + std::string(ext));
    for (const fs::path& candidate : {resourcePath() / file, resourcePath() / "English.lproj" / file}) {
        std::error_code ec;
        if (fs::exists(candidate, ec))
            return candidate;
    }
    return std::nullopt;
}

std::string Bundle::localizedString(std::string_view key, std::string_view fallback,
                                    std::string_view table) const {
    auto it = tables_.find(table);
    if (it == tables_.end()) {
        StringsTable loaded;
        if (auto path = pathForResource(table, "strings"))
            if (auto parsed = StringsTable::load(*path))
                loaded = std::move(parsed.value());
        it = tables_.emplace(std::string(table), std::move(loaded)).first;
    }
    return it->second.lookup(key, fallback);
}

Bundle* Bundle::bundleForClass(const Class* cls) {
    std::lock_guard lock(classBundlesMutex);
    auto it = classBundles().find(cls);
    return it == classBundles().end() ? nullptr : it->second;
}

void Bundle::setBundleForClass(const Class* cls, Bundle* bundle) {
    std::lock_guard lock(classBundlesMutex);
    classBundles()[cls] = bundle;
}

} // namespace platform::runtime
