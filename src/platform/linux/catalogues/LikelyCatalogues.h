#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/catalogues/CataloguePath.h"

namespace quillard::catalogues {

// What is known of a program whose catalogues cannot be seen.
struct ProgramTraits {
  std::string name;      // As the kernel has it; may be what the program likes.
  std::string toolkit;   // As the accessibility bus has it: "gtk", "GTK", "Qt"; empty: not known.
  std::string language;  // A locale such as "pt_BR.UTF-8", or a language alone.
};

// The names under which catalogues of this language are kept, the most special first: "pt_BR", "pt". Empty for English,
// for the locale of no language ("C"), and for what is no name of a locale.
[[nodiscard]] std::vector<std::string> languageNames(std::string_view locale);

// Where the catalogues of such a program usually are, below `shareFolder` ("/usr/share"): its own by its name, and
// those of its toolkit, or of all toolkits when that is not known. They may not be there.
[[nodiscard]] std::vector<CataloguePath> likelyCatalogues(const ProgramTraits& program, const std::string& shareFolder);

}  // namespace quillard::catalogues
