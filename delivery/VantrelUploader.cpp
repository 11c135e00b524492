#include "delivery/VantrelUploader.h"

namespace vantrel {

// Stands on the stack while the delegate receives a report. The end may come meanwhile, out of an event loop of the
// delegate's own; then it is announced after the report, so that nobody is told to let go of an uploader that is at
// work.
class VantrelUploader::Telling {
public:
    explicit Telling(VantrelUploader& uploader) : _uploader(uploader) { ++_uploader._reportsUnderWay; }
    ~Telling() {
        if (--_uploader._reportsUnderWay == 0 && _uploader._isOver) {
            Q_EMIT _uploader.ended();
        }
    }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

private:
    VantrelUploader& _uploader;
};

VantrelUploaderDelegate* VantrelUploader::delegate() const { return _delegateLife.expired() ? nullptr : _delegate; }

void VantrelUploader::setDelegate(VantrelUploaderDelegate* delegate) {
    _delegate = delegate;
    _delegateLife = delegate != nullptr ? delegate->_life : nullptr;
}

void VantrelUploader::tellDidUploadFile(const UserInfo& userInfo) {
    const Telling telling(*this);
    if (VantrelUploaderDelegate* receiver = delegate(); receiver != nullptr && receiver->respondsToDidUploadFile()) {
        receiver->didUploadFile(*this, userInfo);
    }
}

void VantrelUploader::tellDidFail(const UserInfo& userInfo) {
    const Telling telling(*this);
    if (VantrelUploaderDelegate* receiver = delegate(); receiver != nullptr && receiver->respondsToDidFail()) {
        receiver->didFail(*this, userInfo);
    }
}

void VantrelUploader::tellDidUpdateProgress(int completed) {
    const Telling telling(*this);
    if (VantrelUploaderDelegate* receiver = delegate();
        receiver != nullptr && receiver->respondsToDidUpdateProgress()) {
        receiver->didUpdateProgress(*this, completed);
    }
}

void VantrelUploader::end() {
    if (_isOver) {
        return;
    }
    _isOver = true;
    if (_reportsUnderWay == 0) {
        Q_EMIT ended();
    }
}

} // namespace vantrel
