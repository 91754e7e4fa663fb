#include "platform/linux/system/SystemRandom.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <openssl/sha.h>
#include <sys/auxv.h>
#include <sys/random.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

bool fillFromKernel(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::getrandom(bytes.data(), bytes.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

std::array<std::uint8_t, 16> bytesOfLastResort() {
  static std::atomic<std::uint64_t> count{0};
  struct Ingredients {
    std::array<std::uint8_t, 16> fromKernel{};
    std::uint64_t count = 0;
    std::int64_t time = 0;
    std::int64_t process = 0;
  } ingredients;
  constexpr std::size_t kSizeOfAuxiliaryBytes = 16;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): it is how the kernel hands over an address.
  const auto* const given = reinterpret_cast<const std::uint8_t*>(::getauxval(AT_RANDOM));
  if (given) std::memcpy(ingredients.fromKernel.data(), given, kSizeOfAuxiliaryBytes);
  ingredients.count = count.fetch_add(1);
  ingredients.time = std::chrono::steady_clock::now().time_since_epoch().count();
  ingredients.process = ::getpid();
  std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
  SHA256(reinterpret_cast<const std::uint8_t*>(&ingredients), sizeof ingredients, digest.data());
  std::array<std::uint8_t, 16> bytes{};
  std::copy_n(digest.begin(), bytes.size(), bytes.begin());
  return bytes;
}

}  // namespace

SystemRandom::SystemRandom() : SystemRandom(fillFromKernel) {}

bool SystemRandom::fillSecurely(std::span<std::uint8_t> bytes) {
  if (source(bytes)) return true;
  std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
  return false;
}

std::array<std::uint8_t, 16> SystemRandom::identityBytes() {
  std::array<std::uint8_t, 16> bytes{};
  return source(bytes) ? bytes : bytesOfLastResort();
}

}  // namespace quillard::desktop
