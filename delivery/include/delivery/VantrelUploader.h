// One attempt to upload one capture file to a service. Every service has a class of its own.
//
// Main thread. Whoever makes an uploader keeps it until ended(); destroying it before gives the attempt up without a
// report. A delegate may run an event loop of its own inside a report, and must not destroy the uploader there.
#pragma once

#include "delivery/UserNotification.h"

#include <QObject>
#include <memory>

namespace vantrel {

class VantrelUploader;

// Receives what becomes of an upload. Every operation is optional: it is called only when the delegate says that it
// responds to it.
class VantrelUploaderDelegate {
public:
    VantrelUploaderDelegate() = default;
    VantrelUploaderDelegate(const VantrelUploaderDelegate&) = delete;
    VantrelUploaderDelegate& operator=(const VantrelUploaderDelegate&) = delete;
    virtual ~VantrelUploaderDelegate() = default;

    // The dictionary describes the result.
    [[nodiscard]] virtual bool respondsToDidUploadFile() const { return false; }
    virtual void didUploadFile(VantrelUploader& /*uploader*/, const UserInfo& /*userInfo*/) {}

    // The dictionary has the error's text, unless there is none, and what a new attempt needs.
    [[nodiscard]] virtual bool respondsToDidFail() const { return false; }
    virtual void didFail(VantrelUploader& /*uploader*/, const UserInfo& /*userInfo*/) {}

    // In percent, 0 to 100.
    [[nodiscard]] virtual bool respondsToDidUpdateProgress() const { return false; }
    virtual void didUpdateProgress(VantrelUploader& /*uploader*/, int /*completed*/) {}

private:
    friend class VantrelUploader;
    std::shared_ptr<const void> _life = std::make_shared<char>(); // tells the uploader when this is gone
};

class VantrelUploader : public QObject {
    Q_OBJECT
public:
    // Borrowed weakly: a delegate that is gone is none.
    [[nodiscard]] VantrelUploaderDelegate* delegate() const;
    void setDelegate(VantrelUploaderDelegate* delegate);

    // Starts the attempt and returns at once. Once per uploader.
    virtual void upload() = 0;

Q_SIGNALS:
    // The attempt is over, reported or not; nothing follows, and no report is still being received.
    void ended();

protected:
    void tellDidUploadFile(const UserInfo& userInfo);
    void tellDidFail(const UserInfo& userInfo);
    void tellDidUpdateProgress(int completed);
    // Announces ended(), once, as soon as no report is under way.
    void end();

private:
    class Telling;

    VantrelUploaderDelegate* _delegate = nullptr; // borrowed
    std::weak_ptr<const void> _delegateLife;
    int _reportsUnderWay = 0; // more than one when the delegate runs an event loop inside a report
    bool _isOver = false;
};

} // namespace vantrel
