#include "LocationMenu.h"

#include "PreferencesFixture.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QStandardItemModel>
#include <QTimer>
#include <QUrl>

namespace vantrel::preferences {
namespace {

class Locations : public PreferencesFixture {
protected:
    void show() { places.show(); }
    void locate(const QString& location) {
        settings.setString(keys::CaptureFilesLocation, location);
        show();
    }
    [[nodiscard]] QString location() const { return stored(keys::CaptureFilesLocation).toString(); }
    [[nodiscard]] QStringList titles() const {
        QStringList all;
        for (int at = 0; at < menu.count(); ++at) {
            all << menu.itemText(at);
        }
        all.removeAll(QString()); // separators
        return all;
    }
    [[nodiscard]] bool isEnabled(const QString& title) const {
        return qobject_cast<QStandardItemModel*>(menu.model())->item(menu.findText(title))->isEnabled();
    }
    // As the user does it.
    void choose(const QString& title) {
        const int index = menu.findText(title);
        ASSERT_GE(index, 0) << qPrintable(title);
        menu.setCurrentIndex(index);
        Q_EMIT menu.activated(index);
    }
    // Answers the next folder panel.
    void answerPanel(const QString& folder, bool accepts) {
        QTimer::singleShot(5, &menu, [this, folder, accepts] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (panel == nullptr) {
                answerPanel(folder, accepts);
                return;
            }
            prompt = panel->labelText(QFileDialog::Accept);
            mode = panel->fileMode();
            panel->selectFile(folder);
            accepts ? static_cast<QDialog*>(panel)->done(QDialog::Accepted) : panel->reject();
        });
    }

