#pragma once

// The C library's threads, of which one function is another on macOS: there, a thread can only name itself.

#define pthread_setname_np quillard_setname_of_this_system
#include_next <pthread.h>
#undef pthread_setname_np

extern "C" int pthread_setname_np(const char* name);
