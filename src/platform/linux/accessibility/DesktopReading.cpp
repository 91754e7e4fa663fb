#include "platform/linux/accessibility/DesktopReading.h"

#include <algorithm>
#include <utility>

#include "platform/linux/accessibility/BubbleAreas.h"
#include "platform/linux/accessibility/CachedObjects.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/Mapping.h"
#include "platform/linux/accessibility/ShellWindows.h"
#include "platform/linux/accessibility/WindowMatching.h"

namespace quillard::atspi {
namespace {

// As many programs as one desktop may have.
constexpr std::size_t kMostPrograms = 4096;

bool hasToolkit(const ProgramNode& program) { return program.toolkitProgress == Progress::known; }

std::vector<desktop::Window> windowsOf(const desktop::WindowsSnapshot& snapshot, std::int32_t processIdentifier) {
  std::vector<desktop::Window> owned;
  for (const auto& window : snapshot.windows) {
    if (window.processIdentifier == processIdentifier) owned.push_back(window);
  }
  return owned;
}

AccessibleWindow described(const Node& node) {
  const Toolkit toolkit = node.program->toolkit;
  return {.name = mapping::nameOf(node.record, toolkit),
          .isShowing = toolkit == Toolkit::gtk4 || node.record.is(State::showing),
          .extents = node.record.extents,
          .tellsPlace = toolkit != Toolkit::gtk4};
}

// What came of comparing the cache with the walk of the same reading.
CacheCheck checkOf(const ProgramNode& program) {
  if (program.cacheUse != CacheUse::compare || program.cachedObjects.empty()) return CacheCheck::none;
  return contradictsWalk(program, program.cachedObjects) ? CacheCheck::contradicted : CacheCheck::confirmed;
}

}  // namespace

bool ProcessWindows::contains(const Node& window) const {
  return std::find(present.begin(), present.end(), &window) != present.end();
}

const desktop::Window* ProcessWindows::desktopWindow(const Node* window) const {
  const auto found = desktopWindows.find(window);
  return found == desktopWindows.end() ? nullptr : found->second;
}

Node* ProcessWindows::sheetParent(const Node& window) const {
  const auto found = sheetParents.find(&window);
  return found == sheetParents.end() ? nullptr : found->second;
}

Node* ProcessWindows::sheetOf(const Node& window) const {
  for (Node* candidate : present) {
    if (sheetParent(*candidate) == &window) return candidate;
  }
  return nullptr;
}

DesktopReading::DesktopReading(BusConnections::Loan connection, const ReadingDependencies& dependencies)
    : dependencies(dependencies),
      connection(std::move(connection)),
      requests(*this->connection, dependencies.counters),
      trees(requests, tree, dependencies.messagingTimeout) {}

DesktopReading::~DesktopReading() { rememberPrograms(); }

const std::vector<std::int32_t>& DesktopReading::processIdentifiers() {
  listPrograms();
  return processes;
}

std::vector<ProgramNode*> DesktopReading::programs(std::int32_t processIdentifier) {
  if (processIdentifier == dependencies.ownProcessIdentifier) return {};
  listPrograms();
  const auto found = programsByProcess.find(processIdentifier);
  return found == programsByProcess.end() ? std::vector<ProgramNode*>{} : found->second;
}

void DesktopReading::listPrograms() {
  if (std::exchange(areProgramsListed, true)) return;
  std::vector<ObjectName> roots;
  requests.send(
      {.target = {names::kRegistry, names::kRootPath}, .interface = names::kAccessible, .member = "GetChildren"},
      messagingTimeout(), [&](const BusReply& reply) {
        auto list = reply.readObjects(kMostPrograms);
        isProgramListKnown = list.has_value();
        if (list) roots = std::move(list->objects);
      });
  requests.settle();
  std::unordered_set<std::string> buses;
  std::erase_if(roots, [&](const ObjectName& root) { return root.bus.empty() || !buses.insert(root.bus).second; });
  dependencies.knownPrograms.retain(busIdentity(), buses);
  identify(roots);
}

void DesktopReading::identify(const std::vector<ObjectName>& roots) {
  std::vector<std::optional<KnownProgram>> known(roots.size());
  for (std::size_t i = 0; i < roots.size(); ++i) {
    known[i] = dependencies.knownPrograms.find(busIdentity(), roots[i].bus);
    if (known[i]) continue;
    requests.send({.target = {names::kBus, names::kBusPath},
                   .interface = names::kBus,
                   .member = "GetConnectionUnixProcessID",
                   .arguments = {roots[i].bus}},
                  messagingTimeout(), [&, i](const BusReply& reply) {
                    const auto process = reply.readUnsigned();
                    if (!process) return;
                    known[i] = KnownProgram{.processIdentifier = static_cast<std::int32_t>(*process),
                                            .rootPath = roots[i].path};
                  });
  }
  requests.settle();
  for (std::size_t i = 0; i < roots.size(); ++i) {
    if (!known[i]) continue;
    ProgramNode& program = addProgram(roots[i].bus, *known[i]);
    auto& ofProcess = programsByProcess[program.processIdentifier];
    if (ofProcess.empty()) processes.push_back(program.processIdentifier);
    ofProcess.push_back(&program);
  }
}

ProgramNode& DesktopReading::addProgram(const std::string& bus, const KnownProgram& known) {
  auto& slot = programsByBus[bus];
  if (slot) return *slot;
  slot = &tree.program(bus, known.processIdentifier, known.rootPath);
  slot->hasLargeContainers = known.carefulReadings > 0;
  slot->filledWindows = known.filledWindows;
  if (known.isToolkitKnown) {
    slot->toolkitProgress = Progress::known;
    slot->toolkitName = known.toolkitName;
    slot->toolkitVersion = known.toolkitVersion;
    slot->toolkit = mapping::toolkitOf(known.toolkitName, known.toolkitVersion);
    if (dependencies.mayAskCaches) slot->cacheUse = cacheUseOf(known, slot->toolkit);
  }
  return *slot;
}

void DesktopReading::rememberPrograms() {
  for (const auto& [bus, program] : programsByBus) {
    const auto before = dependencies.knownPrograms.find(busIdentity(), bus);
    const bool isAnswering = !requests.hasMissedTimeout(bus) && !requests.hasGone(bus);
    KnownProgram known{
        .processIdentifier = program->processIdentifier,
        .rootPath = program->root->name.path,
        .isToolkitKnown = hasToolkit(*program) && isAnswering && !program->toolkitName.empty(),
        .toolkitName = program->toolkitName,
        .toolkitVersion = program->toolkitVersion,
        .carefulReadings = carefulReadingsAfter(before ? before->carefulReadings : 0, program->wasAskedForChildren,
                                                program->hasShownLargeContainers),
        .isSmall = before && before->isSmall,
        .readingsWithoutCache = before ? before->readingsWithoutCache : 0,
        .uncheckedReadings = before ? before->uncheckedReadings : 0,
        .wasContradicted = before && before->wasContradicted,
        .filledWindows = program->filledWindows};
    learn(known, {.wasRead = preparedPrograms.contains(program),
                  .isWhole = isAnswering && areTreesSmall(*program),
                  .askedCache = program->cache != Progress::notAsked,
                  .cacheAnswer = program->cacheAnswer,
                  .check = checkOf(*program)});
    dependencies.knownPrograms.remember(busIdentity(), bus, known);
  }
}

Node* DesktopReading::node(const ElementReference& reference) {
  if (reference.busIdentity != busIdentity()) return nullptr;
  const auto known = dependencies.knownPrograms.find(busIdentity(), reference.name.bus);
  ProgramNode& program = addProgram(
      reference.name.bus,
      known.value_or(KnownProgram{.processIdentifier = reference.processIdentifier, .rootPath = names::kRootPath}));
  return &tree.node(program, reference.name.path, reference.windowPath);
}

Node* DesktopReading::parent(Node& node) {
  if (node.parent) return node.parent;
  std::optional<ObjectName> name;
  requests.send(propertyCall(node.name, names::kAccessible, "Parent"), messagingTimeout(),
                [&](const BusReply& reply) { name = reply.readObjectProperty(); });
  requests.settle();
  if (!name || name->bus != node.program->bus || name->path == names::kNullPath || *name == node.name) return nullptr;
  if (name->path == node.program->root->name.path) return node.program->root;
  return &tree.node(*node.program, name->path, node.window ? node.window->name.path : "");
}

const desktop::Window* DesktopReading::desktopWindow(const Node& node) {
  return windows(node.program->processIdentifier).desktopWindow(node.window);
}

void DesktopReading::prepare(const std::vector<std::int32_t>& processIdentifiers, int descendantsPerWindow) {
  std::vector<FetchGoal> goals;
  for (const auto process : processIdentifiers) {
    for (ProgramNode* program : programs(process)) {
      const bool isShell = shell::isShell(*program);
      if (descendantsPerWindow > 0) preparedPrograms.insert(program);
      goals.push_back(isShell ? shell::stageGoal(*program)
                              : FetchGoal{.node = program->root, .descendants = descendantsPerWindow});
    }
  }
  fetch(goals);
  goals.clear();
  for (const auto& [bus, program] : programsByBus) {
    if (!shell::isShell(*program)) continue;
    for (Node* window : windows(program->processIdentifier).present) {
      goals.push_back({.node = window, .descendants = descendantsPerWindow});
    }
  }
  fetch(goals);
}

const ProcessWindows& DesktopReading::windows(std::int32_t processIdentifier) {
  const auto found = windowsByProcess.find(processIdentifier);
  if (found != windowsByProcess.end()) return found->second;
  return windowsByProcess.emplace(processIdentifier, findWindows(processIdentifier)).first->second;
}

void DesktopReading::readStages(std::int32_t processIdentifier, shell::StageExtent extent) {
  std::vector<ProgramNode*> shells;
  for (ProgramNode* program : programs(processIdentifier)) {
    const bool isMore = extent == shell::StageExtent::crowded;
    if (shell::isShell(*program) && !(isMore && shell::isStageWhole(*program))) shells.push_back(program);
  }
  std::vector<FetchGoal> goals;
  for (ProgramNode* program : shells) goals.push_back(shell::stageGoal(*program, extent));
  fetch(goals);
  goals.clear();
  for (ProgramNode* program : shells) {
    const auto groups = shell::windowGroupGoals(*program, extent);
    goals.insert(goals.end(), groups.begin(), groups.end());
  }
  fetch(goals);
}

ProcessWindows DesktopReading::findWindows(std::int32_t processIdentifier) {
  std::vector<FetchGoal> goals;
  for (ProgramNode* program : programs(processIdentifier)) goals.push_back({.node = program->root});
  fetch(goals);
  readStages(processIdentifier, shell::StageExtent::everyday);
  readStages(processIdentifier, shell::StageExtent::crowded);
  ProcessWindows found;
  std::vector<Node*> candidates;
  for (ProgramNode* program : programs(processIdentifier)) {
    if (shell::isShell(*program) && !shell::isStageWhole(*program)) found.isIncomplete = true;
    const auto own = shell::isShell(*program) ? shell::windowsOf(*program) : program->root->list;
    for (Node* window : own) {
      const bool isWindow = !window->isUnreadable && mapping::isWindowRole(window->record.role);
      if (isWindow && !window->record.is(State::defunct)) candidates.push_back(window);
    }
  }
  std::vector<AccessibleWindow> accessible;
  for (const Node* candidate : candidates) accessible.push_back(described(*candidate));
  const auto owned = windowsOf(desktopWindows(), processIdentifier);
  const bool areAll = snapshot->coverage == desktop::WindowCoverage::all;
  const auto matches = matchWindows(accessible, owned, areAll);

  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const desktop::Window* window = nullptr;
    if (matches[i]) {
      window = &*std::find_if(snapshot->windows.begin(), snapshot->windows.end(),
                              [&](const desktop::Window& known) { return known.id == owned[*matches[i]].id; });
      found.desktopWindows.emplace(candidates[i], window);
    }
    const auto& record = candidates[i]->record;
    if (mapping::isPresentWindow(record, candidates[i]->program->toolkit, window, !owned.empty() && areAll)) {
      found.present.push_back(candidates[i]);
    }
  }
  splitBubbleAreas(found);
  findSheets(found);
  return found;
}

