#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/accessibility/BusReply.h"
#include "platform/linux/accessibility/CachedObjects.h"
#include "support/BusMessages.h"

using namespace quillard;
using namespace quillard::atspi;
using fuzz::require;
using test::BusMessages;

namespace {

constexpr std::size_t kMost = 24;
constexpr const char* kBus = ":1.5";
constexpr const char* kRoot = "/root";

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : left(fuzz::textOf(data, size)) {}
  [[nodiscard]] bool isEmpty() const { return left.empty(); }
  std::uint8_t byte() {
    if (left.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(left.front());
    left.remove_prefix(1);
    return value;
  }
  // Mostly small, so that objects refer to each other.
  std::int32_t number() {
    const auto value = byte();
    return value < 250 ? value % 8 : static_cast<std::int32_t>(value * 0x01010101U);
  }
  std::string path() {
    const auto value = byte() % 16;
    return value == 15 ? kRoot : "/" + std::to_string(value);
  }
  const char* bus() { return byte() % 16 == 0 ? ":1.6" : kBus; }

 private:
  std::string_view left;
};

// What a toolkit might list.
void writeList(sd_bus_message* message, Input& input) {
  BusMessages::require(sd_bus_message_open_container(message, 'a', "((so)(so)(so)iiassusau)"));
  while (!input.isEmpty()) {
    const auto* const bus = input.bus();
    const auto path = input.path();
    const auto* const parentBus = input.bus();
    const auto parent = input.path();
    const auto index = input.number();
    const auto count = input.number() - 1;
    const auto role = static_cast<std::uint32_t>(input.number()) + 40;
    const std::size_t words = input.byte() % 4U;
    BusMessages::require(sd_bus_message_open_container(message, 'r', "(so)(so)(so)iiassusau"));
    BusMessages::require(sd_bus_message_append(message, "(so)(so)(so)iiassus", bus, path.c_str(), bus, kRoot, parentBus,
                                               parent.c_str(), index, count, 1, "any", path.c_str(), role, ""));
    const std::vector<std::uint32_t> states(words, 0x02000000U);
    BusMessages::require(
        sd_bus_message_append_array(message, 'u', states.data(), states.size() * sizeof(std::uint32_t)));
    BusMessages::require(sd_bus_message_close_container(message));
  }
  BusMessages::require(sd_bus_message_close_container(message));
}

// Answers of other kinds, each for whoever asked for something else.
void writeOther(sd_bus_message* message, Input& input) {
  const auto number = input.number();
  const auto path = input.path();
  switch (input.byte() % 8) {
    case 0:
      return;
    case 1:
      return BusMessages::require(sd_bus_message_append(message, "i", number));
    case 2:
      return BusMessages::require(sd_bus_message_append(message, "a(so)", 2, kBus, path.c_str(), kBus, "/"));
    case 3:
      return BusMessages::require(sd_bus_message_append(message, "au", 3, number, number, number));
    case 4:
      return BusMessages::require(sd_bus_message_append(message, "(iiii)", number, number, number, number));
    case 5:
      return BusMessages::require(sd_bus_message_append(message, "v", "s", path.c_str()));
    case 6:
      return BusMessages::require(sd_bus_message_append(message, "a((so)(so)(so)a(so)assusau)", 0));
    default:
      return BusMessages::require(sd_bus_message_append(message, "v", "(so)", kBus, path.c_str()));
  }
}

template <class Read>
auto readAnew(sd_bus_message* message, Read read) {
  BusMessages::require(sd_bus_message_rewind(message, 1));
  return (BusReply{CallOutcome::answered, message}.*read)();
}

// No answer of another kind is taken for one of these, and none reads beyond itself.
void readAll(sd_bus_message* message) {
  (void)readAnew(message, &BusReply::readUnsigned);
  (void)readAnew(message, &BusReply::readBoolean);
  (void)readAnew(message, &BusReply::readText);
  (void)readAnew(message, &BusReply::readPath);
  (void)readAnew(message, &BusReply::readObject);
  (void)readAnew(message, &BusReply::readStates);
  (void)readAnew(message, &BusReply::readExtents);
  (void)readAnew(message, &BusReply::readTextProperty);
  (void)readAnew(message, &BusReply::readIntegerProperty);
  (void)readAnew(message, &BusReply::readBooleanProperty);
  (void)readAnew(message, &BusReply::readObjectProperty);
  BusMessages::require(sd_bus_message_rewind(message, 1));
  const auto objects = BusReply{CallOutcome::answered, message}.readObjects(1);
  require(!objects || objects->objects.size() <= 1, "No more objects than were asked for.");
}

std::optional<CachedList> listIn(sd_bus_message* message) {
  BusMessages::require(sd_bus_message_rewind(message, 1));
  return BusReply{CallOutcome::answered, message}.readCachedObjects(kMost);
}

void checkTree(const ProgramNode& program) {
  std::unordered_set<const Node*> met;
  std::vector<const Node*> stack{program.root};
  while (!stack.empty()) {
    const Node& node = *stack.back();
    stack.pop_back();
    require(met.insert(&node).second, "Each object is met once, and none lies in itself.");
    require(node.name.bus == kBus, "No object is another program's.");
    require(node.depth <= NodeTree::kDeepest, "No tree is endless.");
    stack.insert(stack.end(), node.list.begin(), node.list.end());
  }
}

}  // namespace

// Whatever a program lists, it gives a tree or nothing, and the tree says what the list says.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static BusMessages messages;
  Input input(data, size);
  const bool isOther = input.byte() % 4 == 0;
  const auto message =
      messages.make([&](sd_bus_message* raw) { isOther ? writeOther(raw, input) : writeList(raw, input); });
  readAll(message.get());
  const auto list = listIn(message.get());
  require(list.has_value() || isOther, "A list is read.");
  if (!list) return 0;
  require(list->objects.size() <= kMost && (!list->isTooLong || list->objects.empty()), "All objects, or none.");
  NodeTree tree;
  ProgramNode& program = tree.program(kBus, 1, kRoot);
  program.toolkit = Toolkit::gtk3;
  tree.setChildren(*program.root, {{kBus, "/0"}, {kBus, "/1"}, {":1.6", "/2"}});
  takeCachedObjects(tree, program, list->objects);
  checkTree(program);
  require(!contradictsWalk(program, list->objects), "A tree that was taken from a list does not contradict it.");
  return 0;
}
