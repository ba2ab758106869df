#include "mailhost/bundle/BundleLoader.h"

#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <set>
#include <unistd.h>

namespace mailhost {

namespace fs = std::filesystem;
using platform::runtime::Bundle;
using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Runtime;

namespace {

fs::path programFolder() {
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::path() : exe.parent_path();
}

} // namespace

BundleLoader::BundleLoader(std::vector<fs::path> searchPaths) : searchPaths_(std::move(searchPaths)) {}

std::vector<fs::path> BundleLoader::defaultSearchPaths() {
    std::vector<fs::path> paths;
    if (const char* env = std::getenv("LUMETTA_BUNDLE_PATH")) {
        std::string list = env;
        std::size_t start = 0;
        while (start <= list.size()) {
            const auto end = list.find(':', start);
            const std::string item =
                list.substr(start, end == std::string::npos ? std::string::npos : end - start);
            if (!item.empty())
                paths.emplace_back(item);
            if (end == std::string::npos)
                break;
            start = end + 1;
        }
    }
#ifdef LUMETTA_BUILD_BUNDLES_DIR
    paths.emplace_back(LUMETTA_BUILD_BUNDLES_DIR);
#endif
    if (const fs::path here = programFolder(); !here.empty())
        paths.push_back(here.parent_path() / "lib" / "lumetta-mail" / "Bundles");
    const char* data = std::getenv("XDG_DATA_HOME");
    const char* home = std::getenv("HOME");
    if (data && *data)
        paths.push_back(fs::path(data) / "lumetta-mail" / "Bundles");
    else if (home)
        paths.push_back(fs::path(home) / ".local" / "share" / "lumetta-mail" / "Bundles");
    return paths;
}

std::vector<std::string> BundleLoader::loadAll() {
    std::vector<std::string> errors;
    std::set<std::string> identifiers;
    for (const auto& l : loaded_)
        identifiers.insert(l.bundle->bundleIdentifier());
    for (const auto& folder : searchPaths_) {
        std::error_code ec;
        if (!fs::is_directory(folder, ec))
            continue;
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(folder, ec))
            if (entry.path().extension() == ".mailbundle")
                found.push_back(entry.path());
        std::sort(found.begin(), found.end());
        for (const auto& path : found) {
            auto opened = Bundle::open(path);
            if (!opened) {
                errors.push_back(opened.error().message);
                continue;
            }
            if (!identifiers.insert(opened.value()->bundleIdentifier()).second)
                continue; // an earlier folder already supplied this bundle
            if (auto r = load(path); !r)
                errors.push_back(path.string() + ": " + r.error().message);
        }
    }
    for (const auto& e : errors)
        platform::Log::line("Could not load mail bundle: " + e);
    return errors;
}

platform::Result<void> BundleLoader::load(const fs::path& bundlePath) {
    std::unique_ptr<Bundle> bundle = LUMETTA_TRY(Bundle::open(bundlePath));
    const fs::path module = bundle->executablePath();
    // The module stays loaded for the life of the process: its code is installed in
    // the host's method tables.
    void* handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return platform::makeError(std::string("cannot load module: ") + ::dlerror());
    using LoadHook = void (*)(Bundle*);
    auto hook = reinterpret_cast<LoadHook>(::dlsym(handle, "MailBundleLoad"));
    if (!hook)
        return platform::makeError("module " + module.string() + " has no MailBundleLoad");
    hook(bundle.get());

    const std::string principalName = bundle->infoDictionary().get("NSPrincipalClass").stringValue();
    Class* principal = Runtime::classNamed(principalName);
    if (!principal)
        return platform::makeError("principal class \"" + principalName + "\" is not defined by the bundle");
    Bundle::setBundleForClass(principal, bundle.get());
    platform::runtime::sendClassVoid(*principal, "initialize");
    std::unique_ptr<Object> instance = principal->createInstance();
    if (!instance)
        return platform::makeError("principal class \"" + principalName + "\" cannot be instantiated");
    auto initialised = platform::runtime::send<Object*>(instance.get(), "init");
    if (!initialised || *initialised != instance.get())
        return platform::makeError("principal class \"" + principalName + "\" failed to initialise");
    loaded_.push_back({std::move(bundle), std::move(instance)});
    return {};
}

} // namespace mailhost
