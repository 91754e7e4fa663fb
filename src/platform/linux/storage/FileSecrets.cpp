#include "platform/linux/storage/FileSecrets.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/HexText.h"
#include "platform/linux/storage/SecretStatuses.h"

namespace quillard::xdg {
namespace {

using platform::SecretReading;
using platform::SecretStatus;
using platform::SecretStatusCode;

// The file: this line, then for each item one of service, account and data, in hexadecimal digits with blanks between.
// Plain enough to be read and written within buffers that are wiped, which a general reader would not do.
constexpr std::string_view kHeading = "quillard-secrets 1\n";
constexpr std::size_t kLargestFile = 256 * 1024;

const SecretStatus kBroken{SecretStatusCode::other, "The file of secrets is damaged."};

// A text that only grows within what was set aside for it, so that no copy of it is left behind, and is wiped.
class WipedText {
 public:
  explicit WipedText(std::size_t room) : text(room, '\0') { text.clear(); }
  WipedText(const WipedText&) = delete;
  WipedText& operator=(const WipedText&) = delete;
  ~WipedText() { wipe(text); }
  void append(std::string_view more) { text += more; }
  void appendHex(std::string_view bytes) {
    for (const char byte : bytes) quillard::appendHex(static_cast<std::uint8_t>(byte), text);
  }
  [[nodiscard]] std::string_view view() const { return text; }

 private:
  std::string text;
};

std::optional<Secret> unhexed(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  WipedText bytes(digits.size() / 2);
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const auto read = hexByte(digits[i], digits[i + 1]);
    if (!read) return std::nullopt;
    const char byte = static_cast<char>(*read);
    bytes.append({&byte, 1});
  }
  return Secret(bytes.view());
}

// What stands before the next `separator`, which must be there.
std::optional<std::string_view> cut(std::string_view& text, char separator) {
  const auto end = text.find(separator);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(end + 1);
  return piece;
}

struct Item {
  std::string service;
  std::string account;
  Secret data;
};

std::optional<Item> readItem(std::string_view line) {
  const auto service = cut(line, ' ');
  const auto account = cut(line, ' ');
  if (!service || !account) return std::nullopt;
  const auto serviceBytes = unhexed(*service);
  const auto accountBytes = unhexed(*account);
  auto data = unhexed(line);
  if (!serviceBytes || !accountBytes || !data) return std::nullopt;
  return Item{std::string(serviceBytes->text()), std::string(accountBytes->text()), std::move(*data)};
}

SecretStatus statusOf(const FileProblem& problem) {
  const auto code =
      problem.kind == FileProblem::Kind::unsafe ? SecretStatusCode::accessDenied : SecretStatusCode::other;
  return {code, "The file of secrets cannot be used: " + problem.text};
}

}  // namespace

FileSecrets::FileSecrets(std::string folder) : file(std::move(folder), "secrets", kLargestFile) {}

std::variant<FileSecrets::Items, SecretStatus> FileSecrets::load() {
  const auto content = file.read();
  if (const auto* problem = std::get_if<FileProblem>(&content)) {
    if (problem->kind == FileProblem::Kind::absent) return Items{};
    return statusOf(*problem);
  }
  std::string_view rest = std::get<Secret>(content).text();
  if (!rest.starts_with(kHeading)) return kBroken;
  rest.remove_prefix(kHeading.size());
  Items items;
  while (!rest.empty()) {
    const auto line = cut(rest, '\n');
    auto item = line ? readItem(*line) : std::nullopt;
    if (!item || !items.emplace(Key{item->service, item->account}, std::move(item->data)).second) return kBroken;
  }
  return items;
}

SecretStatus FileSecrets::save(const Items& items) {
  std::size_t size = kHeading.size();
  for (const auto& [key, data] : items) {
    size += 2 * (key.first.size() + key.second.size() + data.view().size()) + 3;
  }
  WipedText text(size);
  text.append(kHeading);
  for (const auto& [key, data] : items) {
    text.appendHex(key.first);
    text.append(" ");
    text.appendHex(key.second);
    text.append(" ");
    text.appendHex(data.text());
    text.append("\n");
  }
  const auto problem = file.write(text.view());
  return problem ? statusOf(*problem) : SecretStatus{};
}

SecretReading FileSecrets::copyMatching(std::string_view service, std::string_view account) {
  const MutexLock lock(mutex);
  const auto loaded = load();
  if (const auto* status = std::get_if<SecretStatus>(&loaded)) return {*status, {}};
  const auto& items = std::get<Items>(loaded);
  const auto found = items.find(Key{service, account});
  if (found == items.end()) return {kNoSuchItem, {}};
  return {{}, found->second};
}

SecretStatus FileSecrets::add(std::string_view service, std::string_view account, const Secret& data) {
  const MutexLock lock(mutex);
  auto loaded = load();
  if (const auto* status = std::get_if<SecretStatus>(&loaded)) return *status;
  auto& items = std::get<Items>(loaded);
  if (!items.emplace(Key{service, account}, data).second) return kItemExists;
  return save(items);
}

SecretStatus FileSecrets::update(std::string_view service, std::string_view account, const Secret& data) {
  const MutexLock lock(mutex);
  auto loaded = load();
  if (const auto* status = std::get_if<SecretStatus>(&loaded)) return *status;
  auto& items = std::get<Items>(loaded);
  const auto found = items.find(Key{service, account});
  if (found == items.end()) return kNoSuchItem;
  found->second = data;
  return save(items);
}

SecretStatus FileSecrets::remove(std::string_view service, std::string_view account) {
  const MutexLock lock(mutex);
  auto loaded = load();
  if (const auto* status = std::get_if<SecretStatus>(&loaded)) return *status;
  auto& items = std::get<Items>(loaded);
  if (items.erase(Key{service, account}) == 0) return kNoSuchItem;
  return save(items);
}

}  // namespace quillard::xdg
