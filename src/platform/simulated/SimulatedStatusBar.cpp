#include "platform/simulated/SimulatedStatusBar.h"

#include <utility>

namespace quillard::platform::simulated {

namespace {

class SimulatedStatusItem final : public StatusItem {
 public:
  explicit SimulatedStatusItem(std::shared_ptr<ShownStatusItem> shown) : shown(std::move(shown)) {}
  ~SimulatedStatusItem() override { shown->isPresent = false; }

  void setLength(double points) override { shown->length = points; }
  void setImage(const TemplateImage& image) override {
    shown->image = image;
    ++shown->imageChanges;
  }
  void setToolTip(const std::string& text) override { shown->toolTip = text; }

 private:
  std::shared_ptr<ShownStatusItem> shown;
};

}  // namespace

std::vector<std::shared_ptr<const ShownStatusItem>> SimulatedStatusBar::items() const {
  std::vector<std::shared_ptr<const ShownStatusItem>> present;
  for (const auto& item : made) {
    if (auto shown = item.lock(); shown && shown->isPresent) present.push_back(std::move(shown));
  }
  return present;
}

bool SimulatedStatusBar::click() {
  const auto present = items();
  if (present.empty()) return false;
  executors.mainThread().post([item = present.back()] {
    const auto onClick = item->onClick;  // A copy, since the click may take the item away.
    if (item->isPresent && onClick) onClick();
  });
  return true;
}

std::unique_ptr<StatusItem> SimulatedStatusBar::makeStatusItem(double length, std::function<void()> onClick) {
  auto shown = std::make_shared<ShownStatusItem>();
  shown->length = length;
  shown->onClick = std::move(onClick);
  made.push_back(shown);
  return std::make_unique<SimulatedStatusItem>(std::move(shown));
}

}  // namespace quillard::platform::simulated
