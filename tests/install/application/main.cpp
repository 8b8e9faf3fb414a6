// An application that knows of the library what is installed of it.
#include <cstdio>

#include <wickerlane/platform/message/MessageValue.h>
#include <wickerlane/platform/object/Number.h>
#include <wickerlane/platform/object/ReleaseScope.h>

using namespace wickerlane;

int main() {
    ReleaseScope scope;
    const auto message = MessageDictionary::create();
    message->setString("title", String::of("Sommer")->utf8());
    message->setInt64("count", Number::of(3)->int64Value());
    std::printf("%s: %lld\n", message->getString("title")->data(),
                static_cast<long long>(message->getInt64("count")));
    return 0;
}
