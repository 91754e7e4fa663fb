#include "companion/relay/rules/RelayService.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>

#include "companion/relay/rules/RelayNames.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::string_view kMalformedKey = "The computer's key is malformed.";
constexpr std::string_view kMalformed = "The request is malformed.";
constexpr std::string_view kUnauthenticated = "There is no such pairing, or it has another token.";
constexpr std::string_view kRevoked = "This pairing was revoked.";
constexpr std::string_view kStoreFailed = "The relay cannot use its database now.";
// When to try again after there were too many connections from an address.
constexpr std::chrono::seconds kCrowdedWait{30};
constexpr std::string_view kStopping = "The relay is stopping.";

HttpResponse unauthorized(std::string_view text) {
  auto answer = errorResponse(401, text);
  answer.headers.emplace_back("www-authenticate", "Bearer");
  return answer;
}

HttpResponse notAllowed(const char* allowed) {
  auto answer = errorResponse(405, "That cannot be done here.");
  answer.headers.emplace_back("allow", allowed);
  return answer;
}

HttpResponse tooManyRequests(std::chrono::seconds wait) {
  auto answer = errorResponse(429, "Too many requests.");
  answer.headers.emplace_back("retry-after", std::to_string(wait.count()));
  return answer;
}

// Absent: there is still room in the rate.
std::optional<HttpResponse> refusalForRate(PrefixBuckets& buckets, const RatePrefixes& from, Instant now) {
  if (buckets.take(from, now)) return std::nullopt;
  return tooManyRequests(buckets.wait(from, now));
}

// Absent: a token was given.
std::optional<HttpResponse> refusalForToken(const OfferedToken& offered) {
  if (offered.kind == OfferedToken::Kind::none) return unauthorized("There is no bearer token.");
  if (offered.kind == OfferedToken::Kind::malformed) return errorResponse(400, "The bearer token is malformed.");
  return std::nullopt;
}

// Absent: a member.
std::optional<HttpResponse> refusalForMembership(Pairings::Membership membership) {
  switch (membership) {
    case Pairings::Membership::member:
      return std::nullopt;
    case Pairings::Membership::unauthenticated:
      return unauthorized(kUnauthenticated);
    case Pairings::Membership::revoked:
      return errorResponse(410, kRevoked);
    case Pairings::Membership::storeFailed:
      return errorResponse(500, kStoreFailed);
  }
  return errorResponse(500, kStoreFailed);
}

bool isRegistrationBody(const std::string& body) {
  const auto parsed = parseStrictJson(body, {.depth = 8, .members = 64});
  const auto* json = std::get_if<Json>(&parsed);
  if (!json) return false;
  JsonReader reader{*json};
  const bool isForMac = reader.string("client") == "mac";
  const bool isVersion1 = reader.integer("version", 1, 1) == 1;
  return !reader.error() && isForMac && isVersion1;
}

struct OfferedKey {
  bool isMalformed = false;
  std::optional<std::string> key{};  // See Pairings::Registrant.
};

// `headers`: all of that name.
OfferedKey readComputerKey(const std::vector<std::string>& headers) {
  if (headers.empty()) return {};
  if (headers.size() > 1) return {.isMalformed = true};
  if (headers.front() == "new") return {.key = ""};
  if (!isBearerToken(headers.front())) return {.isMalformed = true};
  return {.key = headers.front()};
}

HttpResponse answerTo(Pairings::Registration registration) {
  switch (registration) {
    case Pairings::Registration::taken:
      return {.status = 204, .headers = {{"cache-control", "no-store"}}};
    case Pairings::Registration::otherToken:
      return unauthorized("The pairing has another token.");
    case Pairings::Registration::revoked:
      return errorResponse(410, kRevoked);
    case Pairings::Registration::notAllowed:
      return errorResponse(403, "This relay takes new pairings with its operator's key only.");
    case Pairings::Registration::full:
      return errorResponse(507, "The relay holds as many pairings as it will.");
    case Pairings::Registration::tooMany:
      return tooManyRequests(std::chrono::seconds(1));
    case Pairings::Registration::computerKeyWanted:
      return errorResponse(428, "This relay knows a computer by a key of its own.");
    case Pairings::Registration::otherComputer:
      return errorResponse(409, "The pairing's computer has another key.");
    case Pairings::Registration::storeFailed:
      break;
  }
  return errorResponse(500, kStoreFailed);
}

// As HTTP has it: "Sun, 01 Mar 2026 12:34:56 GMT".
std::string httpDate(std::int64_t epochSeconds) {
  const auto seconds = static_cast<std::time_t>(epochSeconds);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
  return {text.data(), length};
}

