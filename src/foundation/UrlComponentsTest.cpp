#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/UrlComponents.h"

namespace quillard {
namespace {

TEST(UrlComponents, TakesAUrlApart) {
  const auto url = UrlComponents::parse("WSS://me:pw@Relay.example:8443/ws/v1?room=7&x=%20#top");
  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(url->scheme, "WSS");
  EXPECT_EQ(url->lowercasedScheme(), "wss");
  EXPECT_EQ(url->userInfo, "me:pw");
  EXPECT_EQ(url->host, "Relay.example");
  EXPECT_EQ(url->port, 8443);
  EXPECT_EQ(url->path, "/ws/v1");
  EXPECT_EQ(url->query, "room=7&x=%20");
  EXPECT_EQ(url->fragment, "top");
}

TEST(UrlComponents, LeavesOutWhatIsNotThere) {
  EXPECT_EQ(UrlComponents::parse("ws://host"), (UrlComponents{.scheme = "ws", .host = "host"}));
  EXPECT_EQ(UrlComponents::parse("ws://host:"), (UrlComponents{.scheme = "ws", .host = "host"}));
  EXPECT_EQ(UrlComponents::parse("host/path"), (UrlComponents{.path = "host/path"}));
  EXPECT_EQ(UrlComponents::parse("//host"), (UrlComponents{.host = "host"}));
  EXPECT_EQ(UrlComponents::parse("ws://host?")->query, "");
}

TEST(UrlComponents, TakesIPv6AddressesOutOfTheirBrackets) {
  for (const auto* address :
       {"::1", "::", "2001:db8::7", "1:2:3:4:5:6:7:8", "::ffff:192.0.2.1", "fe80::", "1::3:4:5:6:7"}) {
    const auto text = "wss://[" + std::string(address) + "]:443/ws";
    const auto url = UrlComponents::parse(text);
    ASSERT_TRUE(url.has_value()) << address;
    EXPECT_EQ(url->host, address);
    EXPECT_EQ(url->port, 443);
    EXPECT_EQ(url->text(), text);
  }
}

TEST(UrlComponents, RefusesWhatAnotherReaderMightTakeForAnotherHost) {
  for (const auto* text : {"",
                           " ",
                           "wss://",
                           "wss:///ws",
                           "wss://@",
                           "wss://a b/",
                           "wss://h\\@evil/",
                           "wss://h\n",
                           "wss://h\tx",
                           "wss://a@b@c/",
                           "wss://h%2eexample/",
                           "wss://h:65536/",
                           "wss://h:-1/",
                           "wss://h:8o/",
                           "wss://h:+80/",
                           "wss://[::1/",
                           "wss://::1/",
                           "wss://[]/",
                           "wss://[1:2:3:4:5:6:7]/",
                           "wss://[1:2:3:4:5:6:7:8:9]/",
                           "wss://[1::2::3]/",
                           "wss://[1:2:3:4:5:6:7::8]/",
                           "wss://[12345::]/",
                           "wss://[fe80::1%25eth0]/",
                           "wss://[::1]x/",
                           "wss://[::300.0.0.1]/",
                           "wss://[v1.a]/",
                           "1ws://h",
                           "://h",
                           "wss://h/%",
                           "wss://h/%4",
                           "wss://h/%zz",
                           "wss://h/[x]",
                           "wss://h/\xC3\xA4",
                           "wss://h\xC3\xA4/",
                           "wss://h/<x>",
                           "wss://h/|",
                           "wss://\"h\"/"}) {
    EXPECT_FALSE(UrlComponents::parse(text).has_value()) << text;
  }
}

TEST(UrlComponents, WritesWhatItRead) {
  for (const auto* text : {"wss://h", "WSS://u:p@H:1/a/b?c=d&e#f", "ws://127.0.0.1:8080/ws", "ws:path", "//h/p", "p?q",
                           "ws://h?", "ws://h#", "ws://[::1]:80"}) {
    ASSERT_TRUE(UrlComponents::parse(text).has_value()) << text;
    EXPECT_EQ(UrlComponents::parse(text)->text(), text);
  }
}

TEST(UrlComponents, PrintsNeitherUserNorQueryNorFragment) {
  EXPECT_EQ(UrlComponents::parse("wss://canary:canary@h:1/ws?canary=1#canary")->printableText(), "wss://h:1/ws");
}

TEST(UrlComponents, AppendsQueryItemsInOrder) {
  auto url = *UrlComponents::parse("wss://h/ws?room=7");
  url.appendQueryItem("role", "mac");
  url.appendQueryItem("pairing", "a b&c=d/\xC3\xA4");
  EXPECT_EQ(url.text(), "wss://h/ws?room=7&role=mac&pairing=a%20b%26c%3Dd%2F%C3%A4");
  auto bare = *UrlComponents::parse("wss://h/ws?");
  bare.appendQueryItem("role", "mac");
  EXPECT_EQ(bare.text(), "wss://h/ws?role=mac");
}

TEST(UrlComponents, KnowsThisComputerByItsExactNamesOnly) {
  for (const auto* host : {"localhost", "127.0.0.1", "::1"}) EXPECT_TRUE(isThisComputer(host)) << host;
  for (const auto* host :
       {"LOCALHOST", "localhost.", "127.0.0.2", "127.1", "0:0:0:0:0:0:0:1", "[::1]", "10.0.0.2", ""}) {
    EXPECT_FALSE(isThisComputer(host)) << host;
  }
}

RC_GTEST_PROP(UrlComponents, NeverChokesAndAlwaysWritesWhatItReads, (const std::string& text)) {
  const auto url = UrlComponents::parse("wss://" + text);
  if (url) RC_ASSERT(UrlComponents::parse(url->text()) == url);
}

TEST(UrlComponents, TakesAnItemOutOfItsQuery) {
  for (const auto& [query, rest] : std::vector<std::pair<std::string, std::string>>{{"?key=v", ""},
                                                                                    {"?key=v&a=1", "?a=1"},
                                                                                    {"?a=1&key=v", "?a=1"},
                                                                                    {"?a=1&key=v&b=2", "?a=1&b=2"},
                                                                                    {"?keys=1&key=v", "?keys=1"}}) {
    auto components = *UrlComponents::parse("wss://relay.example/ws" + query);
    EXPECT_EQ(components.removeQueryItem("key"), "v") << query;
    EXPECT_EQ(components.text(), "wss://relay.example/ws" + rest);
  }
  auto without = *UrlComponents::parse("wss://relay.example/ws?keys=1");
  EXPECT_FALSE(without.removeQueryItem("key"));
  EXPECT_EQ(without.text(), "wss://relay.example/ws?keys=1");
}

}  // namespace
}  // namespace quillard
