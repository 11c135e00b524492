// The texts and the progress value of the progress panel, from the numbers of the current capture file. Any thread.
#pragma once

#include <QString>
#include <cstdint>

namespace vantrel::ui {

// The title of the panel's window.
[[nodiscard]] QString windowTitle(long channelNumber, long channelWidthMHz);

// The message of a capture into one file.
[[nodiscard]] QString messageText(std::uint64_t frames, std::uint64_t bytes);
// The message of a capture into several files; the counts of frames and bytes are the current file's.
[[nodiscard]] QString messageText(std::uint64_t file, std::uint64_t files, std::uint64_t frames, std::uint64_t bytes);

// What the panel says of frames that the kernel dropped because they came too fast, and of those that were not written
// because the full file could not be moved away; a line each, none when there are none.
[[nodiscard]] QString droppedFramesText(std::uint64_t frames, std::uint64_t notWritten = 0);

// The current file and its limit.
struct FileProgress {
    bool limitCaptureFile = false;
    std::int64_t units = 0; // 0 and 1: size, 2: seconds, 3: minutes, 4: frames
    std::int64_t value = 0; // the limit in seconds or minutes
    std::uint64_t size = 0; // bytes
    std::uint64_t maxCaptureFileSize = 0;
    double elapsed = 0; // seconds since the file was made
    std::uint64_t frames = 0;
    std::uint64_t maxCaptureFileFrames = 0;
};

// How much of the limit is used, in percent and not clamped: a file that overshoots shows more than 100 until the next
// one begins. -1 without a limit, for units that are none of these, and for a limit of nothing.
[[nodiscard]] double progressValue(const FileProgress& file);

} // namespace vantrel::ui
