#include "AutostartEntry.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using vantrel::autostartEntry;
using vantrel::entryLaunches;

const auto program = QStringLiteral("/usr/bin/vantrel");

TEST(AutostartEntry, Text) {
    EXPECT_EQ(autostartEntry(program), "[Desktop Entry]\n"
                                       "Type=Application\n"
                                       "Name=Vantrel\n"
                                       "Exec=\"/usr/bin/vantrel\"\n"
                                       "Icon=vantrel\n"
                                       "X-GNOME-Autostart-enabled=true\n");
}

TEST(AutostartEntry, ReservedCharactersAreQuotedAndThenEscaped) {
    const auto text = autostartEntry(QStringLiteral("/opt/a \"b\" $c `d` \\e 100%/v"));
    EXPECT_TRUE(text.contains("Exec=\"/opt/a \\\\\"b\\\\\" \\\\$c \\\\`d\\\\` \\\\\\\\e 100%%/v\"\n"))
        << text.constData();
}

TEST(AutostartEntry, WhatIsWrittenReadsBack) {
    for (const auto* path :
         {"/usr/bin/vantrel", "/opt/with space/v", "/opt/\"q\" $h `t` \\b\\\\c/v", "/opt/100%f %%/v",
          "/opt/tab\there/v", "/opt/\\n\\s/v", "/opt/\xc3\xa9/v", "/opt/new\nline/v", "/opt/back\rhere/v"}) {
        const auto executable = QString::fromUtf8(path);
        EXPECT_TRUE(entryLaunches(autostartEntry(executable), executable)) << path;
        EXPECT_FALSE(entryLaunches(autostartEntry(executable), executable + QLatin1Char('x'))) << path;
    }
}

// Written by others: each way of escaping by itself.
TEST(AutostartEntry, EscapesOfTheValueAndOfTheArgumentAreToldApart) {
    EXPECT_TRUE(entryLaunches(R"([Desktop Entry]
Exec="/opt/with\sspace/v"
)",
                              QStringLiteral("/opt/with space/v")));
    EXPECT_TRUE(entryLaunches(R"([Desktop Entry]
Exec="/opt/a\"b/v"
)",
                              QStringLiteral("/opt/a\"b/v")));
}

TEST(AutostartEntry, UnquotedWithArgumentsAndSpaces) {
    EXPECT_TRUE(entryLaunches("# note\n[Desktop Entry]\nExec = /usr/bin/vantrel --later %u\n", program));
    EXPECT_TRUE(entryLaunches("[Desktop Entry]\r\nExec=/usr/bin/vantrel\r\n", program));
}

TEST(AutostartEntry, HiddenDisabledOrOtherEntriesDoNotLaunch) {
    const QByteArray entry("[Desktop Entry]\nExec=/usr/bin/vantrel\n");
    EXPECT_TRUE(entryLaunches(entry + "Hidden=false\nX-GNOME-Autostart-enabled=true\n", program));
    EXPECT_FALSE(entryLaunches(entry + "Hidden=true\n", program));
    EXPECT_FALSE(entryLaunches(entry + "X-GNOME-Autostart-enabled=false\n", program));
    EXPECT_FALSE(entryLaunches("[Desktop Entry]\nExec=/usr/bin/vantrel-other\n", program));
    EXPECT_FALSE(entryLaunches("[Desktop Entry]\nExec=env A=b /usr/bin/vantrel\n", program));
    EXPECT_FALSE(entryLaunches("[Desktop Entry]\nName=Vantrel\n", program));
    EXPECT_FALSE(entryLaunches("[Desktop Action other]\nExec=/usr/bin/vantrel\n", program));
    EXPECT_FALSE(entryLaunches("", program));
}

TEST(AutostartEntry, BrokenTextDoesNotLaunch) {
    for (const auto* text : {"[Desktop Entry]\nExec=\\\n", "[Desktop Entry]\nExec=\"\n", "[Desktop Entry]\nExec=\"\\",
                             "[Desktop Entry]\nExec=%", "[Desktop Entry]\nExec=\n=\n[", "\xff\xfe[Desktop"}) {
        EXPECT_FALSE(entryLaunches(text, program)) << text;
    }
}

TEST(AutostartEntry, LinksAndTheSearchPathAreFollowed) {
    const QTemporaryDir folder;
    const auto real = folder.filePath(QStringLiteral("real"));
    const auto link = folder.filePath(QStringLiteral("vantrel-of-this-test"));
    QFile file(real);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    ASSERT_TRUE(QFile::link(real, link));
    EXPECT_TRUE(entryLaunches("[Desktop Entry]\nExec=" + link.toUtf8() + "\n", real));
    const auto path = qgetenv("PATH");
    qputenv("PATH", path + ':' + folder.path().toUtf8());
    EXPECT_TRUE(entryLaunches("[Desktop Entry]\nExec=vantrel-of-this-test\n", real));
    qputenv("PATH", path);
    EXPECT_FALSE(entryLaunches("[Desktop Entry]\nExec=vantrel-of-this-test\n", real));
}

} // namespace
