#pragma once

#include "calendarapp/store/ToDoStore.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace caltest {

// "2024-03-01 11:00:00" read as UTC.
platform::Date utc(const char* text);

// Properties with only a summary.
calendarapp::ToDoProperties titled(std::string summary);

// An item file's text with LF line ends, the UID and the changing stamps of a real
// clock replaced by placeholders, for comparing with golden files.
std::string normalised(std::string text, const std::string& uid);

// A store in a fresh folder holding one calendar, "Work".
class StoreTest : public ::testing::Test {
protected:
    void SetUp() override;

    // A store object that has never read anything: what a restarted application sees.
    calendarapp::ToDoStore freshStore() const { return calendarapp::ToDoStore(root()); }
    const std::filesystem::path& root() const { return scratch_.path(); }
    calendarapp::ToDo create(const calendarapp::ToDoProperties& properties = {});
    // Writes an item file straight into a calendar folder, as another program would.
    std::filesystem::path place(const std::string& fileName, const std::string& text) const;

    static std::string read(const std::filesystem::path& path) { return testsupport::readFile(path); }
    static void setModified(const std::filesystem::path& path, platform::Date date);
    // Every file under the root and its bytes, to show that nothing changed.
    std::string snapshot() const;

    testsupport::ScratchFolder scratch_;
    std::unique_ptr<calendarapp::ToDoStore> store_;
    calendarapp::Calendar work_;
};

} // namespace caltest
