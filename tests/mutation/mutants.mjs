// The mistakes that run.mjs makes: what stands there once in `file`, what takes its place, and which tests of which
// programs are about it, besides the simulation. `why`: of one that nothing catches, why that is right.
const agent = { tests: [{ folder: "src/agent", program: "agent_test" }] };
const click = { tests: [{ folder: "src/click", program: "click_test" }] };
const store = { tests: [{ folder: "src/approvals", program: "approvals_test" }] };
const relay = { tests: [{ folder: "src/relay", program: "relay_test" }] };
// `asking`: programs ask in the simulation, too.
const questions = { tests: [{ folder: "src/questions", program: "questions_test" }], asking: true };
const detection = { tests: [{ folder: "src/detection", program: "detection_test" }] };

export const mutants = [
  // ---- The decision path.
  { name: "a decision may be of any age", file: "src/agent/DecisionRules.cpp", from: "return !age || *age > kLongestAge;", to: "return age && age->count() < 0;", ...agent },
  { name: "a stamp of another run counts", file: "src/relay/ClockStamp.cpp", from: "stamp.epoch != epoch || age <", to: "age <", ...agent },
  { name: "a stamp from the future counts", file: "src/relay/ClockStamp.cpp", from: "stamp.epoch != epoch || age < std::chrono::milliseconds::zero()", to: "stamp.epoch != epoch", ...relay },
  { name: "the clock stands still while the machine sleeps", file: "src/relay/ClockStamp.cpp", from: "return {epoch, clock.continuousTime()};", to: "return {epoch, std::chrono::duration_cast<std::chrono::milliseconds>(clock.monotonicNow().time_since_epoch())};", ...agent },
  { name: "a repeated decision is carried out again", file: "src/agent/DecisionQueue.cpp", from: "if (auto arrival = known(decision)) return *std::move(arrival);", to: "", ...agent },
  { name: "a known decision is not known", file: "src/agent/DecisionQueue.cpp", from: "if (!place) return std::nullopt;\n  const auto& earlier", to: "if (!place || (*place)->answer) return std::nullopt;\n  const auto& earlier", ...agent },
  { name: "an older phone's decision has no box", file: "src/agent/DecisionQueue.cpp", from: "if (!decision.boxID.empty()) names.push_back", to: "if (decision.boxID.empty()) names.push_back", ...agent },
  { name: "direct access is not looked at", file: "src/agent/DecisionRules.cpp", from: "return requiresDirectAccessFor(approval, buttonLabel);", to: "return approval.requiresDirectAccess && buttonLabel.empty();", ...agent },
  { name: "every outcome is accepted", file: "src/agent/DecisionRules.cpp", from: "if (error) return result(command, kFailedStatus, std::string(localizedDescription(*error)));", to: "", ...agent },
  { name: "an answered prompt stays", file: "src/agent/DecisionRunner.cpp", from: "if (!error) events.onAnswered(envelope.command.approvalID);", to: "", ...agent },
  { name: "the other pairing's decisions are kept", file: "src/agent/DecisionRunner.cpp", from: "  decisions.forget();\n  press->takeBack();", to: "  press->takeBack();", ...agent },
  { name: "what nobody could read is not there", file: "src/agent/DesktopApprovalPress.cpp", from: "  if (resolution.outcome == Outcome::unknown) return ClickError::promptNotReadable;\n", to: "", ...agent },

  // ---- The click.
  { name: "the label of the button is not compared", file: "src/click/ApprovedButton.cpp", from: "return now == label() || (LiveText::isSameLabel(label(), now) && isOnlyOneThatCounts(candidate));", to: "return !now.empty();", ...click },
  { name: "a button elsewhere is the same", file: "src/click/ApprovedButton.cpp", from: "if (!place || AXHelpers::frame(accessibility, candidate) != place) return false;", to: "if (!place) return false;", ...click },
  { name: "a button of another window is the same", file: "src/click/ApprovedButton.cpp", from: "return window && isTarget(window) && isLabelledAsApproved(candidate);", to: "return window && isLabelledAsApproved(candidate);", ...click },
  { name: "a press that may have landed counts as none", file: "src/click/ClickAttempt.cpp", from: "if (!isRefusedBeyondDoubt(answer)) hasActed = true;", to: "if (answer == AXError::success) hasActed = true;", ...click },
  { name: "an error ends the wait for the prompt", file: "src/click/ClickAttempt.cpp", from: "if (isRefusedBeyondDoubt(answer)) return Progress::promptRemains;\n  return waitToClear", to: "if (answer != AXError::success) return Progress::promptRemains;\n  return waitToClear", ...click },
  { name: "unknown counts as gone", file: "src/click/ClickAttempt.cpp", from: "    return Progress::presenceUnknown;\n", to: "    return Progress::promptGone;\n", ...click },
  { name: "what is there counts as gone", file: "src/click/ClickAttempt.cpp", from: "if (presence.isGone()) return Progress::promptGone;", to: "if (!presence.unknownReason()) return Progress::promptGone;", ...click },
  { name: "another button is found again", file: "src/click/ClickAttempt.cpp", from: "const bool isApproved = found.button && found.button->button.label == button.label();", to: "const bool isApproved = found.button.has_value();", ...click },
  { name: "direct access is not checked before the press", file: "src/click/ClickAttempt.cpp", from: "const bool isBlocked = presence.requiresDirectAccessNow() &&", to: "const bool isBlocked = false && presence.requiresDirectAccessNow() &&", ...click },
  { name: "nothing is checked before the press", file: "src/click/ClickAttempt.cpp", from: "  if (const auto progress = prompt(); progress != Progress::promptRemains) return progress;\n  if (!button.isIntact()) return Progress::promptRemains;\n", to: "", ...click },

  // ---- Looking.
  { name: "a silent application has no windows", file: "src/detection/PromptSearch.cpp", from: "if (known.state == ApplicationWindows::State::silent) return PromptPresence::unknown(whySilent());", to: "if (known.state == ApplicationWindows::State::silent) return PromptPresence::gone();", ...detection },
  { name: "an application that refuses has no windows", file: "src/detection/WindowSources.cpp", from: "refusingProcesses.contains(process) || scope", to: "scope", ...detection },
  { name: "an application that does not answer was read", file: "src/detection/DialogDetector.cpp", from: "  outcome.unreadProcesses = windows.unreadProcesses();\n", to: "", ...detection },
  { name: "every percentage runs", file: "src/approvals/LiveText.cpp", from: "progress == Progress::shown && !text::holdsQuestion(text);", to: "progress == Progress::shown || progress == Progress::absent;", ...detection },
  { name: "a meaning that is not known as a whole is safe", file: "src/detection/ForeignTexts.cpp", from: "label.mayBeSafe = isWhole && judged.isSafeDismissal;", to: "label.mayBeSafe = (isWhole || !isWhole) && judged.isSafeDismissal;", ...detection },
  { name: "boxes are no part of a prompt", file: "src/detection/PromptJudge.cpp", from: "if (!line.empty() && meaning", to: "if (line.empty() && meaning", ...detection },
  { name: "unreadable text is safe", file: "src/detection/PromptJudge.cpp", from: "if (reading.hasUnreadableText || !texts.isWholeMeaning) return unreadableTextReason();", to: "", ...detection },

  // ---- The store.
  { name: "another window is the same appearance", file: "src/approvals/ApprovalStore.cpp", from: "return !a.window || !b.window || *a.window == *b.window;", to: "return !a.windowTitle.empty() || !b.window || *a.window == *b.window;", ...store },
  { name: "the store ages by the wall clock's whim", file: "src/approvals/ApprovalStore.cpp", from: "now - lastSeen->second <= staleAfter", to: "now - lastSeen->second <= Seconds{0.5}", ...store },
  { name: "nothing in the store ages", file: "src/approvals/ApprovalStore.cpp", from: "now - lastSeen->second <= staleAfter", to: "now >= lastSeen->second", ...store },
  { name: "what could not be read ages", file: "src/approvals/ApprovalStore.cpp", from: "    lastSeenByID[id] = merge.now;\n    merge.seen.insert(id);\n  }", to: "  }", ...store },

  // ---- The envelope.
  { name: "a reflected box is opened", file: "src/relay/SealedConversation.cpp", from: "if (sealedHere.knows(nonce)) return SealingFailure{std::string(kSeenBefore)};", to: "", ...relay },
  { name: "a mute is carried out as often as it comes", file: "src/relay/SealedConversation.cpp", from: "  openedOnce.remember(nonce);\n", to: "", ...relay },
  { name: "the relay's name of a decision counts", file: "src/relay/RelayClientCore.cpp", from: "command->decisionID.value_or(message.decisionID) != message.decisionID", to: "message.decisionID.empty()", ...relay },
  { name: "the tag of a box is not checked", file: "src/relay/SealedBox.cpp", from: "return written == length && EVP_DecryptFinal_ex(context, out + written, &rest) == 1 && rest == 0;", to: "(void)rest;\n  return written == length;", ...relay },
  { name: "a list that is too long sheds the oldest", file: "src/relay/SnapshotTrimming.cpp", from: "return lengths[one] < lengths[other]; });", to: "return one < lengths.size() && one > other; });", ...relay },
  { name: "a list that is too long does not say so", file: "src/relay/SnapshotTrimming.cpp", from: "trimmed.leftOut = approvals.size() - trimmed.approvals.size();", to: "trimmed.leftOut = 0;", ...relay },

  // ---- The questions of programs.
  { name: "a question outlives its program", file: "src/questions/Questions.cpp", from: "if (place != questions.end()) remove(place, /*wasTaken=*/false);", to: "(void)place;", ...questions },
  { name: "a question can be answered twice", file: "src/questions/Questions.cpp", from: "place->onTaken || !place->request.hasButton(label)", to: "!place->request.hasButton(label)", ...questions },
  { name: "a loop floods the phone", file: "src/questions/Questions.cpp", from: "if (isTooMany(program)) return QuestionEnd::tooMany;", to: "(void)isTooMany(program);", ...questions },
  { name: "nobody answers too early", file: "src/questions/Questions.cpp", from: "dependencies.mainThread.postAfter(request.timeout, [this, id]", to: "dependencies.mainThread.postAfter(request.timeout / 3, [this, id]", ...questions },
  { name: "a phone grants what only the computer may", file: "src/questions/Questions.cpp", from: "approval.requiresDirectAccess = request.needsComputer;", to: "approval.requiresDirectAccess = false;", ...questions },
  { name: "a mute ends the questions of all programs", file: "src/questions/Questions.cpp", from: "if (place->kind == suppressionID && !place->onTaken)", to: "if (!suppressionID.text().empty() && !place->onTaken)", ...questions },
  { name: "an answer counts that the agent does not confirm", file: "src/questions/QuestionAsker.cpp", from: "void QuestionAsker::notTaken(std::string message) {\n", to: "void QuestionAsker::notTaken(std::string message) {\n  if (isConfirming) return finish(*answer);\n", ...questions },
  { name: "a question that was answered is asked again", file: "src/questions/QuestionAsker.cpp", from: "if (answer) return notTaken(\"The agent has gone before it confirmed the answer.\");", to: "answer.reset();\n  isConfirming = false;", ...questions },
  { name: "what was taken is told as not taken", file: "src/questions/Questions.cpp", from: "remove(place, /*wasTaken=*/true);", to: "remove(place, /*wasTaken=*/false);", ...questions },
  { name: "what ended stays on the list", file: "src/questions/Questions.cpp", from: "  dependencies.store.remove(id, Seconds::zero());\n", to: "", ...questions },

  // ---- The address rules.
  { name: "the token goes to any host in clear", file: "src/relay/RelayAddress.cpp", from: "(scheme == \"ws\" && isThisComputer(*components.host))", to: "scheme == \"ws\"", ...relay },
  { name: "any scheme is a relay's", file: "src/relay/RelayAddress.cpp", from: "return scheme == \"wss\" ||", to: "return scheme.starts_with(\"w\") ||", ...relay },

  // What once happened to people.
  { name: "an answered identity is kept", file: "src/agent/CurrentApprovals.cpp", from: "dependencies.store.remove(approvalID, Seconds::zero());", to: "dependencies.store.remove(approvalID);", ...agent },
  { name: "a twin takes the place of the window", file: "src/detection/PromptSearch.cpp", from: "auto match = approval.window ? matchIn(sourceOf(*approval.window), buttonLabel) : bestMatch(buttonLabel);", to: "auto match = bestMatch(buttonLabel);", ...detection },
  { name: "a desktop that cannot be seen shows nothing", file: "src/detection/PromptSearch.cpp", from: "const auto presence = canSeeDesktop() ? found : PromptPresence::unknown(whySilent());", to: "const auto presence = canSeeDesktop() ? found : PromptPresence::gone();", ...detection },
  { name: "a window that the server has lost may be there", file: "src/detection/PromptSearch.cpp", from: "return presence.isUnknown() && hasLeftWindowServer(window) ? PromptPresence::gone() : presence;", to: "return presence;", ...detection },
  { name: "what is muted is gone", file: "src/detection/DialogDetector.cpp", from: "  if (scope.missedTimeout(source.window)) return {.prompt = std::nullopt, .isWhole = false};\n  return content;", to: "  if (scope.missedTimeout(source.window)) return {.prompt = std::nullopt, .isWhole = false};\n  if (content.prompt && suppressionStore.contains(content.prompt->approval.suppressionID)) content.prompt.reset();\n  return content;", ...agent },
  { name: "a silent system has taken the permission", file: "src/agent/PermissionWatch.cpp", from: "  if (trust != ProcessTrust::unknown) {", to: "  if (trust == ProcessTrust::unknown) isSilentForTooLong = true;\n  if (trust != ProcessTrust::unknown) {", ...agent },
  { name: "a relay that has forgotten the token is not told it again", file: "src/relay/RelayConnection.cpp", from: "if (end.refusedWithStatus == kUnauthorized) return RelayRefusal::tokenUnknown;", to: "if (end.refusedWithStatus == kUnauthorized) return std::nullopt;", ...agent },
];
