#include <gtest/gtest.h>

#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "relay/SealedConversation.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

const Secret kSecret{std::string_view{"shared"}};

struct Conversation {
  SimulatedRandom random{Seed{1}};
  SimulatedRandom phonesRandom{Seed{2}};
  SealedConversation agent{kSecret, random};

  EncryptedRelayPayload fromPhone(const std::string& text) {
    return std::get<EncryptedRelayPayload>(RelayCrypto::seal(Json(text), kSecret, phonesRandom));
  }
  std::string failureOf(const EncryptedRelayPayload& payload) {
    const auto outcome = agent.open(payload);
    const auto* failure = std::get_if<SealingFailure>(&outcome);
    return failure ? failure->description : "";
  }
};

TEST(SealedConversation, OpensABoxOnce) {
  Conversation conversation;
  const auto payload = conversation.fromPhone("Allow");
  EXPECT_EQ(std::get<std::string>(conversation.agent.open(payload)), "\"Allow\"");
  EXPECT_EQ(conversation.failureOf(payload), "The sealed box was seen before.");
}

TEST(SealedConversation, KnowsABoxAgainUnderAnotherCover) {
  Conversation conversation;
  auto payload = conversation.fromPhone("Allow");
  (void)conversation.agent.open(payload);
  payload.version = 7;
  payload.nonce = "";
  EXPECT_EQ(conversation.failureOf(payload), "The sealed box was seen before.");
}

TEST(SealedConversation, DoesNotOpenItsOwnBoxes) {
  Conversation conversation;
  const auto own = std::get<EncryptedRelayPayload>(conversation.agent.seal(Json("result")));
  EXPECT_EQ(conversation.failureOf(own), "The sealed box was seen before.");
}

TEST(SealedConversation, IsNotMadeToRefuseABoxByAForgedOneWithItsNonce) {
  Conversation conversation;
  const auto genuine = conversation.fromPhone("Allow");
  auto forged = genuine;
  forged.ciphertext.replace(forged.ciphertext.size() - 8, 4, "AAAA");
  EXPECT_EQ(conversation.failureOf(forged), "RelayCryptoError.invalidCiphertext");
  EXPECT_EQ(conversation.failureOf(genuine), "");
}

TEST(SealedConversation, RemembersTheNewest8192Boxes) {
  Conversation conversation;
  const auto oldest = conversation.fromPhone("first");
  const auto second = conversation.fromPhone("second");
  (void)conversation.agent.open(oldest);
  (void)conversation.agent.open(second);
  for (int i = 0; i < 8191; ++i) (void)conversation.agent.seal(Json(i));
  EXPECT_EQ(conversation.failureOf(second), "The sealed box was seen before.");
  EXPECT_EQ(conversation.failureOf(oldest), "");
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
