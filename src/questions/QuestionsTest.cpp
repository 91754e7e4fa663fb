#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedWorld.h"
#include "questions/QuestionTexts.h"
#include "questions/Questions.h"

namespace quillard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

QuestionRequest deletion() {
  return {.question = "Delete the old backups?",
          .lines = {"214 GB on tank/backup"},
          .buttons = {{"Delete"}, {"Cancel"}},
          .timeout = Seconds{600}};
}

platform::LocalPeer program(const std::string& name, std::int32_t process = 4242) {
  return {.process = {.processIdentifier = process,
                      .executable = "/usr/bin/" + name,
                      .programName = name,
                      .workingFolder = "/srv/site"}};
}

class QuestionsTest : public testing::Test {
 protected:
  // What became of it: "Delete", "taken", "ended: timedOut" and so on, in order.
  using Log = std::shared_ptr<std::vector<std::string>>;

  std::variant<Uuid, QuestionEnd> tryToAsk(const platform::LocalPeer& peer, const QuestionRequest& request,
                                           const Log& told = std::make_shared<std::vector<std::string>>()) {
    return questions.ask(
        peer, request,
        {.onAnswer = [told](const QuestionAnswer& answer) { told->push_back(answer.label); },
         .onEnd = [told](QuestionEnd end) { told->push_back("ended: " + std::string(QuestionTexts::name(end))); }});
  }
  Uuid ask(const QuestionRequest& request = deletion(), const platform::LocalPeer& peer = program("backup")) {
    const auto asked = tryToAsk(peer, request, log);
    EXPECT_TRUE(std::holds_alternative<Uuid>(asked));
    return std::holds_alternative<Uuid>(asked) ? std::get<Uuid>(asked) : Uuid();
  }
  std::optional<QuestionEnd> refusalOf(const platform::LocalPeer& peer = program("backup"),
                                       const QuestionRequest& request = deletion()) {
    const auto asked = tryToAsk(peer, request);
    const auto* const refusal = std::get_if<QuestionEnd>(&asked);
    return refusal ? std::optional(*refusal) : std::nullopt;
  }
  bool answer(const Uuid& id, const std::string& label) {
    return questions.answer(id, label, AnsweredBy::phone,
                            [this](bool wasTaken) { outcomes.push_back(wasTaken ? "taken" : "not taken"); });
  }
  void settle() { world.advance(Seconds{0.001}); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  ApprovalStore store{Seconds{8}, world.time(), world.random()};
  ApprovalSuppressionStore suppressions{world.userDefaults()};
  PhoneReach reach = PhoneReach::there;
  bool isPaused = false;
  std::optional<Uuid> woken;
  int changes = 0;
  Log log = std::make_shared<std::vector<std::string>>();
  std::vector<std::string> outcomes;
  Questions questions{{store, suppressions, world.time(), world.random(), world.time().mainThread()},
                      {.phoneReach = [this] { return reach; },
                       .isPaused = [this] { return isPaused; },
                       .wasPhoneWoken = [this](const Uuid& id) { return woken == id; },
                       .onChanged = [this] { ++changes; }}};
};

TEST_F(QuestionsTest, AreApprovalsThatSayWhoAsks) {
  auto request = deletion();
  request.recommended = "Cancel";
  const Uuid id = ask(request);
  ASSERT_EQ(store.all().size(), 1U);
  const auto approval = store.all()[0];
  EXPECT_EQ(approval.id, id);
  EXPECT_EQ(approval.appName, "backup");
  EXPECT_EQ(approval.bundleIdentifier, "/usr/bin/backup");
  EXPECT_EQ(approval.processIdentifier, 4242);
  EXPECT_EQ(approval.displayTitle(), "backup: Delete the old backups?");
  EXPECT_THAT(approval.messageLines,
              ElementsAre("Asked by /usr/bin/backup, process 4242, in /srv/site", "214 GB on tank/backup"));
  EXPECT_EQ(approval.recommendedButtonLabel, "Cancel");
  EXPECT_FALSE(approval.requiresDirectAccess);
  EXPECT_TRUE(approval.isAsked);
  EXPECT_EQ(changes, 1);
}

TEST_F(QuestionsTest, SayWhenTheyTimeOut) {
  const auto began = world.time().monotonicNow();
  const Uuid id = ask(deletion());
  EXPECT_EQ(questions.endOf(id), advanced(began, Seconds{600}));
  EXPECT_EQ(questions.endOf(Uuid{}), std::nullopt);
  questions.withdraw(id);
  EXPECT_EQ(questions.endOf(id), std::nullopt);
}

TEST_F(QuestionsTest, AToolOfOursSpeaksForWhoeverStartedIt) {
  auto peer = program("quillard", 5000);
  peer.isThisProgram = true;
  peer.parent = program("bash", 4999).process;
  ask(deletion(), peer);
  EXPECT_EQ(store.all()[0].appName, "bash");
  EXPECT_EQ(store.all()[0].processIdentifier, 4999);
}

TEST_F(QuestionsTest, AServiceIsNamedAndLimitedByItself) {
  const auto service = [](const std::string& name) {
    auto peer = program("quillard", 5000);
    peer.isThisProgram = true;
    peer.parent = platform::ProcessDescription{812, "/usr/lib/systemd/systemd", name, "/"};
    return peer;
  };
  ask(deletion(), service("backup.service"));
  EXPECT_EQ(store.all()[0].appName, "backup.service");
  EXPECT_EQ(store.all()[0].messageLines[0],
            "Asked by backup.service, a service of /usr/lib/systemd/systemd, process 812, in /");
  for (std::size_t i = 1; i < Questions::kMostOpenOfAProgram; ++i) ask(deletion(), service("backup.service"));
  EXPECT_EQ(refusalOf(service("backup.service")), QuestionEnd::tooMany);
  EXPECT_EQ(refusalOf(service("deploy.service")), std::nullopt);
}

TEST_F(QuestionsTest, AToolOfOursNeverSpeaksForItself) {
  auto peer = program("quillard", 5000);
  peer.isThisProgram = true;
  ask(deletion(), peer);
  EXPECT_EQ(store.all()[0].appName, "A program");
  EXPECT_EQ(store.all()[0].bundleIdentifier, std::nullopt);
  EXPECT_EQ(store.all()[0].messageLines[0], "Asked by a program that has ended");
}

TEST_F(QuestionsTest, ProgramsThatHaveEndedAreLimitedAndMutedAsOne) {
  const auto ended = [](std::int32_t process) {
    return platform::LocalPeer{.process = {.processIdentifier = process}};
  };
  const Uuid first = ask(deletion(), ended(1000));
  for (std::int32_t i = 1; i < static_cast<std::int32_t>(Questions::kMostOpenOfAProgram); ++i) {
    ask(deletion(), ended(1000 + i));
  }
  EXPECT_EQ(refusalOf(ended(2000)), QuestionEnd::tooMany);
  const Uuid kind = store.approval(first).value().suppressionID;
  suppressions.suppress(kind);
  questions.mute(kind);
  EXPECT_EQ(questions.openCount(), 0U);
  EXPECT_EQ(refusalOf(ended(3000)), QuestionEnd::muted);
}

TEST_F(QuestionsTest, AnotherProgramDoesNotSpeakForItsParent) {
  auto peer = program("backup", 5000);
  peer.parent = program("bash", 4999).process;
  ask(deletion(), peer);
  EXPECT_EQ(store.all()[0].appName, "backup");
}

TEST_F(QuestionsTest, NamesOfFilesCannotForgeALine) {
  auto peer = program("x\nAsked by /usr/bin/apt\xff");
  peer.process.workingFolder = "/tmp/a\nb";
  ask(deletion(), peer);
  EXPECT_EQ(store.all()[0].messageLines[0], "Asked by /usr/bin/x?Asked by /usr/bin/apt?, process 4242, in /tmp/a?b");
  EXPECT_EQ(store.all()[0].appName, "x?Asked by /usr/bin/apt?");
}

TEST_F(QuestionsTest, AProcessThatHasEndedHasNoName) {
  ask(deletion(), {.process = {.processIdentifier = 31}});
  EXPECT_EQ(store.all()[0].appName, "A program");
  EXPECT_EQ(store.all()[0].bundleIdentifier, std::nullopt);
  EXPECT_EQ(store.all()[0].messageLines[0], "Asked by a program that has ended, process 31");
}

TEST_F(QuestionsTest, AreAnsweredAndTaken) {
  const Uuid id = ask();
  EXPECT_TRUE(answer(id, "Delete"));
  EXPECT_THAT(*log, ElementsAre("Delete"));
  EXPECT_EQ(store.all().size(), 1U) << "it is there until the answer was taken";
  settle();
  EXPECT_THAT(outcomes, IsEmpty());
  EXPECT_TRUE(questions.taken(id));
  settle();
  EXPECT_THAT(outcomes, ElementsAre("taken"));
  EXPECT_TRUE(store.all().empty());
  EXPECT_EQ(questions.openCount(), 0U);
}

TEST_F(QuestionsTest, AreAnsweredOnce) {
  const Uuid id = ask();
  EXPECT_TRUE(answer(id, "Delete"));
  EXPECT_FALSE(answer(id, "Cancel")) << "the first answer is under way";
  EXPECT_TRUE(questions.taken(id));
  EXPECT_FALSE(answer(id, "Cancel"));
  EXPECT_FALSE(questions.taken(id));
  settle();
  EXPECT_THAT(*log, ElementsAre("Delete"));
  EXPECT_THAT(outcomes, ElementsAre("taken"));
}

TEST_F(QuestionsTest, OnlyTheirOwnLabelsAnswerThem) {
  const Uuid id = ask();
  for (const char* const label : {"", "delete", "Delete ", "OK"}) EXPECT_FALSE(answer(id, label)) << label;
  EXPECT_FALSE(answer(Uuid(), "Delete"));
  EXPECT_THAT(*log, IsEmpty());
}

TEST_F(QuestionsTest, AnAnswerThatIsNotTakenInTimeHasFailed) {
  const Uuid id = ask();
  EXPECT_TRUE(answer(id, "Delete"));
  world.advance(Questions::kTakeTimeout - Seconds{0.01});
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(Seconds{0.02});
  EXPECT_THAT(outcomes, ElementsAre("not taken"));
  EXPECT_TRUE(store.all().empty());
  EXPECT_THAT(*log, ElementsAre("Delete", "ended: notTaken")) << "the program must not act on it any more";
  EXPECT_FALSE(questions.taken(id)) << "too late";
  settle();
  EXPECT_THAT(outcomes, ElementsAre("not taken"));
}

TEST_F(QuestionsTest, AreNotTakenBeforeTheyAreAnswered) {
  const Uuid id = ask();
  EXPECT_FALSE(questions.taken(id));
  EXPECT_EQ(questions.openCount(), 1U);
}

TEST_F(QuestionsTest, AProgramThatGoesTakesItsQuestionBack) {
  const Uuid unanswered = ask();
  questions.withdraw(unanswered);
  EXPECT_TRUE(store.all().empty());
  EXPECT_FALSE(answer(unanswered, "Delete"));
  const Uuid answered = ask();
  EXPECT_TRUE(answer(answered, "Delete"));
  questions.withdraw(answered);
  settle();
  EXPECT_THAT(outcomes, ElementsAre("not taken"));
  EXPECT_THAT(*log, ElementsAre("Delete")) << "nobody is there to be told of an end";
}

TEST_F(QuestionsTest, NoScanAddsOrRemovesThem) {
  ask();
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(store.merge({}), 0U) << "nothing was missed";
    world.advance(Seconds{10});
  }
  EXPECT_EQ(store.all().size(), 1U);
  (void)store.merge({.failure = platform::DesktopReadFailure{}});
  EXPECT_EQ(store.all().size(), 1U);
}

