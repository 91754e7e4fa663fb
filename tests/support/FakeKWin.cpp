#include "support/FakeKWin.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <utility>

namespace quillard::test {
namespace {

std::string textOf(const std::string& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

FakeKWin::FakeKWin(std::string address, std::string scriptPath, std::string firstState)
    : address(std::move(address)), scriptPath(std::move(scriptPath)), state(std::move(firstState)) {
  program = std::make_unique<FakeProgram>(this->address, "org.kde.KWin",
                                          [this](sd_bus_message* message) { return answer(message); });
}

void FakeKWin::tell(const std::string& now) {
  {
    const std::lock_guard lock(mutex);
    state = now;
  }
  // KWin's own connection has to send it, on its own thread.
  sd_bus* bus = nullptr;
  sd_bus_new(&bus);
  sd_bus_set_address(bus, address.c_str());
  sd_bus_set_bus_client(bus, 1);
  if (sd_bus_start(bus) >= 0) {
    sd_bus_call_method(bus, program->name().c_str(), "/", "test.Fake", "Tell", nullptr, nullptr, "");
  }
  sd_bus_flush_close_unref(bus);
}

std::vector<std::string> FakeKWin::loaded() {
  const std::lock_guard lock(mutex);
  std::vector<std::string> names;
  for (const auto& [name, text] : scripts) names.push_back(name);
  return names;
}

std::vector<std::string> FakeKWin::run() {
  const std::lock_guard lock(mutex);
  return texts;
}

void FakeKWin::send(sd_bus* bus) {
  sd_bus_message* call = nullptr;
  if (listener.empty() ||
      sd_bus_message_new_method_call(bus, &call, listener.c_str(), "/windows", "com.quillard.Windows", "tell") < 0) {
    return;
  }
  sd_bus_message_append(call, "s", state.c_str());
  sd_bus_message_set_expect_reply(call, 0);
  sd_bus_send(bus, call, nullptr);
  sd_bus_message_unref(call);
}

void FakeKWin::hold() { isHeld = true; }

void FakeKWin::release() {
  isHeld = false;
  isHeld.notify_all();
}

bool FakeKWin::answer(sd_bus_message* message) {
  isHeld.wait(true);
  const std::lock_guard lock(mutex);
  sd_bus* const bus = sd_bus_message_get_bus(message);
  const std::string path = sd_bus_message_get_path(message) ? sd_bus_message_get_path(message) : "";
  const char* first = nullptr;
  const char* second = nullptr;
  if (!isReady) {
    sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.UnknownObject", "No such object path");
    return true;
  }
  if (sd_bus_message_is_method_call(message, "org.kde.kwin.Scripting", "loadScript") > 0) {
    if (path != "/Scripting" || sd_bus_message_read(message, "ss", &first, &second) <= 0) return false;
    const bool isNew = scripts.emplace(second, textOf(first)).second;
    lastLoaded = second;
    sd_bus_reply_method_return(message, "i", isNew ? 7 : -1);
    return true;
  }
  if (sd_bus_message_is_method_call(message, "org.kde.kwin.Scripting", "unloadScript") > 0) {
    sd_bus_message_read(message, "s", &first);
    sd_bus_reply_method_return(message, "b", static_cast<int>(scripts.erase(first)));
    return true;
  }
  if (sd_bus_message_is_method_call(message, "org.kde.kwin.Script", "run") > 0) {
    if (path != scriptPath) {
      sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.UnknownObject", "No such object path");
      return true;
    }
    sd_bus_reply_method_return(message, "");
    if (!runsScripts) return true;
    const auto& text = scripts[lastLoaded];
    texts.push_back(text);
    std::smatch found;
    if (std::regex_search(text, found, std::regex{R"re(callDBus\("(:[0-9.]+)", "/windows")re"})) {
      listener = found[1];
      if (reports) send(bus);
    }
    return true;
  }
  if (sd_bus_message_is_method_call(message, "test.Fake", "Tell") > 0) {
    send(bus);
    sd_bus_reply_method_return(message, "");
    return true;
  }
  return false;
}

}  // namespace quillard::test
