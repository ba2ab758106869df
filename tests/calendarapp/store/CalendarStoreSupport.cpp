#include "CalendarStoreSupport.h"

#include "support/GoldenFile.h"

#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <regex>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;
using namespace calendarapp;

namespace caltest {

platform::Date utc(const char* text) {
    std::tm tm{};
    strptime(text, "%Y-%m-%d %H:%M:%S", &tm);
    return platform::Date::fromUnix(static_cast<double>(timegm(&tm)));
}

ToDoProperties titled(std::string summary) {
    ToDoProperties properties;
    properties.summary = std::move(summary);
    return properties;
}

std::string normalised(std::string text, const std::string& uid) {
    text = std::regex_replace(text, std::regex("\r\n"), "\n");
    if (!uid.empty())
        text = std::regex_replace(text, std::regex(uid), "<UID>");
    return text;
}

void StoreTest::SetUp() {
    store_ = std::make_unique<ToDoStore>(root());
    auto work = store_->createCalendar("Work");
    ASSERT_TRUE(work.ok()) << work.error().message;
    work_ = work.value();
}

ToDo StoreTest::create(const ToDoProperties& properties) {
    auto toDo = store_->createToDo("Work", properties);
    EXPECT_TRUE(toDo.ok()) << toDo.error().message;
    return toDo.ok() ? toDo.value() : ToDo{};
}

fs::path StoreTest::place(const std::string& fileName, const std::string& text) const {
    const fs::path path = work_.folder / fileName;
    testsupport::writeBytes(path, text);
    return path;
}

void StoreTest::setModified(const fs::path& path, platform::Date date) {
    const timespec when{static_cast<time_t>(date.unixSeconds()), 0};
    const timespec times[2] = {when, when};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

std::string StoreTest::snapshot() const {
    std::vector<std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root()))
        entries.push_back(entry.path().string() + "\n" +
                          (entry.is_regular_file() ? read(entry.path()) : "<dir>"));
    std::sort(entries.begin(), entries.end());
    std::string all;
    for (const auto& entry : entries)
        all += entry + "\n---\n";
    return all;
}

} // namespace caltest
