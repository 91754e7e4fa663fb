#include "demo/SamplePrompts.h"

#include <array>
#include <utility>

namespace quillard::demo {
namespace {

constexpr int kFirstButton = 10;  // The exit code of the first button; the second has the next one.

struct Sample {
  const char* title;
  const char* text;
  std::array<const char*, 2> buttons;
};
constexpr std::array<Sample, 3> kSamples{{
    {"Camera access", "A web page wants to use the camera.", {"Don't Allow", "Allow"}},
    {"Network access", "A program wants to find devices on your local network.", {"Don't Allow", "Allow"}},
    {"Screen recording", "A meeting wants to record the contents of your screen.", {"Don't Allow", "Allow"}},
}};

const Sample& sample(std::size_t number) { return kSamples[number % kSamples.size()]; }

}  // namespace

SamplePrompts::SamplePrompts(std::string program, Variables environment, std::string logFile)
    : program(std::move(program)), environment(std::move(environment)), logFile(std::move(logFile)) {}

void SamplePrompts::showNext() {
  if (prompt) return;
  const auto& [title, text, buttons] = sample(shown++);
  prompt = std::make_unique<Service>(Service::Start{.command = {program, "--kind", "dialog", "--title", title, "--text",
                                                                text, "--button", buttons[0], "--button", buttons[1]},
                                                    .environment = environment,
                                                    .logFile = logFile});
}

std::optional<std::string> SamplePrompts::takeAnswer() {
  const auto code = prompt ? prompt->exitCode() : std::nullopt;
  if (!code) return std::nullopt;
  prompt.reset();
  const auto& buttons = sample(shown - 1).buttons;
  const auto pressed = static_cast<std::size_t>(*code - kFirstButton);  // Another code becomes a number out of range.
  return pressed < buttons.size() ? buttons[pressed] : "";
}

}  // namespace quillard::demo
