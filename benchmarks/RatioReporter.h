#pragma once

#include <string>
#include <vector>

// What is kept of a benchmark is how two of its figures relate, since both come from one run on one machine.
namespace quillard::benchmarks {

// A line to print: how many times longer `slow` takes than `fast`, and what is hoped of it.
struct Ratio {
  // Names as Google Benchmark prints them, such as "storeReplace/10000", or of a counter: "joins/2:a_second".
  std::string slow;
  std::string fast;
  std::string meaning;
};

// Runs what the command line asks for, prints the usual table, then the ratios whose two benchmarks were run. The
// process's exit code.
int runAndPrintRatios(int argc, char** argv, const std::vector<Ratio>& ratios);

}  // namespace quillard::benchmarks