// Not one that the desktop lists: what it knows of that window would be said of each notification.
void DesktopReading::splitBubbleAreas(ProcessWindows& found) {
  std::vector<Node*> present;
  for (Node* window : found.present) {
    std::optional<bubbles::Area> area;
    if (!found.desktopWindow(window) && bubbles::mayBeArea(*window)) {
      fetch(bubbles::areaGoals(*window));
      area = bubbles::areaOf(*window);
    }
    if (!area) {
      present.push_back(window);
      continue;
    }
    std::vector<FetchGoal> goals;
    for (Node* bubble : area->bubbles) goals.push_back({.node = bubble});
    fetch(goals);
    present.insert(present.end(), area->bubbles.begin(), area->bubbles.end());
    found.isIncomplete = found.isIncomplete || !area->isWhole;
  }
  found.present = std::move(present);
}

// A sheet is a modal dialog that belongs to an ordinary window of the same process: it is then the last child of that
// window, where it is met first. A window has one sheet, the uppermost; a dialog has none, since the two would be read
// as one prompt. Whatever else is modal stays a window.
void DesktopReading::findSheets(ProcessWindows& found) {
  std::unordered_map<desktop::WindowID, Node*> ordinary;
  for (Node* node : found.present) {
    const auto* window = found.desktopWindow(node);
    if (window && !window->isHidden && !mapping::isDialogWindow(node->record, window)) ordinary[window->id] = node;
  }
  std::unordered_map<Node*, Node*> sheets;
  for (const auto& above : desktopWindows().windows) {  // Bottom to top, so the uppermost comes last.
    if (!above.transientFor || above.isHidden || !ordinary.contains(*above.transientFor)) continue;
    for (Node* node : found.present) {
      if (found.desktopWindow(node) != &above) continue;
      const bool isSheet = mapping::isDialogRole(node->record.role) && mapping::isModal(node->record, &above);
      if (isSheet) sheets[ordinary[*above.transientFor]] = node;
    }
  }
  for (const auto& [parent, sheet] : sheets) found.sheetParents.emplace(sheet, parent);
}

