#pragma once

#include "platform/storage/SecretStore.h"

namespace quillard::xdg {

// What every store of secrets answers alike, wherever it keeps them.
inline const platform::SecretStatus kNoSuchItem{platform::SecretStatusCode::itemNotFound, "There is no such item."};
inline const platform::SecretStatus kItemExists{platform::SecretStatusCode::other, "The item exists already."};

}  // namespace quillard::xdg
