#include "platform/qt/ThreadTraits.h"

#include <pthread.h>

#if defined(__APPLE__)
#include <pthread/qos.h>
#else
#include <sys/resource.h>
#endif

namespace quillard::qt {

using platform::QualityOfService;

// The one place of this folder where the two systems differ: both name threads, each in its own way.
#if defined(__APPLE__)

void setThreadTraits(const std::string& label, QualityOfService quality) {
  pthread_setname_np(label.c_str());
  if (quality == QualityOfService::utility) pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
}

#else

void setThreadTraits(const std::string& label, QualityOfService quality) {
  constexpr std::size_t kLongestName = 15;  // The kernel's; the end of a label says more than its start.
  constexpr int kUtilityNiceness = 5;
  const std::string name = label.size() > kLongestName ? label.substr(label.size() - kLongestName) : label;
  pthread_setname_np(pthread_self(), name.c_str());
  if (quality == QualityOfService::utility) setpriority(PRIO_PROCESS, 0, kUtilityNiceness);  // 0: this thread alone.
}

#endif

}  // namespace quillard::qt
