#pragma once

#include <memory>
#include <utility>

namespace quillard {

// Lets an object hand out callbacks that may arrive after it is gone: they then do nothing. For posted turns and
// completions, which cannot be cancelled; a timer needs none of it, since destroying its handle cancels it.
//
// Declare it as the last member, so that it is destroyed first: no callback meets an object that is half gone. The
// owner is destroyed on the executor on which its callbacks run, and not from inside one of them.
class CallbackScope {
 public:
  CallbackScope() = default;
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;

  // `callback`, guarded. The result may be copied, moved and destroyed on any thread, and called on the owner's
  // executor alone.
  template <class Callback>
  [[nodiscard]] auto bind(Callback callback) const {
    return [alive = std::weak_ptr<const char>(life), callback = std::move(callback)](auto&&... arguments) {
      if (!alive.expired()) callback(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  std::shared_ptr<const char> life = std::make_shared<const char>('\0');
};

}  // namespace quillard
