#include <fstream>
#include <regex>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/LogLine.h"
#include "companion/relay/rules/PeerIntroduction.h"
#include "companion/relay/rules/PhonePage.h"
#include "companion/relay/rules/RelayMetrics.h"
#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/RequestTarget.h"
#include "companion/relay/rules/TokenBucket.h"
#include "foundation/IsoDate.h"
#include "foundation/StrictJson.h"

// The smaller parts of the relay.
namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

const std::string kToken(64, 'a');

// ---- RequestTarget

TEST(RequestTarget, UndoesEscapesInPathAndQuery) {
  const auto target = parseRequestTarget("/a%20b/c+d?e=f+g%2B&h&=i&&j=k=l");
  ASSERT_TRUE(target);
  EXPECT_EQ(target->segments, (std::vector<std::string>{"a b", "c+d"}));
  EXPECT_EQ(target->query, (std::vector<QueryItem>{{"e", "f g+"}, {"h", ""}, {"", "i"}, {"j", "k=l"}}));
}

TEST(RequestTarget, KnowsTheRootAndASlashAtTheEnd) {
  EXPECT_TRUE(parseRequestTarget("/")->segments.empty());
  EXPECT_EQ(parseRequestTarget("/a/")->segments, (std::vector<std::string>{"a", ""}));
}

TEST(RequestTarget, RefusesWhatNoClientSends) {
  for (const std::string& target :
       {std::string(), std::string("a"), std::string("*"), std::string("http://a/b"), std::string("/a b"),
        std::string("/\n"), std::string("/\x7F"), std::string("/\xC3\xA4"), std::string("/a\\b"), std::string("/%"),
        std::string("/%a"), std::string("/%g0"), std::string("/%00"), std::string("/a#b"), std::string("/?a=%"),
        std::string("/\0", 2)}) {
    EXPECT_FALSE(parseRequestTarget(target)) << target;
  }
}

TEST(RequestTarget, HasBounds) {
  EXPECT_TRUE(parseRequestTarget("/" + std::string(8 * 1024 - 1, 'a')));
  EXPECT_FALSE(parseRequestTarget("/" + std::string(8 * 1024, 'a')));
  std::string items = "/?";
  for (int i = 0; i < 64; ++i) items += "a=1&";
  EXPECT_TRUE(parseRequestTarget(items));
  EXPECT_FALSE(parseRequestTarget(items + "b"));
}

// ---- The token

TEST(OfferedToken, ComesAsHeaderOrAmongTheSubprotocols) {
  const auto header = readToken({"Bearer " + kToken}, {});
  EXPECT_EQ(header.kind, OfferedToken::Kind::given);
  EXPECT_EQ(header.token, kToken);
  EXPECT_FALSE(header.offersProtocol);
  for (const auto& protocols : {std::vector{"quillard.v1, quillard.bearer." + kToken},
                                std::vector{"quillard.bearer." + kToken + ",quillard.v1"},
                                std::vector<std::string>{"quillard.v1", "quillard.bearer." + kToken}}) {
    const auto offered = readToken({}, protocols);
    EXPECT_EQ(offered.token, kToken);
    EXPECT_TRUE(offered.offersProtocol);
  }
}

TEST(OfferedToken, IsMalformedWhereTwoDiffer) {
  const std::string other(64, 'b');
  EXPECT_EQ(readToken({"Bearer " + kToken, "Bearer " + other}, {}).kind, OfferedToken::Kind::malformed);
  EXPECT_EQ(readToken({"Bearer " + kToken}, {"quillard.bearer." + other}).kind, OfferedToken::Kind::malformed);
  EXPECT_EQ(readToken({}, {"quillard.bearer.x"}).kind, OfferedToken::Kind::malformed);
  EXPECT_EQ(readToken({"Bearer"}, {"quillard.v1"}).kind, OfferedToken::Kind::none);
  EXPECT_EQ(readToken({"Bearer " + kToken}, {"quillard.bearer." + kToken}).kind, OfferedToken::Kind::given);
}

// ---- Rates

