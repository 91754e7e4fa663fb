#include "support/FakeAccessibilityBus.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "private-desktop/BusConfiguration.h"

namespace quillard::test {
namespace {

void require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
}

}  // namespace

FakeProgram::FakeProgram(const std::string& address, const std::string& wellKnownName, Override override)
    : FakeProgram(address, wellKnownName.empty() ? std::vector<std::string>{} : std::vector<std::string>{wellKnownName},
                  std::move(override)) {}

FakeProgram::FakeProgram(const std::string& address, const std::vector<std::string>& wellKnownNames, Override override)
    : override(std::move(override)), wakeFile(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  require(sd_bus_new(&bus), "bus");
  require(sd_bus_set_address(bus, address.c_str()), "address");
  require(sd_bus_set_bus_client(bus, 1), "client");
  require(sd_bus_start(bus), "start");
  const char* own = nullptr;
  require(sd_bus_get_unique_name(bus, &own), "name");
  uniqueName = own;
  require(sd_bus_add_filter(bus, nullptr, onMessage, this), "filter");
  for (const auto& name : wellKnownNames) require(sd_bus_request_name(bus, name.c_str(), 0), "well-known name");
  thread = std::thread([this] { run(); });
}

FakeProgram::~FakeProgram() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(wakeFile, &one, sizeof one);
  thread.join();
  sd_bus_close(bus);
  sd_bus_unref(bus);
  close(wakeFile);
}

void FakeProgram::run() {
  for (;;) {
    const int done = sd_bus_process(bus, nullptr);
    if (done < 0) return;
    if (done > 0) continue;
    std::array<pollfd, 2> files{
        {{wakeFile, POLLIN, 0}, {sd_bus_get_fd(bus), static_cast<short>(sd_bus_get_events(bus)), 0}}};
    poll(files.data(), files.size(), -1);
    if ((files[0].revents & POLLIN) != 0) return;
  }
}

void FakeProgram::set(const std::string& path, const FakeObject& object) {
  const std::lock_guard lock(mutex);
  objects[path] = object;
}

void FakeProgram::hangOn(const std::string& member) {
  const std::lock_guard lock(mutex);
  hanging.insert(member);
}

void FakeProgram::goOnWith(const std::string& member) {
  const std::lock_guard lock(mutex);
  hanging.erase(member);
}

void FakeProgram::lieOn(const std::string& member) {
  const std::lock_guard lock(mutex);
  lying.insert(member);
}

void FakeProgram::speakAs(const std::string& toolkit, const std::string& version) {
  const std::lock_guard lock(mutex);
  toolkitName = toolkit;
  toolkitVersion = version;
}

void FakeProgram::offerCache(std::function<void(std::vector<FakeCachedObject>&)> edit) {
  const std::lock_guard lock(mutex);
  cacheEdit = std::move(edit);
}

int FakeProgram::timesAsked(const std::string& member) {
  const std::lock_guard lock(mutex);
  int times = 0;
  for (const auto& question : questions) {
    if (question.rfind(member + " ", 0) == 0) ++times;
  }
  return times;
}

std::vector<std::string> FakeProgram::asked() {
  const std::lock_guard lock(mutex);
  return questions;
}

int FakeProgram::onMessage(sd_bus_message* message, void* program, sd_bus_error*) {
  return static_cast<FakeProgram*>(program)->answer(message);
}

int FakeProgram::answer(sd_bus_message* message) {
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 0;
  if (override && override(message)) return 1;
  std::string member = sd_bus_message_get_member(message);
  const bool isProperty = sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "Get") > 0;
  if (isProperty) {
    const char* interface = nullptr;
    const char* property = nullptr;
    require(sd_bus_message_read(message, "ss", &interface, &property), "property");
    member = property;
  }
  const std::string path = sd_bus_message_get_path(message);
  const std::lock_guard lock(mutex);
  questions.push_back(member + " " + path);
  if (hanging.contains(member)) return 1;
  if (lying.contains(member)) return sd_bus_reply_method_return(message, "t", std::uint64_t{7});
  if (member == "GetItems" && cacheEdit) return replyCache(message);
  const auto object = objects.find(path);
  if (object == objects.end()) {
    return sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.UnknownObject", "No such object");
  }
  return isProperty ? answerProperty(message, object->second, member) : answerMethod(message, object->second, member);
}

