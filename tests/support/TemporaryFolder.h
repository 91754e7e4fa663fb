#pragma once

#include "private-desktop/TemporaryFolder.h"

namespace quillard::test {

using privatedesktop::TemporaryFolder;

}  // namespace quillard::test
