#include <gtest/gtest.h>

#include "wickerlane/message/JXMsgCollectionCallBacks.h"
#include "wickerlane/message/JXMsgTransaction.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

using namespace wickerlane;

TEST(CollectionCallBacks, OneTableComparesByStructureTheOtherByIdentity) {
    const auto held = MessageScalar::createString("a");
    const auto equal = MessageScalar::createString("a");
    const void *values[] = {held.get()};
    const auto byStructure = Array::createWithCallBacks(values, &JXMsgBaseArrayCallBacks);
    const auto byIdentity = Array::createWithCallBacks(values, &JXMsgBaseArrayPointerEqualityCallBacks);
    EXPECT_TRUE(byStructure->contains(equal.get()));
    EXPECT_FALSE(byIdentity->contains(equal.get()));
    EXPECT_TRUE(byIdentity->contains(held.get()));
    EXPECT_NE(byStructure->description()->utf8().find('a'), std::string_view::npos);
}

TEST(CollectionCallBacks, NullIsNothing) {
    EXPECT_EQ(JXMsgBaseRetainCallBack(nullptr, nullptr), nullptr);
    JXMsgBaseReleaseCallBack(nullptr, nullptr);
    EXPECT_EQ(JXMsgBaseCopyDescriptionCallBack(nullptr), nullptr);
    const auto value = MessageScalar::createInt64(1);
    EXPECT_TRUE(JXMsgBaseEqualCallBack(nullptr, nullptr));
    EXPECT_FALSE(JXMsgBaseEqualCallBack(value.get(), nullptr));
    EXPECT_FALSE(JXMsgBaseEqualCallBack(nullptr, value.get()));
}

TEST(Transactions, EachObjectHoldsOneOpen) {
    const std::size_t before = processTransactionCount();
    auto first = JXMsgTransaction::initWithIdentifier("first");
    {
        ReleaseScope scope;
        JXMsgTransaction *second = JXMsgTransaction::transaction("second");
        second->stillAlive();
        EXPECT_EQ(processTransactionCount(), before + 2);
        EXPECT_EQ(second->description()->utf8(),
                  String::format("<JXMsgTransaction: %p>: second", second)->utf8());
    }
    EXPECT_EQ(processTransactionCount(), before + 1);
    first = nullptr;
    EXPECT_EQ(processTransactionCount(), before);
}
