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

  // `segments`: of the request's path. Of "/" and "" the page is index.html. The smallest form that `acceptEncoding`
  // allows; 304 where `ifNoneMatch` knows that form.
  [[nodiscard]] HttpResponse answer(const std::vector<std::string>& segments, std::string_view ifNoneMatch,
                                    std::string_view acceptEncoding = {}) const;
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
  std::map<std::string, File> files;
};

}  // namespace quillard::relayserver
