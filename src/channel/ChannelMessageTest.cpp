#include <gtest/gtest.h>

#include "channel/ChannelMessage.h"

namespace quillard {
namespace {

std::string codeOf(std::string_view line) {
  const auto read = readChannelMessage(line);
  const auto* const problem = std::get_if<ChannelProblem>(&read);
  return problem ? problem->code : "fine";
}

TEST(ChannelMessage, IsAnObjectWithVersionAndType) {
  const auto read = readChannelMessage(R"({"type":"ask","version":1,"question":"Why?","unknown":[1]})");
  const auto& message = std::get<ChannelMessage>(read);
  EXPECT_EQ(message.type, "ask");
  EXPECT_EQ(message.json["question"], "Why?");
}

TEST(ChannelMessage, RefusesWhatIsNone) {
  for (const char* const line : {"",
                                 " ",
                                 "null",
                                 "1",
                                 "[]",
                                 R"("ask")",
                                 R"([{"version":1,"type":"ask"}])",
                                 "{",
                                 R"({"version":1,"type":"ask"})}",
        R"({"version":1,"type":"ask",})",
                                 R"({"version":1})",
                                 R"({"type":"ask"})",
                                 R"({"version":"1","type":"ask"})",
                                 R"({"version":1,"type":1})",
                                 R"({"version":1.5,"type":"ask"})",
                                 R"({"version":-1,"type":"ask"})",
                                 R"({"version":1,"version":1,"type":"ask"})",
                                 R"({"version":1,"type":"ask","a":{"b":1,"b":2}})",
                                 R"({'version':1,'type':'ask'})",
                                 "{\"version\":1,\"type\":\"\xff\"}",
                                 R"({"version":1,"type":"a","x":[[[[[[[[1]]]]]]]]})",
                                 R"({"version":1e99,"type":"ask"})"}) {
    EXPECT_EQ(codeOf(line), "malformed") << line;
  }
}

TEST(ChannelMessage, RefusesOtherVersions) {
  EXPECT_EQ(codeOf(R"({"version":2,"type":"ask"})"), "version");
  EXPECT_EQ(codeOf(R"({"version":0,"type":"ask"})"), "version");
}

TEST(ChannelMessage, RefusesMoreThanAnyRequestNeeds) {
  std::string members;
  for (int i = 0; i < 100; ++i) members += ",\"m" + std::to_string(i) + "\":1";
  EXPECT_EQ(codeOf(R"({"version":1,"type":"ask")" + members + "}"), "malformed");
  std::string values;
  for (int i = 0; i < 5000; ++i) values += (i ? ",1" : "1");
  EXPECT_EQ(codeOf(R"({"version":1,"type":"ask","list":[)" + values + "]}"), "malformed");
}

TEST(ChannelMessage, IsWrittenAsOneLineWithVersionAndTypeFirst) {
  EXPECT_EQ(channelLine("done"), "{\"version\":1,\"type\":\"done\"}\n");
  EXPECT_EQ(channelLine("a", {{"text", "one\ntwo"}}), "{\"version\":1,\"type\":\"a\",\"text\":\"one\\ntwo\"}\n");
  EXPECT_EQ(channelLine(ChannelProblem{"malformed", "No."}),
            "{\"version\":1,\"type\":\"error\",\"code\":\"malformed\",\"message\":\"No.\"}\n");
}

TEST(ChannelMessage, BytesThatAreNoTextDoNotStopIt) {
  const auto line = channelLine("a", {{"text", "x\xffy"}});
  EXPECT_EQ(codeOf(line.substr(0, line.size() - 1)), "fine");
}

}  // namespace
}  // namespace quillard
