// Rejected: no matching function for call to 'max'
#include <algorithm>
#include <cstddef>
#include <cstdint>

std::uint64_t larger(std::size_t one, std::uint64_t other) { return std::max(one, other); }
