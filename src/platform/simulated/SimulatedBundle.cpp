#include "platform/simulated/SimulatedBundle.h"

namespace quillard::platform::simulated {

void SimulatedBundle::setPath(std::string path) {
  itsResolvedPath = path;
  itsPath = std::move(path);
}

void SimulatedBundle::setResolvedPath(std::string path) { itsResolvedPath = std::move(path); }

void SimulatedBundle::setIdentifier(std::optional<std::string> identifier) { itsIdentifier = std::move(identifier); }

void SimulatedBundle::setInformationText(std::string_view key, std::string_view text) {
  information.insert_or_assign(std::string(key), std::string(text));
}

void SimulatedBundle::setPropertyList(std::string_view name, PropertyList list) {
  propertyLists.insert_or_assign(std::string(name), std::move(list));
}

std::optional<std::string> SimulatedBundle::informationText(std::string_view key) const {
  const auto found = information.find(key);
  if (found == information.end()) return std::nullopt;
  return found->second;
}

std::optional<SimulatedBundle::PropertyList> SimulatedBundle::propertyList(std::string_view name) const {
  const auto found = propertyLists.find(name);
  if (found == propertyLists.end()) return std::nullopt;
  return found->second;
}

std::vector<std::string> SimulatedBundle::applicationDirectories() const {
  return {"/Applications", "/Users/someone/Applications"};
}

}  // namespace quillard::platform::simulated
