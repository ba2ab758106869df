// One calendar refresh pass over 1,000 linked messages of which 100 had their to-do
// changed (completed) in the calendar's store since the last pass; target under 2 s.
// It runs against the real lumetta-calendar of this build tree, over its socket, in a
// private runtime folder and store: the listing query, each changed message's re-read
// and its file write with the index, and the to-do pointed at the written file again;
// and the sweep for deleted to-dos that a refresh asked for by hand adds.
#include "lumetta/calendar/ICalRefreshPass.h"
#include "lumetta/calendar/LumettaICalToDo.h"
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/BulkTagChange.h"
#include "mailhost/HostClasses.h"
#include "mailhost/mail/Library.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Send.h"

#include <benchmark/benchmark.h>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kLinked = 1000;
constexpr int kChanged = 100;

fs::path calendarProgram() {
    std::error_code failed;
    return fs::read_symlink("/proc/self/exe", failed).parent_path().parent_path() / "mailhost" /
           "lumetta-calendar";
}

void write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path.string() + ".tmp", std::ios::binary) << bytes;
    fs::rename(path.string() + ".tmp", path);
}

std::string item(int n, const std::string& url, int completedDay) {
    std::string done;
    if (completedDay > 0)
        done = "COMPLETED:203001" + std::string(completedDay < 10 ? "0" : "") + std::to_string(completedDay) +
               "T100000Z\r\nSTATUS:COMPLETED\r\n";
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Lumetta bench//EN\r\nBEGIN:VTODO\r\nUID:bench-" +
           std::to_string(n) + "\r\nDTSTAMP:20260101T000000Z\r\nSUMMARY:To do " + std::to_string(n) +
           "\r\nURL:" + url + "\r\n" + done + "END:VTODO\r\nEND:VCALENDAR\r\n";
}

// The pid answering at the calendar's socket, to end it afterwards.
pid_t calendarPid(const fs::path& socket) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socket.c_str(), sizeof address.sun_path - 1);
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool found = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                       ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    ::close(fd);
    return found ? peer.pid : -1;
}

struct LinkedWorld {
    fs::path root;
    fs::path store;
    platform::HeadlessRunLoop loop;
    std::unique_ptr<mailhost::Library> library;
    std::vector<std::string> urls;
    std::string problem;

