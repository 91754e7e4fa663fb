#pragma once

#include <cstddef>
#include <deque>

#include "companion/relay/rules/RelayPeer.h"

namespace quillard::relayserver {

// What waits to be sent to one connection, the message that is being sent included; bounded.
class OutgoingQueue {
 public:
  OutgoingQueue(std::size_t mostBytes, std::size_t mostMessages) : mostBytes(mostBytes), mostMessages(mostMessages) {}

  // False, and nothing changes: it does not fit.
  [[nodiscard]] bool push(MessageText text) {
    if (texts.size() >= mostMessages || text->size() > mostBytes - waiting) return false;
    waiting += text->size();
    texts.push_back(std::move(text));
    return true;
  }
  [[nodiscard]] bool isEmpty() const { return texts.empty(); }
  [[nodiscard]] const MessageText& front() const { return texts.front(); }
  void pop() {
    waiting -= texts.front()->size();
    texts.pop_front();
  }
  // `keepFirst`: it is being sent.
  void clear(bool keepFirst) {
    while (texts.size() > (keepFirst ? 1U : 0U)) {
      waiting -= texts.back()->size();
      texts.pop_back();
    }
  }
  [[nodiscard]] std::size_t bytes() const { return waiting; }
  // Of a text that others hold, too, its share.
  [[nodiscard]] std::size_t ownBytes() const {
    std::size_t bytes = 0;
    for (const auto& text : texts) bytes += text->size() / static_cast<std::size_t>(text.use_count());
    return bytes;
  }
  [[nodiscard]] std::size_t messages() const { return texts.size(); }

 private:
  const std::size_t mostBytes;
  const std::size_t mostMessages;
  std::size_t waiting = 0;
  std::deque<MessageText> texts;
};

}  // namespace quillard::relayserver
