#pragma once

#include "CalendarClientSupport.h"
#include "calendarapp/app/CalendarApplication.h"
#include "platform/appleevents/AEInProcessTransport.h"
#include "platform/appleevents/AETransport.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>

namespace caltest {

// The calendar application inside the test process, reached through the in-process
// transport (events are still flattened both ways), over a store holding:
//   Work: "Alpha" (url message:///M/1.emlx, high, due 2030-03-01 11:00 UTC),
//         "Beta" (url https://example.com/2, medium), "Gamma" (low, nothing else)
//   Home: "Delta" (url message:///M/4.emlx, completed 2024-03-05 09:30 UTC)
class InProcessCalendar : public ::testing::Test {
protected:
    void SetUp() override;
    virtual calendarapp::CalendarApplication::Options options() const { return {scratch_.path(), {}, {}}; }

    calendarapp::ToDoStore& store() { return app_->store(); }
    // A to-do's specifier, as the application hands it out.
    AEDesc toDo(const std::string& summary) const;

    testsupport::ScratchFolder scratch_;
    std::unique_ptr<calendarapp::CalendarApplication> app_;
    platform::appleevents::AEInProcessTransport transport_;
    std::unique_ptr<platform::appleevents::ScopedAETransport> installed_;
    std::map<std::string, std::string> uids_; // by summary
};

} // namespace caltest
