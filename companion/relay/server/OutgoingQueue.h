#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "companion/relay/rules/RelayPeer.h"

namespace quillard::relayserver {

// What waits to be sent to one connection, the message that is being sent included; bounded. An empty one, which most
// are nearly always, takes next to no memory.
class OutgoingQueue {
 public:
  OutgoingQueue(std::size_t mostBytes, std::size_t mostMessages) : mostBytes(mostBytes), mostMessages(mostMessages) {}

  // False, and nothing changes: it does not fit.
  [[nodiscard]] bool push(MessageText text) {
    if (messages() >= mostMessages || text->size() > mostBytes - waiting) return false;
    waiting += text->size();
    texts.push_back(std::move(text));
    return true;
  }
  [[nodiscard]] bool isEmpty() const { return messages() == 0; }
  [[nodiscard]] const MessageText& front() const { return texts[sent]; }
  void pop() {
    waiting -= texts[sent]->size();
    texts[sent++] = nullptr;
    if (isEmpty()) {
      sent = 0;
      texts.clear();
      if (texts.capacity() > kKept) texts.shrink_to_fit();
    } else if (sent >= mostMessages) {
      texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(std::exchange(sent, 0)));
    }
  }
  // `keepFirst`: it is being sent.
  void clear(bool keepFirst) {
    while (messages() > (keepFirst ? 1U : 0U)) {
      waiting -= texts.back()->size();
      texts.pop_back();
    }
  }
  [[nodiscard]] std::size_t bytes() const { return waiting; }
  // Of a text that others hold, too, its share.
  [[nodiscard]] std::size_t ownBytes() const {
    std::size_t bytes = 0;
    for (std::size_t i = sent; i < texts.size(); ++i) {
      bytes += texts[i]->size() / static_cast<std::size_t>(texts[i].use_count());
    }
    return bytes;
  }
  [[nodiscard]] std::size_t messages() const { return texts.size() - sent; }

 private:
  static constexpr std::size_t kKept = 8;  // Room for so many stays.

  const std::size_t mostBytes;
  const std::size_t mostMessages;
  std::size_t waiting = 0;
  std::size_t sent = 0;  // So many at the front of `texts` are gone.
  std::vector<MessageText> texts;
};

}  // namespace quillard::relayserver
