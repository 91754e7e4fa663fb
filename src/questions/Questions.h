#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "approvals/ApprovalStore.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "foundation/CallbackScope.h"
#include "foundation/Uuid.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"
#include "platform/process/Random.h"
#include "questions/QuestionRequest.h"

namespace quillard {

// Why a question ended without an answer.
enum class QuestionEnd {
  timedOut,  // Not answered in time, though a phone could have been.
  noPhone,   // Nothing leads to a phone; or none was there, or woken, for as long as it waited.
  paused,    // Alerts are paused.
  muted,     // Somebody does not want to be asked by this program.
  tooMany,   // This program, or all together, ask too much.
  stopping,  // The agent ends.
  notTaken,  // It was answered, and the program did not say in time that it has the answer, or it was taken back.
};

enum class AnsweredBy { phone, computer, timeout };

struct QuestionAnswer {
  std::string label;
  std::size_t index = 0;  // Among the buttons.
  AnsweredBy by = AnsweredBy::phone;
};

// What the program that asked is told, each at most once; not from inside `ask`. After an answer the question may still
// end, and the answer is void then: as `notTaken`, or `stopping`.
struct QuestionEvents {
  // It has to say `taken` soon.
  std::function<void(const QuestionAnswer&)> onAnswer;
  std::function<void(QuestionEnd)> onEnd;
};

// Whether a question can reach a phone.
enum class PhoneReach {
  none,  // There is no relay, or it does not want this pairing.
  away,  // No phone is connected now.
  there,
};

// What the questions stand on. All of it outlives them.
struct QuestionsDependencies {
  ApprovalStore& store;
  const ApprovalSuppressionStore& suppressions;
  const platform::Clock& clock;
  platform::Random& random;
  platform::SerialExecutor& mainThread;
};

// What the questions ask and report. None may be empty.
struct QuestionsCallbacks {
  std::function<PhoneReach()> phoneReach;
  std::function<bool()> isPaused;
  // Whether a phone that was not connected was woken for this question, which still waits.
  std::function<bool(const Uuid& id)> wasPhoneWoken;
  // The store holds other questions than before.
  std::function<void()> onChanged;
  // A question is over, before `onChanged`. `answer`: what it was given, taken or not; absent: nothing. `end`: absent
  // when the answer was taken, and when the program went away.
  std::function<void(const Uuid& id, const std::optional<QuestionAnswer>& answer, bool wasTaken,
                     std::optional<QuestionEnd> end)>
      onOver = [](const Uuid&, const std::optional<QuestionAnswer>&, bool, std::optional<QuestionEnd>) {};
};

// The questions of programs that wait for an answer. Each is a `PendingApproval` of the store, under an identity of its
// own, from `ask` to its end: listed, muted and decided on as what windows ask. No scan adds or removes one.
//
// States of a question: open -> answered -> taken; open or answered -> ended; or withdrawn from any of them, when the
// program has gone. One answer each: what comes second finds no question. An answer that is not taken within
// `kTakeTimeout`, or that is taken back before, is none: the question ends, and what the program says later finds no
// question.
//
// Who asks is what the system says of the process, or, where that is a tool of ours, of the one that started it, which
// may have ended. A program is told by its executable, whatever its processes, and those without one are one program:
// `kMostOpenOfAProgram` of its questions wait at a time, and
// `kMostInAMinute` are taken of it in any minute, so that a loop cannot flood a phone; and all programs together have
// bounds, too. Main thread.
class Questions {
 public:
  static constexpr std::size_t kMostOpenOfAProgram = 4;
  static constexpr std::size_t kMostOpen = 16;
  static constexpr std::size_t kMostInAMinute = 12;
  static constexpr std::size_t kMostOfAllInAMinute = 30;
  static constexpr Seconds kTakeTimeout{5};
  // More programs than a person has that ask; beyond it, one is forgotten.
  static constexpr std::size_t kMostKinds = 256;

