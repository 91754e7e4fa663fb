#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/process/Executors.h"
#include "platform/shell/StatusItem.h"

namespace quillard::platform::simulated {

// What stands in the bar for one item.
struct ShownStatusItem {
  double length = 0;                   // Points.
  std::optional<TemplateImage> image;  // Absent until it is set.
  std::string toolTip;
  int imageChanges = 0;
  bool isPresent = true;  // Until the agent takes the item away.
  std::function<void()> onClick;
};

// A menu bar with room for everybody. A click comes to the agent in a later turn of the main thread, if the item is
// still there.
class SimulatedStatusBar final : public StatusBar {
 public:
  // `executors` outlives this.
  explicit SimulatedStatusBar(Executors& executors) : executors(executors) {}

  // Those that are there now, oldest first. Each stays readable after the item has gone.
  [[nodiscard]] std::vector<std::shared_ptr<const ShownStatusItem>> items() const;
  // On the newest item that is there. False when there is none.
  bool click();

  [[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem(double length, std::function<void()> onClick) override;

 private:
  Executors& executors;
  std::vector<std::weak_ptr<ShownStatusItem>> made;
};

}  // namespace quillard::platform::simulated
