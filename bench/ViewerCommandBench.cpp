// The viewer's bulk tag command as the menus and `lumetta tag` run it: one keyword added
// to 10,000 selected messages, every file rewritten through the journal and the
// metadata index updated (should manage 5,000 messages a second). Measured twice: on
// messages whose records are already in memory, and on fresh message objects whose
// records are first read from their files, as a command-line call starts.
#include "lumetta/startup/CategoryLoader.h"
#include "mailhost/HostClasses.h"
#include "mailhost/mail/Library.h"
#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Send.h"
#include "samples/SampleMailGenerator.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <stdlib.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kSelected = 10000;

struct ViewerLibrary {
    fs::path root;
    std::unique_ptr<Library> library;
    std::unique_ptr<MessageViewer> viewer;

    ViewerLibrary() {
        registerHostClasses();
        lumetta::loadCategories();
        char tmpl[] = "/tmp/lumetta-bench-viewer-XXXXXX";
        root = ::mkdtemp(tmpl);
        ::setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
        library = Library::open(root, true).value();
        samples::SampleMailGenerator mail;
        Library::BulkAdd batch(*library);
        for (int i = 0; i < kSelected; ++i)
            (void)library->addMessage("INBOX", mail.nextMessage(), 0, 800000000.0 + i);
        (void)batch.commit();
        viewer = MessageViewer::make();
    }
    ~ViewerLibrary() {
        viewer.reset();
        library.reset();
        std::error_code ec;
        fs::remove_all(root, ec);
    }
    void addKeyword(const std::string& keyword) {
        platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(viewer.get()),
                                    "addKeywords:", platform::Value(platform::Array{keyword}));
    }
};

ViewerLibrary& shared() {
    static ViewerLibrary v;
    return v;
}

void BM_AddKeywordCommand(benchmark::State& state) {
    ViewerLibrary& v = shared();
    v.viewer->setSelectedMessages(v.library->messagesInMailbox("INBOX"));
    std::int64_t pass = 0;
    for (auto _ : state)
        v.addKeyword("Pass " + std::to_string(++pass));
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(kSelected * state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AddKeywordCommand)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

void BM_AddKeywordCommandFirstTouch(benchmark::State& state) {
    ViewerLibrary& v = shared();
    std::int64_t pass = 0;
    for (auto _ : state) {
        state.PauseTiming();
        v.viewer->setSelectedMessages({});
        MessageList fresh = v.library->messagesInMailbox("INBOX");
        state.ResumeTiming();
        v.viewer->setSelectedMessages(std::move(fresh));
        v.addKeyword("Fresh " + std::to_string(++pass));
    }
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(kSelected * state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AddKeywordCommandFirstTouch)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

} // namespace
