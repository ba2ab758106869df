// Writes the bundled sample mail: a few hundred varied, realistic messages as one
// mbox file per mailbox, the same bytes on every run (a fixed seed), so the sample
// library and anything measured on it are reproducible.
//
//   lumetta-sample-mail OUTPUT_FOLDER
//
// produces OUTPUT_FOLDER/<Mailbox>.mbox files ("Projects_Apollo.mbox" for the nested
// mailbox "Projects/Apollo"), ready for `lumetta import --mailbox`.
#include "samples/SampleMailGenerator.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

struct Mailbox {
    std::string name;
    int count;
    bool sent;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: lumetta-sample-mail OUTPUT_FOLDER\n";
        return 2;
    }
    const std::filesystem::path out = argv[1];
    std::error_code ec;
    std::filesystem::create_directories(out, ec);
    if (ec) {
        std::cerr << "lumetta-sample-mail: cannot create " << out << ": " << ec.message() << "\n";
        return 1;
    }
    const std::vector<Mailbox> mailboxes = {
        {"INBOX", 180, false},
        {"Projects/Apollo", 60, false},
        {"Projects/Zephyr", 45, false},
        {"Receipts", 35, false},
        {"Sent", 60, true},
    };
    samples::SampleMailGenerator generator;
    int total = 0;
    for (const auto& box : mailboxes) {
        std::string file = box.name;
        for (auto& c : file)
            if (c == '/')
                c = '_';
        std::ofstream mbox(out / (file + ".mbox"), std::ios::binary);
        generator.writeMbox(mbox, box.count, box.sent);
        total += box.count;
        if (!mbox) {
            std::cerr << "lumetta-sample-mail: cannot write " << (out / (file + ".mbox")) << "\n";
            return 1;
        }
    }
    std::cout << "wrote " << total << " messages in " << mailboxes.size() << " mailboxes to " << out.string()
              << "\n";
    return 0;
}
