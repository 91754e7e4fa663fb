#include "app/DoctorReport.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "foundation/PrintableText.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;

constexpr std::size_t kLongestDetail = 2000;

const char* mark(State state) {
  switch (state) {
    case State::fine:
      return "  ok  ";
    case State::note:
      return " note ";
    case State::problem:
      return "PROBLEM";
  }
  return "";
}

const char* name(State state) {
  switch (state) {
    case State::fine:
      return "fine";
    case State::note:
      return "note";
    case State::problem:
      return "problem";
  }
  return "";
}

auto countOf(const std::vector<DoctorCheck>& checks, State state) {
  return std::count_if(checks.begin(), checks.end(), [&](const DoctorCheck& check) { return check.state == state; });
}

std::string summary(const std::vector<DoctorCheck>& checks) {
  const auto problems = countOf(checks, State::problem);
  if (problems == 0) return "Everything that the agent needs is there.\n";
  return problems == 1 ? "There is 1 problem.\n" : "There are " + std::to_string(problems) + " problems.\n";
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

State worst(const std::vector<DoctorCheck>& checks) {
  if (countOf(checks, State::problem) > 0) return State::problem;
  return countOf(checks, State::note) > 0 ? State::note : State::fine;
}

}  // namespace

std::string doctorText(const std::vector<DoctorCheck>& checks) {
  constexpr std::size_t kMarkWidth = 9;
  constexpr std::size_t kTitleWidth = 18;
  std::string text;
  for (const auto& check : checks) {
    text += padded(mark(check.state), kMarkWidth) + padded(check.title, kTitleWidth) +
            printableText(check.detail, kLongestDetail) + "\n";
    if (check.remedy.empty()) continue;
    text += std::string(kMarkWidth + kTitleWidth, ' ') + "-> " + printableText(check.remedy, kLongestDetail) + "\n";
  }
  return text + "\n" + summary(checks);
}

std::string doctorJson(const std::vector<DoctorCheck>& checks, const std::string& version) {
  nlohmann::ordered_json report;
  report["version"] = version;
  report["state"] = name(worst(checks));
  report["checks"] = nlohmann::ordered_json::array();
  for (const auto& check : checks) {
    nlohmann::ordered_json one;
    one["id"] = check.id;
    one["title"] = check.title;
    one["state"] = name(check.state);
    one["detail"] = printableText(check.detail, kLongestDetail);
    if (!check.remedy.empty()) one["remedy"] = printableText(check.remedy, kLongestDetail);
    report["checks"].push_back(std::move(one));
  }
  return report.dump(2) + "\n";
}

ExitCode exitCode(const std::vector<DoctorCheck>& checks) {
  return worst(checks) == State::problem ? ExitCode::problemFound : ExitCode::fine;
}

}  // namespace quillard::app
