#include "delivery/LeftoverCaptures.h"

#include "CompletionFixture.h"
#include "support/LogCapture.h"

#include <QDateTime>

namespace vantrel::testing {
namespace {

class LeftoverCapturesTest : public CompletionFixture {
protected:
    QString leave(const QString& name, int frames = 100) {
        QFile file(path(QStringLiteral("tmp/") + name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(24 + frames * 20, 'x'));
        return file.fileName();
    }
    void start() {
        recorder.notifications.clear();
        offerLeftoverCaptures(path(QStringLiteral("tmp")), recorder);
    }
};

TEST_F(LeftoverCapturesTest, OneLeadsToItsFile) {
    const QString left = leave(QStringLiteral("vantrel_a.pcap"));
    start();
    ASSERT_EQ(recorder.notifications.size(), 1U);
    const UserNotification& told = recorder.notifications.front();
    EXPECT_EQ(told.title.toStdString(), "A capture was not saved");
    EXPECT_EQ(told.subtitle.toStdString(), "vantrel_a.pcap");
    EXPECT_EQ(told.informativeText.toStdString(), "Left over from an earlier run (1 KB)");
    EXPECT_EQ(told.otherButtonTitle.toStdString(), "Dismiss");
    EXPECT_EQ(told.userInfo,
              (UserInfo{{QStringLiteral("uploader"), QStringLiteral("LocalSingle")}, {QStringLiteral("path"), left}}));
}

TEST_F(LeftoverCapturesTest, SeveralLeadToTheFolder) {
    leave(QStringLiteral("vantrel_a.pcap"));
    leave(QStringLiteral("vantrel_b.pcap"));
    start();
    ASSERT_EQ(recorder.notifications.size(), 1U);
    const UserNotification& told = recorder.notifications.front();
    EXPECT_EQ(told.title.toStdString(), "Captures were not saved");
    EXPECT_EQ(told.subtitle, path(QStringLiteral("tmp")));
    EXPECT_EQ(told.informativeText.toStdString(), "2 files left over from an earlier run (3 KB)");
    EXPECT_EQ(told.userInfo, (UserInfo{{QStringLiteral("uploader"), QStringLiteral("LocalMultiple")},
                                       {QStringLiteral("location"), path(QStringLiteral("tmp"))}}));
}

TEST_F(LeftoverCapturesTest, EachIsOfferedOnce) {
    leave(QStringLiteral("vantrel_a.pcap"));
    start();
    start();
    EXPECT_TRUE(recorder.notifications.empty());
    leave(QStringLiteral("vantrel_b.pcap"));
    start();
    ASSERT_EQ(recorder.notifications.size(), 1U);
    EXPECT_EQ(recorder.notifications.front().subtitle.toStdString(), "vantrel_b.pcap");
    EXPECT_TRUE(QFile::remove(path(QStringLiteral("tmp/vantrel_b.pcap"))));
    start();
    leave(QStringLiteral("vantrel_b.pcap")); // another of the same name
    start();
    EXPECT_EQ(recorder.notifications.size(), 1U);
}

TEST_F(LeftoverCapturesTest, ThoseWithoutFramesGoAndOthersFilesStay) {
    leave(QStringLiteral("vantrel_empty.pcap"), 0);
    leave(QStringLiteral("notes.txt"), 0);
    start();
    EXPECT_TRUE(recorder.notifications.empty());
    EXPECT_EQ(QDir(path(QStringLiteral("tmp"))).entryList(QDir::Files).join(u' ').toStdString(), "notes.txt");
}

TEST_F(LeftoverCapturesTest, AListThatAKilledRunHasNotFinishedGoes) {
    leave(QStringLiteral(".offered.Ab3dEf"), 0);
    leave(QStringLiteral("vantrel_a.pcap"));
    start();
    EXPECT_EQ(QDir(path(QStringLiteral("tmp"))).entryList(QDir::Files | QDir::Hidden).join(u' ').toStdString(),
              ".offered vantrel_a.pcap");
}

TEST_F(LeftoverCapturesTest, ThoseThatCannotBeRememberedAreOfferedAgain) {
    leave(QStringLiteral("vantrel_a.pcap"));
    ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("tmp/.offered")))); // a folder in the list's place
    for (int starts = 1; starts <= 2; ++starts) {
        const LogCapture log;
        start();
        EXPECT_EQ(recorder.notifications.size(), 1U);
        EXPECT_TRUE(log.warnings().join(u'\n').startsWith(path(QStringLiteral("tmp/.offered: "))));
    }
}

TEST_F(LeftoverCapturesTest, WithoutTheFolderNothingHappens) {
    offerLeftoverCaptures(path(QStringLiteral("none")), recorder);
    offerLeftoverCaptures({}, recorder);
    EXPECT_TRUE(recorder.notifications.empty());
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("none"))));
}

} // namespace
} // namespace vantrel::testing
