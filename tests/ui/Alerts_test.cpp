#include "ui/Alerts.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
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

QStringList buttonTitles(const QMessageBox& alert) {
    QStringList titles;
    for (const QAbstractButton* button : alert.buttons()) {
        titles.append(QString(button->text()).remove(u'&'));
    }
    return titles;
}

QPushButton* button(const QMessageBox& alert, const QString& title) {
    for (QAbstractButton* candidate : alert.buttons()) {
        if (QString(candidate->text()).remove(u'&') == title) {
            return qobject_cast<QPushButton*>(candidate);
        }
    }
    return nullptr;
}

TEST(Alerts, CriticalAlertShowsItsTextsLiterally) {
    const QString message = QStringLiteral("<b>Cannot</b> save.");
    const QString information = QStringLiteral("<img src=x> & %1 in \"/tmp/a<i>b\".");
    bool looked = false;
    whenModal<QMessageBox>([&](QMessageBox& alert) {
        looked = true;
        EXPECT_EQ(alert.icon(), QMessageBox::Critical);
        EXPECT_EQ(alert.text(), message);
        EXPECT_EQ(alert.informativeText(), information);
        int found = 0;
        for (const QLabel* label : alert.findChildren<QLabel*>()) {
            if (label->text() == message || label->text() == information) {
                ++found;
                EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
            }
        }
        EXPECT_EQ(found, 2);
        EXPECT_TRUE(alert.isModal());
        EXPECT_EQ(buttonTitles(alert).join(u' '), QStringLiteral("OK"));
        EXPECT_TRUE(alert.defaultButton()->isDefault());
        alert.defaultButton()->click();
    });
    showCriticalAlertWithInfo(message, information);
    EXPECT_TRUE(looked);
}

bool answerBetaNotice(const std::function<void(QMessageBox&)>& answer) {
    whenModal<QMessageBox>(answer);
    return showBetaNotice();
}

TEST(Alerts, BetaNoticeHasItsTextsAndButtons) {
    const bool accepted = answerBetaNotice([](QMessageBox& alert) {
        EXPECT_EQ(alert.icon(), QMessageBox::Information);
        EXPECT_EQ(alert.text().toStdString(), "This is a beta version of Vantrel.");
        EXPECT_EQ(alert.informativeText().toStdString(),
                  "This copy is provided \"AS IS\" without warranty of any kind, for testing purposes only.");
        EXPECT_EQ(buttonTitles(alert).join(u' '), QStringLiteral("Accept Quit"));
        EXPECT_EQ(alert.defaultButton(), button(alert, QStringLiteral("Accept")));
        button(alert, QStringLiteral("Accept"))->click();
    });
    EXPECT_TRUE(accepted);
}

TEST(Alerts, BetaNoticeIsRefusedByQuitAndByClosing) {
    EXPECT_FALSE(answerBetaNotice([](QMessageBox& alert) { button(alert, QStringLiteral("Quit"))->click(); }));
    EXPECT_FALSE(answerBetaNotice([](QMessageBox& alert) { alert.close(); }));
}

const Question question{.style = Question::Style::Critical,
                        .messageText = QStringLiteral("<b>Leave</b> it?"),
                        .informativeText = QStringLiteral("From \"a&<i>b</i>\"."),
                        .firstButton = QStringLiteral("Leave"),
                        .secondButton = QStringLiteral("No"),
                        .hasSuppression = true};

Answer answerQuestion(const Question& asked, const std::function<void(QMessageBox&)>& answer) {
    whenModal<QMessageBox>(answer);
    return ask(asked);
}

TEST(Alerts, QuestionShowsItsTextsAndButtons) {
    const Answer answer = answerQuestion(question, [](QMessageBox& alert) {
        EXPECT_EQ(alert.icon(), QMessageBox::Critical);
        EXPECT_EQ(alert.text(), question.messageText);
        EXPECT_EQ(alert.informativeText(), question.informativeText);
        for (const QLabel* label : alert.findChildren<QLabel*>()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
        }
        EXPECT_EQ(buttonTitles(alert).join(u' '), QStringLiteral("Leave No"));
        EXPECT_EQ(alert.defaultButton(), button(alert, QStringLiteral("Leave")));
        EXPECT_EQ(alert.escapeButton(), button(alert, QStringLiteral("No")));
        EXPECT_TRUE(alert.isModal());
        button(alert, QStringLiteral("Leave"))->click();
    });
    EXPECT_TRUE(answer.isFirstButton);
    EXPECT_FALSE(answer.isSuppressed);
}

TEST(Alerts, SuppressionBoxStandsUntickedAndIsAnsweredWithEitherButton) {
    for (const QString& title : {QStringLiteral("Leave"), QStringLiteral("No")}) {
        const Answer answer = answerQuestion(question, [&](QMessageBox& alert) {
            ASSERT_NE(alert.checkBox(), nullptr);
            EXPECT_EQ(QString(alert.checkBox()->text()).remove(u'&').toStdString(), "Do not show this message again");
            EXPECT_FALSE(alert.checkBox()->isChecked());
            alert.checkBox()->click();
            button(alert, title)->click();
        });
        EXPECT_TRUE(answer.isSuppressed);
        EXPECT_EQ(answer.isFirstButton, title == QStringLiteral("Leave"));
    }
}

TEST(Alerts, ClosedQuestionCountsAsTheSecondButton) {
    EXPECT_FALSE(answerQuestion(question, [](QMessageBox& alert) { alert.close(); }).isFirstButton);
    EXPECT_FALSE(answerQuestion(question, [](QMessageBox& alert) { alert.reject(); }).isFirstButton);
}

TEST(Alerts, InformationalQuestionHasNoBoxUnlessAskedFor) {
    Question informational = question;
    informational.style = Question::Style::Informational;
    informational.hasSuppression = false;
    const Answer answer = answerQuestion(informational, [](QMessageBox& alert) {
        EXPECT_EQ(alert.icon(), QMessageBox::Information);
        EXPECT_EQ(alert.checkBox(), nullptr);
        button(alert, QStringLiteral("No"))->click();
    });
    EXPECT_FALSE(answer.isFirstButton);
    EXPECT_FALSE(answer.isSuppressed);
}

TEST(Alerts, FolderPanelTakesOneFolderThatExists) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    whenModal<QFileDialog>([&](QFileDialog& panel) {
        EXPECT_EQ(panel.fileMode(), QFileDialog::Directory);
        EXPECT_TRUE(panel.testOption(QFileDialog::ShowDirsOnly));
        EXPECT_FALSE(panel.testOption(QFileDialog::ReadOnly)) << "folders can be made";
        EXPECT_EQ(panel.labelText(QFileDialog::Accept), QStringLiteral("Select"));
        panel.selectFile(folder.path());
        QMetaObject::invokeMethod(&panel, "accept");
    });
    EXPECT_EQ(askForFolder(), folder.path());
}

TEST(Alerts, CancelledFolderPanelAnswersNothing) {
    whenModal<QFileDialog>([](QFileDialog& panel) { panel.reject(); });
    EXPECT_EQ(askForFolder(), std::nullopt);
}

} // namespace
} // namespace vantrel::ui