int FakeProgram::answerProperty(sd_bus_message* message, const FakeObject& object, const std::string& property) {
  const auto text = [&](const std::string& value) {
    return sd_bus_reply_method_return(message, "v", "s", value.c_str());
  };
  const auto number = [&](std::size_t value) {
    return sd_bus_reply_method_return(message, "v", "i", static_cast<std::int32_t>(value));
  };
  if (property == "Name") return text(object.name);
  if (property == "Description") return text(object.description);
  if (property == "ToolkitName") return text(toolkitName);
  if (property == "Version") return text(toolkitVersion);
  if (property == "Parent") return answerParent(message);
  if (property == "ChildCount") return number(object.children.size());
  if (property == "NActions") return number(object.actions.size());
  return sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.UnknownProperty", "No such property");
}

int FakeProgram::answerParent(sd_bus_message* message) {
  const std::string path = sd_bus_message_get_path(message);
  const auto holds = [&](const auto& entry) {
    const auto& children = entry.second.children;
    return std::find(children.begin(), children.end(), path) != children.end();
  };
  const auto parent = std::find_if(objects.begin(), objects.end(), holds);
  const char* const parentPath = parent == objects.end() ? "/org/a11y/atspi/null" : parent->first.c_str();
  return sd_bus_reply_method_return(message, "v", "(so)", uniqueName.c_str(), parentPath);
}

int FakeProgram::answerMethod(sd_bus_message* message, const FakeObject& object, const std::string& member) {
  if (member == "GetRole") return sd_bus_reply_method_return(message, "u", object.role);
  if (member == "GetState") {
    return sd_bus_reply_method_return(message, "au", 2, static_cast<std::uint32_t>(object.states),
                                      static_cast<std::uint32_t>(object.states >> 32U));
  }
  if (member == "GetChildren") return replyObjects(message, object);
  if (member == "GetText") return sd_bus_reply_method_return(message, "s", object.text.c_str());
  if (member == "DoAction") return sd_bus_reply_method_return(message, "b", 1);
  if (member == "GetExtents" && object.extents) {
    const auto& place = *object.extents;
    return sd_bus_reply_method_return(message, "(iiii)", static_cast<int>(place.x), static_cast<int>(place.y),
                                      static_cast<int>(place.width), static_cast<int>(place.height));
  }
  std::int32_t index = 0;
  if (member == "GetName" && sd_bus_message_read(message, "i", &index) > 0) {
    return sd_bus_reply_method_return(message, "s", object.actions.at(static_cast<std::size_t>(index)).c_str());
  }
  if (member == "GetChildAtIndex" && sd_bus_message_read(message, "i", &index) > 0) {
    return sd_bus_reply_method_return(message, "(so)", uniqueName.c_str(),
                                      object.children.at(static_cast<std::size_t>(index)).c_str());
  }
  return sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.UnknownMethod", "No such method");
}

int FakeProgram::replyObjects(sd_bus_message* message, const FakeObject& object) {
  sd_bus_message* reply = nullptr;
  require(sd_bus_message_new_method_return(message, &reply), "reply");
  require(sd_bus_message_open_container(reply, 'a', "(so)"), "array");
  for (const auto& child : object.children) {
    require(sd_bus_message_append(reply, "(so)", uniqueName.c_str(), child.c_str()), "child");
  }
  for (const auto& foreignChild : object.foreignChildren) {
    const auto slash = foreignChild.find('/');
    require(
        sd_bus_message_append(reply, "(so)", foreignChild.substr(0, slash).c_str(), foreignChild.substr(slash).c_str()),
        "foreign child");
  }
  require(sd_bus_message_close_container(reply), "array");
  const int result = sd_bus_send(bus, reply, nullptr);
  sd_bus_message_unref(reply);
  return result < 0 ? result : 1;
}

