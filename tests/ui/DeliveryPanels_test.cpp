#include "ui/DeliveryPanels.h"

#include "support/EventLoop.h"
#include "ui/NotificationWindow.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>
#include <functional>
#include <gmock/gmock.h>

namespace vantrel::ui {
namespace {

// Runs once the modal window stands there, inside its event loop. A window that never comes is the test's time limit.
template <typename Window>
void whenModal(std::function<void(Window&)> look) {
    QTimer::singleShot(0, qApp, [look = std::move(look)] {
        if (auto* window = qobject_cast<Window*>(QApplication::activeModalWidget())) {
            look(*window);
        } else {
            whenModal<Window>(look);
        }
    });
}

template <typename Window>
std::vector<Window*> shown() {
    std::vector<Window*> found;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<Window*>(widget); window != nullptr && window->isVisible()) {
            found.push_back(window);
        }
    }
    return found;
}

template <typename Window>
Window* onlyOne() {
    const auto found = shown<Window>();
    return found.size() == 1 ? found.front() : nullptr;
}

void settle() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QPushButton* button(const QWidget& window, const QString& title) {
    for (auto* candidate : window.findChildren<QPushButton*>()) {
        if (candidate->text().remove(u'&') == title) {
            return candidate;
        }
    }
    return nullptr;
}

QLineEdit& nameField(const QFileDialog& panel) { return *panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")); }

void accept(QFileDialog& panel) { QMetaObject::invokeMethod(&panel, "accept"); }

class DeliveryPanels : public ::testing::Test {
protected:
    DeliveryPanels() {
        qputenv("HOME", QFile::encodeName(folder.path()));
        EXPECT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("Desktop")));
    }
    ~DeliveryPanels() override {
        for (QFileDialog* panel : shown<QFileDialog>()) {
            panel->reject();
        }
        for (NotificationWindow* window : shown<NotificationWindow>()) {
            window->close();
        }
        settle();
        home.isNull() ? qunsetenv("HOME") : qputenv("HOME", home);
    }
    [[nodiscard]] QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    QString make(const QString& name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }
    static void expectSavePanel(const QFileDialog& panel) {
        EXPECT_EQ(panel.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_EQ(panel.fileMode(), QFileDialog::AnyFile);
        EXPECT_EQ(panel.labelText(QFileDialog::Accept), QStringLiteral("Save"));
        EXPECT_EQ(panel.nameFilters(), QStringList{QStringLiteral("Capture files (*.pcap)")});
        EXPECT_EQ(panel.defaultSuffix(), QStringLiteral("pcap"));
        EXPECT_FALSE(panel.testOption(QFileDialog::DontConfirmOverwrite));
        EXPECT_FALSE(panel.testOption(QFileDialog::ReadOnly)) << "folders may be made";
    }

    QTemporaryDir folder;
    const QByteArray home = qgetenv("HOME");
    QString chosen;
};

const QString fileName = QStringLiteral("vantrel_2024-05-06_07.08.09.AM.pcap");

TEST_F(DeliveryPanels, SavePanelStartsOnTheDesktopWithTheFilesName) {
    whenModal<QFileDialog>([&](QFileDialog& panel) {
        expectSavePanel(panel);
        EXPECT_TRUE(panel.isModal());
        EXPECT_EQ(nameField(panel).text(), fileName) << "with its extension";
        EXPECT_EQ(panel.directory().path(), path(QStringLiteral("Desktop")));
        accept(panel);
    });
    EXPECT_EQ(askForSavePath(fileName), path(QStringLiteral("Desktop/")) + fileName);
}

TEST_F(DeliveryPanels, SavePanelStartsAtHomeWithoutADesktop) {
    ASSERT_TRUE(QDir(folder.path()).rmdir(QStringLiteral("Desktop")));
    whenModal<QFileDialog>([&](QFileDialog& panel) {
        EXPECT_EQ(panel.directory().path(), folder.path());
        panel.reject();
    });
    EXPECT_EQ(askForSavePath(fileName), std::nullopt);
}

