#include "platform/foundation/IgnoreError.h"

#include "platform/foundation/Log.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using platform::makeError;
using platform::Result;

TEST(IgnoreErrorTest, ASuccessLogsNothing) {
    platform::ScopedLogCapture log;
    platform::ignoreError(Result<void>(), "rollback after a failed save");
    platform::ignoreError(Result<int>(3), "count of removed rows");
    EXPECT_TRUE(log.lines().empty());
}

TEST(IgnoreErrorTest, AFailureLogsOneLineWithTheReasonAndTheError) {
    struct Case {
        const char* name;
        Result<int> result;
        const char* why;
        std::string expected;
    };
    const Case cases[] = {
        {"with a code", makeError("disk full", 28), "rollback after a failed save",
         "Ignored a failure (rollback after a failed save): disk full (code 28)"},
        {"without a code", makeError("database is locked"), "index clean-up",
         "Ignored a failure (index clean-up): database is locked"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        platform::ScopedLogCapture log;
        platform::ignoreError(c.result, c.why);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines().front(), c.expected);
    }
}

} // namespace
