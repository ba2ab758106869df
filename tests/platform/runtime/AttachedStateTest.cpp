#include "platform/runtime/AttachedState.h"

#include "platform/foundation/Value.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace platform;
using namespace platform::runtime;

namespace {

// A host object whose destructor plays its dealloc: it drops its attached state.
struct HostObject {
    explicit HostObject(AttachedState& t) : table(t) {}
    ~HostObject() { table.remove(this); }
    AttachedState& table;
};

// Entries are made on first request only, and shared by every later request.
TEST(AttachedState, CreatedOnFirstRequestAndSharedAfterwards) {
    AttachedState table;
    HostObject object(table);
    EXPECT_FALSE(table.has(&object));
    table.extraIVars(&object).set("panelVisible", true);
    EXPECT_TRUE(table.extraIVars(&object).get("panelVisible").boolValue());
    EXPECT_EQ(table.count(), 1u);
}

TEST(AttachedState, ObjectNeverAskedLeavesNoEntry) {
    AttachedState table;
    { HostObject quiet(table); }
    EXPECT_EQ(table.count(), 0u);
    {
        HostObject asked(table);
        table.extraIVars(&asked);
        EXPECT_EQ(table.count(), 1u);
    }
    EXPECT_EQ(table.count(), 0u);
}

// Objects created on one thread and destroyed on others, while their state is in use.
TEST(AttachedState, VanishesWithItsObjectOnAnyThread) {
    AttachedState table;
    constexpr int kThreads = 4, kObjects = 500;
    std::vector<std::unique_ptr<HostObject>> objects;
    for (int i = 0; i < kThreads * kObjects; ++i) {
        objects.push_back(std::make_unique<HostObject>(table));
        table.extraIVars(objects.back().get()).set("index", i);
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = t * kObjects; i < (t + 1) * kObjects; ++i) {
                Dictionary state = table.extraIVars(objects[static_cast<std::size_t>(i)].get());
                state.set("seenBy", t);
                objects[static_cast<std::size_t>(i)].reset();
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(table.count(), 0u);
}

} // namespace
