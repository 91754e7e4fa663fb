#include <gtest/gtest.h>

#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "relay/SealedConversation.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

constexpr const char* kSeenBefore = "The sealed box was seen before.";
const Secret kSecret{std::string_view{"shared"}};

struct Conversation {
  SimulatedRandom random{Seed{1}};
  SimulatedRandom phonesRandom{Seed{2}};
  SealedConversation agent{kSecret, random};

  EncryptedRelayPayload fromPhone(const std::string& text) {
    return std::get<EncryptedRelayPayload>(RelayCrypto::seal(Json(text), kSecret, phonesRandom));
  }
  static std::string failureOf(const std::variant<OpenedBox, SealingFailure>& outcome) {
    const auto* failure = std::get_if<SealingFailure>(&outcome);
    return failure ? failure->description : "";
  }
};

TEST(SealedConversation, OpensABoxAgainUnderTheSameName) {
  Conversation conversation;
  const auto payload = conversation.fromPhone("Allow");
  const auto first = std::get<OpenedBox>(conversation.agent.open(payload));
  const auto again = std::get<OpenedBox>(conversation.agent.open(payload));
  EXPECT_EQ(first.plaintext, "\"Allow\"");
  EXPECT_EQ(again.plaintext, first.plaintext);
  EXPECT_EQ(again.boxID, first.boxID);
  EXPECT_NE(std::get<OpenedBox>(conversation.agent.open(conversation.fromPhone("Allow"))).boxID, first.boxID);
}

TEST(SealedConversation, OpensOnceWhatIsToBeOpenedOnce) {
  Conversation conversation;
  const auto payload = conversation.fromPhone("suppress");
  (void)conversation.agent.open(payload);
  EXPECT_EQ(std::get<OpenedBox>(conversation.agent.openOnce(payload)).plaintext, "\"suppress\"")
      << "Under another kind of message it was refused, which must not use it up.";
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(payload)), kSeenBefore);
}

TEST(SealedConversation, KnowsABoxAgainUnderAnotherCover) {
  Conversation conversation;
  auto payload = conversation.fromPhone("Allow");
  const auto boxID = std::get<OpenedBox>(conversation.agent.openOnce(payload)).boxID;
  payload.version = 7;
  payload.nonce = "";
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(payload)), kSeenBefore);
  EXPECT_EQ(std::get<OpenedBox>(conversation.agent.open(payload)).boxID, boxID);
}

TEST(SealedConversation, DoesNotOpenItsOwnBoxes) {
  Conversation conversation;
  const auto own = std::get<EncryptedRelayPayload>(conversation.agent.seal(Json("result")));
  EXPECT_EQ(Conversation::failureOf(conversation.agent.open(own)), kSeenBefore);
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(own)), kSeenBefore);
}

TEST(SealedConversation, IsNotMadeToRefuseABoxByAForgedOneWithItsNonce) {
  Conversation conversation;
  const auto genuine = conversation.fromPhone("Allow");
  auto forged = genuine;
  forged.ciphertext.replace(forged.ciphertext.size() - 8, 4, "AAAA");
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(forged)), "RelayCryptoError.invalidCiphertext");
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(genuine)), "");
}

TEST(SealedConversation, RefusesWhatIsNoBox) {
  Conversation conversation;
  for (const auto* ciphertext : {"", "no base64", "AAAA", "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"}) {
    EXPECT_EQ(Conversation::failureOf(conversation.agent.open({.ciphertext = ciphertext})),
              "RelayCryptoError.invalidCiphertext")
        << ciphertext;
  }
}

TEST(SealedConversation, RemembersTheNewest8192BoxesThatWereToBeOpenedOnceAndNoOthersBesides) {
  Conversation conversation;
  const auto oldest = conversation.fromPhone("first");
  const auto second = conversation.fromPhone("second");
  (void)conversation.agent.openOnce(oldest);
  (void)conversation.agent.openOnce(second);
  for (int i = 0; i < 8191; ++i) {
    (void)conversation.agent.seal(Json(i));
    (void)conversation.agent.openOnce(conversation.fromPhone(std::to_string(i)));
  }
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(second)), kSeenBefore);
  EXPECT_EQ(Conversation::failureOf(conversation.agent.openOnce(oldest)), "");
}

TEST(SealedConversation, SaysWhyItCannotSeal) {
  Conversation conversation;
  conversation.random.failNextFills(1);
  EXPECT_EQ(std::get<SealingFailure>(conversation.agent.seal(Json(1))).description,
            "RelayCryptoError.invalidCiphertext");
  EXPECT_EQ(std::get<SealingFailure>(conversation.agent.seal(Json("\xFF"))).description, "A text is not valid UTF-8.");
}

}  // namespace
}  // namespace quillard
