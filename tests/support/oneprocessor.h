// This process and what it starts meanwhile may use one processor only.
#pragma once

#include <sched.h>

class OneProcessor {
public:
    OneProcessor()
    {
        sched_getaffinity(0, sizeof before, &before);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int processor = 0; processor < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++processor) {
            if (CPU_ISSET(processor, &before))
                CPU_SET(processor, &one);
        }
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof before, &before); }
    OneProcessor(const OneProcessor &) = delete;
    OneProcessor &operator=(const OneProcessor &) = delete;

private:
    cpu_set_t before;
};
