#pragma once

#include <ctime>

namespace tavrin {

/// Processor time of the calling thread since construction: what else the machine does does not count.
class ThreadTimer final {
public:
    [[nodiscard]] double milliseconds() const { return now() - begin; }

private:
    static double now() {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    }

    double begin = now();
};

/// How much slower the checks of a sanitizer may make what a bound was set for.
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr double checkedBuildFactor = 4;
#else
inline constexpr double checkedBuildFactor = 1;
#endif

} // namespace tavrin
