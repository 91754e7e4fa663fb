#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "companion/relay/rules/RelayPeer.h"

namespace quillard::relayserver {

// What waits to be sent to one connection, the message that is being sent included; bounded. An empty one, which most
// are nearly always, takes next to no memory.
class OutgoingQueue {
 public:
  struct Entry {
    MessageText text;
    std::uint64_t number = 0;  // With which the rooms want to know what became of it; zero: they do not.
  };

  OutgoingQueue(std::size_t mostBytes, std::size_t mostMessages) : mostBytes(mostBytes), mostMessages(mostMessages) {}

  // False, and nothing changes: it does not fit.
  [[nodiscard]] bool push(MessageText text, std::uint64_t number = 0) {
    if (messages() >= mostMessages || text->size() > mostBytes - waiting) return false;
    waiting += text->size();
    entries.push_back({std::move(text), number});
    return true;
  }
  [[nodiscard]] bool isEmpty() const { return messages() == 0; }
  [[nodiscard]] const MessageText& front() const { return entries[sent].text; }
  Entry pop() {
    Entry first = std::exchange(entries[sent++], {});
    waiting -= first.text->size();
    if (isEmpty()) {
      sent = 0;
      entries.clear();
      if (entries.capacity() > kKept) entries.shrink_to_fit();
    } else if (sent >= mostMessages) {
      entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(std::exchange(sent, 0)));
    }
    return first;
  }
  // `keepFirst`: it is being sent. What had a number, in its order.
  [[nodiscard]] std::vector<Entry> clear(bool keepFirst) {
    std::vector<Entry> dropped;
    for (std::size_t i = sent + (keepFirst && !isEmpty() ? 1 : 0); i < entries.size(); ++i) {
      waiting -= entries[i].text->size();
      if (entries[i].number != 0) dropped.push_back(std::move(entries[i]));
    }
    entries.resize(keepFirst && !isEmpty() ? sent + 1 : sent);
    return dropped;
  }
  [[nodiscard]] std::size_t bytes() const { return waiting; }
  // Of a text that others hold, too, its share.
  [[nodiscard]] std::size_t ownBytes() const {
    std::size_t bytes = 0;
    for (std::size_t i = sent; i < entries.size(); ++i) {
      const auto& text = entries[i].text;
      bytes += text->size() / static_cast<std::size_t>(std::max(text.use_count(), 1L));
    }
    return bytes;
  }
  [[nodiscard]] std::size_t messages() const { return entries.size() - sent; }

 private:
  static constexpr std::size_t kKept = 8;  // Room for so many stays.

  const std::size_t mostBytes;
  const std::size_t mostMessages;
  std::size_t waiting = 0;
  std::size_t sent = 0;  // So many at the front of `entries` are gone.
  std::vector<Entry> entries;
};

}  // namespace quillard::relayserver
