#include "contract/storage/SecretStoreContract.h"

namespace quillard::test {
namespace {

using platform::SecretStatusCode;

constexpr std::string_view kService = "com.quillard.agent";
constexpr std::string_view kAccount = "installation-secrets-v1";

class Place {
 public:
  explicit Place(const SecretStoreCase& given) : binding(given.make()), place(given.place) {}
  platform::SecretReading read(std::string_view account = kAccount, std::string_view service = kService) {
    return binding->store().copyMatching(place, service, account);
  }
  SecretStatusCode add(std::string_view text, std::string_view account = kAccount,
                       std::string_view service = kService) {
    return binding->store().add(place, service, account, Secret(text)).code;
  }
  SecretStatusCode update(std::string_view text) {
    return binding->store().update(place, kService, kAccount, Secret(text)).code;
  }
  SecretStatusCode remove() { return binding->store().remove(place, kService, kAccount).code; }

  const std::unique_ptr<SecretStoreBinding> binding;
  const platform::SecretPlace place;
};

TEST_P(SecretStoreContract, AnItemGoesThroughItsWholeLife) {
  Place place(GetParam());
  EXPECT_EQ(place.read().status.code, SecretStatusCode::itemNotFound);
  EXPECT_EQ(place.update("too early"), SecretStatusCode::itemNotFound);
  EXPECT_EQ(place.remove(), SecretStatusCode::itemNotFound);

  EXPECT_EQ(place.add("first"), SecretStatusCode::success);
  EXPECT_EQ(place.read().data.text(), "first");
  EXPECT_EQ(place.add("second"), SecretStatusCode::other);
  EXPECT_EQ(place.read().data.text(), "first");

  EXPECT_EQ(place.update("second"), SecretStatusCode::success);
  EXPECT_EQ(place.read().data.text(), "second");

  EXPECT_EQ(place.remove(), SecretStatusCode::success);
  EXPECT_EQ(place.read().status.code, SecretStatusCode::itemNotFound);
  EXPECT_TRUE(place.read().data.isEmpty());
}

TEST_P(SecretStoreContract, KeepsEveryByteAndNoOtherItems) {
  Place place(GetParam());
  const std::string bytes("\x00\x01 \n\"\\\xFF\xC3\x28", 9);
  EXPECT_EQ(place.add(bytes), SecretStatusCode::success);
  EXPECT_EQ(place.add("of another account", "another"), SecretStatusCode::success);
  EXPECT_EQ(place.add("of another service", kAccount, "another"), SecretStatusCode::success);
  EXPECT_EQ(place.read().data.text(), bytes);
  EXPECT_EQ(place.read("another").data.text(), "of another account");
  EXPECT_EQ(place.read(kAccount, "another").data.text(), "of another service");
  EXPECT_EQ(place.remove(), SecretStatusCode::success);
  EXPECT_EQ(place.read("another").data.text(), "of another account");
}

TEST_P(SecretStoreContract, AnEmptySecretIsNotAMissingOne) {
  Place place(GetParam());
  EXPECT_EQ(place.add(""), SecretStatusCode::success);
  EXPECT_EQ(place.read().status.code, SecretStatusCode::success);
  EXPECT_TRUE(place.read().data.isEmpty());
}

TEST_P(SecretStoreContract, KeepsItemsFromRunToRun) {
  Place place(GetParam());
  EXPECT_EQ(place.add("kept"), SecretStatusCode::success);
  auto& next = place.binding->reopen();
  EXPECT_EQ(next.copyMatching(place.place, kService, kAccount).data.text(), "kept");
}

TEST_P(SecretStoreContract, TheTwoPlacesAreApart) {
  Place place(GetParam());
  const auto other = place.place == platform::SecretPlace::fileKeychain ? platform::SecretPlace::dataProtectionKeychain
                                                                        : platform::SecretPlace::fileKeychain;
  auto& store = place.binding->store();
  EXPECT_EQ(place.add("here"), SecretStatusCode::success);
  EXPECT_EQ(store.copyMatching(other, kService, kAccount).status.code, SecretStatusCode::itemNotFound);
  EXPECT_EQ(store.add(other, kService, kAccount, Secret("there")).code, SecretStatusCode::success);
  EXPECT_EQ(place.remove(), SecretStatusCode::success);
  EXPECT_EQ(store.copyMatching(other, kService, kAccount).data.text(), "there");
}

TEST_P(SecretStoreContract, AFailureSaysWhy) {
  Place place(GetParam());
  EXPECT_EQ(place.binding->store().add(place.place, kService, kAccount, Secret("first")).text, "");
  EXPECT_NE(place.binding->store().add(place.place, kService, kAccount, Secret("second")).text, "");
  EXPECT_NE(place.read("never stored").status.text, "");
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SecretStoreContract);

}  // namespace quillard::test
