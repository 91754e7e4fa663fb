// Rejected: no matching function for call to 'pthread_setname_np'
#include <pthread.h>

void nameThread(pthread_t thread) { pthread_setname_np(thread, "worker"); }