    LinkedWorld() {
        char tmpl[] = "/tmp/lumetta-bench-refresh-XXXXXX";
        root = ::mkdtemp(tmpl);
        store = root / "calendars";
        fs::create_directories(root / "run");
        ::chmod((root / "run").c_str(), 0700);
        ::setenv("XDG_RUNTIME_DIR", (root / "run").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
        if (!fs::exists(calendarProgram())) {
            problem = "lumetta-calendar is not built beside this benchmark";
            return;
        }
        platform::appleevents::ApplicationRegistry::registerApplication(
            "com.apple.iCal", {calendarProgram(), {"--store", store.string()}});
        mailhost::registerHostClasses();
        lumetta::loadCategories();
        platform::RunLoop::setMain(&loop);
        platform::UserDefaults::standard().setObject(true, "lumettaRefreshFromICal");
        library = mailhost::Library::open(root / "Mail", true).value();
        std::vector<std::shared_ptr<mailhost::LibraryMessage>> messages;
        {
            mailhost::Library::BulkAdd batch(*library);
            for (int n = 1; n <= kLinked; ++n)
                messages.push_back(library
                                       ->addMessage("INBOX",
                                                    "From: a@example.org\nSubject: To do " +
                                                        std::to_string(n) + "\nMessage-ID: <bench-" +
                                                        std::to_string(n) + "@x>\n\nBody.\n",
                                                    0, 800000000.0 + n)
                                       .value());
            (void)batch.commit();
        }
        fs::create_directories(store / "bench");
        write(store / "bench" / "displayname", "Bench");
        for (int n = 1; n <= kLinked; ++n) {
            urls.push_back("file://" + mailhost::Library::dataPathForMessage(messages[n - 1].get()));
            write(store / "bench" / ("bench-" + std::to_string(n) + ".ics"), item(n, urls.back(), 0));
        }
        if (auto started = platform::appleevents::Workspace::sharedWorkspace().launchAppWithBundleIdentifier(
                "com.apple.iCal", 0, nullptr, nullptr);
            !started) {
            problem = started.error().message;
            return;
        }
        // Linked and up to date: the messages hold what their to-dos say.
        lumetta::BulkTagChange link;
        for (int n = 1; n <= kLinked; ++n) {
            link.set(messages[n - 1], "lumettaICalUID", "bench-" + std::to_string(n));
            link.set(messages[n - 1], "lumettaICalToDoTitle", "To do " + std::to_string(n));
        }
        link.commit();
    }
    ~LinkedWorld() {
        const fs::path socket = root / "run" / "lumetta-ae" / "com.apple.iCal.sock";
        if (const pid_t pid = calendarPid(socket); pid > 0)
            ::kill(pid, SIGTERM);
        library.reset();
        platform::RunLoop::setMain(nullptr);
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }

    // Completes (or re-completes on another day) `kChanged` to-dos spread over the store,
    // after a refresh date that leaves every other to-do out.
    void changeSome(int round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // stamps count whole seconds
        platform::UserDefaults::standard().setObject(platform::Clock::now(), "lumettaLastICalRefreshDate");
        std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        for (int k = 0; k < kChanged; ++k) {
            const int n = 1 + k * (kLinked / kChanged);
            write(store / "bench" / ("bench-" + std::to_string(n) + ".ics"),
                  item(n, urls[n - 1], 1 + round % 28));
        }
    }
};

LinkedWorld& sharedWorld() {
    static LinkedWorld world;
    return world;
}

void BM_RefreshPass1000Linked100Changed(benchmark::State& state) {
    LinkedWorld& world = sharedWorld();
    if (!world.problem.empty()) {
        state.SkipWithError(world.problem.c_str());
        return;
    }
    lumetta::LumettaICalToDo refresher;
    int round = 0;
    std::int64_t listed = 0, changes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        world.changeSome(++round);
        state.ResumeTiming();
        const platform::Dictionary summary = lumetta::ICalRefreshPass::run(refresher);
        listed = summary.get("listed").integerValue();
        changes = summary.get("changes").array()
                      ? static_cast<std::int64_t>(summary.get("changes").array()->count())
                      : 0;
    }
    state.counters["listed"] = static_cast<double>(listed);
    state.counters["tags_changed"] = static_cast<double>(changes);
}
BENCHMARK(BM_RefreshPass1000Linked100Changed)->Unit(benchmark::kMillisecond)->Iterations(4)->UseRealTime();

// The calendar traffic alone: 100 linked messages re-read whose to-dos say what the
// messages already hold, so nothing is written. The pass's remaining time is the writes
// (the message file through the journal, and the calendar's item when the to-do is pointed
// at the file again).
void BM_ReRead100Unchanged(benchmark::State& state) {
    static LinkedWorld& world = sharedWorld();
    if (!world.problem.empty()) {
        state.SkipWithError(world.problem.c_str());
        return;
    }
    for (auto _ : state)
        for (int k = 0; k < kChanged; ++k) {
            auto message = world.library->message(1 + k * (kLinked / kChanged) + 1);
            platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(message.get()),
                                        "lumettaRefreshDataFromICal");
        }
}
BENCHMARK(BM_ReRead100Unchanged)->Unit(benchmark::kMillisecond)->Iterations(4)->UseRealTime();

// What a refresh asked for by hand adds to the pass: the calendar lists every linked
// to-do and the index every linked message; with no to-do deleted nothing is re-read.
void BM_SweepVanished1000LinkedNoneGone(benchmark::State& state) {
    LinkedWorld& world = sharedWorld();
    if (!world.problem.empty()) {
        state.SkipWithError(world.problem.c_str());
        return;
    }
    std::int64_t linked = 0, checked = 0;
    for (auto _ : state) {
        const platform::Dictionary summary = lumetta::ICalRefreshPass::sweepVanished();
        linked = summary.get("linked").integerValue();
        checked = summary.get("checked").integerValue();
    }
    state.counters["linked"] = static_cast<double>(linked);
    state.counters["checked"] = static_cast<double>(checked);
}
BENCHMARK(BM_SweepVanished1000LinkedNoneGone)->Unit(benchmark::kMillisecond)->Iterations(4)->UseRealTime();

} // namespace
