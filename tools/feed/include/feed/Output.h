// Standard output, without ever hanging on a reader that does not read: a request to end the program interrupts it.
//
// One thread at a time. The first failure stays: what is written afterwards is dropped.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel::feed {

class Output {
public:
    enum class State { Open, ReaderGone, Interrupted, Failed };

    // Both descriptors are borrowed. The second interrupts a writer that waits as soon as it is readable; -1: nothing
    // does. A pipe or terminal is written to through a descriptor of its own, so that the shell's stays as it is.
    Output(int descriptor, int interrupt);

    [[nodiscard]] int descriptor() const { return _descriptor; }

    // Keeps the bytes until flush(), or until they are many.
    void write(std::string_view bytes);
    // Hands on what is kept, waiting for the reader where it is slow.
    State flush();
    // For the few last bytes that put a terminal back, although the program has been asked to end: hands them on at
    // once, and waits no longer than a moment.
    void writeAtEnd(std::string_view bytes);

    [[nodiscard]] State state() const { return _state; }
    [[nodiscard]] const std::optional<Error>& error() const { return _error; }

private:
    [[nodiscard]] int target() const;
    void waitForReader(int milliseconds, bool interruptible);
    void drain(int milliseconds, bool interruptible);

    int _descriptor; // borrowed
    int _interrupt;  // borrowed
    bool _isTerminal;
    FileDescriptor _own;
    std::string _kept;
    State _state = State::Open;
    std::optional<Error> _error;
};

} // namespace vantrel::feed
