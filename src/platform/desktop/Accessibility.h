#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Subscription.h"
#include "platform/desktop/AXNames.h"
#include "values/Geometry.h"
#include "values/Time.h"

namespace quillard::platform {

// The element model is neutral, in the vocabulary of AX (roles, attributes, actions, errors): each binding maps its own
// system onto it.

// How long one request waits for an application that does not answer, at the longest. One bound for the whole process,
// which a binding takes when it is made and sets wherever its system wants it: systems bound a connection or a handle,
// and a bound that the core could change for one element would hold for different elements on each of them.
inline constexpr Seconds kMessagingTimeout{0.2};

// Why a request brought nothing. `cannotComplete`: the application did not answer within the messaging time-out, or
// could not finish; an action may have happened all the same.
enum class AXError : std::int32_t {
  success = 0,
  failure,
  illegalArgument,
  invalidUIElement,
  cannotComplete,
  attributeUnsupported,
  actionUnsupported,
  notImplemented,
  apiDisabled,
  noValue,
};

// Whether this process may use the accessibility interface, as its system says. `unknown`: the system did not answer in
// time, or cannot be reached, which says nothing of the permission: it may be as it was before.
enum class ProcessTrust : std::uint8_t { granted, denied, unknown };

// Why a scope could not see the desktop as a whole: who gave no answer. What was not found is then not known to be
// absent.
enum class DesktopReadFailure : std::uint8_t {
  notPermitted,          // This process may not use the interface.
  accessibilityService,  // The service that carries the requests cannot be reached, or did not answer.
  applicationList,       // It could not be told which applications can be read.
  windowServer,          // The display server that knows the windows is gone, or did not answer.
};

// What a handle points at. Made by a binding; compared by the element beneath, never by address.
class AXElementReference {
 public:
  virtual ~AXElementReference() = default;
  [[nodiscard]] virtual bool isEqual(const AXElementReference& other) const = 0;
  [[nodiscard]] virtual std::size_t hashValue() const = 0;
};

// A reference-counted handle to one element of some process: an application, a window, a button. Copies are cheap and
// may be used from any thread. Never empty. The element may be gone at any time; requests on it then fail.
class AXUIElement {
 public:
  explicit AXUIElement(std::shared_ptr<const AXElementReference> reference) : reference(std::move(reference)) {}
  [[nodiscard]] const AXElementReference& get() const { return *reference; }
  bool operator==(const AXUIElement& other) const {
    return reference == other.reference || reference->isEqual(*other.reference);
  }

 private:
  std::shared_ptr<const AXElementReference> reference;
};

// A value of a kind that the core does not read: a dictionary, a range, a list of anything but elements.
struct AXForeignValue {
  bool operator==(const AXForeignValue&) const = default;
};

// A text that cannot be handed over whole: too long, or broken. It is there, and says something that is not known.
struct AXUnreadableText {
  bool operator==(const AXUnreadableText&) const = default;
};

// An attribute's value, in the kind in which the application gave it. Text is UTF-8 where the system guarantees it, but
// comes from another program: it may be of any length, hold any character, or be broken. Numbers may be NaN.
using AXValue = std::variant<AXForeignValue, AXUnreadableText, bool, std::int64_t, double, std::string, Point, Size,
                             Rect, AXUIElement, std::vector<AXUIElement>>;

// A value, or the reason why there is none.
template <class T>
class AXResult {
 public:
  AXResult(T value) : content(std::in_place_index<0>, std::move(value)) {}
  AXResult(AXError error) : content(std::in_place_index<1>, error) {}

  [[nodiscard]] bool hasValue() const { return content.index() == 0; }
  [[nodiscard]] AXError error() const { return hasValue() ? AXError::success : std::get<1>(content); }
  [[nodiscard]] const T& value() const& { return std::get<0>(content); }
  [[nodiscard]] T&& value() && { return std::get<0>(std::move(content)); }

 private:
  std::variant<T, AXError> content;
};

// Reads of elements. Each may be a request to another process and then waits for it, at the longest for the messaging
// time-out: not for a thread that must stay responsive.
class AXAttributeReader {
 public:
  AXAttributeReader() = default;
  AXAttributeReader(const AXAttributeReader&) = delete;
  AXAttributeReader& operator=(const AXAttributeReader&) = delete;
  virtual ~AXAttributeReader() = default;

  // The value of the attribute, of whatever kind. A binding never gives the text of a secure text field.
  [[nodiscard]] virtual AXResult<AXValue> copyAttributeValue(const AXUIElement& element, AXAttribute name) = 0;

  // The names of the actions that the element offers, in its own order.
  [[nodiscard]] virtual AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) = 0;
};

