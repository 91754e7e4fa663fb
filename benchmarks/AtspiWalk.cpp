// The same walk as the agent's, by the usual library, for comparison: of each process named on the command line, all
// objects below its windows with role, name, description, states, place and children. Prints "ready", walks once for
// each line of its input, and prints "MICROSECONDS OBJECTS".
#include <array>
#include <cstdio>
#include <cstdlib>

#include <atspi/atspi.h>

namespace {

int met = 0;

void walk(AtspiAccessible* object) {
  ++met;
  (void)atspi_accessible_get_role(object, nullptr);
  g_free(atspi_accessible_get_name(object, nullptr));
  g_free(atspi_accessible_get_description(object, nullptr));
  AtspiStateSet* states = atspi_accessible_get_state_set(object);
  if (states) g_object_unref(states);
  AtspiComponent* component = atspi_accessible_get_component_iface(object);
  if (component) {
    AtspiRect* place = atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr);
    if (place) g_free(place);
    g_object_unref(component);
  }
  const int count = atspi_accessible_get_child_count(object, nullptr);
  for (int i = 0; i < count; ++i) {
    AtspiAccessible* child = atspi_accessible_get_child_at_index(object, i, nullptr);
    if (!child) continue;
    walk(child);
    g_object_unref(child);
  }
}

bool isWanted(AtspiAccessible* application, int argc, char** argv) {
  const unsigned process = atspi_accessible_get_process_id(application, nullptr);
  for (int i = 1; i < argc; ++i) {
    if (static_cast<unsigned>(std::atoi(argv[i])) == process) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (atspi_init() > 1) return 1;
  std::puts("ready");
  std::fflush(stdout);
  std::array<char, 16> line{};
  while (std::fgets(line.data(), line.size(), stdin)) {
    met = 0;
    const gint64 begin = g_get_monotonic_time();
    AtspiAccessible* desktop = atspi_get_desktop(0);
    const int programs = atspi_accessible_get_child_count(desktop, nullptr);
    for (int i = 0; i < programs; ++i) {
      AtspiAccessible* application = atspi_accessible_get_child_at_index(desktop, i, nullptr);
      if (!application) continue;
      if (isWanted(application, argc, argv)) walk(application);
      g_object_unref(application);
    }
    g_object_unref(desktop);
    std::printf("%lld %d\n", static_cast<long long>(g_get_monotonic_time() - begin), met);
    std::fflush(stdout);
  }
  return atspi_exit();
}