TEST_F(DeliveryPanels, SavedNameGetsTheExtension) {
    for (const auto& [typed, becomes] :
         {std::pair{"bare", "bare.pcap"}, {"a.txt", "a.txt.pcap"}, {"kept.pcap", "kept.pcap"}, {"B.PCAP", "B.PCAP"}}) {
        whenModal<QFileDialog>([&, name = typed](QFileDialog& panel) {
            nameField(panel).setText(path(QString::fromLatin1(name)));
            accept(panel);
        });
        EXPECT_EQ(askForSavePath(fileName), path(QString::fromLatin1(becomes))) << typed;
    }
}

TEST_F(DeliveryPanels, ReplacingAFileIsConfirmed) {
    const QString existing = make(QStringLiteral("there.pcap"));
    int asked = 0;
    whenModal<QFileDialog>([&](QFileDialog& panel) {
        nameField(panel).setText(path(QStringLiteral("there")));
        whenModal<QMessageBox>([&](QMessageBox& question) {
            ++asked;
            question.button(QMessageBox::No)->click();
        });
        accept(panel);
        EXPECT_TRUE(panel.isVisible()) << "No goes back to the panel";
        whenModal<QMessageBox>([&](QMessageBox& question) {
            ++asked;
            question.button(QMessageBox::Yes)->click();
        });
        accept(panel);
    });
    EXPECT_EQ(askForSavePath(fileName), existing);
    EXPECT_EQ(asked, 2);
}

TEST_F(DeliveryPanels, ReplacingAFileIsConfirmedThoughItsExtensionWasNotTyped) {
    const QString existing = make(QStringLiteral("a.txt.pcap"));
    bool asked = false;
    whenModal<QFileDialog>([&](QFileDialog& panel) {
        nameField(panel).setText(path(QStringLiteral("a.txt")));
        whenModal<QFileDialog>([&](QFileDialog& again) {
            EXPECT_EQ(nameField(again).text(), QStringLiteral("a.txt.pcap"));
            whenModal<QMessageBox>([&](QMessageBox& question) {
                asked = true;
                question.button(QMessageBox::Yes)->click();
            });
            accept(again);
        });
        accept(panel);
    });
    EXPECT_EQ(askForSavePath(fileName), existing);
    EXPECT_TRUE(asked);
}

TEST_F(DeliveryPanels, SavePanelDoesNotBlockWhenItHasAContinuation) {
    askForSavePath(fileName, [this](const QString& saved) { chosen = saved; });
    auto* panel = onlyOne<QFileDialog>();
    ASSERT_NE(panel, nullptr);
    expectSavePanel(*panel);
    EXPECT_FALSE(panel->isModal());
    EXPECT_EQ(nameField(*panel).text(), fileName);
    EXPECT_TRUE(chosen.isEmpty());
    nameField(*panel).setText(path(QStringLiteral("other")));
    accept(*panel);
    EXPECT_EQ(chosen, path(QStringLiteral("other.pcap")));
    settle();
    EXPECT_EQ(shown<QFileDialog>().size(), 0U);
}

TEST_F(DeliveryPanels, NonBlockingSavePanelComesBackForAFileItDidNotAskAbout) {
    make(QStringLiteral("a.txt.pcap"));
    askForSavePath(fileName, [this](const QString& saved) { chosen = saved; });
    auto* panel = onlyOne<QFileDialog>();
    ASSERT_NE(panel, nullptr);
    nameField(*panel).setText(path(QStringLiteral("a.txt")));
    accept(*panel);
    settle();
    ASSERT_EQ(onlyOne<QFileDialog>(), panel);
    EXPECT_TRUE(chosen.isEmpty());
    nameField(*panel).setText(path(QStringLiteral("b.pcap")));
    accept(*panel);
    EXPECT_EQ(chosen, path(QStringLiteral("b.pcap")));
}

TEST_F(DeliveryPanels, CancelledPanelsTellNothing) {
    askForSavePath(fileName, [this](const QString& saved) { chosen = saved; });
    onlyOne<QFileDialog>()->reject();
    settle();
    EXPECT_TRUE(shown<QFileDialog>().empty());
    askForCaptureToUpload(true, [this](const UploadDialogs::FileToUpload& file) { chosen = file.path; });
    onlyOne<QFileDialog>()->close();
    settle();
    EXPECT_TRUE(shown<QFileDialog>().empty());
    EXPECT_TRUE(chosen.isEmpty());
}

