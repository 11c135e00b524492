// Only in builds that measure coverage. What a process counts is written at its exit, but a child that the program has
// forked ends in execve(2) or _exit(2), which know nothing of that. The linker leads both here (--wrap).
#include <unistd.h>

// The linker's names, and the compiler's.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

void __gcov_dump();
void __gcov_reset();
int __real_execve(const char* path, char* const* arguments, char* const* environment);
[[noreturn]] void __real__exit(int status);

int __wrap_execve(const char* path, char* const* arguments, char* const* environment) {
    __gcov_dump();
    const int result = __real_execve(path, arguments, environment);
    __gcov_reset(); // a second dump is none otherwise
    return result;
}

[[noreturn]] void __wrap__exit(int status) {
    __gcov_dump();
    __real__exit(status);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
