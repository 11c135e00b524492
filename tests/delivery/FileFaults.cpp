#include "FileFaults.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <sys/sendfile.h>
#include <unistd.h>

namespace vantrel::testing {

FileFaults& fileFaults() {
    static FileFaults faults;
    return faults;
}

} // namespace vantrel::testing

using vantrel::testing::fileFaults;

// The linker's names for the wrapped functions and the originals (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming,cert-dcl50-cpp)
extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags);
ssize_t __real_read(int descriptor, void* bytes, std::size_t size);
ssize_t __real_sendfile(int to, int from, off_t* offset, std::size_t size);

int __wrap_open(const char* path, int flags, ...) {
    if ((flags & O_TMPFILE) == O_TMPFILE && !fileFaults().hasNamelessFiles) {
        errno = EOPNOTSUPP;
        return -1;
    }
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return __real_open(path, flags, mode);
}

int __wrap_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    if (const int error = fileFaults().linkError(to); error != 0) {
        errno = error;
        return -1;
    }
    return __real_linkat(fromFolder, from, toFolder, to, flags);
}

ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size) {
    if (const std::string& path = fileFaults().unreadable; !path.empty()) {
        std::error_code none;
        if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), none) == path) {
            errno = EIO;
            return -1;
        }
    }
    return __real_read(descriptor, bytes, size);
}

ssize_t __wrap_sendfile(int to, int from, off_t* offset, std::size_t size) {
    if (fileFaults().copyError != 0) {
        errno = fileFaults().copyError;
        return -1;
    }
    return __real_sendfile(to, from, offset, size);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming,cert-dcl50-cpp)