TEST_F(DeliveryPanels, UploadPanelAcceptsCaptures) {
    const QString capture = make(QStringLiteral("a file.pcapng"));
    UploadDialogs::FileToUpload upload;
    askForCaptureToUpload(false, [&](const UploadDialogs::FileToUpload& file) { upload = file; });
    auto* panel = onlyOne<QFileDialog>();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(panel->isModal());
    EXPECT_EQ(panel->acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(panel->fileMode(), QFileDialog::ExistingFile);
    EXPECT_EQ(panel->labelText(QFileDialog::Accept), QStringLiteral("Upload"));
    EXPECT_EQ(panel->nameFilters().join(u'|').toStdString(),
              "Capture files (*.cap *.CAP *.pcap *.PCAP *.pcapng *.PCAPNG *.wcap *.WCAP)");
    EXPECT_EQ(panel->findChild<QLineEdit*>(QStringLiteral("tagsField")), nullptr);
    nameField(*panel).setText(capture);
    accept(*panel);
    EXPECT_EQ(upload.path, capture);
    EXPECT_EQ(upload.tags + upload.comments, QString());
    settle();
    EXPECT_TRUE(shown<QFileDialog>().empty());
}

TEST_F(DeliveryPanels, UploadPanelAsksForTagsAndComments) {
    const QString capture = make(QStringLiteral("a.cap"));
    UploadDialogs::FileToUpload upload;
    for (const bool again : {false, true}) {
        askForCaptureToUpload(true, [&](const UploadDialogs::FileToUpload& file) { upload = file; });
        auto* panel = onlyOne<QFileDialog>();
        ASSERT_NE(panel, nullptr);
        EXPECT_TRUE(panel->testOption(QFileDialog::DontUseNativeDialog));
        auto* tags = panel->findChild<QLineEdit*>(QStringLiteral("tagsField"));
        auto* comments = panel->findChild<QLineEdit*>(QStringLiteral("commentsField"));
        ASSERT_TRUE(tags != nullptr && comments != nullptr);
        EXPECT_TRUE(tags->isVisible() && comments->isVisible());
        EXPECT_EQ(tags->text() + comments->text(), QString()) << "empty at each opening" << again;
        EXPECT_EQ(tags->property("tag").toInt(), 1);
        EXPECT_EQ(comments->property("tag").toInt(), 2);
        EXPECT_EQ(panel->findChild<QLabel*>(QStringLiteral("tagsLabel"))->buddy(), tags);
        EXPECT_EQ(panel->findChild<QLabel*>(QStringLiteral("commentsLabel"))->buddy(), comments);
        EXPECT_GE(tags->mapTo(panel, QPoint()).y(), nameField(*panel).geometry().bottom()) << "beneath the names";
        tags->setText(QStringLiteral("one,two & three"));
        comments->setText(QStringLiteral("ü;/?"));
        nameField(*panel).setText(capture);
        accept(*panel);
        EXPECT_EQ(upload.path, capture);
        EXPECT_EQ(upload.tags, QStringLiteral("one,two & three"));
        EXPECT_EQ(upload.comments, QStringLiteral("ü;/?"));
        settle();
    }
}

using Choice = UploadDialogs::Choice;

Choice answerFailure(bool offersSaveAs, const std::function<void(QMessageBox&)>& answer) {
    whenModal<QMessageBox>(answer);
    return askAboutFailedUpload(QStringLiteral("Failed to upload <b>capture</b>."), QStringLiteral("(null) & %1"),
                                offersSaveAs);
}

// From left to right.
QString titlesInOrder(const QMessageBox& alert) {
    QList<QAbstractButton*> buttons = alert.buttons();
    std::sort(buttons.begin(), buttons.end(), [](auto* a, auto* b) { return a->x() < b->x(); });
    QStringList titles;
    for (const QAbstractButton* one : buttons) {
        titles << one->text();
    }
    return titles.join(u'|');
}

TEST_F(DeliveryPanels, FailureAlertShowsItsTextsAndThreeButtons) {
    const Choice choice = answerFailure(true, [](QMessageBox& alert) {
        EXPECT_EQ(alert.icon(), QMessageBox::Warning);
        EXPECT_EQ(alert.text(), QStringLiteral("Failed to upload <b>capture</b>."));
        EXPECT_EQ(alert.informativeText(), QStringLiteral("(null) & %1"));
        for (const QLabel* label : alert.findChildren<QLabel*>()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
        }
        EXPECT_TRUE(alert.isModal());
        EXPECT_EQ(titlesInOrder(alert), QStringLiteral("Retry|Cancel|Save As..."));
        EXPECT_TRUE(button(alert, QStringLiteral("Retry"))->isDefault());
        button(alert, QStringLiteral("Save As..."))->click();
    });
    EXPECT_EQ(choice, Choice::SaveAs);
}

TEST_F(DeliveryPanels, FailureAlertHasTwoButtonsForAFileElsewhere) {
    const Choice choice = answerFailure(false, [](QMessageBox& alert) {
        EXPECT_EQ(titlesInOrder(alert), QStringLiteral("Retry|Cancel"));
        button(alert, QStringLiteral("Retry"))->click();
    });
    EXPECT_EQ(choice, Choice::Retry);
}

TEST_F(DeliveryPanels, FailureAlertThatIsClosedCountsAsCancel) {
    for (const bool offers : {false, true}) {
        EXPECT_EQ(answerFailure(offers, [](QMessageBox& alert) { alert.close(); }), Choice::Cancel);
        EXPECT_EQ(answerFailure(offers, [](QMessageBox& alert) { button(alert, QStringLiteral("Cancel"))->click(); }),
                  Choice::Cancel);
        EXPECT_EQ(answerFailure(offers,
                                [](QMessageBox& alert) {
                                    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
                                    QApplication::sendEvent(&alert, &escape);
                                }),
                  Choice::Cancel);
    }
}

const UserNotification notification{.title = QStringLiteral("Capture completed"),
                                    .subtitle = QStringLiteral("<b>vantrel</b>.pcap"),
                                    .informativeText = QStringLiteral("12 frames (3 KB)"),
                                    .userInfo = {},
                                    .otherButtonTitle = QStringLiteral("Dismiss")};

TEST_F(DeliveryPanels, NotificationWindowShowsItsTextsLiterally) {
    int shows = 0;
    NotificationWindow::present(notification, [&] { ++shows; });
    auto* window = onlyOne<NotificationWindow>();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isModal());
    EXPECT_TRUE(window->testAttribute(Qt::WA_ShowWithoutActivating));
    QStringList texts;
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            texts << label->text();
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
        }
    }
    EXPECT_EQ(texts.join(u'|').toStdString(), "Capture completed|<b>vantrel</b>.pcap|12 frames (3 KB)");
    button(*window, QStringLiteral("Show"))->click();
    EXPECT_EQ(shows, 1);
    settle();
    EXPECT_TRUE(shown<NotificationWindow>().empty());
}

