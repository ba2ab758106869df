#include "mailhost/HostClasses.h"
#include "mailhost/bundle/BundleLoader.h"
#include "mailhost/cli/BuildReport.h"
#include "mailhost/cli/DefaultsCommand.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/UserDefaults.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace {

// Exit statuses: 0 success, 1 the work failed, 2 the command line was wrong.
constexpr int kUsage = 2;

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"lumetta: the Lumetta mail client's command line"};
    app.set_version_flag("--version", mailhost::BuildReport::versionLine());
    app.require_subcommand(0, 1);

    std::string library;
    auto* report = app.add_subcommand("report", "Show what is built and what it reads of a mail library");
    report->add_option("library", library, "Root folder of the mail library")->required();

    auto* defaults = app.add_subcommand("defaults", "Read and change the mail client's settings");
    defaults->require_subcommand(1);
    std::string key;
    std::vector<std::string> words;
    auto* dRead = defaults->add_subcommand("read", "Print every setting, or the one named");
    dRead->add_option("key", key, "Setting name");
    auto* dWrite =
        defaults->add_subcommand("write", "Set a setting: KEY [-int|-bool|-string|-array] VALUE...");
    dWrite->add_option("key", key, "Setting name")->required();
    dWrite->add_option("value", words, "Type flag and value(s)")->required();
    dWrite->allow_extras(false);
    dWrite->prefix_command(false);
    auto* dDelete = defaults->add_subcommand("delete", "Remove a setting");
    dDelete->add_option("key", key, "Setting name")->required();

    try {
        // "-int" and friends are values here, not options.
        app.allow_extras(false);
        dWrite->positionals_at_end(true);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? 0 : kUsage;
    }

    // Every command runs with the bundles loaded, as the desktop client does.
    mailhost::registerHostClasses();
    platform::HeadlessRunLoop loop;
    platform::RunLoop::setMain(&loop);
    mailhost::BundleLoader loader(mailhost::BundleLoader::defaultSearchPaths());
    loader.loadAll();
    loop.runUntilIdle(); // work bundles deferred to the main thread at start-up

    int status = 0;
    auto& standard = platform::UserDefaults::standard();
    if (*report) {
        std::cout << mailhost::BuildReport::describe(library);
    } else if (*dRead) {
        status = mailhost::DefaultsCommand::read(standard, key, std::cout, std::cerr);
    } else if (*dWrite) {
        status = mailhost::DefaultsCommand::write(standard, key, words, std::cerr);
    } else if (*dDelete) {
        status = mailhost::DefaultsCommand::remove(standard, key, std::cerr);
    } else {
        std::cout << app.help();
    }
    if (auto r = standard.synchronize(); !r) {
        std::cerr << "lumetta: settings not saved: " << r.error().message << "\n";
        status = status ? status : 1;
    }
    platform::RunLoop::setMain(nullptr);
    return status;
}
