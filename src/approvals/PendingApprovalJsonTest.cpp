#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::approval;
using samples::uuid;

Json sampleJson() { return toJson(approval()); }

std::variant<PendingApproval, JsonError> read(const Json& json) { return readPendingApproval(json.dump()); }

std::string errorOf(std::string_view text) {
  const auto outcome = readPendingApproval(text);
  const auto* error = std::get_if<JsonError>(&outcome);
  return error ? error->description() : "no error";
}

TEST(PendingApprovalJson, WritesTheMembersInTheOrderOfTheFields) {
  EXPECT_EQ(pendingApprovalText(approval()),
            R"({"id":"00000000-0000-0000-0000-000000000001",)"
            R"("suppressionID":"00000000-0000-0000-0000-000000000001",)"
            R"("detectedAt":"2026-03-01T00:00:00Z","appName":"Disk Tool","bundleIdentifier":"com.example.disktool",)"
            R"("processIdentifier":412,"windowTitle":"Erase disk?","windowRole":"AXWindow/AXDialog",)"
            R"("windowFrame":{"x":100.0,"y":200.0,"width":400.0,"height":180.0},)"
            R"("messageLines":["Erasing cannot be undone.","Are you sure?"],)"
            R"("reason":"Erasing cannot be undone.\nAre you sure?",)"
            R"("buttons":[{"label":"Cancel","role":"AXButton","x":20.0,"y":120.0,"width":80.0,"height":24.0},)"
            R"({"label":"Erase","role":"AXButton","x":20.0,"y":120.0,"width":80.0,"height":24.0}],)"
            R"("recommendedButtonLabel":"Erase","requiresDirectAccess":true,"directAccessReason":"Because.",)"
            R"("isFallbackDetection":false})");
}

TEST(PendingApprovalJson, LeavesAbsentMembersOut) {
  auto record = approval();
  record.bundleIdentifier = record.recommendedButtonLabel = record.directAccessReason = std::nullopt;
  const auto json = toJson(record);
  EXPECT_EQ(json.size(), 13U);
  EXPECT_FALSE(json.contains("bundleIdentifier"));
  EXPECT_FALSE(json.contains("recommendedButtonLabel"));
  EXPECT_FALSE(json.contains("directAccessReason"));
  EXPECT_EQ(std::get<PendingApproval>(read(json)), record);
}

TEST(PendingApprovalJson, TakesTheIdentityForAMissingSuppressionIdentityAndWritesItFromThenOn) {
  for (const bool isNull : {false, true}) {
    auto json = sampleJson();
    json.erase("suppressionID");
    if (isNull) json["suppressionID"] = nullptr;
    const auto record = std::get<PendingApproval>(read(json));
    EXPECT_EQ(record.suppressionID, record.id);
    EXPECT_EQ(toJson(record)["suppressionID"], record.id.text());
  }
}

TEST(PendingApprovalJson, ReadsMembersInAnyOrderAndIgnoresUnknownOnes) {
  const auto original = sampleJson();
  Json shuffled = Json::object();
  shuffled["added later"] = Json{{"by", "a newer version"}};
  for (auto member = original.rbegin(); member != original.rend(); ++member) {
    shuffled[member.base().operator--().key()] = *member;
  }
  EXPECT_EQ(std::get<PendingApproval>(read(shuffled)), approval());
}

TEST(PendingApprovalJson, TakesNullForAnAbsentOptionalMember) {
  auto json = sampleJson();
  json["bundleIdentifier"] = nullptr;
  json["recommendedButtonLabel"] = nullptr;
  json["directAccessReason"] = nullptr;
  const auto record = std::get<PendingApproval>(read(json));
  EXPECT_EQ(record.bundleIdentifier, std::nullopt);
  EXPECT_EQ(record.recommendedButtonLabel, std::nullopt);
  EXPECT_EQ(record.directAccessReason, std::nullopt);
}

TEST(PendingApprovalJson, FailsAsAWholeForEachRequiredMemberThatIsMissingOrNull) {
  for (const auto* name :
       {"id", "detectedAt", "appName", "processIdentifier", "windowTitle", "windowRole", "windowFrame", "messageLines",
        "reason", "buttons", "requiresDirectAccess", "isFallbackDetection"}) {
    auto json = sampleJson();
    json[name] = nullptr;
    EXPECT_EQ(errorOf(json.dump()), std::string(name) + ": The member is missing.");
    json.erase(name);
    EXPECT_EQ(errorOf(json.dump()), std::string(name) + ": The member is missing.");
  }
}

