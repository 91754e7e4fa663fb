#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/PairedPhones.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::date;
using samples::uuid;
using testing::IsEmpty;
using testing::SizeIs;

PairedPhone paired(int pairing, const std::string& name, double since, bool isUnexpected = false) {
  return {.pairing = pairing,
          .phone = {.pairingID = "quillard-" + std::to_string(pairing),
                    .deviceID = "device of " + name,
                    .name = name,
                    .since = date(since),
                    .heardAt = date(since)},
          .isUnexpected = isUnexpected};
}

TEST(PairedPhones, AreNewWhileTheyJoinedLatelyAPairingThatHadItsPhone) {
  const std::vector<PairedPhone> all{paired(1, "Ann", 0), paired(1, "Eve", 100, true), paired(2, "Ben", 100)};
  const auto found = newPhonesOf(all, date(199), Seconds{100});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].name, "Eve");
  EXPECT_EQ(found[0].deviceID, "device of Eve");
  EXPECT_EQ(found[0].earlierName, "Ann");
  EXPECT_EQ(found[0].since, date(100));
  EXPECT_THAT(newPhonesOf(all, date(200), Seconds{100}), IsEmpty());
}

TEST(PairedPhones, HaveANameThatMeansOneOfThem) {
  const std::vector<PairedPhone> all{paired(1, "Ann", 0), paired(1, "Eve", 1, true), paired(2, "Ben", 0),
                                     paired(2, "Eve", 1, true)};
  const auto found = newPhonesOf(all, date(2), Seconds{100});
  ASSERT_THAT(found, SizeIs(2));
  EXPECT_NE(found[0].id, found[1].id) << "The same phone by two codes.";
  EXPECT_EQ(pairingOfNewPhone(all, found[0].id), 1);
  EXPECT_EQ(pairingOfNewPhone(all, found[1].id), 2);
  EXPECT_EQ(newPhonesOf(all, date(3), Seconds{100}), found) << "It stays the same.";
  EXPECT_EQ(pairingOfNewPhone(all, uuid(1)), std::nullopt);
}

TEST(PairedPhones, ReportNoMoreNewOnesThanPhonesTake) {
  std::vector<PairedPhone> all{paired(1, "Ann", 0)};
  for (std::size_t i = 0; i <= kMostNewPhones; ++i) all.push_back(paired(1, std::to_string(i), 1, true));
  const auto found = newPhonesOf(all, date(2), Seconds{100});
  ASSERT_THAT(found, SizeIs(kMostNewPhones));
  EXPECT_EQ(found.front().name, "0") << "The first stay.";
}

}  // namespace
}  // namespace quillard
