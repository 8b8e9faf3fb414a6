#include "wickerlane/platform/object/Object.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/IndexSet.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/URL.h"

using namespace wickerlane;

namespace {

class Counted final : public Object {
    WL_OBJECT
public:
    explicit Counted(int &count) : living(count) { ++living; }
    ~Counted() override { --living; }

private:
    int &living;
};
const Class Counted::classInfo{"Counted", &Object::classInfo, nullptr};

TEST(Objects, LiveUntilTheirLastReferenceGoes) {
    int living = 0;
    auto first = makeRef<Counted>(living);
    auto second = first;
    Ref<Object> base = std::move(second);
    first = nullptr;
    EXPECT_EQ(living, 1);
    EXPECT_EQ(as<Counted>(base.get()), base.get());
    EXPECT_EQ(as<String>(base.get()), nullptr);
    EXPECT_TRUE(base->description()->hasPrefix("<Counted: 0x"));
    base = nullptr;
    EXPECT_EQ(living, 0);
}

TEST(ReleaseScopes, EndWhatTheyHold) {
    int living = 0;
    ReleaseScope outer;
    Counted *passedOn = nullptr;
    {
        ReleaseScope inner;
        autorelease(makeRef<Counted>(living));
        passedOn = autorelease(makeRef<Counted>(living));
        EXPECT_EQ(living, 2);
        EXPECT_EQ(inner.handOver(passedOn), passedOn);
        EXPECT_EQ(living, 1);
        EXPECT_EQ(ReleaseScope().handOver(static_cast<Object *>(nullptr)), nullptr);
    }
    EXPECT_EQ(living, 1);
    std::thread([&] { autorelease(makeRef<Counted>(living)); }).join(); // the thread was its scope
    EXPECT_EQ(living, 1);
    EXPECT_EQ(outer.handOver(passedOn), passedOn);
    EXPECT_EQ(living, 1);
}

TEST(Handlers, AreNullOrShared) {
    using Callback = Handler<int(int)>;
    EXPECT_FALSE(Callback());
    EXPECT_FALSE(Callback(nullptr));
    EXPECT_FALSE(Callback(static_cast<int (*)(int)>(nullptr)));
    EXPECT_FALSE(Callback(std::function<int(int)>()));
    EXPECT_TRUE(Callback() == nullptr);
    auto count = std::make_unique<int>(0);
    Callback counting([count = std::move(count)](int n) { return *count += n; });
    const Callback copy = counting;
    EXPECT_EQ(counting(2), 2);
    EXPECT_EQ(copy(3), 5);
    counting = nullptr;
    EXPECT_FALSE(counting);
    EXPECT_EQ(copy(1), 6);
}

TEST(Handlers, KeepWhatTheyAreGiven) {
    int living = 0;
    Handler<bool(int)> handler;
    {
        const auto object = makeRef<Counted>(living);
        handler = keeping([](Counted *kept, const String *none,
                             int n) { return kept != nullptr && none == nullptr && n == 3; },
                          object.get(), static_cast<String *>(nullptr));
    }
    EXPECT_EQ(living, 1);
    EXPECT_TRUE(handler(3));
    handler = nullptr;
    EXPECT_EQ(living, 0);
}

TEST(Classes, AreFoundByName) {
    for (const char *name : {"Object", "String", "MutableString", "Data", "MutableData", "Number", "Date",
                             "UUID", "URL", "IndexSet", "MutableIndexSet", "Array", "MutableArray",
                             "Dictionary", "MutableDictionary", "Error", "ManagedObjectID"}) {
        const Class *found = classNamed(name);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_STREQ(found->name, name);
        if (found->instantiate == nullptr)
            continue;
        const auto made = Ref<Object>::adopt(found->instantiate());
        EXPECT_TRUE(made->isKindOf(found)) << name;
        EXPECT_NE(made->description(), nullptr);
    }
    static const Class mine{"TestsOwn", &Object::classInfo, nullptr};
    static const Class impostor{"TestsOwn", &Object::classInfo, nullptr};
    static const Class taken{"String", &Object::classInfo, nullptr};
    EXPECT_EQ(classNamed("TestsOwn"), nullptr);
    EXPECT_EQ(classNamed(""), nullptr);
    EXPECT_TRUE(registerClass(&mine));
    EXPECT_TRUE(registerClass(&mine));
    EXPECT_FALSE(registerClass(&impostor));
    EXPECT_FALSE(registerClass(&taken));
    EXPECT_EQ(classNamed("TestsOwn"), &mine);
    EXPECT_EQ(classNamed("String"), &String::classInfo);
}

TEST(Errors, DescribeThemselves) {
    const auto plain = Error::create(posixErrorDomain, 2);
    EXPECT_EQ(plain->localizedDescription()->utf8(), "The operation could not be completed. (POSIX error 2)");
    const auto told = Error::createWithDescription(posixErrorDomain, 2, String::of("No \"x\""));
    EXPECT_EQ(told->description()->utf8(), "Error Domain=POSIX Code=2 \"No \"x\"\"");
    EXPECT_FALSE(plain->isEqual(told.get()));
    EXPECT_EQ(told->userInfo()->get(localizedDescriptionKey), told->localizedDescription());
}

TEST(ManagedObjectIDs, AreEqualByURIAndState) {
    const auto saved = ManagedObjectID::create(URL::of("x-store://a/b"));
    EXPECT_TRUE(saved->isEqual(ManagedObjectID::create(URL::of("x-store://a/b")).get()));
    EXPECT_FALSE(saved->isEqual(ManagedObjectID::create(URL::of("x-store://a/b"), true).get()));
    EXPECT_FALSE(saved->isEqual(ManagedObjectID::create(URL::of("x-store://a/c")).get()));
}

} // namespace
