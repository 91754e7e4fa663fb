#pragma once

#include <string_view>

#include "platform/linux/catalogues/CatalogueMessage.h"

namespace quillard::catalogues {

// Visits the messages of a compiled Qt catalogue (.qm). Messages whose source text was left out when it was compiled
// are passed over. False when it is none.
bool readQtCatalogue(std::string_view bytes, const MessageVisitor& visit);

}  // namespace quillard::catalogues
