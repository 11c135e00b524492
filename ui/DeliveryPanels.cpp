#include "ui/DeliveryPanels.h"

#include "Presenting.h"
#include "base/Translated.h"
#include "ui_TagsView.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <utility>

namespace vantrel::ui {

namespace {

const QString captureSuffix = QStringLiteral("pcap");

QString firstFolder() {
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return QFileInfo(desktop).isDir() ? desktop : QDir::homePath();
}

void prepareSavePanel(QFileDialog& panel, const QString& fileName) {
    panel.setWindowTitle(translated(QT_TRANSLATE_NOOP("vantrel", "Save Capture File")));
    panel.setAcceptMode(QFileDialog::AcceptSave);
    panel.setFileMode(QFileDialog::AnyFile);
    panel.setNameFilter(translated(QT_TRANSLATE_NOOP("vantrel", "Capture files (*.%1)")).arg(captureSuffix));
    panel.setDefaultSuffix(captureSuffix);
    panel.setLabelText(QFileDialog::Accept, translated(QT_TRANSLATE_NOOP("vantrel", "Save")));
    panel.setDirectory(firstFolder());
    panel.selectFile(fileName);
}

// The accepted path with its extension. Nothing when the extension that had to be added makes it the path of a file
// that the user was not asked about: the panel then holds that name, to be asked again.
std::optional<QString> acceptedPath(QFileDialog& panel) {
    const QString path = panel.selectedFiles().value(0);
    if (path.isEmpty() || QFileInfo(path).suffix().compare(captureSuffix, Qt::CaseInsensitive) == 0) {
        return path;
    }
    const QString completed = path + u'.' + captureSuffix;
    if (!QFileInfo::exists(completed)) {
        return completed;
    }
    panel.selectFile(completed);
    return std::nullopt;
}

// The fields for an upload's tags and comments, laid out beneath the panel's own. The panel becomes their owner.
class TagsView : public QWidget {
public:
    explicit TagsView(QFileDialog& panel) : QWidget(&panel) {
        _nib.setupUi(this);
        // In the two columns of the panel's own labels and fields.
        if (auto* grid = qobject_cast<QGridLayout*>(panel.layout())) {
            grid->addWidget(this, grid->rowCount(), 0, 1, 2);
        }
        if (const auto* above = panel.findChild<QLabel*>(QStringLiteral("fileTypeLabel"))) {
            _nib.tagsLabel->setMinimumWidth(above->sizeHint().width());
        }
    }
    [[nodiscard]] QString tags() const { return _nib.tagsField->text(); }
    [[nodiscard]] QString comments() const { return _nib.commentsField->text(); }

private:
    Ui::TagsView _nib;
};

} // namespace

std::optional<QString> askForSavePath(const QString& fileName) {
    QFileDialog panel;
    prepareSavePanel(panel, fileName);
    std::optional<QString> path;
    while (!path) {
        orderFrontModally(panel);
        if (panel.exec() != QDialog::Accepted) {
            return std::nullopt;
        }
        path = acceptedPath(panel);
    }
    return path->isEmpty() ? std::nullopt : path;
}

void askForSavePath(const QString& fileName, std::function<void(const QString& path)> chosen) {
    auto* panel = new QFileDialog;
    prepareSavePanel(*panel, fileName);
    QObject::connect(panel, &QDialog::rejected, panel, &QObject::deleteLater);
    QObject::connect(panel, &QDialog::accepted, panel, [panel, chosen = std::move(chosen)] {
        const auto path = acceptedPath(*panel);
        if (!path) {
            orderFront(*panel);
            return;
        }
        panel->deleteLater();
        if (!path->isEmpty()) {
            chosen(*path);
        }
    });
    orderFront(*panel);
}

void askForCaptureToUpload(bool asksForTags, std::function<void(const UploadDialogs::FileToUpload& file)> chosen) {
    auto* panel = new QFileDialog;
    panel->setWindowTitle(translated(QT_TRANSLATE_NOOP("vantrel", "Upload Capture File")));
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setOption(QFileDialog::HideNameFilterDetails); // too many to be read
    panel->setNameFilter(translated(
        QT_TRANSLATE_NOOP("vantrel", "Capture files (*.cap *.CAP *.pcap *.PCAP *.pcapng *.PCAPNG *.wcap *.WCAP)")));
    panel->setLabelText(QFileDialog::Accept, translated(QT_TRANSLATE_NOOP("vantrel", "Upload")));
    panel->setDirectory(firstFolder());
    const TagsView* tagsView = nullptr;
    if (asksForTags) {
        panel->setOption(QFileDialog::DontUseNativeDialog); // a desktop's own has no room for more fields
        tagsView = new TagsView(*panel);
    }
    QObject::connect(panel, &QDialog::rejected, panel, &QObject::deleteLater);
    QObject::connect(panel, &QDialog::accepted, panel, [panel, tagsView, chosen = std::move(chosen)] {
        panel->deleteLater();
        UploadDialogs::FileToUpload file{.path = panel->selectedFiles().value(0), .tags = {}, .comments = {}};
        if (tagsView != nullptr) {
            file.tags = tagsView->tags();
            file.comments = tagsView->comments();
        }
        if (!file.path.isEmpty()) {
            chosen(file);
        }
    });
    orderFront(*panel);
}

UploadDialogs::Choice askAboutFailedUpload(const QString& messageText, const QString& informativeText,
                                           bool offersSaveAs) {
    QMessageBox alert;
    alert.setIcon(QMessageBox::Warning);
    setTexts(alert, messageText, informativeText);
    // Each desktop orders buttons by their roles; those of this one stay everywhere in the order of their adding.
    QPushButton* retry = alert.addButton(translated(QT_TRANSLATE_NOOP("vantrel", "Retry")), QMessageBox::ActionRole);
    QPushButton* cancel = alert.addButton(translated(QT_TRANSLATE_NOOP("vantrel", "Cancel")), QMessageBox::ActionRole);
    QPushButton* saveAs = nullptr;
    if (offersSaveAs) {
        saveAs = alert.addButton(translated(QT_TRANSLATE_NOOP("vantrel", "Save As...")), QMessageBox::ActionRole);
    }
    alert.setDefaultButton(retry);
    alert.setEscapeButton(cancel);
    orderFrontModally(alert);
    alert.exec();
    if (alert.clickedButton() == retry) {
        return UploadDialogs::Choice::Retry;
    }
    return saveAs != nullptr && alert.clickedButton() == saveAs ? UploadDialogs::Choice::SaveAs
                                                                : UploadDialogs::Choice::Cancel;
}

} // namespace vantrel::ui
