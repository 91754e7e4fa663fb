#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/AXAddressee.h"
#include "platform/macos/AXCalls.h"
#include "platform/macos/AXElement.h"

namespace quillard::macos {

// One request brings all attributes that a walk asks every element for, at the first read of any of them; one more
// brings its value, and one the names of its actions, when they are asked for: the value of a terminal or an editor is
// all of its text, and the value of a secure text field is never asked for. An element whose application does not
// answer such a request as it should is asked for each attribute by itself. Every answer is kept until the scope ends.
//
// A request that cannot be completed counts as a time-out: the system does not tell these apart. An error in the place
// of one attribute does not: the application has answered.
class MacReadScope final : public platform::AXReadScope {
 public:
  using Answer = platform::AXResult<platform::AXValue>;
  using Answers = std::map<std::string, Answer, std::less<>>;

  MacReadScope(AXCalls calls, FrontmostProcess frontmost) : calls(calls), frontmost(std::move(frontmost)) {}

  [[nodiscard]] platform::AXResult<platform::AXValue> copyAttributeValue(const platform::AXUIElement& element,
                                                                         platform::AXAttribute name) override;
  [[nodiscard]] platform::AXResult<std::vector<std::string>> copyActionNames(
      const platform::AXUIElement& element) override;
  // Does nothing: no request of this system serves many elements.
  void prepareApplications(std::span<const platform::AXUIElement> applications, int descendantsPerWindow) override;
  [[nodiscard]] bool missedTimeout(const platform::AXUIElement& element) const override;
  // Only the permission can be missing here: every request is refused then. One that is refused by a single application
  // says nothing of the desktop.
  [[nodiscard]] std::optional<platform::DesktopReadFailure> desktopFailure() const override;

 private:
  struct Known {
    Answers attributes;
    std::optional<platform::AXResult<std::vector<std::string>>> actionNames;
    bool takesNoLists = false;
  };

  // Whom to ask for the attribute of the element; who has the keyboard is asked once.
  [[nodiscard]] platform::AXResult<platform::AXUIElement> addressee(const platform::AXUIElement& element,
                                                                    platform::AXAttribute name);
  // Keeps in `known` what one request for `names` brings. False when the application cannot be asked.
  bool readBatch(const AXElement& element, const std::vector<platform::AXAttribute>& names, Known& known);
  void note(platform::AXError error, const AXElement& element);
  [[nodiscard]] bool hasMissed(const AXElement& element) const;

  const AXCalls calls;
  const FrontmostProcess frontmost;
  std::optional<platform::AXResult<platform::AXUIElement>> withKeyboard;
  std::unordered_map<platform::AXUIElement, Known> answers;
  std::set<std::int32_t> missed;  // By process; 0 for the system-wide element.
  bool wasRefused = false;        // Some request, since this process may not use the interface.
  bool wasAnswered = false;       // Some other request.
};

}  // namespace quillard::macos
