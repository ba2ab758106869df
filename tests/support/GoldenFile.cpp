#include "support/GoldenFile.h"

#include <cstdio>
#include <fstream>
#include <iterator>

namespace testsupport {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string compareWithGolden(const fs::path& golden, const std::string& actual) {
    const bool exists = fs::exists(golden);
    if (exists && readFile(golden) == actual)
        return {};
    fs::path fail = golden;
    fail += ".fail";
    {
        std::ofstream out(fail, std::ios::binary);
        out << actual;
    }
    if (!exists)
        return "golden file " + golden.string() + " is missing; actual bytes written to " + fail.string();
    std::string diff = "golden file " + golden.string() + " differs; actual bytes in " + fail.string() + "\n";
    const std::string command = "diff -u '" + golden.string() + "' '" + fail.string() + "' 2>&1";
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buf[512];
        while (std::fgets(buf, sizeof buf, pipe))
            diff += buf;
        pclose(pipe);
    }
    return diff;
}

} // namespace testsupport
