#include "engine/TemporaryFolder.h"

#include "SmallFileSystem.h"
#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {
namespace {

class TemporaryFolderTest : public ::testing::Test {
protected:
    TemporaryFolderTest() {
        qputenv("TMPDIR", base.path().toLocal8Bit());
        qputenv("XDG_CACHE_HOME", base.filePath(QStringLiteral("cache")).toLocal8Bit());
    }
    ~TemporaryFolderTest() override {
        qunsetenv("TMPDIR");
        qunsetenv("XDG_CACHE_HOME");
    }

    static unsigned modeOf(const QString& path) {
        struct stat status {};
        return ::lstat(qPrintable(path), &status) == 0 ? status.st_mode & 07777U : 0U;
    }

    QTemporaryDir base;
    QString usual = base.filePath(QStringLiteral("vantrel-%1").arg(::geteuid()));
    QString other = base.filePath(QStringLiteral("cache/vantrel/captures"));
};

TEST_F(TemporaryFolderTest, AMissingFolderIsMadePrivate) {
    EXPECT_EQ(temporaryFolder().value(), usual);
    EXPECT_EQ(modeOf(usual), 0700U);
}

TEST_F(TemporaryFolderTest, ALooseModeIsTightened) {
    ASSERT_EQ(::mkdir(qPrintable(usual), 0755), 0);
    ASSERT_EQ(::chmod(qPrintable(usual), 0777), 0);
    EXPECT_EQ(temporaryFolder().value(), usual);
    EXPECT_EQ(modeOf(usual), 0700U);
}

TEST_F(TemporaryFolderTest, APlantedLinkIsNotFollowed) {
    const QString target = base.filePath(QStringLiteral("target"));
    ASSERT_TRUE(QDir().mkdir(target));
    ASSERT_TRUE(QFile::link(target, usual));
    const testing::LogCapture log;
    EXPECT_EQ(temporaryFolder().value(), other);
    EXPECT_EQ(modeOf(other), 0700U);
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("temporary folder refused: ") + usual +
                                          QStringLiteral(": is not a folder, or a link to one")));
    EXPECT_EQ(modeOf(target), 0755U & ~0022U) << "the link's target was touched";
}

TEST_F(TemporaryFolderTest, AFileInTheWayIsPassedBy) {
    QFile file(usual);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(temporaryFolder().value(), other);
}

TEST_F(TemporaryFolderTest, SomebodyElsesFolderIsRefused) {
    ASSERT_EQ(::mkdir(qPrintable(usual), 0700), 0);
    if (::chown(qPrintable(usual), 65534, 65534) != 0) {
        GTEST_SKIP() << "giving a folder to another user needs CAP_CHOWN";
    }
    const auto refused = preparePrivateFolder(usual);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().why, QStringLiteral("belongs to another user"));
    EXPECT_EQ(temporaryFolder().value(), other);
}

TEST_F(TemporaryFolderTest, AFolderThatTakesNothingIsPassedBy) {
    const testing::SmallFileSystem place(usual, "mode=0700");
    if (!place.isMounted() || ::mount(nullptr, qPrintable(usual), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
        GTEST_SKIP() << "mounting a file system needs CAP_SYS_ADMIN";
    }
    const auto refused = preparePrivateFolder(usual);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().text(), usual + QStringLiteral(": Read-only file system"));
    const testing::LogCapture log;
    EXPECT_EQ(temporaryFolder().value(), other);
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("temporary folder refused: ") + refused.error().text()));
}

TEST_F(TemporaryFolderTest, ThoseThatExistAndAreSafeAreListed) {
    EXPECT_TRUE(existingTemporaryFolders().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(usual)) << "looking for folders makes none";
    ASSERT_TRUE(QDir().mkpath(other));
    EXPECT_EQ(existingTemporaryFolders(), QStringList(other));
    ASSERT_TRUE(QDir().mkpath(usual));
    EXPECT_EQ(existingTemporaryFolders(), QStringList({usual, other}));
    ASSERT_TRUE(QDir().rmdir(usual));
    ASSERT_TRUE(QFile::link(base.path(), usual));
    EXPECT_EQ(existingTemporaryFolders(), QStringList(other));
}

TEST_F(TemporaryFolderTest, WithNoSafePlaceTheErrorNamesBoth) {
    ASSERT_TRUE(QFile::link(base.path(), usual));
    ASSERT_TRUE(QDir().mkpath(base.filePath(QStringLiteral("cache/vantrel"))));
    ASSERT_TRUE(QFile::link(base.path(), other));
    const auto folder = temporaryFolder();
    ASSERT_FALSE(folder);
    EXPECT_TRUE(folder.error().text().contains(usual));
    EXPECT_TRUE(folder.error().text().contains(QStringLiteral("is not a folder")));
}

} // namespace
} // namespace vantrel
