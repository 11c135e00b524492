// Sole owner of one POSIX file descriptor; closes it when destroyed.
#pragma once

#include <utility>

namespace vantrel {

class FileDescriptor {
public:
    FileDescriptor() noexcept = default;
    explicit FileDescriptor(int descriptor) noexcept : _descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const noexcept { return _descriptor; }
    [[nodiscard]] bool isOpen() const noexcept { return _descriptor >= 0; }
    [[nodiscard]] int release() noexcept { return std::exchange(_descriptor, -1); }
    void reset() noexcept;

private:
    int _descriptor = -1;
};

} // namespace vantrel