HttpResponse jsonResponse(const Json& json) {
  return {.headers = {{"content-type", "application/json"}, {"cache-control", "no-store"}},
          .body = std::make_shared<const std::string>(json.dump())};
}

bool isReading(const HttpRequest& request) { return request.method == "GET" || request.method == "HEAD"; }

}  // namespace

RelayService::RelayService(const Dependencies& dependencies)
    : pairings(dependencies.pairings),
      rooms(dependencies.rooms),
      page(dependencies.page),
      registrationKey(dependencies.registrationKey),
      pageOrigins(dependencies.pageOrigins),
      push(dependencies.push),
      registrations(dependencies.limits.registrations, dependencies.limits.addresses),
      handshakes(dependencies.limits.handshakes, dependencies.limits.addresses) {}

bool RelayService::isFromPageElsewhere(const HttpRequest& request) const {
  return request.target.starts_with("/api/pairings/") &&
         std::find(pageOrigins.begin(), pageOrigins.end(), request.origin) != pageOrigins.end();
}

// A page from elsewhere may ask what the relay's own page asks, which is all that is answered to GET. Its browser asks
// for leave first.
HttpResponse RelayService::answer(const HttpRequest& request, Moment now) {
  if (!isFromPageElsewhere(request)) return answerAnyPage(request, now);
  HttpResponse answer{.status = 204};
  if (request.method == "OPTIONS") {
    answer.headers = {{"access-control-allow-methods", "GET"},
                      {"access-control-allow-headers", "authorization"},
                      {"access-control-max-age", "600"}};
  } else {
    answer = answerAnyPage(request, now);
  }
  answer.headers.emplace_back("access-control-allow-origin", request.origin);
  answer.headers.emplace_back("vary", "origin");
  return answer;
}

HttpResponse RelayService::answerAnyPage(const HttpRequest& request, Moment now) {
  const auto target = parseRequestTarget(request.target);
  if (!target) return errorResponse(400, kMalformed);
  const auto& segments = target->segments;
  const std::string first = segments.empty() ? "" : segments.front();
  if (first == "api") return answerPairing(request, *target, now);
  if (!isReading(request)) return notAllowed("GET, HEAD");
  if (segments.size() == 1 && first == "healthz") return answerHealth(now);
  if (segments.size() == 1 && first == "readyz") return answerReadiness(now);
  if (segments.size() == 1 && first == "ws") {
    auto answer = errorResponse(426, "This address is for WebSockets.");
    answer.headers.emplace_back("upgrade", "websocket");
    answer.headers.emplace_back("sec-websocket-version", "13");
    return answer;
  }
  return page.answer(segments, request.ifNoneMatch, {request.acceptEncoding, request.acceptLanguage});
}

HttpResponse RelayService::answerHealth(Moment now) const {
  if (isStopping) return errorResponse(503, kStopping);
  // The date is for whoever checks the relay's clock from elsewhere.
  return {.headers = {{"content-type", "text/plain; charset=utf-8"},
                      {"cache-control", "no-store"},
                      {"date", httpDate(now.epochSeconds)}},
          .body = std::make_shared<const std::string>("ok")};
}

HttpResponse RelayService::answerReadiness(Moment now) const {
  if (isDraining) return errorResponse(503, kStopping);
  if (!pairings.isStoreFine()) return errorResponse(503, kStoreFailed);
  return answerHealth(now);
}

HttpResponse RelayService::answerPairing(const HttpRequest& request, const RequestTarget& target, Moment now) {
  const auto& segments = target.segments;
  const bool isPairing = segments.size() >= 3 && segments[1] == "pairings";
  if (isPairing && segments.size() == 4 && segments[3] == "relay-token") {
    if (request.method != "PUT") return notAllowed("PUT");
    return registerToken(request, segments[2], now);
  }
  if (isPairing && segments.size() == 3) {
    if (!isReading(request)) return notAllowed("GET, HEAD");
    return answerPresence(request, target, now);
  }
  if (push && isPairing && segments.size() == 4 && segments[3] == "push-key") {
    if (!isReading(request)) return notAllowed("GET, HEAD");
    return answerPushKey(request, target, now);
  }
  return errorResponse(404, "There is nothing at this address.");
}

