#pragma once

namespace quillard::qt {

// Tells assistive programs what our own kinds of widgets are. Once a process is enough; more do no harm.
void installAccessibleRoles();

}  // namespace quillard::qt
