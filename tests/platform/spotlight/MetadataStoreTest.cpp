#include "platform/spotlight/MetadataStore.h"

#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace platform::spotlight {
namespace {

using testsupport::ScratchFolder;

class MetadataStoreTest : public ::testing::Test {
protected:
    std::unique_ptr<MetadataStore> openStore() {
        auto opened = MetadataStore::open(folder.path());
        EXPECT_TRUE(opened.ok()) << (opened.ok() ? "" : opened.error().message);
        return opened.ok() ? std::move(opened.value()) : nullptr;
    }

    ScratchFolder folder;
    std::unique_ptr<MetadataStore> store = openStore();
};

// Every kind of value the index holds reads back with its type, also after reopening.
TEST_F(MetadataStoreTest, ValuesReadBackWithTheirType) {
    struct Case {
        const char* name;
        Value value;
    };
    const Case cases[] = {
        {"string", "Caf\u00E9 r\u00E9sum\u00E9"},
        {"emptyString", ""},
        {"integer", 3},
        {"bigInteger", Value(std::int64_t{1} << 60)},
        {"real", 2.5},
        {"date", Date{817000000.25}},
        {"boolean", true},
        {"keywords", Array{"Work", "Invoice"}},
        {"mixed", Array{"a", 1, Date{5.0}}},
        {"emptyArray", Array{}},
    };
    for (const Case& c : cases)
        ASSERT_TRUE(store->setAttribute("/m/1.emlx", c.name, c.value).ok()) << c.name;
    store = openStore();
    for (const Case& c : cases) {
        const Value read = store->attribute("/m/1.emlx", c.name);
        EXPECT_EQ(read.type(), c.value.type()) << c.name;
        EXPECT_TRUE(read.isEqual(c.value)) << c.name << ": " << read.description();
    }
    EXPECT_EQ(store->attributes("/m/1.emlx").count(), std::size(cases));
}

// Writing again replaces the whole value, shorter arrays included.
TEST_F(MetadataStoreTest, WritingReplacesTheWholeValue) {
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemKeywords", Array{"a", "b", "c"}).ok());
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemKeywords", Array{"d"}).ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", "kMDItemKeywords").isEqual(Array{"d"}));
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemKeywords", "single").ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", "kMDItemKeywords").isEqual("single"));
}

// A null value and removal both take the attribute away; removal tells whether it was there.
TEST_F(MetadataStoreTest, RemovingAnAttribute) {
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemComment", "call back").ok());
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemStarRating", 4).ok());
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemComment", Value()).ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", "kMDItemComment").isNull());

    auto removed = store->removeAttribute("/m/1.emlx", "kMDItemStarRating");
    ASSERT_TRUE(removed.ok());
    EXPECT_TRUE(removed.value());
    removed = store->removeAttribute("/m/1.emlx", "kMDItemStarRating");
    ASSERT_TRUE(removed.ok());
    EXPECT_FALSE(removed.value());
    removed = store->removeAttribute("/unknown.emlx", "kMDItemStarRating");
    ASSERT_TRUE(removed.ok());
    EXPECT_FALSE(removed.value());
    // The item stays known without attributes; a null write does not invent one.
    EXPECT_TRUE(store->hasItem("/m/1.emlx"));
    ASSERT_TRUE(store->setAttribute("/m/2.emlx", "kMDItemComment", Value()).ok());
    EXPECT_FALSE(store->hasItem("/m/2.emlx"));
}

// Values the index cannot compare are refused, and the attribute keeps its old value.
TEST_F(MetadataStoreTest, RefusesValuesItCannotHold) {
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "x", "before").ok());
    const Value refused[] = {
        Value(Data{{1, 2}}),
        Value(Dictionary{{"a", 1}}),
        Value(Array{Array{"nested"}}),
        Value(Array{"a", Value()}),
    };
    for (const Value& value : refused) {
        EXPECT_FALSE(store->setAttribute("/m/1.emlx", "x", value).ok()) << value.description();
        EXPECT_TRUE(store->attribute("/m/1.emlx", "x").isEqual("before"));
    }
    EXPECT_FALSE(store->setAttribute("/m/1.emlx", "", "no name").ok());
    EXPECT_FALSE(store->setAttribute("/m/1.emlx", std::string(kMDItemTextContent), 3).ok());
}

