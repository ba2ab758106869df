#include "platform/spotlight/MDItem.h"

#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>

namespace platform::spotlight {
namespace {

class MDItemTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto opened = MetadataStore::open(folder.path());
        ASSERT_TRUE(opened.ok());
        store = std::move(opened.value());
        MetadataStore::setCurrent(store.get());
        ASSERT_TRUE(store->setAttribute(kPath, "kMDItemKeywords", Array{"Work", "Apollo"}).ok());
        ASSERT_TRUE(store->setAttribute(kPath, "kMDItemStarRating", 4).ok());
    }
    void TearDown() override { MetadataStore::setCurrent(nullptr); }

    static constexpr const char* kPath = "/library/INBOX.mbox/Messages/12.emlx";
    testsupport::ScratchFolder folder;
    std::unique_ptr<MetadataStore> store;
};

// There is no item for a file the current index does not know, or without a current index.
TEST_F(MDItemTest, NoItemForUnknownFiles) {
    EXPECT_TRUE(MDItemCreate(kPath));
    EXPECT_FALSE(MDItemCreate("/library/INBOX.mbox/Messages/13.emlx"));
    MetadataStore::setCurrent(nullptr);
    EXPECT_FALSE(MDItemCreate(kPath));
    MetadataStore::setCurrent(store.get());
    store.reset();
    EXPECT_EQ(MetadataStore::current(), nullptr);
    EXPECT_FALSE(MDItemCreate(kPath));
}

// Reading and removing through an item; no item reads as nothing and removes nothing.
TEST_F(MDItemTest, ReadsAndRemovesAttributes) {
    const MDItemRef item = MDItemCreate(kPath);
    EXPECT_TRUE(MDItemCopyAttribute(item, "kMDItemKeywords").isEqual(Array{"Work", "Apollo"}));
    EXPECT_TRUE(MDItemCopyAttribute(item, "kMDItemComment").isNull());
    EXPECT_TRUE(MDItemRemoveAttribute(item, "kMDItemStarRating"));
    EXPECT_FALSE(MDItemRemoveAttribute(item, "kMDItemStarRating"));
    EXPECT_TRUE(store->attribute(kPath, "kMDItemStarRating").isNull());

    const MDItemRef none;
    EXPECT_TRUE(MDItemCopyAttribute(none, "kMDItemKeywords").isNull());
    EXPECT_FALSE(MDItemRemoveAttribute(none, "kMDItemKeywords"));
}

// The list answers in the order asked, with null for each absent attribute.
TEST_F(MDItemTest, AttributeListKeepsTheOrderAsked) {
    const Array values = MDItemCopyAttributeList(MDItemCreate(kPath),
                                                 {"kMDItemStarRating", "kMDItemComment", "kMDItemKeywords"});
    ASSERT_EQ(values.count(), 3u);
    EXPECT_TRUE(values.at(0).isEqual(4));
    EXPECT_TRUE(values.at(1).isNull());
    EXPECT_TRUE(values.at(2).isEqual(Array{"Work", "Apollo"}));
    EXPECT_EQ(MDItemCopyAttributeList(MDItemRef(), {"a", "b"}).count(), 2u);
}

} // namespace
} // namespace platform::spotlight
