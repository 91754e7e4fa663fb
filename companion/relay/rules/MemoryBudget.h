#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "companion/relay/rules/RelayPeer.h"

namespace quillard::relayserver {

// Counts the memory that clients can make the relay keep: messages that have not arrived as a whole, and texts, be they
// kept as snapshots or waiting to be sent; a text that waits for many counts once. Shares and texts may outlive it.
class MemoryBudget {
  struct Count {
    std::size_t used = 0;
  };

 public:
  // `most`: bytes.
  explicit MemoryBudget(std::size_t most) : most(most) {}

  // What one connection keeps. Released when it is destroyed.
  class Share {
   public:
    explicit Share(const MemoryBudget& budget) : count(budget.count) {}
    ~Share() { resize(0); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    void resize(std::size_t bytes) {
      count->used = count->used - mine + bytes;
      mine = bytes;
    }
    [[nodiscard]] std::size_t bytes() const { return mine; }

   private:
    const std::shared_ptr<Count> count;
    std::size_t mine = 0;
  };

  // The text, counted until its last holder lets go of it.
  [[nodiscard]] MessageText hold(std::string text);
  // The same for anything that takes so many bytes.
  template <class Value>
  [[nodiscard]] std::shared_ptr<const Value> keep(Value value, std::size_t bytes) {
    const auto kept = std::make_shared<const Kept<Value>>(std::move(value), bytes, count);
    return {kept, &kept->value};
  }

  [[nodiscard]] std::size_t used() const { return count->used; }
  // How many bytes there are too many.
  [[nodiscard]] std::size_t excess() const { return count->used > most ? count->used - most : 0; }

 private:
  template <class Value>
  struct Kept {
    Kept(Value given, std::size_t bytes, std::shared_ptr<Count> counted)
        : value(std::move(given)), bytes(bytes), count(std::move(counted)) {
      count->used += bytes;
    }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    ~Kept() { count->used -= bytes; }
    const Value value;
    const std::size_t bytes;
    const std::shared_ptr<Count> count;
  };

  const std::size_t most;
  const std::shared_ptr<Count> count = std::make_shared<Count>();
};

}  // namespace quillard::relayserver