std::vector<FakeCachedObject> FakeProgram::cachedObjects() const {
  std::vector<FakeCachedObject> list;
  for (const auto& [path, object] : objects) {
    FakeCachedObject cached{.bus = uniqueName,
                            .path = path,
                            .parentBus = uniqueName,
                            .parentPath = "/org/a11y/atspi/null",
                            .index = -1,
                            .childCount = static_cast<std::int32_t>(object.children.size()),
                            .role = object.role,
                            .states = object.states,
                            .name = object.name,
                            .description = object.description};
    for (const auto& [above, parent] : objects) {
      const auto place = std::find(parent.children.begin(), parent.children.end(), path);
      if (place == parent.children.end() || cached.index >= 0) continue;
      cached.parentPath = above;
      cached.index = static_cast<std::int32_t>(place - parent.children.begin());
    }
    list.push_back(std::move(cached));
  }
  return list;
}

int FakeProgram::replyCache(sd_bus_message* message) {
  auto list = cachedObjects();
  if (*cacheEdit) (*cacheEdit)(list);
  sd_bus_message* reply = nullptr;
  require(sd_bus_message_new_method_return(message, &reply), "reply");
  require(sd_bus_message_open_container(reply, 'a', "((so)(so)(so)iiassusau)"), "array");
  for (const auto& object : list) {
    require(sd_bus_message_append(reply, "((so)(so)(so)iiassusau)", object.bus.c_str(), object.path.c_str(),
                                  object.bus.c_str(), kRoot, object.parentBus.c_str(), object.parentPath.c_str(),
                                  object.index, object.childCount, 1, "org.a11y.atspi.Accessible", object.name.c_str(),
                                  object.role, object.description.c_str(), 2, static_cast<std::uint32_t>(object.states),
                                  static_cast<std::uint32_t>(object.states >> 32U)),
            "cached object");
  }
  require(sd_bus_message_close_container(reply), "array");
  const int result = sd_bus_send(bus, reply, nullptr);
  sd_bus_message_unref(reply);
  return result < 0 ? result : 1;
}

FakeAccessibilityBus::FakeAccessibilityBus() {
  const std::string file = folder.path() + "/bus.conf";
  std::ofstream(file) << privatedesktop::busConfiguration(folder.path() + "/bus");
  daemon = std::make_unique<ChildProcess>(ChildProcess::Start{
      .command = {"dbus-daemon", "--config-file=" + file, "--nofork", "--nopidfile", "--print-address=1"},
      .environment = presentEnvironment()});
  busAddress = daemon->readLine().value_or("");
  if (busAddress.empty()) throw std::runtime_error("No bus: is dbus-daemon installed?");
  startRegistryAnew();
  launcher = std::make_unique<FakeProgram>(busAddress, "org.a11y.Bus", [this](sd_bus_message* message) {
    if (isLauncherSilent) return true;
    if (sd_bus_message_is_method_call(message, "org.a11y.Bus", "GetAddress") > 0) {
      return sd_bus_reply_method_return(message, "s", busAddress.c_str()) >= 0;
    }
    if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "Get") > 0) {
      return sd_bus_reply_method_return(message, "v", "b", static_cast<int>(isEnabled.load())) >= 0;
    }
    return false;
  });
}

std::unique_ptr<FakeProgram> FakeAccessibilityBus::start() { return std::make_unique<FakeProgram>(busAddress); }

void FakeAccessibilityBus::startRegistryAnew() {
  registryProgram.reset();
  registryProgram = std::make_unique<FakeProgram>(busAddress, "org.a11y.atspi.Registry");
  registryProgram->set(FakeProgram::kRoot, {});
}

void FakeAccessibilityBus::registerPrograms(const std::vector<std::string>& names) {
  FakeObject root;
  for (const auto& name : names) root.foreignChildren.push_back(name + FakeProgram::kRoot);
  registryProgram->set(FakeProgram::kRoot, root);
}

}  // namespace quillard::test
