#include "OpenInMenu.h"

#include "PreferencesFixture.h"
#include "settings/SettingsKeys.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>
#include <QMessageBox>
#include <QPixmap>
#include <QTimer>
#include <array>

namespace vantrel::preferences {
namespace {

class OpenIn : public PreferencesFixture {
protected:
    OpenIn() {
        applications = {{path(QStringLiteral("a.desktop")), QStringLiteral("Alpha"), QStringLiteral("3.0.1"), {}},
                        {path(QStringLiteral("b.desktop")), QStringLiteral("Beta"), QStringLiteral("org.b"), {}}};
        menu.show();
    }
    [[nodiscard]] QStringList titles() const {
        QStringList all;
        for (int at = 0; at < menu.count(); ++at) {
            all << menu.itemText(at);
        }
        all.removeAll(QString());
        return all;
    }
    [[nodiscard]] QString chosen() const { return stored(keys::OpenInApplicationPath).toString(QStringLiteral("-")); }
    void choose(const QString& title) {
        const int index = menu.findText(title);
        ASSERT_GE(index, 0) << qPrintable(title);
        menu.setCurrentIndex(index);
        Q_EMIT menu.activated(index);
    }
    QString touch(const QString& name) {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }
    void writeFile(const QString& name, const QByteArray& text) {
        QFile file(touch(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    void writeIcon(const QString& name, Qt::GlobalColor colour) {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path(name)).path()));
        QPixmap image(16, 16);
        image.fill(colour);
        EXPECT_TRUE(image.save(path(name)));
    }
    // Chooses this in the application panel, and closes the alert that may follow.
    void answerPanel(const QString& file) {
        QTimer::singleShot(5, &menu, [this, file] {
            if (auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); alert != nullptr) {
                alerts << alert->text() + u'|' + alert->informativeText();
                alert->reject();
                return;
            }
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (panel == nullptr || prompts.size() > 0) {
                answerPanel(file);
                return;
            }
            prompts << panel->labelText(QFileDialog::Accept);
            panel->setDirectory(_folder.path());
            panel->selectFile(file);
            answerPanel(file);
            static_cast<QDialog*>(panel)->done(file.isEmpty() ? QDialog::Rejected : QDialog::Accepted);
        });
    }

    QStringList prompts;
    QStringList alerts;
    QComboBox menu;
    PreferencesSurroundings around = surroundings();
    OpenInMenu entries{menu, around};
};

TEST_F(OpenIn, EntriesTellNameAndVersion) {
    entries.show();
    EXPECT_EQ(titles(), (QStringList{QStringLiteral("Alpha (3.0.1)"), QStringLiteral("Beta (org.b)"),
                                     QStringLiteral("None"), QStringLiteral("Other...")}));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(OpenIn, EntriesShowTheIconsOfTheirApplications) {
    writeIcon(QStringLiteral("own.png"), Qt::red);
    writeIcon(QStringLiteral("probe/16x16/apps/capture-viewer.png"), Qt::green);
    writeIcon(QStringLiteral("probe/16x16/apps/application-x-executable.png"), Qt::blue);
    writeFile(QStringLiteral("probe/index.theme"), "[Icon Theme]\nName=Probe\nDirectories=16x16/apps\n"
                                                   "[16x16/apps]\nSize=16\nType=Fixed\n");
    const QString themeBefore = QIcon::themeName();
    const QStringList pathsBefore = QIcon::themeSearchPaths();
    QIcon::setThemeSearchPaths({_folder.path()});
    QIcon::setThemeName(QStringLiteral("probe"));
    applications = {{path(QStringLiteral("a.desktop")), {}, {}, path(QStringLiteral("own.png"))},
                    {path(QStringLiteral("b.desktop")), {}, {}, QStringLiteral("capture-viewer")},
                    {path(QStringLiteral("c.desktop")), {}, {}, QStringLiteral("in-no-theme")},
                    {path(QStringLiteral("d.desktop")), {}, {}, {}},
                    {path(QStringLiteral("e.desktop")), {}, {}, QStringLiteral("/gone.png")}};
    entries.show();
    const std::array colours{Qt::red, Qt::green, Qt::blue, Qt::blue, Qt::blue};
    for (int at = 0; at < 5; ++at) {
        EXPECT_EQ(menu.itemIcon(at).pixmap(16, 16).toImage().pixelColor(8, 8),
                  QColor(colours.at(static_cast<std::size_t>(at))))
            << at;
    }
    QIcon::setThemeName(themeBefore);
    QIcon::setThemeSearchPaths(pathsBefore);
}

TEST_F(OpenIn, WithoutApplicationsThereIsNone) {
    applications.clear();
    entries.show();
    EXPECT_EQ(titles(), (QStringList{QStringLiteral("None"), QStringLiteral("Other...")}));
    EXPECT_EQ(menu.currentText(), QStringLiteral("None"));
}

TEST_F(OpenIn, TheChoiceIsWrittenAndShown) {
    entries.show();
    choose(QStringLiteral("Beta (org.b)"));
    EXPECT_EQ(chosen(), path(QStringLiteral("b.desktop")));
    entries.show();
    EXPECT_EQ(menu.currentText(), QStringLiteral("Beta (org.b)"));
    choose(QStringLiteral("None"));
    EXPECT_EQ(chosen(), QString());
    EXPECT_EQ(menu.currentText(), QStringLiteral("None"));
}

TEST_F(OpenIn, AnotherApplicationIsAskedFor) {
    const QString other = touch(QStringLiteral("other.desktop"));
    entries.show();
    answerPanel(other);
    choose(QStringLiteral("Other..."));
    EXPECT_EQ(prompts, QStringList{QStringLiteral("Select")});
    EXPECT_EQ(chosen(), other);
    EXPECT_EQ(menu.currentText(), QStringLiteral("Chosen (1.0)"));
    EXPECT_TRUE(alerts.isEmpty());
}

TEST_F(OpenIn, WhatIsNoApplicationIsRefused) {
    around.applicationAt = [](const QString&) { return std::nullopt; };
    const QString other = touch(QStringLiteral("other.desktop"));
    entries.show();
    answerPanel(other);
    choose(QStringLiteral("Other..."));
    EXPECT_EQ(alerts, QStringList{QStringLiteral("This application cannot be used.|%1 does not describe an application "
                                                 "that is installed here.")
                                      .arg(other)});
    EXPECT_EQ(chosen(), QStringLiteral("-"));
    EXPECT_EQ(menu.currentText(), QStringLiteral("None"));
}

TEST_F(OpenIn, AVanishedApplicationIsNamed) {
    settings.setString(keys::OpenInApplicationPath, QStringLiteral("/gone/viewer.desktop"));
    entries.show();
    EXPECT_EQ(menu.currentText(), QStringLiteral("viewer (not found)"));
}

TEST_F(OpenIn, HostileNamesStayOnTheirLine) {
    for (const auto& [name, text] : hostileTexts()) {
        applications = {{path(QStringLiteral("h.desktop")), text, text, {}}};
        entries.show();
        EXPECT_EQ(menu.itemText(0).count(u'\n'), 0) << name;
        EXPECT_LE(menu.itemText(0).size(), 130) << name;
        choose(menu.itemText(0));
        EXPECT_EQ(chosen(), path(QStringLiteral("h.desktop"))) << name;
    }
}

} // namespace
} // namespace vantrel::preferences
