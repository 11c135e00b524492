#include "ui/VantrelProgressPanel.h"

#include "Presenting.h"
#include "ui/ProgressTexts.h"
#include "ui_VantrelProgressPanel.h"

#include <QCloseEvent>
#include <QLoggingCategory>
#include <QStyle>
#include <algorithm>

namespace vantrel::ui {

namespace {
const QString nibName = QStringLiteral("VantrelProgressPanel");

// So that the window keeps its width while the numbers grow.
const QString widestMessage = QStringLiteral("File 0000 out of 0000, frames: 000000000 (0000.00 MB)");
} // namespace

std::unique_ptr<VantrelProgressPanel> VantrelProgressPanel::initWithWindowNibName(const QString& name,
                                                                                  const QString& /*message*/) {
    if (name != nibName) {
        qWarning("there is no interface file \"%s\"", qUtf8Printable(name));
        return nullptr;
    }
    return std::unique_ptr<VantrelProgressPanel>(new VantrelProgressPanel);
}

VantrelProgressPanel::VantrelProgressPanel() : _nib(std::make_unique<Ui::VantrelProgressPanel>()) {
    _nib->setupUi(this);
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowMinimizeButtonHint | Qt::WindowStaysOnTopHint);
    connect(_nib->stopButton, &QPushButton::clicked, this, &VantrelProgressPanel::onStop);
    connect(_nib->cancelButton, &QPushButton::clicked, this, &VantrelProgressPanel::onCancel);
    windowDidLoad();
}

VantrelProgressPanel::~VantrelProgressPanel() = default;

void VantrelProgressPanel::windowDidLoad() {
    _nib->messageLabel->setMinimumWidth(_nib->messageLabel->fontMetrics().horizontalAdvance(widestMessage));
    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    _nib->droppedFramesIcon->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(iconSize));
    setDroppedFrames(0);
    setProgress(-1); // moves until the first refresh
    setFocus();      // here, not on a button that a stray key would press
}

VantrelProgressPanelDelegate* VantrelProgressPanel::delegate() const {
    return _delegateLife.expired() ? nullptr : _delegate;
}

void VantrelProgressPanel::setDelegate(VantrelProgressPanelDelegate* delegate) {
    _delegate = delegate;
    _delegateLife = delegate != nullptr ? delegate->_life : nullptr;
}

void VantrelProgressPanel::setMessage(const QString& message) { _nib->messageLabel->setText(message); }

void VantrelProgressPanel::setProgress(double progress) {
    _progress = progress;
    QProgressBar& indicator = *_nib->progressIndicator;
    if (progress < 0) {
        indicator.setRange(0, 0); // how Qt shows that there is no end
    } else {
        indicator.setRange(0, 100);
        indicator.setValue(static_cast<int>(std::min(progress, 100.0)));
    }
}

void VantrelProgressPanel::setDroppedFrames(std::uint64_t frames, std::uint64_t notWritten) {
    _nib->droppedFramesLabel->setText(droppedFramesText(frames, notWritten));
    _nib->droppedFramesLabel->setVisible(frames > 0 || notWritten > 0);
    _nib->droppedFramesIcon->setVisible(frames > 0 || notWritten > 0);
}

void VantrelProgressPanel::center() { ui::center(*this); }

void VantrelProgressPanel::makeKeyAndOrderFront() { ui::orderFront(*this); }

void VantrelProgressPanel::orderOut() { hide(); }

void VantrelProgressPanel::onStop() {
    if (VantrelProgressPanelDelegate* receiver = delegate(); receiver != nullptr && receiver->respondsToUserDidStop()) {
        receiver->userDidStop(*this);
    }
}

void VantrelProgressPanel::onCancel() {
    if (VantrelProgressPanelDelegate* receiver = delegate();
        receiver != nullptr && receiver->respondsToUserDidCancel()) {
        receiver->userDidCancel(*this);
    }
}

void VantrelProgressPanel::reject() {}

void VantrelProgressPanel::closeEvent(QCloseEvent* event) {
    // Spontaneous: from the window manager. Otherwise from QApplication::quit(), which an ignored event would stop.
    if (event->spontaneous()) {
        event->ignore();
        showMinimized();
    } else {
        event->accept();
    }
}

} // namespace vantrel::ui
