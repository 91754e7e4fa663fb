#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quillard::simulation {

// Everything that goes wrong in the world. Each is counted when it really happens, not when it is drawn.
#define QUILLARD_SIMULATED_FAULTS(FAULT)     \
  /* Applications. */                        \
  FAULT(applicationStarts)                   \
  FAULT(applicationQuits)                    \
  FAULT(applicationDies)                     \
  FAULT(applicationDiesButStaysListed)       \
  FAULT(applicationHangs)                    \
  FAULT(applicationHangsAndActsLate)         \
  FAULT(applicationHangsDuringPress)         \
  FAULT(applicationIsSlow)                   \
  FAULT(applicationMissesTimeouts)           \
  FAULT(applicationIsHidden)                 \
  FAULT(applicationLiesAboutWindows)         \
  /* Prompts. */                             \
  FAULT(twinOpens)                           \
  FAULT(twinOpensDuringPress)                \
  FAULT(identicalSuccessorOpens)             \
  FAULT(otherSuccessorOpens)                 \
  FAULT(textChanges)                         \
  FAULT(textTurnsIntoPassword)               \
  FAULT(textChangesDuringPress)              \
  FAULT(buttonsSwapLabels)                   \
  FAULT(windowMoves)                         \
  FAULT(windowClosesDuringPress)             \
  FAULT(textIsTooLong)                       \
  FAULT(textIsBroken)                        \
  FAULT(listIsTooLong)                       \
  FAULT(pressIsIgnored)                      \
  FAULT(pressIsRefused)                      \
  FAULT(pressWorksButReportsError)           \
  FAULT(pressWorksLate)                      \
  FAULT(pressWorksLateButReportsError)       \
  FAULT(pressTakesButtonAway)                \
  FAULT(pressSilencesApplication)            \
  FAULT(inputEventsAreLost)                  \
  FAULT(answeredByHand)                      \
  /* What the desktop lets the agent see. */ \
  FAULT(desktopCannotBeSeen)                 \
  FAULT(desktopCannotBeSeenDuringPress)      \
  FAULT(windowServerIsSilent)                \
  FAULT(permissionIsRevoked)                 \
  FAULT(permissionIsRevokedWithoutNotice)    \
  FAULT(permissionIsRevokedDuringPress)      \
  FAULT(permissionAnswersLate)               \
  FAULT(permissionDoesNotAnswer)             \
  FAULT(spaceChanges)                        \
  /* The person at the computer. */          \
  FAULT(notificationsArePaused)              \
  FAULT(pairingIsReset)                      \
  FAULT(pairingIsResetDuringPress)           \
  /* Phones. */                              \
  FAULT(phoneMutes)                          \
  FAULT(phoneMutesDuringPress)               \
  FAULT(phoneUnmutes)                        \
  FAULT(phoneDecidesTwice)                   \
  FAULT(phoneDecidesLate)                    \
  FAULT(phoneDecidesForWhatIsGone)           \
  FAULT(phoneDecidesWithUnknownLabel)        \
  FAULT(phonesDecideAgainstEachOther)        \
  FAULT(phoneLosesConnection)                \
  FAULT(phonePageReloads)                    \
  /* The relay. */                           \
  FAULT(frameIsDropped)                      \
  FAULT(frameIsRepeated)                     \
  FAULT(frameIsDelayed)                      \
  FAULT(frameIsHeldForMinutes)               \
  FAULT(framesAreReordered)                  \
  FAULT(frameIsReflected)                    \
  FAULT(oldFrameIsReplayed)                  \
  FAULT(decisionIsRenamed)                   \
  FAULT(garbageIsSent)                       \
  FAULT(presenceIsToggled)                   \
  FAULT(connectionIsDropped)                 \
  FAULT(relayIsDown)                         \
  FAULT(relayRestarts)                       \
  FAULT(relayLosesItsDatabase)               \
  FAULT(registrationIsAnswered401)           \
  FAULT(registrationIsAnswered410)           \
  FAULT(registrationIsAnswered500)           \
  FAULT(registrationIsNotAnswered)           \
  FAULT(connectionIsAnswered401)             \
  FAULT(connectionIsAnswered410)             \
  FAULT(connectionIsAnswered500)             \
  /* The machine. */                         \
  FAULT(clockJumpsForward)                   \
  FAULT(clockJumpsBack)                      \
  FAULT(machineSleeps)                       \
  FAULT(diskIsFull)                          \
  FAULT(keychainIsLocked)                    \
  FAULT(keychainRefusesToWrite)              \
  FAULT(processIsKilled)                     \
  FAULT(processIsKilledDuringPress)          \
  FAULT(processQuits)

enum class Fault : std::uint8_t {
#define QUILLARD_NAME_FAULT(name) name,
  QUILLARD_SIMULATED_FAULTS(QUILLARD_NAME_FAULT)
#undef QUILLARD_NAME_FAULT
};

inline constexpr std::array kFaultNames{
#define QUILLARD_NAME_FAULT(name) std::string_view{#name},
    QUILLARD_SIMULATED_FAULTS(QUILLARD_NAME_FAULT)
#undef QUILLARD_NAME_FAULT
};

inline constexpr std::size_t kFaultKinds = kFaultNames.size();

[[nodiscard]] constexpr std::string_view nameOf(Fault fault) { return kFaultNames[static_cast<std::size_t>(fault)]; }

// How often each fault happened.
class FaultCounts {
 public:
  void add(Fault fault) { ++counts[static_cast<std::size_t>(fault)]; }
  void add(const FaultCounts& others) {
    for (std::size_t i = 0; i < kFaultKinds; ++i) counts[i] += others.counts[i];
  }
  [[nodiscard]] std::uint64_t count(Fault fault) const { return counts[static_cast<std::size_t>(fault)]; }
  [[nodiscard]] std::uint64_t count(std::size_t kind) const { return counts[kind]; }
  bool operator==(const FaultCounts&) const = default;

 private:
  std::array<std::uint64_t, kFaultKinds> counts{};
};

}  // namespace quillard::simulation
