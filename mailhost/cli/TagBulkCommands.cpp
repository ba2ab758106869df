#include "mailhost/cli/TagBulkCommands.h"

#include "mailhost/cli/Plural.h"
#include "mailhost/cli/SaveFailures.h"
#include "mailhost/viewer/MessageViewer.h"
#include "platform/runtime/Send.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <unistd.h>

namespace mailhost {

namespace {

constexpr int kFailed = 1;

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

// Ctrl-C ends the run between portions instead of in the middle of one.
class InterruptGuard {
public:
    InterruptGuard() {
        interrupted = 0;
        previous_ = std::signal(SIGINT, onInterrupt);
    }
    ~InterruptGuard() { std::signal(SIGINT, previous_); }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    void (*previous_)(int) = SIG_DFL;
};

std::string messages(std::size_t n) {
    return Plural::of(n, "message");
}

} // namespace

int TagBulkCommands::run(const Context& c, const MessageSelection::Options& selectionOptions,
                         const TagPlan::Options& changes) {
    // Everything the user typed is checked before the library is opened.
    auto plan = TagPlan::read(changes);
    if (!plan) {
        c.err << "lumetta tag: " << plan.error().message << "\n";
        return plan.error().code;
    }
    auto selection = MessageSelection::read(selectionOptions);
    if (!selection) {
        c.err << "lumetta tag: " << selection.error().message << "\n";
        return selection.error().code;
    }
    auto viewer = MessageViewer::make();
    for (const auto& selector : plan.value().selectors())
        if (!viewer || !platform::runtime::respondsToSelector(viewer.get(), selector)) {
            c.err << "lumetta tag: tag commands need the Lumetta bundle, which is not loaded\n";
            return kFailed;
        }
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto chosen = selection.value().resolve(*library);
    if (!chosen) {
        c.err << "lumetta tag: " << chosen.error().message << "\n";
        return chosen.error().code;
    }
    const MessageList& all = chosen.value();
    if (all.empty()) {
        c.out << "no messages in " << selection.value().describe() << ": nothing changed\n";
        return 0;
    }

    const std::size_t portion = plan.value().clearsAll() ? kClearAllPortion : kPortion;
    const bool progress = ::isatty(STDERR_FILENO) && all.size() > portion;
    InterruptGuard guard;
    SaveFailures unsaved;
    std::size_t done = 0;
    while (done < all.size() && !interrupted) {
        const std::size_t end = std::min(all.size(), done + portion);
        viewer->setSelectedMessages(MessageList(all.begin() + static_cast<std::ptrdiff_t>(done),
                                                all.begin() + static_cast<std::ptrdiff_t>(end)));
        std::string why;
        const bool applied = plan.value().apply(*viewer, why);
        unsaved.collect();
        if (!applied) {
            c.err << (progress ? "\r\033[K" : "") << "lumetta tag: " << why << "; "
                  << messages(done - std::min(done, unsaved.messages())) << " were changed before\n";
            unsaved.print(c.err);
            return kFailed;
        }
        done = end;
        if (progress)
            c.err << "\rtagging: " << done << " of " << messages(all.size()) << std::flush;
    }
    viewer->setSelectedMessages({});
    if (progress)
        c.err << "\r\033[K" << std::flush;
    // Only what reached the files counts as changed.
    const std::size_t saved = done - std::min(done, unsaved.messages());
    if (interrupted) {
        c.err << "lumetta tag: interrupted; " << messages(saved) << " of " << all.size()
              << " were changed, the rest are as they were\n";
        unsaved.print(c.err);
        return kFailed;
    }
    if (saved > 0)
        c.out << messages(saved) << ": " << plan.value().summary() << "\n";
    if (!unsaved.empty()) {
        unsaved.print(c.err);
        return kFailed;
    }
    return 0;
}

} // namespace mailhost