// The text lives in the full-text table but reads and goes like any attribute.
TEST_F(MetadataStoreTest, TextReadsBackByName) {
    ASSERT_TRUE(store->setTextContent("/m/1.emlx", "Please pay the invoice.").ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", kMDItemTextContent).isEqual("Please pay the invoice."));
    EXPECT_TRUE(store->attributes("/m/1.emlx").get(kMDItemTextContent).isEqual("Please pay the invoice."));
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", std::string(kMDItemTextContent), "Second text").ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", kMDItemTextContent).isEqual("Second text"));
    ASSERT_TRUE(store->setTextContent("/m/1.emlx", "").ok());
    EXPECT_TRUE(store->attribute("/m/1.emlx", kMDItemTextContent).isNull());
}

// A re-index by the mail client rewrites its own attributes and leaves the tags alone.
TEST_F(MetadataStoreTest, HostReindexKeepsOthersAttributes) {
    const std::string path = "/m/1.emlx";
    ASSERT_TRUE(store
                    ->replaceHostAttributes(path,
                                            Dictionary{{"kMDItemSubject", "Old subject"},
                                                       {"kMDItemAuthors", Array{"Ada"}},
                                                       {std::string(kMDItemTextContent), "old body"}},
                                            {})
                    .ok());
    ASSERT_TRUE(store->setAttribute(path, "kMDItemKeywords", Array{"Work"}).ok());
    ASSERT_TRUE(store->setAttribute(path, "kMDItemStarRating", 3).ok());

    const std::vector<std::string> hostNames = {"kMDItemSubject", "kMDItemAuthors", "kMDItemRecipients",
                                                std::string(kMDItemTextContent)};
    ASSERT_TRUE(
        store->replaceHostAttributes(path, Dictionary{{"kMDItemSubject", "New subject"}}, hostNames).ok());

    const Dictionary all = store->attributes(path);
    EXPECT_TRUE(all.get("kMDItemSubject").isEqual("New subject"));
    EXPECT_FALSE(all.contains("kMDItemAuthors"));
    EXPECT_FALSE(all.contains(kMDItemTextContent));
    EXPECT_TRUE(all.get("kMDItemKeywords").isEqual(Array{"Work"}));
    EXPECT_TRUE(all.get("kMDItemStarRating").isEqual(3));

    // A bad value refuses the whole re-index.
    EXPECT_FALSE(
        store->replaceHostAttributes(path, Dictionary{{"kMDItemSubject", "x"}, {"bad", Data{}}}, hostNames)
            .ok());
    EXPECT_TRUE(store->attribute(path, "kMDItemSubject").isEqual("New subject"));
}

// Removing an item forgets its attributes and text; a new item at the path starts empty.
TEST_F(MetadataStoreTest, RemovingAnItem) {
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemKeywords", Array{"Work"}).ok());
    ASSERT_TRUE(store->setTextContent("/m/1.emlx", "body").ok());
    ASSERT_TRUE(store->setAttribute("/m/2.emlx", "kMDItemKeywords", Array{"Home"}).ok());
    auto removed = store->removeItem("/m/1.emlx");
    ASSERT_TRUE(removed.ok());
    EXPECT_TRUE(removed.value());
    EXPECT_FALSE(store->hasItem("/m/1.emlx"));
    EXPECT_EQ(store->itemCount(), 1u);
    ASSERT_TRUE(store->setAttribute("/m/1.emlx", "kMDItemComment", "new").ok());
    EXPECT_EQ(store->attributes("/m/1.emlx").count(), 1u);
    removed = store->removeItem("/m/9.emlx");
    ASSERT_TRUE(removed.ok());
    EXPECT_FALSE(removed.value());
}

