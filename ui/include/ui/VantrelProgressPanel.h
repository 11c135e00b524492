// The panel that is shown while a capture runs: a message, how far the current file is, and two buttons, one that ends
// the capture and keeps it and one that throws it away. It knows nothing of captures.
//
// It ends nothing by accident: no key but those of the buttons does anything, no button has the keyboard at first, and
// when the window manager asks to close it, it is only minimised, because a capture that was ended could not be resumed
// and the panel is the one place to stop it. When the program itself closes its windows, to leave, it does not object.
// Main thread, after the QApplication.
#pragma once

#include <QDialog>
#include <QString>
#include <cstdint>
#include <memory>

namespace vantrel::ui {

class VantrelProgressPanel;

// The name is given by Qt's interface compiler.
namespace Ui { // NOLINT(readability-identifier-naming)
class VantrelProgressPanel;
}

// Receives the buttons. Both operations are optional: an operation is called only when the delegate says that it
// responds to it.
class VantrelProgressPanelDelegate {
public:
    VantrelProgressPanelDelegate() = default;
    VantrelProgressPanelDelegate(const VantrelProgressPanelDelegate&) = delete;
    VantrelProgressPanelDelegate& operator=(const VantrelProgressPanelDelegate&) = delete;
    virtual ~VantrelProgressPanelDelegate() = default;

    [[nodiscard]] virtual bool respondsToUserDidStop() const { return false; }
    virtual void userDidStop(VantrelProgressPanel& /*panel*/) {}

    [[nodiscard]] virtual bool respondsToUserDidCancel() const { return false; }
    virtual void userDidCancel(VantrelProgressPanel& /*panel*/) {}

private:
    friend class VantrelProgressPanel;
    std::shared_ptr<const void> _life = std::make_shared<char>(); // tells the panel when this is gone
};

class VantrelProgressPanel : public QDialog {
    Q_OBJECT
public:
    // The panel from the interface file of that name; empty, and logged, when there is no such file. The message is
    // not shown: setMessage() gives it later.
    [[nodiscard]] static std::unique_ptr<VantrelProgressPanel> initWithWindowNibName(const QString& name,
                                                                                     const QString& message);
    ~VantrelProgressPanel() override;

    // Borrowed weakly: a delegate that is gone is none.
    [[nodiscard]] VantrelProgressPanelDelegate* delegate() const;
    void setDelegate(VantrelProgressPanelDelegate* delegate);

    void setMessage(const QString& message);
    // In percent. Below 0 there is no limit to show, and the indicator only moves; above 100 it is shown full.
    void setProgress(double progress);
    [[nodiscard]] double progress() const { return _progress; }
    // A line about frames that the kernel dropped, and one about those that found no file; none for 0.
    void setDroppedFrames(std::uint64_t frames, std::uint64_t notWritten = 0);

    // The window: in the middle of the screen where the pointer is; shown with the keyboard; taken away.
    void center();
    void makeKeyAndOrderFront();
    void orderOut();

    void onStop();
    void onCancel();

    void reject() override; // the Escape key: nothing

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    VantrelProgressPanel();
    void windowDidLoad();

    std::unique_ptr<Ui::VantrelProgressPanel> _nib;
    VantrelProgressPanelDelegate* _delegate = nullptr; // borrowed
    std::weak_ptr<const void> _delegateLife;
    double _progress = 0;
};

} // namespace vantrel::ui
