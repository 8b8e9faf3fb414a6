#include "wickerlane/platform/object/URL.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace wickerlane;

namespace {

std::string textOf(const String *text) {
    return text != nullptr ? std::string(text->utf8()) : "-";
}

TEST(URLs, ResolveReferencesAsTheStandardSays) {
    // The examples of RFC 3986, 5.4, and some that only arise with odd bases.
    const struct {
        const char *base, *reference, *absolute;
    } cases[] = {
        {"http://a/b/c/d;p?q", "g:h", "g:h"},
        {"http://a/b/c/d;p?q", "g", "http://a/b/c/g"},
        {"http://a/b/c/d;p?q", "./g", "http://a/b/c/g"},
        {"http://a/b/c/d;p?q", "g/", "http://a/b/c/g/"},
        {"http://a/b/c/d;p?q", "/g", "http://a/g"},
        {"http://a/b/c/d;p?q", "//g", "http://g"},
        {"http://a/b/c/d;p?q", "?y", "http://a/b/c/d;p?y"},
        {"http://a/b/c/d;p?q", "g?y", "http://a/b/c/g?y"},
        {"http://a/b/c/d;p?q", "#s", "http://a/b/c/d;p?q#s"},
        {"http://a/b/c/d;p?q", "g#s", "http://a/b/c/g#s"},
        {"http://a/b/c/d;p?q", "g?y#s", "http://a/b/c/g?y#s"},
        {"http://a/b/c/d;p?q", ";x", "http://a/b/c/;x"},
        {"http://a/b/c/d;p?q", "g;x", "http://a/b/c/g;x"},
        {"http://a/b/c/d;p?q", ".", "http://a/b/c/"},
        {"http://a/b/c/d;p?q", "..", "http://a/b/"},
        {"http://a/b/c/d;p?q", "../g", "http://a/b/g"},
        {"http://a/b/c/d;p?q", "../..", "http://a/"},
        {"http://a/b/c/d;p?q", "../../../../g", "http://a/g"},
        {"http://a/b/c/d;p?q", "/./g", "http://a/g"},
        {"http://a/b/c/d;p?q", "/../g", "http://a/g"},
        {"http://a/b/c/d;p?q", "g.", "http://a/b/c/g."},
        {"http://a/b/c/d;p?q", "..g", "http://a/b/c/..g"},
        {"http://a/b/c/d;p?q", "./g/.", "http://a/b/c/g/"},
        {"http://a/b/c/d;p?q", "g/../h", "http://a/b/c/h"},
        {"http://a/b/c/d;p?q", "g;x=1/../y", "http://a/b/c/y"},
        {"http://a/b/c/d;p?q", "g?y/../x", "http://a/b/c/g?y/../x"},
        {"http://a/b/c/d;p?q", "http:g", "http:g"},
        {"http://a", "g", "http://a/g"},
        {"a:b", ".//c", "a:/c"},
        {"a:/b", ".//c", "a:/.//c"}, // not an authority
        {"x/y", "./a:b", "x/a:b"},
        {"x", "./a:b", "./a:b"}, // not a scheme
        {"x", ".", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.reference);
        const auto base = URL::create(c.base);
        const auto url = URL::create(c.reference, base.get());
        ASSERT_TRUE(url);
        EXPECT_EQ(textOf(url->absoluteString()), c.absolute);
        EXPECT_EQ(textOf(url->relativeString()), c.reference);
        EXPECT_EQ(textOf(url->absoluteURL()->relativeString()), c.absolute);
        EXPECT_EQ(url->absoluteURL()->baseURL(), nullptr);
    }
}

TEST(URLs, HaveTheseParts) {
    const struct {
        const char *text, *scheme, *host, *path, *query, *fragment;
    } cases[] = {
        {"rez-vault://asset/a.JPG?id=1&ext=JPG#x", "rez-vault", "asset", "/a.JPG", "id=1&ext=JPG", "x"},
        {"http://u:p@h%41:80/p%20q/", "http", "hA", "/p q", "-", "-"},
        {"http://[::1]:8/", "http", "::1", "/", "-", "-"},
        {"mailto:a@b", "mailto", "-", "a@b", "-", "-"},
        {"file:///a", "file", "-", "/a", "-", "-"},
        {"//h?", "-", "h", "", "", "-"},
        {"a/b#", "-", "-", "a/b", "-", ""},
        {"x:/%C3%A4%FF%00%2f", "x", "-", "/\u00E4%FF%00/", "-", "-"},
        {"http://b\u00FCcher/\u00E4", "http", "b\u00FCcher", "/\u00E4", "-", "-"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const auto url = URL::create(c.text);
        ASSERT_TRUE(url);
        EXPECT_EQ(textOf(url->scheme()), c.scheme);
        EXPECT_EQ(textOf(url->host()), c.host);
        EXPECT_EQ(textOf(url->path()), c.path);
        EXPECT_EQ(textOf(url->query()), c.query);
        EXPECT_EQ(textOf(url->fragment()), c.fragment);
    }
    EXPECT_EQ(textOf(URL::of("x:/\u00E4")->absoluteString()), "x:/%C3%A4");
}

TEST(URLs, TakeNoOtherText) {
    using namespace std::string_view_literals;
    for (const std::string_view bad : {""sv,          "a b"sv,        "a\n"sv,           "a\0b"sv,
                                       "%"sv,         "a%4"sv,        "a%zz"sv,          "1a:b"sv,
                                       ":a"sv,        "a_b:c"sv,      "http://a:8x/"sv,  "http://[::1"sv,
                                       "http://[]"sv, "http://[g]"sv, "http://a]b"sv,    "a[b]"sv,
                                       "a#b#c"sv,     "a?b[c"sv,      "<a>"sv,           "a\\b"sv,
                                       "a^"sv,        "a\xFF"sv,      "http://a@b@c/"sv, "\x7F"sv})
        EXPECT_EQ(URL::of(bad), nullptr) << testing::PrintToString(bad);
}

TEST(URLs, KeepThePathsOfFilesExactly) {
    using namespace std::string_view_literals;
    for (const std::string_view path :
         {"/"sv, "/a b/%41?#[\u00E4]"sv, "/bad\xFF"sv, "//x"sv, "/a/../b;c:d@e"sv, "/a/"sv}) {
        const auto url = URL::createWithPath(path);
        ASSERT_TRUE(url);
        EXPECT_TRUE(url->isFileURL());
        EXPECT_EQ(url->fileSystemPath(), path);
        const URL *again = URL::of(url->absoluteString()->utf8());
        EXPECT_TRUE(url->isEqual(again));
        EXPECT_EQ(url->hash(), again->hash());
    }
    EXPECT_EQ(textOf(URL::ofPath("/a b#\u00E4")->absoluteString()), "file:///a%20b%23%C3%A4");
    EXPECT_EQ(textOf(URL::createWithPath("/a", true)->absoluteString()), "file:///a/");
    char here[4096];
    ASSERT_NE(getcwd(here, sizeof here), nullptr);
    EXPECT_EQ(URL::ofPath("x")->fileSystemPath(), std::string(here) + "/x");
    EXPECT_FALSE(URL::createWithPath(""));
    EXPECT_FALSE(URL::createWithPath("/a\0b"sv));
    EXPECT_EQ(URL::of("FILE://localhost/a")->fileSystemPath(), "/a");
    for (const char *other : {"file://elsewhere/a", "http:///a", "file:///a%00b"})
        EXPECT_EQ(URL::of(other)->fileSystemPath(), "") << other;
}

TEST(URLs, GiveTheFirstValueOfAQueryItem) {
    const URL *url = URL::of("x://a?id=A%2FB&ext=&flag&id=second&%65=%C3%A4&q=a=b&n=%00");
    const std::pair<const char *, const char *> cases[] = {{"id", "A/B"},   {"ext", ""},  {"flag", ""},
                                                           {"e", "\u00E4"}, {"q", "a=b"}, {"n", "%00"},
                                                           {"none", "-"},   {"", "-"}};
    for (const auto &[name, value] : cases)
        EXPECT_EQ(textOf(url->queryValue(name)), value) << name;
    EXPECT_EQ(URL::of("x:a")->queryValue("id"), nullptr);
}

TEST(URLs, AreEqualByTextAndBase) {
    const auto base = URL::create("http://a/b");
    const auto relative = URL::create("c", base.get());
    EXPECT_TRUE(relative->isEqual(URL::create("c", URL::of("http://a/b")).get()));
    EXPECT_FALSE(relative->isEqual(URL::of("http://a/c")));
    EXPECT_FALSE(relative->isEqual(URL::of("c")));
    EXPECT_TRUE(relative->absoluteURL()->isEqual(URL::of("http://a/c")));
    EXPECT_FALSE(relative->isEqual(String::of("c")));
    // A long chain of bases neither recurses when it is compared nor when it goes.
    Ref<URL> chains[2] = {base, base};
    for (auto &chain : chains)
        for (int i = 0; i < 200000; ++i)
            chain = URL::create("c", chain.get());
    EXPECT_TRUE(chains[0]->isEqual(chains[1].get()));
}

} // namespace
