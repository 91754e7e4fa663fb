// Rejected: no member named 'jthread' in namespace 'std'
#include <thread>

void run(void (*work)()) { std::jthread thread(work); }