// ---- Time-outs

TEST_F(QuestionsTest, EndAtTheirTimeOut) {
  ask();
  world.advance(Seconds{599.99});
  EXPECT_THAT(*log, IsEmpty());
  world.advance(Seconds{0.02});
  EXPECT_THAT(*log, ElementsAre("ended: timedOut"));
  EXPECT_TRUE(store.all().empty());
}

TEST_F(QuestionsTest, MayHaveAnAnswerForThatCase) {
  auto request = deletion();
  request.answerOnTimeout = "Cancel";
  const Uuid id = ask(request);
  EXPECT_TRUE(store.all()[0].buttons[1].isKnownDismissal);
  EXPECT_FALSE(store.all()[0].buttons[0].isKnownDismissal);
  world.advance(Seconds{601});
  EXPECT_THAT(*log, ElementsAre("Cancel"));
  EXPECT_FALSE(answer(id, "Delete")) << "too late";
  EXPECT_TRUE(questions.taken(id));
  EXPECT_TRUE(store.all().empty());
}

TEST_F(QuestionsTest, ThatNoPhoneCouldAnswerHaveAnEndOfTheirOwn) {
  reach = PhoneReach::away;
  ask();
  world.advance(Seconds{601});
  EXPECT_THAT(*log, ElementsAre("ended: noPhone"));
}

