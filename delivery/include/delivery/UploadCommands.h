// The menu's commands that upload a file of the user's choice. Main thread.
#pragma once

namespace vantrel {

class UploadDialogs;
class UploadOutcome;

class UploadCommands {
public:
    // Both are borrowed and outlive this.
    UploadCommands(UploadDialogs& dialogs, UploadOutcome& uploads);

    // Both return at once; the upload starts when the user has chosen a file.
    void onUploadToCloudShark(); // asks for tags and comments too
    void onUploadToMojoPackets();

private:
    UploadDialogs& _dialogs;
    UploadOutcome& _uploads;
};

} // namespace vantrel
