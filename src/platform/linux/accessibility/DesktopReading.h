#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/linux/accessibility/AccessibilityCounters.h"
#include "platform/linux/accessibility/BusConnections.h"
#include "platform/linux/accessibility/BusRequests.h"
#include "platform/linux/accessibility/ElementReference.h"
#include "platform/linux/accessibility/KnownPrograms.h"
#include "platform/linux/accessibility/ShellWindows.h"
#include "platform/linux/accessibility/TreeFetch.h"
#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::atspi {

// What every reading is made over. All of it outlives the reading.
struct ReadingDependencies {
  desktop::DesktopWindows& windows;
  KnownPrograms& knownPrograms;
  std::chrono::microseconds messagingTimeout{};  // Of each request.
  AccessibilityCounters& counters;
  // Never asked anything: it may be waiting for the very thread that reads.
  std::int32_t ownProcessIdentifier = 0;
  // The desktop told of its windows before, so that one that tells of none now has gone.
  bool expectsWindowServer = false;
  // Whether toolkits' caches may answer for the objects that they list. Not where something depends on the answers that
  // cannot be undone.
  bool mayAskCaches = false;
};

// The windows of a process, as the bus and the desktop know them together.
struct ProcessWindows {
  std::vector<Node*> present;                                              // In their programs' order, sheets included.
  std::unordered_map<const Node*, const desktop::Window*> desktopWindows;  // Those that have one.
  std::unordered_map<const Node*, Node*> sheetParents;                     // Of sheets: the window that they belong to.

  bool isIncomplete = false;  // Others may be there: not all of what they are found in could be read.

  [[nodiscard]] bool contains(const Node& window) const;
  [[nodiscard]] const desktop::Window* desktopWindow(const Node* window) const;
  [[nodiscard]] Node* sheetParent(const Node& window) const;
  [[nodiscard]] Node* sheetOf(const Node& window) const;
};

// What has been read of the desktop since this object was made: programs, windows and objects from the accessibility
// bus, and one snapshot of the desktop's windows. Each thing is asked once; what is missing is asked when it is needed.
// One thread at a time.
class DesktopReading {
 public:
  DesktopReading(BusConnections::Loan connection, const ReadingDependencies& dependencies);
  ~DesktopReading();
  DesktopReading(const DesktopReading&) = delete;
  DesktopReading& operator=(const DesktopReading&) = delete;

  [[nodiscard]] const std::string& busIdentity() const { return connection->busIdentity(); }

  // Those registered, each once, in the registry's order.
  [[nodiscard]] const std::vector<std::int32_t>& processIdentifiers();
  // Empty: the process is not on the bus, or is this one.
  [[nodiscard]] std::vector<ProgramNode*> programs(std::int32_t processIdentifier);
  [[nodiscard]] const ProcessWindows& windows(std::int32_t processIdentifier);
  // The window of the desktop in which an object lies, or that it is. Null: none is known.
  [[nodiscard]] const desktop::Window* desktopWindow(const Node& node);
  // Reads the windows of all these processes side by side, so many descendants of each.
  void prepare(const std::vector<std::int32_t>& processIdentifiers, int descendantsPerWindow);
  // Null: it cannot exist any more, since its bus has gone.
  [[nodiscard]] Node* node(const ElementReference& reference);
  // The object that `node` says it lies in, for one that was not met from above. Null: it says none.
  [[nodiscard]] Node* parent(Node& node);

  void fetch(const std::vector<FetchGoal>& goals) { trees.fetch(goals); }

  [[nodiscard]] bool hasMissedTimeout(std::int32_t processIdentifier) const;
  // Whether the program left the bus while it was read.
  [[nodiscard]] bool hasGone(const std::string& bus) const { return requests.hasGone(bus); }
  // Who did not answer, so that what was not found may be there all the same; as far as it was asked by now.
  [[nodiscard]] std::optional<platform::DesktopReadFailure> failure() const;
  [[nodiscard]] const desktop::WindowsSnapshot& desktopWindows();

  // For requests that are no reads of trees.
  [[nodiscard]] BusRequests& direct() { return requests; }
  // For requests to programs that this reading may have given up since they missed a time-out. `direct` has settled.
  [[nodiscard]] BusRequests freshRequests() { return {*connection, dependencies.counters}; }
  [[nodiscard]] std::chrono::microseconds messagingTimeout() const { return dependencies.messagingTimeout; }
  [[nodiscard]] AccessibilityCounters& counters() const { return dependencies.counters; }

  // The handle of an object that was met here.
  [[nodiscard]] platform::AXUIElement element(const Node& node) const;

 private:
  void listPrograms();
  void identify(const std::vector<ObjectName>& roots);
  ProgramNode& addProgram(const std::string& bus, const KnownProgram& known);
  void rememberPrograms();
  // Of shells whose stage was not whole when less of it was read.
  void readStages(std::int32_t processIdentifier, shell::StageExtent extent);
  [[nodiscard]] ProcessWindows findWindows(std::int32_t processIdentifier);
  // In the place of a window that shows notifications, these.
  void splitBubbleAreas(ProcessWindows& found);
  void findSheets(ProcessWindows& found);

  const ReadingDependencies dependencies;
  const BusConnections::Loan connection;
  NodeTree tree;
  BusRequests requests;
  TreeFetch trees;
  bool areProgramsListed = false;
  bool isProgramListKnown = false;  // Once they are listed: whether the registry gave a list.
  std::vector<std::int32_t> processes;
  std::unordered_map<std::int32_t, std::vector<ProgramNode*>> programsByProcess;
  std::unordered_map<std::string, ProgramNode*> programsByBus;
  std::unordered_set<const ProgramNode*> preparedPrograms;
  std::unordered_map<std::int32_t, ProcessWindows> windowsByProcess;
  std::optional<desktop::WindowsSnapshot> snapshot;
};

// Up to `limit` descendants that are elements, in the order of the walk, as far as they have been read.
[[nodiscard]] std::vector<Node*> walkOffered(const Node& root, int limit);

}  // namespace quillard::atspi
