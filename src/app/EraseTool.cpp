#include "app/EraseTool.h"

#include <memory>
#include <optional>
#include <vector>

#include "agent/PhonePairings.h"
#include "foundation/AgentNames.h"
#include "foundation/PrintableText.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {
namespace {

constexpr int kMostTries = 50;
constexpr std::size_t kLongestPath = 4096;

using Sentences = std::vector<std::string>;

void say(const Sentences& problems, const Output& output) {
  for (const auto& problem : problems)
    output.printError("quillard erase: " + printableText(problem, kLongestPath) + "\n");
}

std::string questionAbout(const EraseDependencies& dependencies) {
  std::string text =
      "This unpairs all phones, and deletes from this computer what Quillard keeps for you: secrets, settings and the "
      "log of decisions.\n";
  if (!dependencies.ownFiles) return text + "Delete it?";
  for (const auto& path : dependencies.ownFiles->found()) text += "  " + printableText(path, kLongestPath) + "\n";
  return text + "Delete all of it?";
}

// A lock that cannot be opened does not say that no agent runs: one is asked to end, and the lock tried again. Not
// acquired: one runs, or may run.
platform::LockResult endAgent(const EraseDependencies& dependencies) {
  platform::LockResult lock;
  for (int tries = 0; tries < kMostTries; ++tries) {
    lock = dependencies.lockFiles.acquire(kInstanceLockFile);
    if (lock.outcome == platform::LockOutcome::acquired) return lock;
    if (tries == 0) dependencies.quitAgent();
    dependencies.pause();
  }
  return lock;
}

// Where a place is not there to be looked at, an item can only be missing when it was never put there: what the other
// place holds was not, nor what the settings do not know.
bool isGone(const platform::SecretStatus& status, int number, platform::SecretStore& store,
            const platform::UserDefaults& settings) {
  using platform::SecretStatusCode;
  if (status.code == SecretStatusCode::success || status.code == SecretStatusCode::itemNotFound) return true;
  if (status.code != SecretStatusCode::missingEntitlement) return false;
  if (!PairingConfiguration::isKnown(settings, number)) return true;
  const auto account = PairingConfiguration::accountOf(number);
  return store.copyMatching(platform::SecretPlace::fileKeychain, kAgentIdentifier, account).status.code ==
         SecretStatusCode::success;
}

// Why some may be left. A file that goes with the others is not emptied first.
Sentences removeSecrets(const EraseDependencies& dependencies, const platform::UserDefaults& settings) {
  using platform::SecretPlace;
  auto& store = dependencies.secretStore;
  const auto remove = [&](SecretPlace place, const std::string& account) {
    return store.remove(place, kAgentIdentifier, account);
  };
  Sentences problems;
  for (int number = PairingConfiguration::kFirst; number <= PhonePairings::kMost; ++number) {
    const auto account = PairingConfiguration::accountOf(number);
    auto status = remove(SecretPlace::dataProtectionKeychain, account);
    bool isLeft = !isGone(status, number, store, settings);
    if (!dependencies.ownFiles && !isLeft) {
      status = remove(SecretPlace::fileKeychain, account);
      isLeft =
          status.code != platform::SecretStatusCode::success && status.code != platform::SecretStatusCode::itemNotFound;
    } else if (!dependencies.ownFiles) {
      static_cast<void>(remove(SecretPlace::fileKeychain, account));  // One sentence for each is enough.
    }
    if (isLeft) problems.push_back("The keyring may still hold \"Quillard: " + account + "\": " + status.text);
  }
  return problems;
}

std::string untold(std::size_t count) {
  return (count == 1 ? "The relay could not be told of a pairing, whose"
                     : "The relay could not be told of some pairings, whose") +
         std::string(" secrets are deleted here. Forget this computer on the phone, too.\n");
}

// How many pairings the relay could not be told of. The settings are written before they are deleted.
std::size_t revokeAndRemoveSecrets(const EraseDependencies& dependencies, Sentences& problems) {
  const auto settings = dependencies.openSettings();
  const auto left = dependencies.revoke(*settings);
  const auto secrets = removeSecrets(dependencies, *settings);
  problems.insert(problems.end(), secrets.begin(), secrets.end());
  return left;
}

std::string deletedFrom(const std::vector<std::string>& folders) {
  std::string text = "Deleted. Nothing of Quillard is left for this user in ";
  for (std::size_t i = 0; i < folders.size(); ++i) {
    text += i == 0 ? "" : i + 1 == folders.size() ? " and " : ", ";
    text += printableText(folders[i], kLongestPath);
  }
  return text + ".\n";
}

ExitCode refuseErasing(const Output& output, const std::string& sentence) {
  output.printError(sentence);
  return ExitCode::problemFound;
}

}  // namespace

ExitCode eraseAll(const EraseEverything& command, const EraseDependencies& dependencies, const Output& output) {
  if (dependencies.ownFiles && dependencies.ownFiles->areInUse()) {
    return refuseErasing(output, "quillard erase: A ./run is up: end it first, with Ctrl-C where it runs.\n");
  }
  // Its pairings would not be revoked, nor its settings deleted.
  if (const auto other = dependencies.ownFiles ? dependencies.ownFiles->agentsOtherFolders() : std::nullopt) {
    return refuseErasing(
        output,
        "quillard erase: The agent that runs keeps its files where this shell does not look. Nothing was "
        "deleted. Try again with: " +
            printableText(*other, kLongestPath) + "\n");
  }
  if (!command.isConfirmed) {
    const auto agreed = dependencies.ask(questionAbout(dependencies));
    if (!agreed) {
      output.printError("quillard erase: Without a terminal, --yes has to say that all of it shall go.\n");
      return ExitCode::cannotDoHere;
    }
    if (!*agreed) {
      output.printError("Nothing was deleted.\n");
      return ExitCode::problemFound;
    }
  }
  const auto lock = endAgent(dependencies);
  if (lock.outcome == platform::LockOutcome::heldElsewhere) {
    return refuseErasing(output, "quillard erase: Quillard still runs. Quit it, and try again.\n");
  }
  if (lock.outcome != platform::LockOutcome::acquired) {
    return refuseErasing(
        output,
        "quillard erase: Its lock cannot be opened, so whether Quillard runs is not known. Nothing was deleted.\n");
  }
  auto* const files = dependencies.ownFiles;
  Sentences problems;
  const auto add = [&problems](const Sentences& more) { problems.insert(problems.end(), more.begin(), more.end()); };
  if (files) add(files->eraseLoginStarts());
  const auto left = revokeAndRemoveSecrets(dependencies, problems);
  if (files) add(files->erase(/*keepsProgram=*/!problems.empty()));
  say(problems, output);
  if (left > 0) output.print(untold(left));
  if (!files) output.print("docs/macos.md says which files are left to be deleted.\n");
  if (files && problems.empty()) output.print(deletedFrom(files->folders()));
  return problems.empty() ? ExitCode::fine : ExitCode::problemFound;
}

}  // namespace quillard::app