bool DesktopReading::hasMissedTimeout(std::int32_t processIdentifier) const {
  return std::any_of(programsByBus.begin(), programsByBus.end(), [&](const auto& entry) {
    return entry.second->processIdentifier == processIdentifier && requests.hasMissedTimeout(entry.first);
  });
}

std::optional<platform::DesktopReadFailure> DesktopReading::failure() const {
  using platform::DesktopReadFailure;
  // The bus itself is asked which process a program is: one that could not be told is missing from the list.
  if (!connection->isOpen() || requests.hasMissedTimeout(names::kBus)) return DesktopReadFailure::accessibilityService;
  if (areProgramsListed && !isProgramListKnown) return DesktopReadFailure::applicationList;
  const bool hasLostServer =
      dependencies.expectsWindowServer && snapshot && snapshot->coverage == desktop::WindowCoverage::none;
  return hasLostServer ? std::optional(DesktopReadFailure::windowServer) : std::nullopt;
}

const desktop::WindowsSnapshot& DesktopReading::desktopWindows() {
  if (!snapshot) snapshot = dependencies.windows.snapshot();
  return *snapshot;
}

platform::AXUIElement DesktopReading::element(const Node& node) const {
  if (&node == node.program->root) return ElementReference::application(node.program->processIdentifier);
  return ElementReference::object(node.name, node.window ? node.window->name.path : "", busIdentity(),
                                  node.program->processIdentifier);
}

std::vector<Node*> walkOffered(const Node& root, int limit) {
  std::vector<Node*> met;
  std::vector<Node*> stack = offeredChildren(root);
  while (!stack.empty() && static_cast<int>(met.size()) < limit) {
    Node* const node = stack.back();
    stack.pop_back();
    met.push_back(node);
    const auto inner = offeredChildren(*node);
    stack.insert(stack.end(), inner.begin(), inner.end());
  }
  return met;
}

}  // namespace quillard::atspi