TEST_F(QuestionsTest, APhoneThatWasWokenForOneCountsAsReached) {
  reach = PhoneReach::away;
  woken = ask();
  ask();
  world.advance(Seconds{601});
  EXPECT_THAT(*log, ElementsAre("ended: timedOut", "ended: noPhone"));
}

TEST_F(QuestionsTest, APhoneThatCameAndWentCountsAsReached) {
  reach = PhoneReach::away;
  ask();
  world.advance(Seconds{100});
  reach = PhoneReach::there;
  questions.phonesChanged();
  reach = PhoneReach::away;
  questions.phonesChanged();
  world.advance(Seconds{501});
  EXPECT_THAT(*log, ElementsAre("ended: timedOut"));
}

// ---- Who is not asked

TEST_F(QuestionsTest, AreRefusedWithoutAWayToAPhone) {
  reach = PhoneReach::none;
  EXPECT_EQ(refusalOf(), QuestionEnd::noPhone);
  auto atTheComputer = deletion();
  atTheComputer.needsComputer = true;
  EXPECT_EQ(refusalOf(program("backup"), atTheComputer), std::nullopt) << "it needs no phone";
}

TEST_F(QuestionsTest, AreRefusedWhileAlertsArePaused) {
  isPaused = true;
  EXPECT_EQ(refusalOf(), QuestionEnd::paused);
  EXPECT_EQ(changes, 0);
  isPaused = false;
  EXPECT_EQ(refusalOf(), std::nullopt);
}

