#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "companion/relay/rules/HttpResponse.h"

namespace quillard::relayserver {

// The files of the phone's page, all in memory: a request is looked up among them and never reaches the disk.
class PhonePage {
 public:
  PhonePage() = default;  // No page.

  // By path below the page's folder, with "/" between names. NAME.br and NAME.gz are the file NAME as Brotli and gzip
  // have it; without NAME they are nothing. In any order.
  void add(const std::string& path, std::string content);

  // What a browser says of itself with a request: the headers of these names, empty where there are none.
  struct Accepted {
    std::string_view encoding;
    std::string_view language;
  };

  // `segments`: of the request's path. Of "/" and "" the page is index.LANGUAGE.html for the first of the browser's
  // languages that there is such a file for, which names the scripts in that language from the start, and otherwise
  // index.html. The smallest form that is accepted; 304 where `ifNoneMatch` knows that form.
  [[nodiscard]] HttpResponse answer(const std::vector<std::string>& segments, std::string_view ifNoneMatch,
                                    const Accepted& accepted = {}) const;
  [[nodiscard]] std::size_t fileCount() const { return files.size(); }

 private:
  struct Form {
    MessageText content;  // Absent: the file has no such form.
    std::string tag;
  };
  struct File {
    Form plain;
    Form brotli;
    Form gzip;
    std::string type;
    std::string caching;
  };
  [[nodiscard]] std::string indexFor(std::string_view acceptLanguage) const;

  std::map<std::string, File> files;
  bool hasLanguages = false;  // Of index.html.
};

}  // namespace quillard::relayserver
