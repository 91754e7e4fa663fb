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
  for (const char* page : {MANUAL, RELAY_MANUAL}) {
    EXPECT_EQ(
        outputOf(std::string("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l '") + page + "' 2>&1 >/dev/null"),
        "");
  }
}

TEST(Manual, NamesEveryExitCode) {
  const auto text = manual();
  for (const char* piece :
       {"\n.B 0\n", "\n.B 1\n", "\n.B 2\n", "\n.B 3\n", "\n.BR 4 \", \" 5 \", \" 6 \", \" 7\n", "\n.B 130\n"}) {
    EXPECT_NE(text.find(piece), std::string::npos) << piece;
  }
}

}  // namespace
}  // namespace quillard
