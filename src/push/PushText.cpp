#include "push/PushText.h"

#include <algorithm>
#include <array>

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/HexText.h"
#include "foundation/PrintableText.h"
#include "foundation/StrictJson.h"
#include "foundation/Text.h"
#include "relay/RelayCrypto.h"

namespace quillard {
namespace {

constexpr std::int64_t kDeclarative = 8030;
constexpr std::size_t kLongestTitle = 160;
constexpr std::size_t kLongestBody = 400;
constexpr std::size_t kLongestDismissal = 100;
// Of more, a person should see what else there is to choose, which the page shows.
constexpr std::size_t kMostButtons = 2;
constexpr std::size_t kStep = 40;
constexpr std::string_view kCut = "…";
constexpr std::size_t kTagBytes = 16;

// Whole characters of it.
std::string cut(std::string text, std::size_t longest) {
  if (text.size() <= longest) return text;
  std::size_t end = longest - std::min(longest, kCut.size());
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + std::string(kCut);
}

// A lock screen shows what it is given: what a person could not see in it must not be there.
std::string shown(const std::string& text, std::size_t longest) {
  constexpr std::size_t kNoLimit = 100'000;
  return cut(printableName(std::string(text::trimmed(text)), kNoLimit), longest);
}

UserTexts textsFor(const PushAddressee& addressee) { return {Machine::computer, addressee.language}; }

std::string computerName(const PushAddressee& addressee) {
  const auto name = shown(addressee.computer, kLongestDismissal);
  return name.empty() ? textsFor(addressee)("your computer") : name;
}

// Empty: there is none, or it may not be shown.
std::string dismissalOf(const PendingApproval& prompt) {
  if (prompt.buttons.size() > kMostButtons) return {};
  for (const auto& button : prompt.buttons) {
    const bool isOne =
        button.isEnabled && (button.isKnownDismissal || DialogButtonSemantics::isSafeDismissal(button.label));
    if (isOne && button.label.size() <= kLongestDismissal && text::isValidUtf8(button.label)) return button.label;
  }
  return {};
}

struct Lines {
  std::string title;
  std::string body;
};

Lines linesOf(const PushContents& contents, const PushAddressee& addressee) {
  const auto texts = textsFor(addressee);
  const auto computer = computerName(addressee);
  if (contents.kind == PushContents::Kind::test) {
    return {texts("Alerts reach this phone"), texts("A test from %1.", {computer})};
  }
  if (contents.kind == PushContents::Kind::several) {
    return {texts("%1 prompts wait at %2", {std::to_string(contents.waiting), computer}),
            texts("Open the list to answer them.")};
  }
  if (addressee.content == PushContent::computer || !contents.prompt) {
    return {texts("A prompt waits at %1", {computer}), texts("Open it to see what it asks.")};
  }
  const auto& prompt = *contents.prompt;
  std::string what;
  for (const auto& line : prompt.messageLines) {
    const auto shownLine = shown(line, kLongestBody);
    if (shownLine.empty() || shownLine == prompt.windowTitle) continue;
    what += (what.empty() ? "" : "\n") + shownLine;
    if (what.size() > kLongestBody) break;
  }
  if (what.empty()) what = texts("Open it to answer.");
  return {computer + ": " + shown(prompt.displayTitle(), kLongestTitle), what};
}

std::string_view kindName(PushContents::Kind kind) {
  switch (kind) {
    case PushContents::Kind::prompt:
      return "prompt";
    case PushContents::Kind::several:
      return "several";
    case PushContents::Kind::test:
      break;
  }
  return "test";
}

Json dataOf(const PushContents& contents, const PushAddressee& addressee) {
  Json data{{"quillard", 1}, {"kind", std::string(kindName(contents.kind))}, {"pairingID", addressee.pairingID}};
  const bool isPrompt = contents.kind == PushContents::Kind::prompt && contents.prompt.has_value();
  if (isPrompt) data["approvalID"] = contents.prompt->id.text();
  data["computer"] = computerName(addressee);
  if (isPrompt && addressee.content == PushContent::prompt) {
    if (const auto label = dismissalOf(*contents.prompt); !label.empty()) data["dismissLabel"] = label;
  }
  data["waiting"] = contents.waiting;
  data["clock"] = toJson(contents.clock);
  return data;
}

}  // namespace

std::optional<std::string> pushText(const PushContents& contents, const PushAddressee& addressee,
                                    const std::string& tag) {
  const auto lines = linesOf(contents, addressee);
  const bool isPrompt = contents.kind == PushContents::Kind::prompt && contents.prompt.has_value();
  Json notification{{"title", ""},
                    {"body", ""},
                    {"navigate", addressee.page + (isPrompt ? "#prompt/" + contents.prompt->id.text() : "")},
                    {"lang", addressee.language == Language::german ? "de" : "en"},
                    {"dir", "auto"},
                    {"tag", tag},
                    {"silent", false},
                    {"data", dataOf(contents, addressee)}};
  // What is escaped takes more room than it looks.
  for (std::size_t body = kLongestBody, title = kLongestTitle; title > kStep;) {
    notification["title"] = cut(lines.title, title);
    notification["body"] = cut(lines.body, body);
    auto text = jsonText({{"web_push", kDeclarative}, {"notification", notification}});
    if (text && text->size() <= kLongestPushPlaintext) return text;
    (body > kStep ? body : title) -= kStep;
  }
  return std::nullopt;
}

std::string pushTag(const Secret& e2eSecret, const PushContents& contents) {
  const bool isPrompt = contents.kind == PushContents::Kind::prompt && contents.prompt.has_value();
  const std::string name = "push " + (isPrompt ? contents.prompt->id.text() : std::string(kindName(contents.kind)));
  const Secret key = RelayCrypto::key(e2eSecret);
  std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  (void)HMAC(EVP_sha256(), key.view().data(), static_cast<int>(key.view().size()),
             reinterpret_cast<const std::uint8_t*>(name.data()), name.size(), digest.data(), &length);
  return hexText(std::span<const std::uint8_t>{digest}.first(kTagBytes));
}

}  // namespace quillard
