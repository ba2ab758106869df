#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace platform {

// The application's user defaults: a persistent domain kept as an XML property list
// `<folder>/<domain>.plist`, searched first, then the registered defaults (in memory
// only). Changes stay in memory until synchronize(), which merges them key by key
// into what is on disk under a file lock, so two processes changing different keys
// both keep their changes, and writes atomically.
class UserDefaults {
public:
    UserDefaults(std::string domain, std::filesystem::path folder);

    // The host application's defaults ("lumetta-mail" unless configured) in
    // $XDG_CONFIG_HOME/lumetta-mail/Preferences.
    static UserDefaults& standard();
    static void configureStandard(std::string domain);
    static std::filesystem::path standardFolder();
    // Drops the shared instance so the next standard() re-reads the environment.
    static void resetStandardForTesting();

    Value valueForKey(std::string_view key) const;
    Value objectForKey(std::string_view key) const { return valueForKey(key); }
    std::int64_t integerForKey(std::string_view key) const { return valueForKey(key).integerValue(); }
    bool boolForKey(std::string_view key) const { return valueForKey(key).boolValue(); }
    std::string stringForKey(std::string_view key) const { return valueForKey(key).stringValue(); }

    // A null value removes the key. Collections are copied in and out, so an edit to a
    // list taken from the defaults changes nothing until it is set again.
    void setObject(Value value, std::string key);
    void removeObjectForKey(std::string_view key);
    void registerDefaults(const Dictionary& defaults);

    Result<void> synchronize();

    Dictionary persistentDomainForName(std::string_view name) const;
    Result<void> setPersistentDomain(const Dictionary& domain, std::string_view name);
    // Persistent values over registered ones, as valueForKey sees them.
    Dictionary dictionaryRepresentation() const;

    const std::string& domain() const { return domain_; }
    std::filesystem::path pathForDomain(std::string_view name) const;

private:
    enum class DomainState { Absent, Read, Unreadable, Damaged };
    struct DomainRead {
        DomainState state;
        Dictionary values;
        std::string problem;
    };
    // Never changes the file: a damaged one is only moved aside by a writer, under the
    // domain's lock.
    DomainRead readDomain(std::string_view name) const;
    Result<void> writeDomainLocked(const Dictionary& values, std::string_view name);

    std::string domain_;
    std::filesystem::path folder_;
    mutable std::mutex mutex_;
    Dictionary persistent_;
    Dictionary registered_;
    std::set<std::string, std::less<>> changed_; // keys set or removed since the last synchronize
};

} // namespace platform