TEST(NamedBuckets, ForgetFullOnesAndMakeNewcomersShareWhereAllAreNeeded) {
  NamedBuckets buckets({1, 1}, 2);
  Instant now{1h};
  EXPECT_TRUE(buckets.of("a", now).take(now));
  EXPECT_TRUE(buckets.of("b", now).take(now));
  EXPECT_TRUE(buckets.of("c", now).take(now));
  EXPECT_FALSE(buckets.of("d", now).take(now));  // Shares with c.
  EXPECT_LE(buckets.size(), 3U);
  now += 2s;
  EXPECT_TRUE(buckets.of("d", now).take(now));
  EXPECT_EQ(buckets.size(), 1U);
}

// ---- Addresses

IpAddress address(const std::string& text) { return IpAddress::parse(text).value(); }

TEST(IpAddress, IsThreeNetworksForRatesOnIpv6) {
  EXPECT_EQ(address("2001:db8:1:203:3:4:5:6").ratePrefixes(),
            (RatePrefixes{"2001:db8:1:203::", "2001:db8:1:200::", "2001:db8:1::"}));
  EXPECT_EQ(address("192.0.2.7").ratePrefixes(), RatePrefixes{"192.0.2.7"});
  EXPECT_EQ(address("::ffff:192.0.2.7"), address("192.0.2.7"));
  EXPECT_TRUE(address("127.3.2.1").isLoopback());
  EXPECT_TRUE(address("[::1]").isLoopback());
  EXPECT_FALSE(address("0.0.0.0").isLoopback());
  for (const char* text : {"", "localhost", "1.2.3", "1.2.3.4.5", "[1.2.3.4", "::g", "fe80::1%eth0"}) {
    EXPECT_FALSE(IpAddress::parse(text)) << text;
  }
}

