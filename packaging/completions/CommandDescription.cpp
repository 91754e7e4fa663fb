#include "packaging/completions/CommandDescription.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace quillard::completions {
namespace {

// What a check lists in braces: "TEXT:{a,b}".
std::vector<std::string> listedValues(const std::string& type) {
  const auto begin = type.find('{');
  const auto end = type.rfind('}');
  std::vector<std::string> values;
  if (begin == std::string::npos || end == std::string::npos || end < begin) return values;
  for (const auto& value : CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',')) values.push_back(value);
  return values;
}

OptionDescription describeOption(const CLI::Option& option) {
  OptionDescription made{.names = {},
                         .valueName = {},
                         .values = listedValues(option.get_type_name()),
                         .description = option.get_description(),
                         .fallback = option.get_default_str(),
                         .group = option.get_group(),
                         .mayRepeat = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll ||
                                      option.get_expected_max() > 1};
  for (const auto& name : option.get_snames()) made.names.push_back("-" + name);
  for (const auto& name : option.get_lnames()) made.names.push_back("--" + name);
  if (option.get_items_expected_max() == 0) return made;
  const auto type = option.get_type_name();
  made.valueName = made.names.empty() ? option.get_name() : type.substr(0, type.find_first_of(": "));
  return made;
}

}  // namespace

bool OptionDescription::takesPath() const {
  constexpr const char* kPaths[] = {"FILE", "FOLDER", "DATABASE", "COPY"};
  return std::any_of(std::begin(kPaths), std::end(kPaths), [this](const char* name) { return valueName == name; });
}

CommandDescription describe(const CLI::App& app, const KnownValues& known, const std::string& path) {
  CommandDescription made{.name = app.get_name(), .description = app.get_description()};
  const std::string own = path.empty() ? app.get_name() : path + " " + app.get_name();
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_group().empty()) continue;  // Hidden.
    auto described = describeOption(*option);
    const auto found = known.find(own + " " + described.valueName);
    if (described.values.empty() && found != known.end()) described.values = found->second;
    (described.names.empty() ? made.arguments : made.options).push_back(std::move(described));
  }
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    made.commands.push_back(describe(*command, known, own));
  }
  return made;
}

}  // namespace quillard::completions
