#pragma once

#include <cstddef>
#include <string_view>

#include "fuzz/FuzzTarget.h"
#include "platform/linux/catalogues/CatalogueMessage.h"
#include "platform/linux/catalogues/ReverseLookup.h"

namespace quillard::fuzz {

// Takes every message as a search does, and checks what a reader promises of it.
class FuzzedMessages {
 public:
  explicit FuzzedMessages(std::size_t inputSize) : inputSize(inputSize) {}

  [[nodiscard]] catalogues::MessageVisitor visitor() {
    return [this](std::string_view source, std::string_view translation) {
      require(!source.empty() && !translation.empty(), "A message has two sides.");
      // The encodings of both sides take at most three times as much in UTF-8.
      require(source.size() + translation.size() <= 6 * inputSize, "Nothing comes from beyond the input.");
      require(lookup.pass(source, translation) > source.size(), "Each message costs something.");
      return true;
    };
  }

  void finish() const {
    for (const auto& found : lookup.found()) {
      require(found.counts.size() <= catalogues::ReverseLookup::kMostSources, "What is kept of one text has a bound.");
    }
  }

 private:
  const std::size_t inputSize;
  const std::vector<catalogues::WantedText> wanted{{"Abbrechen", false}, {"Soll a ersetzt werden?", true}};
  catalogues::ReverseLookup lookup{wanted};
};

}  // namespace quillard::fuzz