TEST_F(QuestionsTest, OfAMutedProgramEndAndAreRefused) {
  const Uuid kind = store.approval(ask(deletion(), program("backup", 1))).value().suppressionID;
  EXPECT_NE(kind, store.approval(ask(deletion(), program("deploy", 2))).value().suppressionID);
  suppressions.suppress(kind);
  questions.mute(kind);
  EXPECT_THAT(*log, ElementsAre("ended: muted"));
  ASSERT_EQ(store.all().size(), 1U);
  EXPECT_EQ(refusalOf(program("backup", 3)), QuestionEnd::muted) << "of whatever process";
  EXPECT_EQ(refusalOf(program("deploy", 4)), std::nullopt);
  suppressions.unsuppress(kind);
  EXPECT_EQ(refusalOf(program("backup", 5)), std::nullopt);
}

TEST_F(QuestionsTest, AMutedProgramIsNotForgottenForOthersThatAsk) {
  const auto kindOf = [&](const std::string& name) {
    const Uuid id = ask(deletion(), program(name));
    const Uuid kind = store.approval(id).value().suppressionID;
    questions.withdraw(id);
    world.advance(Seconds{61});
    return kind;
  };
  suppressions.suppress(kindOf("a-muted"));
  const Uuid often = kindOf("b-often");
  const Uuid once = kindOf("c-once");
  for (std::size_t i = 3; i < Questions::kMostKinds; ++i) (void)kindOf("program" + std::to_string(i));
  EXPECT_EQ(kindOf("b-often"), often);
  (void)kindOf("new");
  EXPECT_EQ(refusalOf(program("a-muted")), QuestionEnd::muted);
  EXPECT_EQ(kindOf("b-often"), often);
  EXPECT_NE(kindOf("c-once"), once) << "it asked longest ago";
}

