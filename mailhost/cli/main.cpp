#include "mailhost/cli/BuildReport.h"

#include <CLI/CLI.hpp>
#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"lumetta: the Lumetta mail client's command line"};
    app.set_version_flag("--version", mailhost::BuildReport::versionLine());
    app.require_subcommand(0, 1);

    std::string library;
    auto* report = app.add_subcommand("report", "Show what is built and what it reads of a mail library");
    report->add_option("library", library, "Root folder of the mail library")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // Usage errors exit 2; --help and --version exit 0.
        const int status = app.exit(e);
        return status == 0 ? 0 : 2;
    }
    if (*report) {
        std::cout << mailhost::BuildReport::describe(library);
        return 0;
    }
    std::cout << app.help();
    return 0;
}
