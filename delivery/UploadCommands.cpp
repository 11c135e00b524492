#include "delivery/UploadCommands.h"

#include "delivery/DeliveryDialogs.h"
#include "delivery/UploadOutcome.h"

#include <QPointer>

namespace vantrel {

UploadCommands::UploadCommands(UploadDialogs& dialogs, UploadOutcome& uploads) : _dialogs(dialogs), _uploads(uploads) {}

void UploadCommands::onUploadToCloudShark() {
    _dialogs.chooseFileToUpload(true, [uploads = QPointer(&_uploads)](const UploadDialogs::FileToUpload& file) {
        if (uploads) {
            uploads->uploadToCloudShark(file.path, file.tags, file.comments);
        }
    });
}

void UploadCommands::onUploadToMojoPackets() {
    _dialogs.chooseFileToUpload(false, [uploads = QPointer(&_uploads)](const UploadDialogs::FileToUpload& file) {
        if (uploads) {
            uploads->uploadToMojoPackets(file.path);
        }
    });
}

} // namespace vantrel
