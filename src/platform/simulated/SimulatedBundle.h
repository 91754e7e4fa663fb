#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/process/Bundle.h"

namespace quillard::platform::simulated {

// An installed program, set up by a test before it runs. At first it lies in the first of the application directories
// and has neither property lists nor information.
class SimulatedBundle final : public Bundle {
 public:
  using PropertyList = std::variant<PropertyListTexts, ResourceError>;

  void setPath(std::string path);  // The resolved path too.
  void setResolvedPath(std::string path);
  void setIdentifier(std::optional<std::string> identifier);
  void setInformationText(std::string_view key, std::string_view text);
  // What `propertyList` gives from now on: the texts, or why they cannot be read.
  void setPropertyList(std::string_view name, PropertyList list);

  [[nodiscard]] std::string path() const override { return itsPath; }
  [[nodiscard]] std::string resolvedPath() const override { return itsResolvedPath; }
  [[nodiscard]] std::optional<std::string> identifier() const override { return itsIdentifier; }
  [[nodiscard]] std::optional<std::string> informationText(std::string_view key) const override;
  [[nodiscard]] std::optional<PropertyList> propertyList(std::string_view name) const override;
  [[nodiscard]] std::vector<std::string> applicationDirectories() const override;

 private:
  std::string itsPath = "/Applications/Quillard.app";
  std::string itsResolvedPath = itsPath;
  std::optional<std::string> itsIdentifier = "com.quillard.agent";
  std::map<std::string, std::string, std::less<>> information;
  std::map<std::string, PropertyList, std::less<>> propertyLists;
};

}  // namespace quillard::platform::simulated
