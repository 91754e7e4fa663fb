#include "demo/DemoTexts.h"

#include <algorithm>

namespace quillard::demo {
namespace {

std::string pageLines(const Situation& situation) {
  if (!situation.page) return "Its relay is the one that QUILLARD_RELAY_URL names; open the phone's page there.\n";
  std::string text = "Open the phone's page:  " + *situation.page + "\n";
  if (!situation.isOnUsualPort) {
    text += "(Its usual port is taken. Browsers that were paired at the usual one have to be paired again.)\n";
  }
  if (situation.isRemote) {
    const auto port = situation.page->substr(situation.page->rfind(':') + 1);
    text += "(From your own computer: first  ssh -L " + port + ":127.0.0.1:" + port + " THIS-MACHINE  there.)\n";
  }
  return text;
}

std::string pairingLines(const Situation& situation) {
  if (situation.pairing) {
    return "Pair it there with \"Paste the code's text\", which is this. Whoever has it can answer the prompts of this "
           "desktop.\n\n" +
           *situation.pairing + "\n\n";
  }
  const std::string way =
      "Pair it there with \"Paste the code's text\", which  ./run --pair  prints in another terminal";
  return way + (situation.isPrivate ? ".\n" : ",\nor with a picture of the code in Quillard's window.\n");
}

std::string nextSteps(const Situation& situation) {
  if (situation.isPrivate) {
    return "A sample prompt waits there to be answered, and after each answer the next one.\n"
           "Without a browser:  ./run --phone  in another terminal.\n";
  }
  return "In another terminal,  ./run --sample  opens a prompt to try it on, and  ./run --phone  is a phone without "
         "a browser.\n";
}

// In columns: each character takes one, colours take none.
int widthOf(std::string_view line) {
  int width = 0;
  bool isColour = false;
  for (const char character : line) {
    if (character == '\x1B') isColour = true;
    const bool continuesACharacter = (static_cast<unsigned char>(character) & 0xC0U) == 0x80U;
    if (!isColour && !continuesACharacter) ++width;
    if (character == 'm') isColour = false;
  }
  return width;
}

}  // namespace

std::string welcome(const Situation& situation) {
  std::string text = "\n" + situation.code;
  text += situation.isPrivate ? "There is no display here: Quillard runs on a private desktop.\n\n"
                              : "Quillard runs on this desktop; its window says what is set up.\n\n";
  text += pageLines(situation) + pairingLines(situation) + nextSteps(situation);
  if (situation.page) text += "A phone elsewhere needs a relay that it can reach, with TLS: docs/relay.md.\n";
  text += situation.isPrivate ? "\nCtrl-C ends all of it and leaves nothing behind.\n"
                              : "\nCtrl-C ends Quillard, and what was started with it.\n";
  return text;
}

std::string sampleAnswered(const std::string& label) {
  if (label.empty()) return "The sample prompt went away without an answer.\n";
  return "The sample prompt was answered: " + label + ".\n";
}

std::string alreadyUp(const std::string& page) {
  return "A ./run is up already" + (page.empty() ? "" : "; its page is " + page) +
         ".\nCtrl-C there ends it. ./run --phone, --pair and --sample work with it.\n";
}

bool fits(const std::string& lines, int columns, int rows, int below) {
  int count = 0;
  for (std::size_t begin = 0; begin < lines.size(); ++count) {
    const auto end = std::min(lines.find('\n', begin), lines.size());
    if (widthOf(std::string_view(lines).substr(begin, end - begin)) > columns) return false;
    begin = end + 1;
  }
  return count + below <= rows;
}

}  // namespace quillard::demo
