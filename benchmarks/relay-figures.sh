#!/bin/sh
# Every figure of the relay, and at the end of each part how they relate: what counts, since both come from one run. For
# a machine that does nothing else; some minutes.
#
#   benchmarks/relay-figures.sh [FOLDER]     the build to use; build/release, which is made if it is not there
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
[ -f "$build/CMakeCache.txt" ] || cmake --preset release >/dev/null
cmake --build "$build" --target relay_throughput_benchmark relay_figures_benchmark relay_cluster_benchmark bare_echo
# A client and a relay for each of 10,000 pairings take more files than a shell allows.
ulimit -n "$(ulimit -H -n)"
for part in throughput figures cluster; do
  printf '\n== %s\n' "$part"
  "$build/benchmarks/relay_${part}_benchmark"
done
