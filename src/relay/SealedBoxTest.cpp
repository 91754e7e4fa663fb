#include <algorithm>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "relay/SealedBox.h"
#include "support/HexBytes.h"

namespace quillard {
namespace {

using samples::hexBytes;

// One case of a NIST response file: its own lines and those of the section that it stands in.
struct Vector {
  std::map<std::string, std::string> fields;
  bool mustFail = false;

  [[nodiscard]] std::vector<std::uint8_t> bytes(const std::string& name) const { return hexBytes(fields.at(name)); }
  [[nodiscard]] std::string name() const { return "PTlen " + fields.at("PTlen") + " Count " + fields.at("Count"); }

  // What this module seals with: 256-bit keys, 96-bit nonces, 128-bit tags, no additional data.
  [[nodiscard]] bool isOurs() const {
    return fields.at("Keylen") == "256" && fields.at("IVlen") == "96" && fields.at("AADlen") == "0" &&
           fields.at("Taglen") == "128";
  }
};

std::string trimmedLine(std::string line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == ']')) line.pop_back();
  return line.starts_with('[') ? line.substr(1) : line;
}

// Empty when the file is not there.
std::vector<Vector> readVectors(const std::string& fileName) {
  std::ifstream file{QUILLARD_GCM_VECTORS "/" + fileName};
  std::vector<Vector> vectors;
  std::map<std::string, std::string> section;
  for (std::string raw; std::getline(file, raw);) {
    const bool isSection = raw.starts_with('[');
    const auto line = trimmedLine(raw);
    const auto equals = line.find(" =");
    if (line == "FAIL" && !vectors.empty()) vectors.back().mustFail = true;
    if (equals == std::string::npos || line.starts_with('#')) continue;
    const auto name = line.substr(0, equals);
    const auto value = line.substr(std::min(line.size(), equals + 3));
    if (isSection) {
      section[name] = value;
      continue;
    }
    if (name == "Count") vectors.push_back({section});
    vectors.back().fields[name] = value;
  }
  std::erase_if(vectors, [](const Vector& vector) { return !vector.isOurs(); });
  return vectors;
}

Nonce nonceOfVector(const Vector& vector) {
  Nonce nonce{};
  const auto bytes = vector.bytes("IV");
  std::copy(bytes.begin(), bytes.end(), nonce.begin());
  return nonce;
}

BoxBytes boxOfVector(const Vector& vector) {
  BoxBytes box;
  for (const auto* field : {"IV", "CT", "Tag"}) {
    const auto bytes = vector.bytes(field);
    box.insert(box.end(), bytes.begin(), bytes.end());
  }
  return box;
}

std::string plaintextOf(const Vector& vector) {
  const auto bytes = vector.bytes("PT");
  return {bytes.begin(), bytes.end()};
}

constexpr const char* kNoVectors =
    "NIST's GCM vectors are not installed at " QUILLARD_GCM_VECTORS " (Debian: python3-cryptography-vectors).";

TEST(SealedBox, SealsEveryPublishedVector) {
  const auto vectors = readVectors("gcmEncryptExtIV256.rsp");
  if (vectors.empty()) GTEST_SKIP() << kNoVectors;
  EXPECT_GE(vectors.size(), 60U);
  for (const auto& vector : vectors) {
    const Secret key{vector.bytes("Key")};
    EXPECT_EQ(sealedBox(key, nonceOfVector(vector), plaintextOf(vector)), boxOfVector(vector)) << vector.name();
  }
}

TEST(SealedBox, OpensEveryPublishedVectorAndRefusesTheForgedOnes) {
  const auto vectors = readVectors("gcmDecrypt256.rsp");
  if (vectors.empty()) GTEST_SKIP() << kNoVectors;
  std::size_t forged = 0;
  for (const auto& vector : vectors) {
    const auto opened = openedBox(Secret{vector.bytes("Key")}, boxOfVector(vector));
    if (vector.mustFail) {
      ++forged;
      EXPECT_FALSE(opened.has_value()) << vector.name();
    } else {
      EXPECT_EQ(opened, plaintextOf(vector)) << vector.name();
    }
  }
  EXPECT_GE(forged, 10U);
  EXPECT_GE(vectors.size() - forged, 10U);
}

const Secret kKey{std::string_view{"0123456789abcdef0123456789abcdef"}};
constexpr Nonce kNonce{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

TEST(SealedBox, IsNonceThenCiphertextThenTag) {
  const auto box = *sealedBox(kKey, kNonce, "[]");
  EXPECT_EQ(box.size(), 12U + 2U + 16U);
  EXPECT_EQ(nonceOf(box), kNonce);
  EXPECT_EQ(sealedBox(kKey, kNonce, "")->size(), kShortestBox);
}

TEST(SealedBox, DoesNotOpenWhenAnyBitWasChanged) {
  const auto box = *sealedBox(kKey, kNonce, "Allow");
  for (std::size_t bit = 0; bit < box.size() * 8; ++bit) {
    BoxBytes changed = box;
    changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ (1U << (bit % 8)));
    EXPECT_FALSE(openedBox(kKey, changed).has_value()) << bit;
  }
}

TEST(SealedBox, IsTooShortBelow28Bytes) {
  const auto box = *sealedBox(kKey, kNonce, "");
  EXPECT_TRUE(openedBox(kKey, box).has_value());
  for (std::size_t length = 0; length < kShortestBox; ++length) {
    const auto cut = std::span(box).first(length);
    EXPECT_FALSE(openedBox(kKey, cut).has_value()) << length;
    EXPECT_FALSE(nonceOf(cut).has_value()) << length;
  }
}

TEST(SealedBox, TakesKeysOf32BytesOnly) {
  for (const std::size_t length : {0U, 16U, 31U, 33U, 64U}) {
    const Secret key{std::string(length, 'k')};
    EXPECT_FALSE(sealedBox(key, kNonce, "x").has_value()) << length;
    EXPECT_FALSE(openedBox(key, *sealedBox(kKey, kNonce, "x")).has_value()) << length;
  }
}

RC_GTEST_PROP(SealedBox, OpensToWhatWasSealed, (const std::string& text)) {
  RC_ASSERT(openedBox(kKey, *sealedBox(kKey, kNonce, text)) == text);
}

}  // namespace
}  // namespace quillard
