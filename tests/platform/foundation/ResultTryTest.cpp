#include "platform/foundation/Result.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using platform::Error;
using platform::makeError;
using platform::Result;

int evaluations = 0;

Result<std::unique_ptr<int>> boxed(Result<int> from) {
    ++evaluations;
    if (!from)
        return from.error();
    return std::make_unique<int>(from.value());
}

Result<void> step(Result<void> outcome) {
    ++evaluations;
    return outcome;
}

// Reaches the line after each TRY only when everything before it succeeded.
Result<int> doubledAfterStep(Result<int> input, Result<void> stepOutcome, bool* reachedEnd) {
    std::unique_ptr<int> value = LUMETTA_TRY(boxed(std::move(input)));
    LUMETTA_TRY_VOID(step(std::move(stepOutcome)));
    *reachedEnd = true;
    return *value * 2;
}

// A TRY nested inside another must neither shadow it nor run the outer call after a failure.
Result<int> plusOne(Result<int> a) {
    return *LUMETTA_TRY(boxed(*LUMETTA_TRY(boxed(a)) + 1));
}

class ResultTryTest : public testing::Test {
protected:
    void SetUp() override { evaluations = 0; }
};

TEST_F(ResultTryTest, SuccessYieldsTheValueAndRunsOn) {
    bool reachedEnd = false;
    auto r = doubledAfterStep(21, {}, &reachedEnd);
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.value(), 42);
    EXPECT_TRUE(reachedEnd);
    EXPECT_EQ(evaluations, 2);
}

TEST_F(ResultTryTest, FailureReturnsTheErrorUnchangedAndStopsThere) {
    struct Case {
        const char* name;
        Result<int> input;
        Result<void> stepOutcome;
        Error expected;
        int expectedEvaluations;
    };
    const Case cases[] = {
        {"value fails", makeError("cannot read the file", 2), {}, makeError("cannot read the file", 2), 1},
        {"void fails", 7, makeError("disk full", 28), makeError("disk full", 28), 2},
        {"first failure wins", makeError("first", 1), makeError("second", 2), makeError("first", 1), 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        evaluations = 0;
        bool reachedEnd = false;
        auto r = doubledAfterStep(c.input, c.stepOutcome, &reachedEnd);
        ASSERT_FALSE(r.ok());
        EXPECT_EQ(r.error().message, c.expected.message);
        EXPECT_EQ(r.error().code, c.expected.code);
        EXPECT_FALSE(reachedEnd);
        EXPECT_EQ(evaluations, c.expectedEvaluations);
    }
}

TEST_F(ResultTryTest, EachExpressionIsEvaluatedOnce) {
    auto r = plusOne(2);
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.value(), 3);
    EXPECT_EQ(evaluations, 2);

    evaluations = 0;
    auto failed = plusOne(makeError("inner", 5));
    ASSERT_FALSE(failed.ok());
    EXPECT_EQ(failed.error().code, 5);
    EXPECT_EQ(evaluations, 1);
}

TEST_F(ResultTryTest, ANamedResultIsLeftIntact) {
    auto lambda = [](const Result<std::string>& named) -> Result<std::size_t> {
        std::string copy = LUMETTA_TRY(named);
        return copy.size();
    };
    const Result<std::string> named = std::string("kept");
    ASSERT_TRUE(lambda(named).ok());
    EXPECT_EQ(named.value(), "kept");
}

} // namespace