TEST_F(QuestionsTest, WhatIsRefusedMakesNoProgramKnown) {
  const Uuid kind = store.approval(ask()).value().suppressionID;
  isPaused = true;
  for (std::size_t i = 0; i < 2 * Questions::kMostKinds; ++i) {
    EXPECT_EQ(refusalOf(program("p" + std::to_string(i))), QuestionEnd::paused);
  }
  isPaused = false;
  EXPECT_EQ(store.approval(ask()).value().suppressionID, kind);
}

TEST_F(QuestionsTest, AtTheComputerAreGrantedThereAlone) {
  auto request = deletion();
  request.needsComputer = true;
  request.buttons.push_back({"Später", true});
  ask(request);
  const auto approval = store.all()[0];
  EXPECT_TRUE(approval.requiresDirectAccess);
  EXPECT_EQ(approval.directAccessReason, "The program wants this to be answered at the computer.");
  EXPECT_FALSE(approval.buttons[0].isKnownDismissal);
  EXPECT_TRUE(approval.buttons[2].isKnownDismissal) << "as the program says";
}

// ---- A loop cannot flood a phone

TEST_F(QuestionsTest, SoManyOfAProgramWaitAtATime) {
  std::vector<Uuid> ids;
  for (std::size_t i = 0; i < Questions::kMostOpenOfAProgram; ++i) {
    ids.push_back(ask(deletion(), program("loop", static_cast<std::int32_t>(i + 1))));
  }
  EXPECT_EQ(refusalOf(program("loop", 99)), QuestionEnd::tooMany);
  EXPECT_EQ(refusalOf(program("backup")), std::nullopt) << "others may ask";
  questions.withdraw(ids[0]);
  EXPECT_EQ(refusalOf(program("loop", 99)), std::nullopt);
}

TEST_F(QuestionsTest, SoManyOfAProgramAreTakenInAMinute) {
  for (std::size_t i = 0; i < Questions::kMostInAMinute; ++i) questions.withdraw(ask());
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(refusalOf(), QuestionEnd::tooMany);
  EXPECT_EQ(changes, static_cast<int>(2 * Questions::kMostInAMinute)) << "a refusal changes nothing";
  world.advance(Seconds{59.99});
  EXPECT_EQ(refusalOf(), QuestionEnd::tooMany);
  world.advance(Seconds{0.02});
  EXPECT_EQ(refusalOf(), std::nullopt) << "what was refused does not count";
}

TEST_F(QuestionsTest, SoManyWaitAtATimeAltogether) {
  for (std::size_t i = 0; i < Questions::kMostOpen; ++i) ask(deletion(), program("p" + std::to_string(i)));
  EXPECT_EQ(refusalOf(program("another")), QuestionEnd::tooMany);
}

TEST_F(QuestionsTest, SoManyAreTakenInAMinuteAltogether) {
  for (std::size_t i = 0; i < Questions::kMostOfAllInAMinute; ++i) {
    questions.withdraw(ask(deletion(), program("p" + std::to_string(i))));
  }
  EXPECT_EQ(refusalOf(program("another")), QuestionEnd::tooMany);
  world.advance(Seconds{60.01});
  EXPECT_EQ(refusalOf(program("another")), std::nullopt);
}

TEST_F(QuestionsTest, EndWithTheAgent) {
  ask();
  ask(deletion(), program("deploy"));
  questions.stop();
  EXPECT_THAT(*log, ElementsAre("ended: stopping", "ended: stopping"));
  EXPECT_EQ(refusalOf(), QuestionEnd::stopping);
}

}  // namespace
}  // namespace quillard
