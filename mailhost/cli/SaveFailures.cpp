#include "mailhost/cli/SaveFailures.h"

#include <string>

namespace mailhost {

void SaveFailures::collect() {
    for (auto& failure : Library::takeWriteFailures()) {
        rows_.insert(failure.rowid);
        failures_.push_back(std::move(failure));
    }
}

void SaveFailures::print(std::ostream& err) const {
    if (failures_.empty())
        return;
    const std::size_t n = messages();
    err << "lumetta: " << n << (n == 1 ? " message was" : " messages were") << " not saved:\n";
    std::set<std::int64_t> shown;
    for (const auto& f : failures_) {
        if (shown.size() == kReasonsShown)
            break;
        if (!shown.insert(f.rowid).second)
            continue;
        err << "  message " << f.rowid << " (" << f.path << "): " << f.reason << "\n";
    }
    if (n > shown.size())
        err << "  and " << (n - shown.size()) << " more (the system log names them all)\n";
}

} // namespace mailhost