TEST_F(DeliveryPanels, NotificationWindowThatIsDismissedShowsNothing) {
    for (const char* way : {"Dismiss", "Escape", "close"}) {
        int shows = 0;
        NotificationWindow::present(notification, [&] { ++shows; });
        auto* window = onlyOne<NotificationWindow>();
        ASSERT_NE(window, nullptr) << way;
        if (way == std::string("Dismiss")) {
            button(*window, QStringLiteral("Dismiss"))->click();
        } else if (way == std::string("Escape")) {
            window->reject();
        } else {
            window->close();
        }
        settle();
        EXPECT_EQ(shows, 0) << way;
        EXPECT_TRUE(shown<NotificationWindow>().empty()) << way;
    }
}

TEST_F(DeliveryPanels, NotificationWindowsStandBeneathEachOther) {
    UserNotification longNamed = notification;
    longNamed.subtitle = QString(200, u'x') + QStringLiteral(".pcap");
    longNamed.informativeText.clear();
    NotificationWindow::present(notification, [] {});
    NotificationWindow::present(longNamed, [] {});
    const auto windows = shown<NotificationWindow>();
    ASSERT_EQ(windows.size(), 2U);
    EXPECT_FALSE(windows[0]->frameGeometry().intersects(windows[1]->frameGeometry()));
    for (const NotificationWindow* window : windows) {
        EXPECT_TRUE(QGuiApplication::primaryScreen()->availableGeometry().contains(window->frameGeometry()));
    }
}

} // namespace
} // namespace vantrel::ui
