// The panels in which the user chooses where a capture is saved and which one is uploaded, and the alert about an
// upload that failed. Each comes to the front.
//
// Main thread. Those that take a continuation return at once: it runs when the user has chosen, and never when the user
// cancelled or the program ends before.
#pragma once

#include "delivery/DeliveryDialogs.h"

#include <QString>
#include <functional>
#include <optional>

namespace vantrel::ui {

// Waits for the path of a capture file to save, "pcap" by its extension, starting with this name in the Desktop folder.
// Replacing a file is confirmed. Nothing when the user cancelled.
[[nodiscard]] std::optional<QString> askForSavePath(const QString& fileName);

// The same without waiting.
void askForSavePath(const QString& fileName, std::function<void(const QString& path)> chosen);

// Asks for a capture file to upload and, when wanted, for its tags and comments, which are empty at first.
void askForCaptureToUpload(bool asksForTags, std::function<void(const UploadDialogs::FileToUpload& file)> chosen);

// Waits for the answer: "Retry", "Cancel" and, when offered, "Save As...". A closed alert and the Escape key are
// Cancel.
[[nodiscard]] UploadDialogs::Choice askAboutFailedUpload(const QString& messageText, const QString& informativeText,
                                                         bool offersSaveAs);

} // namespace vantrel::ui
