// What becomes of a closed capture file: the files of a rotating capture are gathered in a folder of its own.
#pragma once

#include "base/Error.h"

#include <QString>
#include <cstdint>

namespace vantrel {

struct CaptureToDeliver {
    QString path;     // of the closed file, in the temporary folder
    QString location; // the capture's destination folder
    QString prefix;   // the capture's name
    bool isMultipleFileCapture = false;
    std::int64_t maxCaptureFiles = 1;
};

// One thread at a time (the packet queue's at rotation, the main thread at the end of a capture). Answers where the
// file stands now; after an error it stands where it was.
//
// The files of a multiple-file capture go to <location>/<prefix>/<prefix>.NNN.pcap: 001 is always the newest, older
// ones shift up by one, and the one beyond the maximum is replaced. A single file stays in the temporary folder.
[[nodiscard]] Expected<QString> deliverCaptureFile(const CaptureToDeliver& capture);

} // namespace vantrel
