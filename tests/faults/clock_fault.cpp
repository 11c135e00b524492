// Loaded before the C library: the clock of the day goes by as many seconds wrong as the file says that
// VANTREL_FAULT_CLOCK names; not at all while there is none. The steady clocks stay as they are, and so does the clock
// of everybody else.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// Asked each time, so that the clock can be changed at any moment. Without the library's streams, which may ask for the
// time themselves.
long wrongBy() {
    static const char* const path = std::getenv("VANTREL_FAULT_CLOCK");
    const int file = path != nullptr ? ::open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0) {
        return 0;
    }
    char text[32] = {};
    static_cast<void>(!::read(file, text, sizeof text - 1));
    ::close(file);
    return std::strtol(text, nullptr, 10);
}

template <typename Function>
Function original(const char* call) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, call));
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static const auto next = original<decltype(&clock_gettime)>("clock_gettime");
    const int status = next(clock, now);
    if (status == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        now->tv_sec += wrongBy();
    }
    return status;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    static const auto next = original<decltype(&gettimeofday)>("gettimeofday");
    const int status = next(now, zone);
    if (status == 0) {
        now->tv_sec += wrongBy();
    }
    return status;
}

std::time_t time(std::time_t* now) noexcept {
    timespec found{};
    clock_gettime(CLOCK_REALTIME, &found);
    if (now != nullptr) {
        *now = found.tv_sec;
    }
    return found.tv_sec;
}
}
