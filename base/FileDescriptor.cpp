#include "base/FileDescriptor.h"

#include <unistd.h>

namespace vantrel {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        reset();
        _descriptor = other.release();
    }
    return *this;
}

void FileDescriptor::reset() noexcept {
    if (_descriptor >= 0) {
        ::close(std::exchange(_descriptor, -1));
    }
}

} // namespace vantrel