// A batch lands whole or not at all; a failed inner batch takes back only its own writes.
TEST_F(MetadataStoreTest, BatchesAreAtomic) {
    auto failed = store->batch([&]() -> Result<void> {
        for (int i = 0; i < 10; ++i) {
            if (auto r = store->setAttribute("/a/" + std::to_string(i), "n", i); !r)
                return r;
        }
        return makeError("stop");
    });
    EXPECT_FALSE(failed.ok());
    EXPECT_EQ(store->itemCount(), 0u);

    auto outer = store->batch([&]() -> Result<void> {
        if (auto r = store->setAttribute("/b/kept", "n", 1); !r)
            return r;
        auto inner = store->batch([&]() -> Result<void> {
            (void)store->setAttribute("/b/dropped", "n", 2);
            return makeError("inner stops");
        });
        EXPECT_FALSE(inner.ok());
        return {};
    });
    ASSERT_TRUE(outer.ok());
    EXPECT_TRUE(store->hasItem("/b/kept"));
    EXPECT_FALSE(store->hasItem("/b/dropped"));

    // An exception from the body is an error, not an escape past the transaction.
    auto thrown = store->batch([]() -> Result<void> { throw std::runtime_error("boom"); });
    EXPECT_FALSE(thrown.ok());
    EXPECT_TRUE(store->setAttribute("/c", "n", 3).ok());
}

// A transaction held across calls (an import) lands on commit and vanishes when
// dropped; items it made and took back are not remembered by the next one.
TEST_F(MetadataStoreTest, TransactionsAcrossCalls) {
    {
        MetadataStore::Transaction dropped(*store);
        ASSERT_TRUE(store->setAttribute("/t/1", "n", 1).ok());
        EXPECT_TRUE(store->hasItem("/t/1"));
    }
    EXPECT_FALSE(store->hasItem("/t/1"));
    {
        MetadataStore::Transaction kept(*store);
        ASSERT_TRUE(store->setAttribute("/t/1", "n", 1).ok());
        ASSERT_TRUE(store->setAttribute("/t/1", "n", 1).ok()); // the same again changes nothing
        ASSERT_TRUE(store->setAttribute("/t/2", "n", 2).ok());
        ASSERT_TRUE(kept.commit().ok());
    }
    EXPECT_EQ(store->attribute("/t/1", "n"), Value(1));
    EXPECT_EQ(store->attribute("/t/2", "n"), Value(2));
    auto paths = store->itemPaths();
    ASSERT_TRUE(paths.ok());
    EXPECT_EQ(paths.value(), (std::vector<std::string>{"/t/1", "/t/2"}));
}

TEST_F(MetadataStoreTest, OpeningInAMissingFolderIsAnError) {
    auto opened = MetadataStore::open(folder.path() / "missing");
    ASSERT_FALSE(opened.ok());
    EXPECT_NE(opened.error().message.find("missing"), std::string::npos);
}

// Threads sharing one store never lose or mix up writes.
TEST_F(MetadataStoreTest, ThreadsWriteAndReadAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kItems = 100;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kItems; ++i) {
                const std::string path = "/t" + std::to_string(t) + "/" + std::to_string(i);
                EXPECT_TRUE(
                    store->setAttribute(path, "kMDItemKeywords", Array{"T" + std::to_string(t)}).ok());
                EXPECT_TRUE(store->setAttribute(path, "kMDItemStarRating", i).ok());
                EXPECT_TRUE(store->attribute(path, "kMDItemStarRating").isEqual(i));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(store->itemCount(), std::size_t{kThreads * kItems});
    EXPECT_TRUE(store->attribute("/t3/99", "kMDItemKeywords").isEqual(Array{"T3"}));
}

// Two processes (the command line beside the desktop client) write the same index at once:
// each waits for the other's transaction instead of failing.
TEST_F(MetadataStoreTest, TwoProcessesWriteAtOnce) {
    store.reset(); // no connection may cross the fork
    constexpr int kBatches = 150;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    const std::string who = child == 0 ? "child" : "parent";
    auto writer = MetadataStore::open(folder.path());
    bool ok = writer.ok();
    for (int i = 0; ok && i < kBatches; ++i) {
        ok = writer.value()
                 ->batch([&]() -> Result<void> {
                     const std::string path = "/" + who + "/" + std::to_string(i);
                     if (auto r = writer.value()->setAttribute(path, "kMDItemKeywords", Array{who}); !r)
                         return r;
                     return writer.value()->setTextContent(path, "written by the " + who);
                 })
                 .ok();
    }
    if (child == 0)
        ::_exit(ok ? 0 : 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(ok);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_TRUE(writer.ok());
    EXPECT_EQ(writer.value()->itemCount(), std::size_t{2 * kBatches});
    EXPECT_TRUE(writer.value()->attribute("/child/7", "kMDItemKeywords").isEqual(Array{"child"}));
}

} // namespace
} // namespace platform::spotlight