  Questions(const QuestionsDependencies& dependencies, QuestionsCallbacks callbacks);
  Questions(const Questions&) = delete;
  Questions& operator=(const Questions&) = delete;

  // The identity of the question, which is open now; or why it was not taken, which is the end of it. `request` is as
  // `problemOf` wants it.
  [[nodiscard]] std::variant<Uuid, QuestionEnd> ask(const platform::LocalPeer& peer, const QuestionRequest& request,
                                                    QuestionEvents events);
  // The program has its answer. False, and nothing happens: there is no such question any more, or it is not answered.
  // The program must not act on what it has then.
  [[nodiscard]] bool taken(const Uuid& id);
  // The program does not wait any more. Nothing happens when there is no such question.
  void withdraw(const Uuid& id);

  // Answers it. False: there is no such open question, or no such button; `onTaken` is never called then. Otherwise it
  // is called once, in a later turn: whether the program took the answer.
  [[nodiscard]] bool answer(const Uuid& id, std::string_view label, AnsweredBy by, std::function<void(bool)> onTaken);

  // Whoever answered it has no say any more: as if the program did not take the answer in time. Nothing happens when it
  // is not answered, or has ended.
  void takeBack(const Uuid& id);

  // When it times out. Absent: there is no such question, or it is answered.
  [[nodiscard]] std::optional<Instant> endOf(const Uuid& id) const;

  // Whether a phone may be there was asked for at this moment: to be called when it changes.
  void phonesChanged();
  // The program of that kind, for as long as it is remembered: its executable, or words where that is not known. Empty:
  // there is none.
  [[nodiscard]] std::string programAsking(const Uuid& kind) const;
  // What a program asks is of that kind, as in an earlier run. Nothing happens where it is known already.
  void remember(const std::string& program, const Uuid& kind);
  // Ends what the programs of that kind ask.
  void mute(const Uuid& suppressionID);
  // Ends all.
  void stop();

  [[nodiscard]] std::size_t openCount() const { return questions.size(); }

 private:
  struct Question {
    Uuid id;
    std::string program;
    Uuid kind;
    QuestionRequest request;
    QuestionEvents events;
    Instant endsAt;
    bool sawPhone = false;
    std::function<void(bool)> onTaken;  // Present once it is answered.
    std::optional<QuestionAnswer> answer{};
    platform::TaskHandle timeout;
  };
  // What mutes a program.
  struct Kind {
    Uuid id;
    Instant askedAt;  // Last, and not refused.
  };
  using Place = std::list<Question>::iterator;

  [[nodiscard]] std::optional<QuestionEnd> refusal(const std::string& program, const QuestionRequest& request);
  [[nodiscard]] bool isTooMany(const std::string& program);
  [[nodiscard]] bool isMuted(const Kind& kind) const;
  // Draws one for a program that asks first.
  [[nodiscard]] const Uuid& kindOf(const std::string& program);
  // The one that asked longest ago; a muted one only where all are.
  void forgetAKind();
  [[nodiscard]] PendingApproval approvalOf(const Question& question, const platform::ProcessDescription& process);
  [[nodiscard]] Place find(const Uuid& id);
  void timedOut(const Uuid& id);
  void deliver(Question& question, std::string_view label, AnsweredBy by, std::function<void(bool)> onTaken);
  // Takes it from the list and the store, and tells whoever answered it.
  void remove(Place place, bool wasTaken, std::optional<QuestionEnd> end = std::nullopt);
  void end(Place place, QuestionEnd why);

  const QuestionsDependencies dependencies;
  const QuestionsCallbacks callbacks;
  std::list<Question> questions;  // Oldest first.
  struct Asked {
    std::string program;
    Instant at;
  };
  std::deque<Asked> lastMinute;       // Oldest first.
  std::map<std::string, Kind> kinds;  // By program.
  bool isStopped = false;
  CallbackScope scope;  // Last.
};

}  // namespace quillard
