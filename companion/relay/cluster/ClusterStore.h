#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillard::relayserver {

// Where a change stands in the order of all changes of the store. 0: before all of them, or a key that is not there.
using Revision = std::int64_t;
// A lease is named by whoever takes it. 0: none.
using LeaseNumber = std::int64_t;

struct ClusterEntry {
  std::string key;
  std::string value;
  Revision modified = 0;
  bool operator==(const ClusterEntry&) const = default;
};

struct ClusterCondition {
  enum class Kind { modifiedAt, isThere, isAbsent };
  std::string key;
  Kind kind = Kind::isThere;
  Revision modified = 0;  // Of `modifiedAt`; 0: absent.
};

struct ClusterChange {
  enum class Kind { put, erase, erasePrefix };
  Kind kind = Kind::put;
  std::string key;
  std::string value{};
  LeaseNumber lease = 0;  // Of `put`: the key goes when the lease does.
};

// All of it happens at one revision, or nothing but the reading. No key is changed twice.
struct ClusterTransaction {
  std::vector<ClusterCondition> conditions;
  std::vector<ClusterChange> changes{};
  std::vector<std::string> reads{};  // Keys to be read at the same time, after the changes.
};

struct ClusterTransactionResult {
  bool succeeded = false;
  Revision revision = 0;              // Of the store afterwards.
  std::vector<ClusterEntry> found{};  // Of `reads`, those that are there.
};

struct ClusterEvent {
  std::string key;
  std::optional<std::string> value;  // Absent: it was erased.
  Revision modified = 0;
};

// What a watch reports. `events`: in the order of their revisions, all of one revision together, none left out.
// `compacted`: what happened since is not known any more, and all has to be read anew. `ended`: the connection was
// lost; the watch can be taken up again where it was.
struct ClusterWatcher {
  std::function<void(const std::vector<ClusterEvent>& events)> events;
  std::function<void()> compacted;
  std::function<void()> ended;
};

struct ClusterReading {
  Revision revision = 0;
  std::vector<ClusterEntry> entries;
};

// A replicated store of small values, which loses nothing that it has confirmed and answers nothing while most of its
// members do not agree: all that a cluster of relays asks of its engine, few enough for a table of a database.
//
// Nothing waits. Each operation calls back once, later, on the thread of the event loop, or never when the store is
// destroyed first. An absent result: it is not known whether it was done, since nobody answered in time; it may still
// be done later. A store serves one prefix of keys, which callers leave out.
class ClusterStore {
 public:
  ClusterStore() = default;
  ClusterStore(const ClusterStore&) = delete;
  ClusterStore& operator=(const ClusterStore&) = delete;
  virtual ~ClusterStore() = default;

  template <class Result>
  using Done = std::function<void(std::optional<Result>)>;

  virtual void transact(ClusterTransaction transaction, Done<ClusterTransactionResult> done) = 0;
  // Everything whose key begins so, as of one revision. Sorted by key.
  virtual void readAll(const std::string& prefix, Done<ClusterReading> done) = 0;

  // For `seconds` from now, and from each time that it is kept. A new leader of the engine starts them anew: late,
  // never early.
  virtual void takeLease(int seconds, Done<LeaseNumber> done) = 0;
  // False: it has ended.
  virtual void keepLease(LeaseNumber lease, Done<bool> done) = 0;

  // All changes from `first` on; ends the watch before. Through another member of the engine than the last one, where
  // there are several: a member that stands still says nothing.
  virtual void watch(Revision first, ClusterWatcher watcher) = 0;
};

}  // namespace quillard::relayserver
