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

void SimulatedBundle::setResource(std::string_view fileName, std::string_view text) {
  resources.insert_or_assign(std::string(fileName), std::vector<std::uint8_t>(text.begin(), text.end()));
}

void SimulatedBundle::setResource(std::string_view fileName, ResourceError error) {
  resources.insert_or_assign(std::string(fileName), std::move(error));
}

std::optional<std::string> SimulatedBundle::informationText(std::string_view key) const {
  const auto found = information.find(key);
  if (found == information.end()) return std::nullopt;
  return found->second;
}

std::optional<SimulatedBundle::Resource> SimulatedBundle::resource(std::string_view name,
                                                                   std::string_view extension) const {
  const auto found = resources.find(std::string(name) + "." + std::string(extension));
  if (found == resources.end()) return std::nullopt;
  return found->second;
}

std::vector<std::string> SimulatedBundle::applicationDirectories() const {
  return {"/Applications", "/Users/someone/Applications"};
}

}  // namespace quillard::platform::simulated
