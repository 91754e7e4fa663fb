#pragma once

#include <string_view>

#include "platform/linux/catalogues/CatalogueMessage.h"

namespace quillard::catalogues {

// Visits the messages of a compiled gettext catalogue (.mo), contexts left out. False when it is none, or is in a
// character set other than UTF-8 and Latin-1; messages that cannot be read are passed over.
bool readGettextCatalogue(std::string_view bytes, const MessageVisitor& visit);

}  // namespace quillard::catalogues
