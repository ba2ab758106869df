#pragma once

#include "platform/foundation/Result.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Object.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// Finds mail bundles (`*.mailbundle` folders), loads each one's module, runs its
// load hooks, initialises its principal class and keeps the instance for the life of
// the process. A bundle that fails to load is reported and skipped; the host goes on.
//
// A bundle's module exports `MailBundleLoad(platform::runtime::Bundle*)`, which runs
// its classes' load hooks and records which classes it defines.
class BundleLoader {
public:
    struct Loaded {
        std::unique_ptr<platform::runtime::Bundle> bundle;
        std::unique_ptr<platform::runtime::Object> principal;
    };

    explicit BundleLoader(std::vector<std::filesystem::path> searchPaths);

    // $LUMETTA_BUNDLE_PATH (colon-separated), the build tree, beside the installed
    // program, then $XDG_DATA_HOME/lumetta-mail/Bundles.
    static std::vector<std::filesystem::path> defaultSearchPaths();

    // Loads every bundle found (the first of each identifier); the errors of those
    // that failed, one line each.
    std::vector<std::string> loadAll();
    platform::Result<void> load(const std::filesystem::path& bundlePath);

    const std::vector<Loaded>& loaded() const { return loaded_; }

private:
    std::vector<std::filesystem::path> searchPaths_;
    std::vector<Loaded> loaded_;
};

} // namespace mailhost
