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

  // By path below the page's folder, with "/" between names.
  void add(const std::string& path, std::string content);

  // `segments`: of the request's path. Of "/" and "" the page is index.html. 304 where `ifNoneMatch` knows the file.
  [[nodiscard]] HttpResponse answer(const std::vector<std::string>& segments, std::string_view ifNoneMatch) const;
  [[nodiscard]] std::size_t fileCount() const { return files.size(); }

 private:
  struct File {
    MessageText content;
    std::string type;
    std::string tag;
    std::string caching;
  };
  std::map<std::string, File> files;
};

}  // namespace quillard::relayserver
