// The streams of a connected socket.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "remote/Streams.h"

#include <memory>

namespace vantrel {

struct StreamPair {
    std::unique_ptr<InputStream> input;
    std::unique_ptr<OutputStream> output;
};

// Takes the socket in any case, and closes it when it cannot have streams. It is put into blocking mode: reading waits,
// writing never does. Main thread.
[[nodiscard]] Expected<StreamPair> makeStreamPair(FileDescriptor socket);

} // namespace vantrel
