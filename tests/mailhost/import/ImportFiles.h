#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <unistd.h>

// A fresh folder under the system's temporary folder, removed with everything in it
// when the test ends.
class TempFolder {
public:
    TempFolder() {
        static std::atomic<int> counter{0};
        path_ = std::filesystem::temp_directory_path() /
                ("lumetta-import-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // Writes `bytes` to `relative`, creating the folders on the way.
    std::filesystem::path write(const std::string& relative, const std::string& bytes) const {
        const std::filesystem::path file = path_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

private:
    std::filesystem::path path_;
};
