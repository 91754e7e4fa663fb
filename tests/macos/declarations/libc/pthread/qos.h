#pragma once

#include <pthread.h>
#include <sys/qos.h>

extern "C" int pthread_set_qos_class_self_np(qos_class_t quality, int relativePriority)
    __attribute__((availability(macos, introduced = 10.10)));