HttpResponse RelayService::registerToken(const HttpRequest& request, const std::string& pairingID, Moment now) {
  if (auto refusal = refusalForRate(registrations, request.from, now.instant)) return *refusal;
  if (!isPairingID(pairingID)) return errorResponse(400, "The pairing's name is malformed.");
  const auto offered = readToken(request.authorization, {});
  if (auto refusal = refusalForToken(offered)) return *refusal;
  if (!isRegistrationBody(request.body)) return errorResponse(400, "The body is malformed.");
  // Hashes are compared, which takes the same time for any key.
  const bool mayAdd = registrationKey.empty() || areEqual(hashOf(registrationKey), hashOf(request.registrationKey));
  auto key = readComputerKey(request.computerKey);
  if (key.isMalformed) return errorResponse(400, kMalformedKey);
  const auto outcome = pairings.registerToken(
      pairingID, offered.token, {.mayAdd = mayAdd, .from = request.from, .computerKey = std::move(key.key)}, now);
  rooms.forget(pairings.takeForgotten());
  return answerTo(outcome);
}

std::optional<HttpResponse> RelayService::refusalForQuestion(const HttpRequest& request, const RequestTarget& target,
                                                             Moment now) {
  if (auto refusal = refusalForRate(handshakes, request.from, now.instant)) return refusal;
  const std::string& pairingID = target.segments[2];
  if (!isPairingID(pairingID)) return errorResponse(400, "The pairing's name is malformed.");
  if (!readAskingPhone(target.query)) return errorResponse(400, kMalformed);
  const auto offered = readToken(request.authorization, {});
  if (auto refusal = refusalForToken(offered)) return refusal;
  return refusalForMembership(pairings.membershipOf(pairingID, offered.token, now.epochSeconds));
}

HttpResponse RelayService::answerPushKey(const HttpRequest& request, const RequestTarget& target, Moment now) {
  if (auto refusal = refusalForQuestion(request, target, now)) return *refusal;
  const auto key = push->publicKey();
  if (!key) return errorResponse(503, "The relay has no key for push services yet.");
  return jsonResponse({{"key", *key}});
}

HttpResponse RelayService::answerPresence(const HttpRequest& request, const RequestTarget& target, Moment now) {
  if (auto refusal = refusalForQuestion(request, target, now)) return *refusal;
  const auto presence = rooms.presenceOf(target.segments[2]);
  return jsonResponse({{"macConnected", presence.isAgentConnected}, {"phoneCount", presence.phoneCount}});
}

std::variant<RelayService::Candidate, HttpResponse> RelayService::examine(const HttpRequest& request, Moment now) {
  if (isStopping) return errorResponse(503, kStopping);
  if (auto refusal = refusalForRate(handshakes, request.from, now.instant)) return *refusal;
  const auto target = parseRequestTarget(request.target);
  if (!target) return errorResponse(400, kMalformed);
  auto who = readIntroduction(target->query);
  if (!who) return errorResponse(400, kMalformed);
  auto offered = readToken(request.authorization, request.subprotocols);
  if (auto refusal = refusalForToken(offered)) return *refusal;
  auto key = readComputerKey(request.computerKey);
  if (key.isMalformed) return errorResponse(400, kMalformedKey);
  return Candidate{.who = std::move(*who),
                   .token = std::move(offered.token),
                   .computerKey = std::move(key.key).value_or(""),
                   .from = request.from,
                   .offersProtocol = offered.offersProtocol};
}

std::optional<HttpResponse> RelayService::refusalForCandidate(const Candidate& candidate, Moment now) {
  const auto& who = candidate.who;
  if (auto refusal = refusalForMembership(pairings.membershipOf(who.pairingID, candidate.token, now.epochSeconds))) {
    return refusal;
  }
  if (who.role == Role::phone) return std::nullopt;
  // The same answer as to a token that is not the pairing's: the agent then registers, and is told what is wrong.
  const auto isComputer = pairings.isComputer(who.pairingID, candidate.computerKey);
  if (!isComputer) return errorResponse(500, kStoreFailed);
  return *isComputer ? std::nullopt : std::optional(unauthorized("The computer's key was not shown."));
}

std::variant<Admission, HttpResponse> RelayService::admit(const Candidate& candidate, Moment now) {
  if (isStopping) return errorResponse(503, kStopping);
  if (auto refusal = refusalForCandidate(candidate, now)) return *refusal;
  if (!rooms.hasRoomFrom(candidate.from)) return tooManyRequests(kCrowdedWait);
  if (!rooms.hasRoomFor(candidate.who, candidate.from))
    return errorResponse(503, "The pairing has as many phones as it can.");
  pairings.didJoin(candidate.who.pairingID, now.epochSeconds);
  return Admission{.who = candidate.who, .from = candidate.from, .offersProtocol = candidate.offersProtocol};
}

std::variant<Admission, HttpResponse> RelayService::admit(const HttpRequest& request, Moment now) {
  auto examined = examine(request, now);
  if (auto* refusal = std::get_if<HttpResponse>(&examined)) return std::move(*refusal);
  return admit(std::get<Candidate>(examined), now);
}

}  // namespace quillard::relayserver
