#include <atomic>

#include "contract/network/NetworkContract.h"

namespace quillard::test {

using platform::HttpOutcome;
using platform::HttpRequest;
using platform::HttpResponse;
using platform::TransportError;

namespace {

// Sends `request` in a session of its own. Absent when no outcome came in time.
std::optional<HttpOutcome> send(NetworkBinding& binding, const HttpRequest& request) {
  Awaited<HttpOutcome> outcomes;
  std::unique_ptr<platform::HttpSession> session;
  runOnExecutor(binding, [&] {
    session = binding.httpSessions().makeEphemeralSession(binding.executor());
    session->send(request, [&](HttpOutcome outcome) { outcomes.set(std::move(outcome)); });
  });
  (void)binding.eventually([&] { return outcomes.count() > 0; });
  runOnExecutor(binding, [&] { session.reset(); });
  EXPECT_LE(outcomes.count(), 1U);
  return outcomes.get(0, std::chrono::milliseconds(0));
}

std::string textOf(const std::optional<HttpOutcome>& outcome) {
  if (!outcome) return "nothing came";
  if (const auto* response = std::get_if<HttpResponse>(&*outcome)) return std::to_string(response->statusCode);
  if (const auto* error = std::get_if<TransportError>(&*outcome)) return "failed: " + error->description;
  return "not HTTP";
}

}  // namespace

TEST_P(HttpSessionContract, GivesEveryStatusAsAResponse) {
  for (const int status : {200, 204, 302, 401, 410, 500, 503}) {
    EXPECT_EQ(textOf(send(*binding, {.method = "PUT", .url = binding->httpUrl(status), .body = "{}"})),
              std::to_string(status));
  }
  EXPECT_EQ(binding->httpRequests(), std::vector<std::string>(7, "PUT {}"));
}

TEST_P(HttpSessionContract, GivesUpAfterTheTimeout) {
  const auto outcome = send(*binding, {.method = "PUT", .url = binding->silentHttpUrl(), .timeout = Seconds{0.02}});
  ASSERT_TRUE(outcome && std::holds_alternative<TransportError>(*outcome)) << textOf(outcome);
  EXPECT_NE(std::get<TransportError>(*outcome).description, "");
}

TEST_P(HttpSessionContract, FailsOnAddressesThatCannotBeUsed) {
  for (const char* const url : {"", "ws://127.0.0.1/", "http://", "file:///etc/passwd"}) {
    EXPECT_EQ(textOf(send(*binding, {.method = "PUT", .url = url})), "failed: The address cannot be used.") << url;
  }
  EXPECT_TRUE(binding->httpRequests().empty());
}

TEST_P(HttpSessionContract, FailsWithTheNameOfAFileOfAuthoritiesThatCannotBeUsed) {
  const std::string url = binding->httpUrl(204);
  const std::string secure = "https" + url.substr(url.find(':'));
  for (const auto& file : binding->unusableAuthorityFiles()) {
    const auto text = textOf(send(*binding, {.method = "PUT", .url = secure, .authorityFile = file}));
    EXPECT_EQ(text.find("failed: The file of authorities "), 0U) << text;
    EXPECT_NE(text.find(file), std::string::npos) << text;
  }
  EXPECT_TRUE(binding->httpRequests().empty());
  const auto inClear = binding->unusableAuthorityFiles().front();
  EXPECT_EQ(textOf(send(*binding, {.method = "PUT", .url = url, .authorityFile = inClear})), "204");
}

TEST_P(HttpSessionContract, NeverCompletesInsideTheCall) {
  Awaited<bool> wasInside;
  std::unique_ptr<platform::HttpSession> session;
  const auto answered = binding->httpUrl(204);
  runOnExecutor(*binding, [&] {
    session = binding->httpSessions().makeEphemeralSession(binding->executor());
    const auto isCalling = std::make_shared<bool>(true);
    for (const std::string& url : {answered, std::string("no address")}) {
      session->send({.method = "PUT", .url = url}, [&, isCalling](const auto&) { wasInside.set(*isCalling); });
    }
    *isCalling = false;
  });
  ASSERT_TRUE(binding->eventually([&] { return wasInside.count() == 2; }));
  EXPECT_EQ(wasInside.get(0), false);
  EXPECT_EQ(wasInside.get(1), false);
  runOnExecutor(*binding, [&] { session.reset(); });
}

TEST_P(HttpSessionContract, ADestroyedSessionCancelsWithoutACompletion) {
  std::atomic<int> completions{0};
  const auto held = std::make_shared<int>(1);
  const auto answered = binding->httpUrl(204);
  const auto silent = binding->silentHttpUrl();
  runOnExecutor(*binding, [&] {
    auto session = binding->httpSessions().makeEphemeralSession(binding->executor());
    for (const auto& url : {answered, silent}) {
      session->send({.method = "PUT", .url = url}, [&, held](const auto&) { ++completions; });
    }
  });
  EXPECT_TRUE(binding->eventually([&] { return held.use_count() == 1; })) << "completions are destroyed";
  runOnExecutor(*binding, [] {});
  EXPECT_EQ(completions, 0);
}

TEST_P(HttpSessionContract, ASessionMayBeDestroyedFromItsOwnCompletion) {
  std::unique_ptr<platform::HttpSession> session;
  std::atomic<int> completions{0};
  const auto answered = binding->httpUrl(204);
  const auto silent = binding->silentHttpUrl();
  runOnExecutor(*binding, [&] {
    session = binding->httpSessions().makeEphemeralSession(binding->executor());
    session->send({.method = "PUT", .url = silent}, [&](const auto&) { ++completions; });
    session->send({.method = "PUT", .url = answered}, [&](const auto&) {
      session.reset();
      ++completions;
    });
  });
  EXPECT_TRUE(binding->eventually([&] { return completions > 0; }));
  runOnExecutor(*binding, [] {});
  EXPECT_EQ(completions, 1);
}

TEST_P(HttpSessionContract, CarriesSeveralRequestsAtATime) {
  std::unique_ptr<platform::HttpSession> session;
  std::atomic<int> answered{0};
  std::atomic<int> timedOut{0};
  const auto url = binding->httpUrl(204);
  const auto silent = binding->silentHttpUrl();
  runOnExecutor(*binding, [&] {
    session = binding->httpSessions().makeEphemeralSession(binding->executor());
    session->send({.method = "PUT", .url = silent, .timeout = Seconds{0.02}}, [&](const HttpOutcome& outcome) {
      if (std::holds_alternative<TransportError>(outcome)) ++timedOut;
    });
    for (int i = 0; i < 5; ++i) {
      session->send({.method = "PUT", .url = url}, [&](const HttpOutcome& outcome) {
        if (std::holds_alternative<HttpResponse>(outcome)) ++answered;
      });
    }
  });
  EXPECT_TRUE(binding->eventually([&] { return answered == 5 && timedOut == 1; }));
  runOnExecutor(*binding, [&] { session.reset(); });
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(HttpSessionContract);

}  // namespace quillard::test
