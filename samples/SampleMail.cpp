// Writes the bundled sample mail: a few hundred varied, realistic messages as one
// mbox file per mailbox, the same bytes on every run (a fixed seed), so the sample
// library and anything measured on it are reproducible.
//
//   lumetta-sample-mail OUTPUT_FOLDER
//
// produces OUTPUT_FOLDER/<Mailbox>.mbox files ("Projects_Apollo.mbox" for the nested
// mailbox "Projects/Apollo"), ready for `lumetta import --mailbox`.
//
//   lumetta-sample-mail --maildir COUNT OUTPUT_FOLDER
//
// makes OUTPUT_FOLDER a Maildir of COUNT messages of the same kind (a fifth with
// attachments; every other one sent by the owner), for measuring against mail tools that
// read Maildirs.
#include "samples/SampleMailGenerator.h"

#include <charconv>
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

int writeMaildir(const std::string& countText, const std::filesystem::path& out) {
    int count = 0;
    const auto [end, ec] = std::from_chars(countText.data(), countText.data() + countText.size(), count);
    if (ec != std::errc() || end != countText.data() + countText.size() || count < 0) {
        std::cerr << "lumetta-sample-mail: \"" << countText << "\" is not a number of messages\n";
        return 2;
    }
    samples::SampleMailGenerator generator;
    if (!generator.writeMaildir(out, count)) {
        std::cerr << "lumetta-sample-mail: cannot write the Maildir " << out.string() << "\n";
        return 1;
    }
    std::cout << "wrote " << count << " messages to the Maildir " << out.string() << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "--maildir")
        return writeMaildir(argv[2], argv[3]);
    if (argc != 2) {
        std::cerr << "usage: lumetta-sample-mail OUTPUT_FOLDER\n"
                     "       lumetta-sample-mail --maildir COUNT OUTPUT_FOLDER\n";
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