TEST(IpNetwork, ContainsWhatItsPrefixSays) {
  EXPECT_TRUE(IpNetwork::parse("10.1.0.0/15")->contains(address("10.0.3.4")));
  EXPECT_FALSE(IpNetwork::parse("10.1.0.0/16")->contains(address("10.0.3.4")));
  EXPECT_TRUE(IpNetwork::parse("2001:db8::/33")->contains(address("2001:db8:7fff::1")));
  EXPECT_FALSE(IpNetwork::parse("2001:db8::/33")->contains(address("2001:db8:8000::1")));
  EXPECT_FALSE(IpNetwork::parse("0.0.0.0/0")->contains(address("2001:db8::1")));
  for (const char* text : {"", "/8", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/8x", "::/129", "10.0.0.0/-1"}) {
    EXPECT_FALSE(IpNetwork::parse(text)) << text;
  }
}

TEST(ClientAddress, IsTheLastOneThatATrustedProxyDidNotAddItself) {
  const std::vector<IpNetwork> proxies{*IpNetwork::parse("127.0.0.0/8"), *IpNetwork::parse("10.0.0.0/8")};
  const auto from = [&](const std::string& peer, const std::vector<std::string>& headers) {
    return clientAddress(address(peer), headers, proxies).text();
  };
  EXPECT_EQ(from("127.0.0.1", {"192.0.2.1"}), "192.0.2.1");
  EXPECT_EQ(from("127.0.0.1", {"6.6.6.6, 192.0.2.1, 10.0.0.5"}), "192.0.2.1");
  EXPECT_EQ(from("127.0.0.1", {"6.6.6.6", "192.0.2.1"}), "192.0.2.1");
  EXPECT_EQ(from("192.0.2.9", {"6.6.6.6"}), "192.0.2.9");
  EXPECT_EQ(from("127.0.0.1", {}), "127.0.0.1");
  EXPECT_EQ(from("127.0.0.1", {"6.6.6.6, nonsense"}), "127.0.0.1");
  EXPECT_EQ(from("127.0.0.1", {" [2001:db8::1] "}), "2001:db8::1");
}

// ---- The page

TEST(PhonePage, SaysHowLongAFileMayBeKept) {
  PhonePage page;
  page.add("index.html", "<p>");
  page.add("assets/index-B7f3x_Qa.js", "1");
  const auto header = [&](const std::vector<std::string>& segments, const std::string& name) -> std::string {
    const auto answer = page.answer(segments, "");
    for (const auto& [known, value] : answer.headers) {
      if (known == name) return value;
    }
    return "";
  };
  EXPECT_EQ(header({"index.html"}, "cache-control"), "no-cache");
  EXPECT_EQ(header({}, "content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(header({"assets", "index-B7f3x_Qa.js"}, "cache-control"), "public, max-age=31536000, immutable");
  const auto tag = header({}, "etag");
  EXPECT_EQ(tag.size(), 34U);
  EXPECT_EQ(page.answer({}, tag).status, 304);
  EXPECT_EQ(page.answer({}, "W/" + tag + ", \"x\"").status, 304);
  EXPECT_EQ(page.answer({}, "\"x\"").status, 200);
}

TEST(PhonePage, SendsTheSmallestFormThatIsAllowed) {
  PhonePage page;
  page.add("assets/index-B7f3x_Qa.js.br", "b");
  page.add("assets/index-B7f3x_Qa.js", "plain");
  page.add("assets/index-B7f3x_Qa.js.gz", "gz");
  page.add("photo.png", "png");
  page.add("stray.css.br", "b");
  const std::vector<std::string> file{"assets", "index-B7f3x_Qa.js"};
  const auto bodyFor = [&](const std::string& header) { return *page.answer(file, "", {.encoding = header}).body; };
  for (const char* header : {"br", "gzip, br", "gzip;q=1.0, br;q=0.1", "*", "deflate, *;q=0.5", " gzip ,\tbr ; q=1"}) {
    EXPECT_EQ(bodyFor(header), "b") << header;
  }
  for (const char* header : {"gzip", "gzip, br;q=0", "gzip, br; q=0.000", "x-gzip, gzip", "br;q=0, *"}) {
    EXPECT_EQ(bodyFor(header), "gz") << header;
  }
  for (const char* header : {"", "identity", "deflate", "brotli", "*;q=0", "br;q=0, gzip;q=0.0", "br;q=0,gzip;q=0,*"}) {
    EXPECT_EQ(bodyFor(header), "plain") << header;
  }
  const auto answer = page.answer(file, "", {.encoding = "br"});
  using Header = std::pair<std::string, std::string>;
  EXPECT_THAT(answer.headers,
              testing::IsSupersetOf({Header("content-encoding", "br"), Header("vary", "accept-encoding"),
                                     Header("content-type", "text/javascript; charset=utf-8")}));
  // Each form has a tag of its own.
  const auto tag = answer.headers[1].second;
  EXPECT_EQ(page.answer(file, tag, {.encoding = "br"}).status, 304);
  EXPECT_EQ(page.answer(file, tag, {.encoding = "gzip"}).status, 200);
  EXPECT_EQ(page.answer(file, tag, {.encoding = ""}).status, 200);
  const auto photo = page.answer({"photo.png"}, "", {.encoding = "br"});
  EXPECT_EQ(*photo.body, "png");
  for (const auto& [name, value] : photo.headers) EXPECT_TRUE(name != "vary" && name != "content-encoding");
  EXPECT_EQ(page.answer({"stray.css"}, "", {.encoding = "br"}).status, 404);
  EXPECT_EQ(page.answer({"assets", "index-B7f3x_Qa.js.br"}, "", {.encoding = "br"}).status, 404);
}

TEST(PhonePage, BeginsInTheFirstOfTheBrowsersLanguagesThatItHas) {
  PhonePage page;
  page.add("index.html", "plain");
  EXPECT_EQ(*page.answer({}, "", {.language = "de"}).body, "plain");
  page.add("index.de.html", "German");
  page.add("index.en.html", "English");
  page.add("index.fr.html.br", "A form of nothing.");
  const auto bodyFor = [&](const std::string& header) { return *page.answer({}, "", {.language = header}).body; };
  for (const char* header :
       {"de", "de-AT,de;q=0.9,en;q=0.8", "DE", "fr-CH, de-CH;q=0.5", "nds,de", "en;q=0,de", "*,de"}) {
    EXPECT_EQ(bodyFor(header), "German") << header;
  }
  for (const char* header : {"en-GB", "fr, en;q=0.7, de;q=0.3", "EN-us;q=0.1", "de; q=0.0 , en"}) {
    EXPECT_EQ(bodyFor(header), "English") << header;
  }
  for (const char* header :
       {"", "*", "fr", "d", "deu", "eng-GB", "de_DE", "../de", ",;,-", "\xff\xfe", "de;q=0", "x-de"}) {
    EXPECT_EQ(bodyFor(header), "plain") << header;
  }
  using Header = std::pair<std::string, std::string>;
  EXPECT_THAT(page.answer({}, "", {.language = "fr"}).headers, testing::Contains(Header("vary", "accept-language")));
  EXPECT_THAT(page.answer({"index.html"}, "", {.language = "de"}).headers,
              testing::Not(testing::Contains(Header("vary", "accept-language"))));
  EXPECT_EQ(*page.answer({"index.html"}, "", {.language = "de"}).body, "plain") << "That is what was asked for.";
  const auto tag = page.answer({}, "", {.language = "de"}).headers[1].second;
  EXPECT_EQ(page.answer({}, tag, {.language = "de"}).status, 304);
  EXPECT_EQ(page.answer({}, tag, {.language = "en"}).status, 200);
}

// ---- Names and metrics

TEST(RelayNames, AreShortenedForTheLog) {
  EXPECT_EQ(shortened("quillard-0123456789abcdef"), "quillard...");
  EXPECT_EQ(shortened("home"), "ho...");
  EXPECT_EQ(shortened("x"), "...");
}

TEST(RelayMetrics, AreWrittenAsPrometheusReadsThem) {
  RelayMetrics metrics{.agents = 1, .phones = 2};
  metrics.answers[204] = 3;
  const auto text = prometheusText(metrics);
  EXPECT_NE(text.find("# TYPE quillard_relay_connections gauge\nquillard_relay_connections{kind=\"mac\"} 1\n"),
            std::string::npos);
  EXPECT_NE(text.find("quillard_relay_answers_total{status=\"204\"} 3\n"), std::string::npos);
}

TEST(RelayMetrics, SayHowARelayStandsInItsClusterAndNothingOfOneThatIsAlone) {
  EXPECT_EQ(prometheusText({}).find("quillard_relay_cluster"), std::string::npos);
  const auto text =
      prometheusText({.cluster = ClusterMetrics{.isServing = true, .fences = 3, .unsavedRevocations = 2}});
  for (const std::string line : {"serving 1", "admitting 0", "fences_total 3", "unsaved_revocations 2"}) {
    EXPECT_NE(text.find("\nquillard_relay_cluster_" + line + "\n"), std::string::npos) << line;
  }
}

// Dashboard and alerts ask for no figure that the relay does not have.
TEST(RelayMetrics, HaveAllThatDashboardAndAlertsAskFor) {
  const auto page = prometheusText({.cluster = ClusterMetrics{}});
  for (const char* name : {"grafana-dashboard.json", "prometheus-alerts.yml"}) {
    std::ifstream file(std::string(QUILLARD_RELAY_PACKAGING) + "/" + name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::set<std::string> asked;
    const std::regex pattern("quillard_relay_[a-z_]+");
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) asked.insert(at->str());
    EXPECT_GE(asked.size(), 3U) << name;
    for (const auto& metric : asked) EXPECT_NE(page.find("# TYPE " + metric + " "), std::string::npos) << metric;
  }
  std::ifstream file(std::string(QUILLARD_RELAY_PACKAGING) + "/grafana-dashboard.json");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_TRUE(Json::accept(text));
}

TEST(LogLine, IsTextOrJsonAndAlwaysOneLine) {
  const Date time = *quillardISO8601("2026-03-01T12:34:56Z");
  EXPECT_EQ(logLine(LogFormat::text, LogLevel::note, time, "a\nb"), "2026-03-01T12:34:56Z a?b\n");
  const auto line = logLine(LogFormat::json, LogLevel::warning, time, "\"a\"\n\xFF");
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  const auto json = Json::parse(line);
  EXPECT_EQ(json["time"], "2026-03-01T12:34:56Z");
  EXPECT_EQ(json["level"], "warning");
  EXPECT_EQ(json["message"].get<std::string>().substr(0, 3), "\"a\"");
}

}  // namespace
}  // namespace quillard::relayserver
