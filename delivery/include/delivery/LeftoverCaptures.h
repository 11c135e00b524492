// Finished captures that an earlier run left in the temporary folder: it was killed before it could deliver them, or
// their delivery failed, or the user put it off.
#pragma once

#include <QString>

namespace vantrel {

class UserNotificationCenter;

// Main thread, once at the start, before a capture. Tells of them in a notification that leads to the file, or to the
// folder when they are several; each file is offered once, as a list in the folder remembers. Files without a single
// frame are removed, and so is a list that a killed run has not finished. Nothing happens when the folder does not
// exist.
void offerLeftoverCaptures(const QString& temporaryFolder, UserNotificationCenter& notifications);

} // namespace vantrel
