#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace quillard::atspi {

// Where an object lives on the accessibility bus: the unique name of its program's connection, and its path there.
struct ObjectName {
  std::string bus;
  std::string path;
  bool operator==(const ObjectName&) const = default;
};

}  // namespace quillard::atspi

template <>
struct std::hash<quillard::atspi::ObjectName> {
  std::size_t operator()(const quillard::atspi::ObjectName& name) const {
    const std::size_t bus = std::hash<std::string>{}(name.bus);
    return std::hash<std::string>{}(name.path) ^ (bus + 0x9e3779b97f4a7c15ULL + (bus << 6U) + (bus >> 2U));
  }
};