TEST(PendingApprovalJson, FailsForEachMemberOfAnotherKind) {
  const std::vector<std::pair<const char*, const char*>> members{
      {"id", "Expected a UUID."},
      {"suppressionID", "Expected a UUID."},
      {"detectedAt", "Expected ISO-8601 date string."},
      {"appName", "Expected a text."},
      {"bundleIdentifier", "Expected a text."},
      {"processIdentifier", "Expected a whole number in range."},
      {"windowTitle", "Expected a text."},
      {"windowRole", "Expected a text."},
      {"windowFrame", "Expected an object."},
      {"messageLines", "Expected a list of texts."},
      {"reason", "Expected a text."},
      {"buttons", "Expected a list."},
      {"recommendedButtonLabel", "Expected a text."},
      {"requiresDirectAccess", "Expected true or false."},
      {"directAccessReason", "Expected a text."},
      {"isFallbackDetection", "Expected true or false."}};
  for (const auto& [name, message] : members) {
    auto json = sampleJson();
    json[name] = 12.5;
    EXPECT_EQ(errorOf(json.dump()), std::string(name) + ": " + message);
  }
}

TEST(PendingApprovalJson, NamesTheMemberInsideThatFailed) {
  auto json = sampleJson();
  json["buttons"][1]["width"] = "wide";
  EXPECT_EQ(errorOf(json.dump()), "buttons[1].width: Expected a number.");
  json = sampleJson();
  json["windowFrame"].erase("y");
  EXPECT_EQ(errorOf(json.dump()), "windowFrame.y: The member is missing.");
}

TEST(PendingApprovalJson, ReadsFractionalSecondsAndWholeNumbersWithAPoint) {
  auto json = sampleJson();
  json["detectedAt"] = "2026-03-01T00:00:00.25Z";
  json["processIdentifier"] = 412.0;
  json["windowFrame"]["x"] = 7;
  const auto record = std::get<PendingApproval>(read(json));
  EXPECT_EQ(record.detectedAt, samples::date(0.25));
  EXPECT_EQ(record.processIdentifier, 412);
  EXPECT_EQ(record.windowFrame.x, 7);
}

TEST(PendingApprovalJson, RefusesBadText) {
  for (const auto* text : {"", "null", "[]", "{", "\xFF", "{\"id\":\"\\ud800\"}"}) {
    EXPECT_NE(errorOf(text), "no error") << text;
  }
  EXPECT_EQ(errorOf(std::string(100'000, '[')), "The JSON text is nested too deeply.");
  EXPECT_EQ(errorOf(R"({"id":1,"id":2})"), "id: The member stands twice.");
}

TEST(PendingApprovalJson, DoesNotWriteBrokenText) {
  auto record = approval();
  record.windowTitle = "\xC3";
  EXPECT_FALSE(pendingApprovalText(record).has_value());
  EXPECT_FALSE(pendingApprovalsText({approval(), record}).has_value());
}

TEST(PendingApprovalsJson, ReadsAndWritesLists) {
  EXPECT_EQ(pendingApprovalsText({}), "[]");
  const std::vector<PendingApproval> list{approval(1), approval(2)};
  EXPECT_EQ(std::get<std::vector<PendingApproval>>(readPendingApprovals(*pendingApprovalsText(list))), list);
  auto json = toJson(list);
  json[1]["buttons"][0].erase("label");
  EXPECT_EQ(std::get<JsonError>(readPendingApprovals(json.dump())).description(),
            "[1].buttons[0].label: The member is missing.");
  EXPECT_EQ(std::get<JsonError>(readPendingApprovals("{}")).description(), "Expected a list.");
}

RC_GTEST_PROP(PendingApprovalJson, ReadsBackWhatItWrites, ()) {
  const auto text = [] { return *rc::gen::container<std::string>(rc::gen::inRange<char>(1, 127)); };
  const auto optionalText = [&] { return *rc::gen::arbitrary<bool>() ? std::optional{text()} : std::nullopt; };
  auto record = approval(*rc::gen::arbitrary<std::uint64_t>());
  record.suppressionID = uuid(*rc::gen::arbitrary<std::uint64_t>());
  record.detectedAt = samples::date(*rc::gen::inRange(0, 1'000'000'000));
  record.appName = text();
  record.bundleIdentifier = optionalText();
  record.processIdentifier = *rc::gen::arbitrary<std::int32_t>();
  record.windowTitle = text() + "’\u200B漢字";
  record.windowFrame = {*rc::gen::arbitrary<double>(), -0.0, 1e300, 5e-324};
  record.messageLines = *rc::gen::arbitrary<std::vector<std::string>>();
  for (auto& line : record.messageLines) line = text();
  record.directAccessReason = optionalText();
  record.recommendedButtonLabel = optionalText();
  record.requiresDirectAccess = *rc::gen::arbitrary<bool>();
  RC_ASSERT(std::get<PendingApproval>(read(toJson(record))) == record);
}

}  // namespace
}  // namespace quillard
