#pragma once

#include <string_view>

#include "platform/linux/catalogues/CatalogueMessage.h"

namespace quillard::catalogues {

// Visits the messages that two of Chromium's packs of texts (.pak, versions 4 and 5) share by their numbers: `english`
// gives the source, `bytes` the translation. False when one of them is no such pack.
bool readChromiumCatalogue(std::string_view bytes, std::string_view english, const MessageVisitor& visit);

}  // namespace quillard::catalogues
