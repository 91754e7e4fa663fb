#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/accessibility/BusReply.h"
#include "support/BusMessages.h"

namespace quillard::atspi {
namespace {

using test::BusMessages;
using Write = std::function<void(sd_bus_message*)>;

constexpr const char* kList = "a((so)(so)(so)iiassusau)";

void append(sd_bus_message* message, const char* types, auto... values) {
  BusMessages::require(sd_bus_message_append(message, types, values...));
}

std::optional<CachedList> cachedObjectsIn(const Write& write, std::size_t most = 2) {
  BusMessages messages;
  const auto message = messages.make(write);
  return BusReply{CallOutcome::answered, message.get()}.readCachedObjects(most);
}

// So many objects, the first of them called `name`.
Write listOf(std::size_t count, const std::string& name = "Allow") {
  return [=](sd_bus_message* message) {
    BusMessages::require(sd_bus_message_open_container(message, 'a', &kList[1]));
    for (std::size_t i = 0; i < count; ++i) {
      append(message, "((so)(so)(so)iiassusau)", ":1.5", "/button", ":1.5", "/root", ":1.5", "/row", 1, 0, 2, "A", "B",
             name.c_str(), 43U, "said", 2, 1U << 25U, 1U << 7U);
    }
    BusMessages::require(sd_bus_message_close_container(message));
  };
}

TEST(BusReply, ReadsAnObjectAsACacheListsIt) {
  const auto list = cachedObjectsIn(listOf(1));
  ASSERT_TRUE(list && list->objects.size() == 1);
  const auto& object = list->objects.front();
  EXPECT_EQ(object.name, (ObjectName{":1.5", "/button"}));
  EXPECT_EQ(object.parent, (ObjectName{":1.5", "/row"}));
  EXPECT_EQ(object.index, 1);
  EXPECT_EQ(object.childCount, 0);
  EXPECT_EQ(object.record.role, Role::pushButton);
  EXPECT_EQ(object.record.states, bit(State::showing) | bit(State::isDefault));
  EXPECT_EQ(object.record.name, "Allow");
  EXPECT_EQ(object.record.description, "said");
}

TEST(BusReply, ListsAllObjectsOfACacheOrNone) {
  EXPECT_EQ(cachedObjectsIn(listOf(0))->objects.size(), 0U);
  EXPECT_EQ(cachedObjectsIn(listOf(2))->objects.size(), 2U);
  const auto longer = cachedObjectsIn(listOf(3));
  EXPECT_TRUE(longer->isTooLong);
  EXPECT_TRUE(longer->objects.empty());
}

TEST(BusReply, ALongNameOfACachedObjectIsThereAndCannotBeRead) {
  const auto list = cachedObjectsIn(listOf(1, std::string(BusReply::kLongestText + 1, 'x')));
  ASSERT_TRUE(list && list->objects.size() == 1);
  EXPECT_EQ(list->objects.front().record.name, BusReply::kUnreadableText);
}

struct Bad {
  const char* what;
  Write write;
};

TEST(BusReply, WhatIsNoListOfCachedObjectsIsNone) {
  const std::vector<Bad> table{
      {"nothing", [](sd_bus_message*) {}},
      {"a number", [](sd_bus_message* message) { append(message, "t", std::uint64_t{7}); }},
      {"a text", [](sd_bus_message* message) { append(message, "s", "((so)(so)(so)iiassusau)"); }},
      {"objects only", [](sd_bus_message* message) { append(message, "a(so)", 1, ":1.5", "/button"); }},
      {"a list of Qt's kind", [](sd_bus_message* message) { append(message, "a((so)(so)(so)a(so)assusau)", 0); }},
      {"one object alone",
       [](sd_bus_message* message) {
         append(message, "((so)(so)(so)iiassusau)", ":1.5", "/a", ":1.5", "/b", ":1.5", "/c", 0, 0, 0, "", 43U, "", 0);
       }},
      {"counts that are not signed", [](sd_bus_message* message) { append(message, "a((so)(so)(so)uuassusau)", 0); }},
      {"paths as texts", [](sd_bus_message* message) { append(message, "a((ss)(ss)(ss)iiassusau)", 0); }},
      {"a wrapped list", [](sd_bus_message* message) { append(message, "v", kList, 0); }},
  };
  for (const auto& bad : table) EXPECT_FALSE(cachedObjectsIn(bad.write).has_value()) << bad.what;
  EXPECT_FALSE((BusReply{CallOutcome::timedOut, nullptr}.readCachedObjects(2).has_value()));
}

}  // namespace
}  // namespace quillard::atspi
