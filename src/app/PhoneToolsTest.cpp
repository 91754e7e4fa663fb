#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/PhoneTools.h"

namespace quillard::app {
namespace {

using testing::SizeIs;

// As the agent sends it: Ann and Mallory share the first pairing.
constexpr const char* kFourPhones = R"({"version":1,"type":"phones","phones":[
  {"name":"Ann","pairing":1,"since":"2026-01-01T10:00:00Z","lastHeard":"2026-01-15T09:00:00Z","connected":true,
   "decisions":3,"isUnexpected":false},
  {"name":"Mallory","pairing":1,"since":"2026-01-02T10:00:00Z","lastHeard":"2026-01-03T10:00:00Z","connected":false,
   "decisions":1,"isUnexpected":true},
  {"name":"Ben","pairing":2,"since":"2026-01-04T10:00:00Z","lastHeard":"2026-01-05T10:00:00Z","connected":false,
   "decisions":0,"isUnexpected":false},
  {"name":"BEN","pairing":4,"since":"2026-01-06T10:00:00Z","lastHeard":"2026-01-07T10:00:00Z","connected":false,
   "decisions":0,"isUnexpected":false}]})";

std::vector<ListedPhone> fourPhones() { return readPhones({"phones", Json::parse(kFourPhones)}).value(); }

// The request and the question, or why there is none.
std::string planned(const UnpairPhones& command, const std::vector<ListedPhone>& phones) {
  const auto plan = planUnpairing(command, phones);
  if (const auto* const problem = std::get_if<std::string>(&plan)) return *problem;
  const auto& unpairing = std::get<Unpairing>(plan);
  return unpairing.line + unpairing.question;
}
std::string planned(const std::string& phone) { return planned({.phone = phone}, fourPhones()); }

constexpr const char* kFirstOnes = R"({"version":1,"type":"unpair","pairing":1,"since":"2026-01-01T10:00:00Z"})"
                                   "\nThese share a pairing and go together: Ann, Mallory. Unpair all of them?";
constexpr const char* kBen = R"({"version":1,"type":"unpair","pairing":2,"since":"2026-01-04T10:00:00Z"})"
                             "\nUnpair Ben?";

TEST(PhonesText, SaysOfEachWhatIsKnown) {
  EXPECT_EQ(phonesText(fourPhones()),
            "1  Ann: connected, paired 2026-01-01T10:00:00Z, 3 decisions\n"
            "1  Mallory: last heard of 2026-01-03T10:00:00Z, paired 2026-01-02T10:00:00Z, 1 decision, used the code of "
            "another phone\n"
            "2  Ben: last heard of 2026-01-05T10:00:00Z, paired 2026-01-04T10:00:00Z, 0 decisions\n"
            "4  BEN: last heard of 2026-01-07T10:00:00Z, paired 2026-01-06T10:00:00Z, 0 decisions\n");
  EXPECT_EQ(phonesText({}), "No phone is paired.\n");
}

TEST(ListedPhones, AreReadWholeOrNotAtAll) {
  EXPECT_THAT(fourPhones(), SizeIs(4));
  for (const auto& [member, value] : std::vector<std::pair<std::string, Json>>{{"name", 1},
                                                                               {"pairing", 0},
                                                                               {"pairing", 10000},
                                                                               {"since", "soon"},
                                                                               {"lastHeard", nullptr},
                                                                               {"connected", 1},
                                                                               {"decisions", -1},
                                                                               {"isUnexpected", "no"}}) {
    auto json = Json::parse(kFourPhones);
    json["phones"][2][member] = value;
    EXPECT_FALSE(readPhones({"phones", json}).has_value()) << member;
  }
  EXPECT_FALSE(readPhones({"done", Json::object()}).has_value());
}

TEST(Unpairing, MeansTheNumberOfAPairingOrTheNameOfAPhone) {
  EXPECT_EQ(planned("2"), kBen);
  EXPECT_EQ(planned("Ben"), kBen) << "The one that is written so.";
  EXPECT_EQ(planned("1"), kFirstOnes);
  EXPECT_EQ(planned("ann"), kFirstOnes);
  EXPECT_EQ(planned("3"), "No phone has this name or number: 3");
  EXPECT_EQ(planned("Be"), "No phone has this name or number: Be");
  EXPECT_EQ(planned({.phone = "Ann"}, {}), "No phone is paired.");
}

TEST(Unpairing, TakesTheNamesOfOtherScriptsInEitherCase) {
  auto phones = fourPhones();
  phones[2].name = "Øle";
  EXPECT_THAT(planned({.phone = "øLE"}, phones), testing::EndsWith("Unpair Øle?"));
}

TEST(Unpairing, OfSeveralPhonesWithOneNameNeedsANumber) {
  EXPECT_EQ(planned("ben"),
            "Several phones have this name. Say the number of one:\n"
            "2  Ben: last heard of 2026-01-05T10:00:00Z, paired 2026-01-04T10:00:00Z, 0 decisions\n"
            "4  BEN: last heard of 2026-01-07T10:00:00Z, paired 2026-01-06T10:00:00Z, 0 decisions\n");
  auto phones = fourPhones();
  phones[1].name = "Ann";
  EXPECT_THAT(planned({.phone = "Ann"}, phones), testing::HasSubstr("go together: Ann, Ann."))
      << "One pairing is meant.";
}

TEST(Unpairing, IsNotMisledByAPhoneThatIsCalledLikeANumber) {
  auto phones = fourPhones();
  phones[3].name = "2";
  EXPECT_EQ(planned({.phone = "2"}, phones), kBen);
}

TEST(Unpairing, OfAllNamesThem) {
  EXPECT_EQ(planned({.all = true}, fourPhones()), R"({"version":1,"type":"unpair","all":true})"
                                                  "\nUnpair all phones: Ann, Mallory, Ben, BEN?");
  EXPECT_EQ(planned({.all = true}, {}), R"({"version":1,"type":"unpair","all":true})"
                                        "\nNo phone is listed. Unpair whoever may have used this computer's code?")
      << "The list is not who has the code.";
}

TEST(Unpairing, SaysWhichPhonesHaveGone) {
  EXPECT_EQ(unpairedText({"unpaired", Json::parse(R"({"phones":["Ann","Mal\u001blory"]})")}),
            "Unpaired: Ann, Mal?lory\n");
  EXPECT_EQ(unpairedText({"unpaired", Json::parse(R"({"phones":[]})")}), "Unpaired. The code is a new one now.\n");
  EXPECT_FALSE(unpairedText({"done", Json::parse(R"({"phones":["Ann"]})")}).has_value());
  EXPECT_FALSE(unpairedText({"unpaired", Json::object()}).has_value());
}

}  // namespace
}  // namespace quillard::app
