#include <cstdio>
#include <cstdlib>
#include <string>

#include <systemd/sd-bus.h>

// An authority for privileged actions, on the session bus that the test hands over as the system's: it takes an agent,
// and has it ask once. Says "registered" then.
namespace {

constexpr const char* kAction = "org.freedesktop.policykit.exec";

void check(int result, const char* what) {
  if (result >= 0) return;
  std::fprintf(stderr, "%s: %d\n", what, result);
  std::exit(1);
}

// One identity that may answer: the user with the number 0.
void appendIdentities(sd_bus_message* call) {
  check(sd_bus_message_append(call, "a(sa{sv})", 1, "unix-user", 1, "uid", "u", 0U), "identities");
}

void askAgent(sd_bus* bus, const char* agent, const char* path) {
  sd_bus_message* call = nullptr;
  check(sd_bus_message_new_method_call(bus, &call, agent, path, "org.freedesktop.PolicyKit1.AuthenticationAgent",
                                       "BeginAuthentication"),
        "call");
  check(sd_bus_message_append(call, "sssa{ss}s", kAction, "Authentication is needed to run a program as another user",
                              "", 0, "cookie"),
        "arguments");
  appendIdentities(call);
  check(sd_bus_send(bus, call, nullptr), "send");
  sd_bus_message_unref(call);
}

int onRegister(sd_bus_message* call, void*, sd_bus_error*) {
  const char* locale = nullptr;
  const char* path = nullptr;
  check(sd_bus_message_skip(call, "(sa{sv})"), "subject");
  check(sd_bus_message_read(call, "ss", &locale, &path), "agent");
  check(sd_bus_reply_method_return(call, ""), "reply");
  askAgent(sd_bus_message_get_bus(call), sd_bus_message_get_sender(call), path);
  std::printf("registered\n");
  std::fflush(stdout);
  return 1;
}

int onUnregister(sd_bus_message* call, void*, sd_bus_error*) { return sd_bus_reply_method_return(call, ""); }

int onEnumerateActions(sd_bus_message* call, void*, sd_bus_error*) {
  return sd_bus_reply_method_return(call, "a(ssssssuuua{ss})", 1, kAction, "Run a program as another user",
                                    "Authentication is required", "Example", "http://policy.example", "", 3U, 3U, 3U,
                                    0);
}

int onEnumerateAuthorizations(sd_bus_message* call, void*, sd_bus_error*) {
  return sd_bus_reply_method_return(call, "a(ss(sa{sv})tt)", 0);
}

int textProperty(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*, sd_bus_error*) {
  return sd_bus_message_append(reply, "s", "example");
}

int featuresProperty(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*, sd_bus_error*) {
  return sd_bus_message_append(reply, "u", 1U);
}

const sd_bus_vtable kAuthority[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("RegisterAuthenticationAgent", "(sa{sv})ss", "", onRegister, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("RegisterAuthenticationAgentWithOptions", "(sa{sv})ssa{sv}", "", onRegister,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("UnregisterAuthenticationAgent", "(sa{sv})s", "", onUnregister, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EnumerateActions", "s", "a(ssssssuuua{ss})", onEnumerateActions, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EnumerateTemporaryAuthorizations", "(sa{sv})", "a(ss(sa{sv})tt)", onEnumerateAuthorizations,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("BackendName", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("BackendVersion", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("BackendFeatures", "u", featuresProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_SIGNAL("Changed", "", 0),
    SD_BUS_VTABLE_END};

}  // namespace

int main() {
  sd_bus* bus = nullptr;
  check(sd_bus_open_user(&bus), "bus");
  check(sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/PolicyKit1/Authority",
                                 "org.freedesktop.PolicyKit1.Authority", kAuthority, nullptr),
        "object");
  check(sd_bus_request_name(bus, "org.freedesktop.PolicyKit1", 0), "name");
  while (true) {
    const int handled = sd_bus_process(bus, nullptr);
    check(handled, "process");
    if (handled == 0) check(sd_bus_wait(bus, UINT64_MAX), "wait");
  }
}
