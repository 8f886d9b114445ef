// What DummyTVModule::init() costs: each of many children runs it once, since it is for the first
// call in a process, and the median of their times is printed.

#include "TV/server/dummy/DummyTVModule.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr int children = 201;

struct Cost {
    double userMsec;
    double totalMsec; ///< user and system
};

double userMsec() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec) * 1e3 +
           static_cast<double>(usage.ru_utime.tv_usec) / 1e3;
}

double totalMsec() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

/// Runs init() in a process of its own.
Cost measure() {
    int ends[2];
    Cost cost{};
    if (pipe(ends) != 0)
        return cost;
    if (fork() == 0) {
        Ostrel::TV::DummyTVModule module;
        const Cost before{userMsec(), totalMsec()};
        module.init();
        cost = {userMsec() - before.userMsec, totalMsec() - before.totalMsec};
        _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &cost, sizeof cost) != sizeof cost)
        std::fprintf(stderr, "a child said nothing\n");
    close(ends[0]);
    wait(nullptr);
    return cost;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + children / 2, values.end());
    return values[children / 2];
}

} // namespace

int main() {
    std::vector<double> user, total;
    for (int child = 0; child < children; ++child) {
        const Cost cost = measure();
        user.push_back(cost.userMsec);
        total.push_back(cost.totalMsec);
    }
    std::printf("init, user time            %.3f ms\n", median(user));
    std::printf("init, user and system time %.3f ms\n", median(total));
}