// Reads that belong together: one scan, one resolve, one presence check. A scope answers what a live read would have
// answered at some moment since the scope began, so that a binding can fetch many attributes in one request and answer
// a second question from the first answer. Nothing read in one scope is used in another.
//
// An application that has missed its time-out once is not asked again in this scope: every further read of its elements
// fails with `cannotComplete` immediately, so that a hung program costs one wait.
//
// One thread at a time.
class AXReadScope : public AXAttributeReader {
 public:
  // Says that the windows of these applications are about to be read, each with up to `descendantsPerWindow` elements
  // of its tree, last child first. A hint: a binding may fetch them together now, or do nothing.
  virtual void prepareApplications(std::span<const AXUIElement> applications, int descendantsPerWindow) = 0;

  // Whether the application that owns `element` has missed its time-out in this scope: what was read of it may be a
  // part only.
  [[nodiscard]] virtual bool missedTimeout(const AXUIElement& element) const = 0;

  // Present when this scope could not see the desktop, as far as its reads have met that by now: ask it after them.
  // What the scope answered is then not the whole, and no application stands for the rest. Absent also before the first
  // read.
  [[nodiscard]] virtual std::optional<DesktopReadFailure> desktopFailure() const = 0;
};

// Told by an application about one of its elements. Nothing in the agent makes one; what is handed in can be undone.
class AXObserver {
 public:
  AXObserver() = default;
  AXObserver(const AXObserver&) = delete;
  AXObserver& operator=(const AXObserver&) = delete;
  virtual ~AXObserver() = default;
  // Both on the main thread; failures are ignored, since the application may be gone.
  virtual void removeNotification(const AXUIElement& element, std::string_view notification) = 0;
  virtual void detachFromRunLoop() = 0;
};

// All that the agent asks of the accessibility service. Any thread. The reads of this class itself are live. A binding
// is made with its messaging time-out, `kMessagingTimeout` but in tests.
class Accessibility : public AXAttributeReader {
 public:
  // Whether this process may use the interface at all, asked now. Never asks the user. It may wait for services of the
  // session for some seconds: not for the main thread, which has the next two.
  [[nodiscard]] virtual ProcessTrust isProcessTrusted() = 0;

  // The newest answer but `unknown` that `isProcessTrusted` or `refreshProcessTrust` brought, from whatever thread;
  // `unknown` when no other answer has come yet. Does not wait, but for the first answer of all when there is none yet:
  // ask once before anything depends on the main thread. As old as the last answer: whoever depends on its age
  // refreshes it, and decides how long an old answer counts.
  [[nodiscard]] virtual ProcessTrust lastKnownProcessTrust() = 0;

  // Asks now, without waiting, and calls `onAnswer` with the answer in a later turn of the main thread. Several
  // requests may share one question, which begins after each of them was made. From the main thread only; `onAnswer` is
  // dropped when the binding is destroyed first.
  virtual void refreshProcessTrust(std::function<void(ProcessTrust trust)> onAnswer) = 0;

  // Calls back on the main thread whenever the system says that the permission of some process has changed. A hint:
  // the next answer may be as before, and may change without a hint.
  [[nodiscard]] virtual SubscriptionHandle observeTrustChanges(std::function<void()> onChange) = 0;

  // The element of a running process. No request; never fails, whether the process exists or not.
  [[nodiscard]] virtual AXUIElement createApplication(std::int32_t processIdentifier) = 0;

  // The element that knows the focused window and the focused element of the whole desktop. No request.
  [[nodiscard]] virtual AXUIElement createSystemWide() = 0;

  // Each element is asked itself: for what is pressed, or reported as gone, because of the answers.
  [[nodiscard]] virtual std::unique_ptr<AXReadScope> beginReadScope() = 0;

  // The same for finding out what is on screen. An application's own list of its elements may answer for them here,
  // where it is in no doubt; such a list may be older than the elements are, but not for ever: from time to time a
  // binding compares the two. A binding that knows no such lists gives the usual scope.
  [[nodiscard]] virtual std::unique_ptr<AXReadScope> beginScanScope() { return beginReadScope(); }

  // The process that owns the element. Absent when it can no longer be told.
  [[nodiscard]] virtual std::optional<std::int32_t> processIdentifier(const AXUIElement& element) = 0;

  virtual AXError setAttributeValue(const AXUIElement& element, AXAttribute name, const AXValue& value) = 0;

  // `success`: the application accepted the action. Any error may mean that it acted all the same: look before acting
  // again.
  virtual AXError performAction(const AXUIElement& element, AXAction action) = 0;

  // The deepest element at `point` within `within`, which is an application or the system-wide element.
  [[nodiscard]] virtual AXResult<AXUIElement> copyElementAtPosition(const AXUIElement& within, Point point) = 0;
};

}  // namespace quillard::platform

template <>
struct std::hash<quillard::platform::AXUIElement> {
  std::size_t operator()(const quillard::platform::AXUIElement& element) const { return element.get().hashValue(); }
};
