#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <systemd/sd-bus.h>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "values/Geometry.h"

namespace quillard::test {

// An object of a fake program, as it would have the world see it.
struct FakeObject {
  std::uint32_t role = 0;
  std::uint64_t states = 0;
  std::string name;
  std::string description;
  std::string text;
  std::optional<Rect> extents;
  std::vector<std::string> children;         // Paths, of this program.
  std::vector<std::string> foreignChildren;  // "bus/path" of other programs, listed after the children.
  std::vector<std::string> actions;
};

// An object as the cache of a fake program lists it.
struct FakeCachedObject {
  std::string bus;
  std::string path;
  std::string parentBus;
  std::string parentPath;
  std::int32_t index = 0;
  std::int32_t childCount = 0;
  std::uint32_t role = 0;
  std::uint64_t states = 0;
  std::string name;
  std::string description;
};

// A program on a fake accessibility bus. It answers on a thread of its own, and may misbehave in any way.
class FakeProgram {
 public:
  using Override = std::function<bool(sd_bus_message*)>;

  // `override` answers first, on the thread of the program; false: the objects answer.
  explicit FakeProgram(const std::string& address, const std::string& wellKnownName = "", Override override = {});
  FakeProgram(const std::string& address, const std::vector<std::string>& wellKnownNames, Override override);
  ~FakeProgram();
  FakeProgram(const FakeProgram&) = delete;
  FakeProgram& operator=(const FakeProgram&) = delete;

  [[nodiscard]] const std::string& name() const { return uniqueName; }

  static constexpr const char* kRoot = "/org/a11y/atspi/accessible/root";
  // Adds or replaces an object. Any thread.
  void set(const std::string& path, const FakeObject& object);
  // Calls of this member (or reads of this property) are never answered.
  void hangOn(const std::string& member);
  // Until here: from now on they are answered.
  void goOnWith(const std::string& member);
  // They are answered with a number of a type that fits nowhere.
  void lieOn(const std::string& member);
  // How often a member, or property, was asked for.
  [[nodiscard]] int timesAsked(const std::string& member);
  // What was asked of it, one "member path" each.
  [[nodiscard]] std::vector<std::string> asked();
  // From now on it has a cache that lists what its objects are then, below the first of them that has each as its
  // child. `edit`, which may be empty, changes the list before it goes out. Any thread.
  void offerCache(std::function<void(std::vector<FakeCachedObject>&)> edit = {});
  // As which toolkit it speaks. Any thread.
  void speakAs(const std::string& toolkit, const std::string& version);

 private:
  void run();
  static int onMessage(sd_bus_message* message, void* program, sd_bus_error*);
  int answer(sd_bus_message* message);
  int answerProperty(sd_bus_message* message, const FakeObject& object, const std::string& property);
  int answerParent(sd_bus_message* message);
  int answerMethod(sd_bus_message* message, const FakeObject& object, const std::string& member);
  int replyObjects(sd_bus_message* message, const FakeObject& object);
  [[nodiscard]] std::vector<FakeCachedObject> cachedObjects() const;
  int replyCache(sd_bus_message* message);

  const Override override;
  sd_bus* bus = nullptr;
  std::string uniqueName;
  int wakeFile = -1;
  std::mutex mutex;
  std::map<std::string, FakeObject> objects;
  std::set<std::string> hanging;
  std::set<std::string> lying;
  std::vector<std::string> questions;
  std::optional<std::function<void(std::vector<FakeCachedObject>&)>> cacheEdit;  // Absent: there is no cache.
  std::string toolkitName = "gtk";
  std::string toolkitVersion = "3.24.38";
  std::thread thread;
};

// One bus that is session bus and accessibility bus at once, with a launcher and a registry on it.
class FakeAccessibilityBus {
 public:
  FakeAccessibilityBus();

  [[nodiscard]] const std::string& address() const { return busAddress; }
  [[nodiscard]] std::unique_ptr<FakeProgram> start();
  // Lists these programs at the registry.
  void registerPrograms(const std::vector<std::string>& names);
  FakeProgram& registry() { return *registryProgram; }
  // Another registry takes the place of the first one, and knows nothing.
  void startRegistryAnew();
  // Whether accessibility is switched on.
  std::atomic<bool> isEnabled{true};
  // Whether the launcher leaves its questions unanswered.
  std::atomic<bool> isLauncherSilent{false};
  void kill() { daemon->kill(); }

 private:
  const TemporaryFolder folder;
  std::unique_ptr<ChildProcess> daemon;
  std::string busAddress;
  std::unique_ptr<FakeProgram> launcher;
  std::unique_ptr<FakeProgram> registryProgram;
};

}  // namespace quillard::test
