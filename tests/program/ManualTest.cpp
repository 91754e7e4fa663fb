#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace quillard {
namespace {

using test::ChildProcess;

std::string manual() {
  std::ifstream file(MANUAL);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string outputOf(const std::string& command) {
  ChildProcess program({.command = {"sh", "-c", command}, .environment = test::presentEnvironment(), .input = {}});
  std::string text;
  while (const auto line = program.readLine()) text += *line + "\n";
  return text;
}

TEST(Manual, IsFreeOfMistakes) {
  // Its own words go nowhere; what is left are warnings.
  EXPECT_EQ(
      outputOf(std::string("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l '") + MANUAL + "' 2>&1 >/dev/null"),
      "");
}

TEST(Manual, NamesEveryCommandAndExitCode) {
  const auto text = manual();
  for (const char* piece : {".BR scan",
                            ".BR doctor",
                            ".BR pair",
                            ".BR record",
                            ".BR ask",
                            ".BR answer",
                            ".BR status",
                            ".BR pause",
                            ".BR phones",
                            ".BR unpair",
                            "\n.B open\n",
                            "\n.B quit\n",
                            "\\-\\-needs\\-computer",
                            "\\-\\-default\\-on\\-timeout",
                            "\n.B 130\n",
                            "\\-\\-json",
                            "\\-\\-text",
                            "\\-\\-force",
                            "\\-\\-mask\\-texts",
                            "\\-\\-version",
                            "\\-\\-help",
                            "\n.B 0\n",
                            "\n.B 1\n",
                            "\n.B 2\n",
                            "\n.B 3\n"}) {
    EXPECT_NE(text.find(piece), std::string::npos) << piece;
  }
}

TEST(Manual, NamesEveryVariableThatTheAgentReads) {
  const auto text = manual();
  for (const char* name : {"QUILLARD_RELAY_URL", "QUILLARD_PAIRING_ID", "QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS",
                           "QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS", "QUILLARD_APPROVAL_STALE_GRACE_SECONDS",
                           "QUILLARD_VISIBLE_WINDOW_OWNER_POLL_SECONDS", "QUILLARD_DIALOG_DIAGNOSTICS"}) {
    EXPECT_NE(text.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace quillard
