#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "foundation/HexText.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

Secret secret(std::string_view text) { return Secret{text}; }

EncryptedRelayPayload sealed(const Json& value, const Secret& relaySecret, SimulatedRandom& random) {
  return std::get<EncryptedRelayPayload>(RelayCrypto::seal(value, relaySecret, random));
}

TEST(RelayCrypto, DerivesTheKeyByOneDigestOfTheTrimmedSecret) {
  EXPECT_EQ(hexText(RelayCrypto::key(secret("abc")).view()),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  for (const auto* same : {" abc", "abc\n", "\r\n\t abc \xC2\xA0",
                           "\xE2\x80\xA8"
                           "abc\xE3\x80\x80"}) {
    EXPECT_EQ(RelayCrypto::key(secret(same)), RelayCrypto::key(secret("abc"))) << same;
  }
  for (const auto* other : {"ab c", "ABC", "abcd", ""}) {
    EXPECT_FALSE(RelayCrypto::key(secret(other)) == RelayCrypto::key(secret("abc"))) << other;
  }
}

TEST(RelayCrypto, SealsAsVersion1WithTheNonceTwice) {
  SimulatedRandom random{Seed{1}};
  const auto payload = sealed(Json::array(), secret("s"), random);
  EXPECT_EQ(payload.version, 1);
  EXPECT_EQ(payload.nonce.size(), 16U);
  EXPECT_EQ(payload.ciphertext.substr(0, 16), payload.nonce);
  EXPECT_EQ(payload.ciphertext.size(), (12U + 2U + 16U) / 3U * 4U);
}

TEST(RelayCrypto, SealsTheSameValueDifferentlyEachTime) {
  SimulatedRandom random{Seed{1}};
  const auto first = sealed(Json::array(), secret("s"), random);
  const auto second = sealed(Json::array(), secret("s"), random);
  EXPECT_NE(first.nonce, second.nonce);
  EXPECT_NE(first.ciphertext, second.ciphertext);
}

TEST(RelayCrypto, OpensWhatWasSealedWithTheSameSecretOnly) {
  SimulatedRandom random{Seed{1}};
  const std::vector<PendingApproval> approvals{samples::approval(1), samples::approval(2)};
  const auto payload = sealed(toJson(approvals), secret("s\n"), random);
  const auto opened = std::get<std::string>(RelayCrypto::open(payload, secret(" s")));
  EXPECT_EQ(std::get<std::vector<PendingApproval>>(readPendingApprovals(opened)), approvals);
  EXPECT_EQ(std::get<RelayCryptoError>(RelayCrypto::open(payload, secret("t"))), RelayCryptoError::invalidCiphertext);
}

TEST(RelayCrypto, OpensByTheBoxAlone) {
  SimulatedRandom random{Seed{1}};
  auto payload = sealed(Json("hello"), secret("s"), random);
  payload.version = 2;
  payload.nonce = "not even base64";
  EXPECT_EQ(std::get<std::string>(RelayCrypto::open(payload, secret("s"))), "\"hello\"");
}

TEST(RelayCrypto, RefusesBoxesThatAreNoStandardBase64OrTooShortOrAltered) {
  SimulatedRandom random{Seed{1}};
  const auto good = sealed(Json("hello"), secret("s"), random);
  auto altered = good.ciphertext;
  altered[altered.size() - 6] = altered[altered.size() - 6] == 'A' ? 'B' : 'A';
  for (const std::string& ciphertext :
       {std::string(), std::string("@@@@"), good.ciphertext + "\n", " " + good.ciphertext, good.ciphertext + "=",
        good.ciphertext.substr(0, good.ciphertext.size() - 1), good.nonce, std::string(36, 'A'), altered}) {
    const auto outcome = RelayCrypto::open({.version = 1, .nonce = good.nonce, .ciphertext = ciphertext}, secret("s"));
    EXPECT_TRUE(std::holds_alternative<RelayCryptoError>(outcome)) << ciphertext;
  }
}

TEST(RelayCrypto, SaysWhyItCannotSeal) {
  SimulatedRandom random{Seed{1}};
  const auto broken = RelayCrypto::seal(Json("\xFF"), secret("s"), random);
  EXPECT_EQ(std::get<JsonError>(broken).description(), "A text is not valid UTF-8.");
  random.failNextFills(1);
  const auto unlucky = RelayCrypto::seal(Json::array(), secret("s"), random);
  EXPECT_EQ(std::get<RelayCryptoError>(unlucky), RelayCryptoError::invalidCiphertext);
}

TEST(RelayCrypto, IdentifiesTheEmptyListByTheDigestOfNothing) {
  EXPECT_EQ(RelayCrypto::snapshotID({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(RelayCrypto, IdentifiesAListByItsIdentitiesAndLabels) {
  auto first = samples::approval();
  first.id = *Uuid::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
  first.buttons = {samples::button("Allow"), samples::button("Don't Allow")};
  auto second = samples::approval();
  second.id = *Uuid::parse("0f0e0d0c-0b0a-4908-8706-050403020100");
  second.buttons = {};
  // The digest of "E621E1F8-C36C-495A-93FC-0C247A3E6E5F:Allow,Don't Allow|0F0E0D0C-0B0A-4908-8706-050403020100:".
  EXPECT_EQ(RelayCrypto::snapshotID({first, second}),
            "08c3746b5e19943ec3e51ea09246e538ab86470f382cec606352f9297af7a9a6");
  EXPECT_NE(RelayCrypto::snapshotID({second, first}), RelayCrypto::snapshotID({first, second}));
}

TEST(RelayCrypto, DoesNotIdentifyAListByAnythingElse) {
  const auto before = samples::approval();
  auto after = before;
  after.windowTitle = "Another title";
  after.messageLines = {"Another text"};
  after.windowFrame.x += 100;
  after.appName = "Another name";
  after.suppressionID = samples::uuid(99);
  EXPECT_EQ(RelayCrypto::snapshotID({before}), RelayCrypto::snapshotID({after}));
}

RC_GTEST_PROP(RelayCrypto, OpensAnyTextItSealed, (const std::string& text, const std::string& key)) {
  SimulatedRandom random{Seed{3}};
  const auto payload = std::get<EncryptedRelayPayload>(RelayCrypto::sealText(text, secret(key), random));
  RC_ASSERT(std::get<std::string>(RelayCrypto::open(payload, secret(key))) == text);
}

}  // namespace
}  // namespace quillard