    QString prompt;
    QFileDialog::FileMode mode = QFileDialog::AnyFile;
    QComboBox menu;
    LocationMenu places{menu, settings, desktop()};
    int changes = 0;
};

TEST_F(Locations, EntriesOfAFreshStore) {
    show();
    EXPECT_EQ(titles(), (QStringList{QStringLiteral("Desktop"), QStringLiteral("Ask for each capture"),
                                     QStringLiteral("CloudShark (not configured)"),
                                     QStringLiteral("Mojo Packets (not configured)"), QStringLiteral("Other...")}));
    EXPECT_EQ(menu.currentText(), QStringLiteral("Desktop"));
    EXPECT_FALSE(isEnabled(QStringLiteral("CloudShark (not configured)")));
    EXPECT_FALSE(isEnabled(QStringLiteral("Mojo Packets (not configured)")));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(Locations, AServiceThatIsSetUpCanBeChosen) {
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("t"));
    show();
    EXPECT_TRUE(isEnabled(QStringLiteral("CloudShark")));
    EXPECT_FALSE(isEnabled(QStringLiteral("Mojo Packets (not configured)")));
    choose(QStringLiteral("CloudShark"));
    EXPECT_EQ(location(), QStringLiteral("CloudShark"));
    settings.setString(keys::MojoPacketsEmail, QStringLiteral("a@b.test"));
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k"));
    show();
    choose(QStringLiteral("Mojo Packets"));
    EXPECT_EQ(location(), QStringLiteral("MojoPackets"));
    EXPECT_EQ(menu.currentText(), QStringLiteral("Mojo Packets"));
}

TEST_F(Locations, WithoutATokenCloudSharkIsDisabledAlsoWhereItIsChosen) {
    locate(locations::CloudShark);
    EXPECT_EQ(menu.currentText(), QStringLiteral("CloudShark (not configured)"));
    EXPECT_FALSE(isEnabled(QStringLiteral("CloudShark (not configured)")));
    EXPECT_EQ(location(), QStringLiteral("CloudShark")) << "kept";
}

TEST_F(Locations, ChoicesWriteTheirWordsAndTell) {
    QObject::connect(&places, &LocationMenu::locationDidChange, &menu, [this] { ++changes; });
    show();
    choose(QStringLiteral("Ask for each capture"));
    EXPECT_EQ(location(), QStringLiteral("AskForEachCapture"));
    choose(QStringLiteral("Desktop"));
    EXPECT_EQ(location(), desktop());
    EXPECT_EQ(changes, 2);
}

TEST_F(Locations, AVanishedFolderBecomesTheDesktopAsAFileUrl) {
    for (const auto& gone : {QStringLiteral("/nonexistent/folder"), QString(), QString(10'000, u'x'),
                             QUrl::fromLocalFile(path(QStringLiteral("Elsewhere"))).toString()}) {
        locate(gone);
        EXPECT_EQ(location(), QUrl::fromLocalFile(desktop()).toString()) << qPrintable(gone.left(40));
        EXPECT_TRUE(location().startsWith(QStringLiteral("file:///")));
        EXPECT_EQ(menu.currentText(), QStringLiteral("Desktop"));
    }
    EXPECT_EQ(LocationMenu::folderIn(location()), desktop());
}

TEST_F(Locations, TheFileUrlOfTheDesktopIsEncoded) {
    const QString folder = path(QStringLiteral("Mein Schreibtisch \u00E4#%41"));
    ASSERT_TRUE(QDir().mkpath(folder));
    QComboBox otherMenu;
    LocationMenu other(otherMenu, settings, folder);
    settings.setString(keys::CaptureFilesLocation, QStringLiteral("/gone"));
    other.show();
    EXPECT_TRUE(location().endsWith(QStringLiteral("/Mein%20Schreibtisch%20%C3%A4%23%2541"))) << qPrintable(location());
    EXPECT_EQ(LocationMenu::folderIn(location()), folder);
    EXPECT_EQ(otherMenu.currentText(), QStringLiteral("Desktop"));
}

TEST_F(Locations, WhatExistsIsKept) {
    for (const char* name : {"Captures", "with space", "\u05D0\u05D1", "a\"b'c", "x\ny", "%1 %n", "<b>"}) {
        const QString folder = path(QString::fromUtf8(name));
        ASSERT_TRUE(QDir().mkpath(folder));
        locate(folder);
        EXPECT_EQ(location(), folder);
        EXPECT_EQ(menu.currentIndex(), 0);
        EXPECT_NE(menu.currentText(), QStringLiteral("Desktop"));
        EXPECT_FALSE(menu.currentText().contains(u'\n')) << "on one line";
        EXPECT_TRUE(menu.toolTip().contains(folder.toHtmlEscaped()));
        EXPECT_FALSE(menu.toolTip().contains(QStringLiteral("<b>"))) << "no markup";
    }
    QFile file(path(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    locate(file.fileName());
    EXPECT_EQ(location(), file.fileName()) << "the kind is not looked at";
}

TEST_F(Locations, ALongPathIsElidedInTheMiddle) {
    const QString folder = path(QStringList(12, QStringLiteral("quite-a-long-name")).join(u'/'));
    ASSERT_TRUE(QDir().mkpath(folder));
    locate(folder);
    EXPECT_TRUE(menu.currentText().contains(u'…'));
    EXPECT_TRUE(menu.currentText().endsWith(QStringLiteral("name\u2069"))) << qPrintable(menu.currentText());
    EXPECT_LE(menu.fontMetrics().horizontalAdvance(menu.currentText()), 36 * menu.fontMetrics().averageCharWidth());
    EXPECT_EQ(menu.accessibleDescription(), folder);
}

TEST_F(Locations, OtherFolderIsAskedForAndWritten) {
    const QString other = path(QStringLiteral("Other"));
    ASSERT_TRUE(QDir().mkpath(other));
    show();
    answerPanel(other, true);
    choose(QStringLiteral("Other..."));
    EXPECT_EQ(prompt, QStringLiteral("Select"));
    EXPECT_EQ(mode, QFileDialog::Directory);
    EXPECT_EQ(location(), other);
    EXPECT_EQ(menu.currentIndex(), 0);
}

TEST_F(Locations, ACancelledPanelChangesNothing) {
    locate(locations::AskForEachCapture);
    answerPanel(path(QStringLiteral("config")), false);
    choose(QStringLiteral("Other..."));
    EXPECT_EQ(location(), QStringLiteral("AskForEachCapture"));
    EXPECT_EQ(menu.currentText(), QStringLiteral("Ask for each capture"));
}

} // namespace
} // namespace vantrel::preferences
