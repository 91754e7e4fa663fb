#include "questions/QuestionCommands.h"

#include <string>
#include <utility>
#include <variant>

#include "questions/QuestionTexts.h"

namespace quillard {
namespace {

std::string endLine(QuestionEnd end) {
  return channelLine("end",
                     {{"reason", QuestionTexts::name(end)}, {"message", std::string(QuestionTexts::description(end))}});
}

std::string answerLine(const QuestionAnswer& answer) {
  return channelLine("answer",
                     {{"label", answer.label}, {"index", answer.index}, {"by", QuestionTexts::name(answer.by)}});
}

// So that a list of `Questions::kMostOpen` fits into one line of the channel, however long the texts are. Bytes of
// JSON.
constexpr std::size_t kMostListedText = 6 * 1024;

std::size_t sizeOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace).size(); }

// The lines from the first on, while there is room, and how many are left out, if any are.
void listLines(const std::vector<std::string>& lines, Json& json) {
  auto& listed = json["lines"] = Json::array();
  std::size_t size = 0;
  for (const auto& line : lines) {
    size += sizeOf(line) + 1;
    if (size > kMostListedText) break;
    listed.push_back(line);
  }
  if (listed.size() < lines.size()) json["linesLeftOut"] = lines.size() - listed.size();
}

Json listed(const PendingApproval& question) {
  Json json = {{"id", question.id.text()},
               {"program", question.appName},
               {"process", question.processIdentifier},
               {"question", question.windowTitle}};
  listLines(question.messageLines, json);
  json["buttons"] = Json::array();
  for (const auto& button : question.buttons) json["buttons"].push_back(button.label);
  if (question.requiresDirectAccess) json["needsComputer"] = true;
  return json;
}

}  // namespace

void QuestionCommands::addTo(ChannelServer& server) {
  server.add("ask", [this](const auto& session, JsonReader& reader) { ask(session, reader); });
  server.add("questions", [this](const auto& session, JsonReader&) { list(session); });
  server.add("answer", [this](const auto& session, JsonReader& reader) { answer(session, reader); });
}

void QuestionCommands::ask(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const auto request = readQuestionRequest(reader);
  if (!ChannelServer::isRead(*session, reader)) return;
  const auto weakly = [weak = std::weak_ptr(session)](auto act) {
    return [weak, act](const auto& value) {
      if (const auto living = weak.lock()) act(*living, value);
    };
  };
  const auto asked = questions.ask(
      session->peer(), request,
      {.onAnswer = weakly([](ChannelSession& to, const QuestionAnswer& answer) { to.send(answerLine(answer)); }),
       .onEnd = weakly([](ChannelSession& to, QuestionEnd end) { to.finish(endLine(end)); })});
  if (const auto* const refusal = std::get_if<QuestionEnd>(&asked)) return session->finish(endLine(*refusal));
  const Uuid id = std::get<Uuid>(asked);
  session->setOnEnd([this, id] { questions.withdraw(id); });
  session->setOnMessage([this, id, weak = std::weak_ptr(session)](const ChannelMessage& message) {
    const auto living = weak.lock();
    if (message.type == "taken") {
      if (questions.taken(id)) {
        if (living) living->finish(channelLine("done"));
        return;
      }
      questions.withdraw(id);
      if (living) living->refuse(channel_codes::kNotTaken, "There is no answer that could be taken.");
    } else if (living) {
      questions.withdraw(id);
      living->refuse(channel_codes::kUnknownType, "Of a question, only that its answer was taken can be said.");
    }
  });
  session->send(channelLine("asked", {{"id", id.text()}}));
}

void QuestionCommands::list(const std::shared_ptr<ChannelSession>& session) {
  Json all = Json::array();
  for (const auto& approval : store.all()) {
    if (approval.isAsked) all.push_back(listed(approval));
  }
  session->finish(channelLine("questions", {{"questions", std::move(all)}}));
}

void QuestionCommands::answer(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const Uuid id = reader.uuid("id");
  const std::string label = reader.string("label");
  if (!ChannelServer::isRead(*session, reader)) return;
  const bool isAnswered =
      questions.answer(id, label, AnsweredBy::computer, [weak = std::weak_ptr(session)](bool wasTaken) {
        const auto living = weak.lock();
        if (!living) return;
        if (wasTaken) return living->finish(channelLine("done"));
        living->refuse(channel_codes::kNotTaken, "The program that asked has ended, or did not take the answer.");
      });
  if (!isAnswered) session->refuse(channel_codes::kNotFound, "No such question waits, or it has no such button.");
}

}  // namespace quillard
