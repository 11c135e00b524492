#include "delivery/FileMover.h"

#include "FileFaults.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace vantrel {
namespace {

QString write(const QString& path, const QByteArray& content) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    file.write(content);
    return path;
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

bool onAnotherFileSystem(const QString& one, const QString& other) {
    struct stat first {};
    struct stat second {};
    return ::stat(qPrintable(one), &first) == 0 && ::stat(qPrintable(other), &second) == 0 &&
           first.st_dev != second.st_dev;
}

TEST(FileMover, MovesWithinAFileSystem) {
    const QTemporaryDir folder;
    const QString from = write(folder.filePath(QStringLiteral("a")), "content");
    const QString to = write(folder.filePath(QStringLiteral("b")), "old");
    ASSERT_TRUE(moveFile(from, to));
    EXPECT_EQ(read(to), "content");
    EXPECT_FALSE(QFile::exists(from));
}

TEST(FileMover, MovesAcrossFileSystemsWholeAndPrivate) {
    const QTemporaryDir here;
    const QTemporaryDir there(QStringLiteral("/dev/shm/vantrel-XXXXXX"));
    if (!there.isValid() || !onAnotherFileSystem(here.path(), there.path())) {
        GTEST_SKIP() << "no second file system that can be written to";
    }
    const QByteArray content(20'000'000, 'x');
    const QString from = write(here.filePath(QStringLiteral("a")), content);
    const QString to = there.filePath(QStringLiteral("b"));
    ASSERT_TRUE(moveFile(from, to));
    EXPECT_EQ(read(to), content);
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(QDir(there.path()).entryList(QDir::Files | QDir::Hidden).size(), 1) << "a passing copy was left behind";
    struct stat status {};
    ASSERT_EQ(::stat(qPrintable(to), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

// Another file system than the one of temporary folders, or a skipped test.
class AcrossFileSystems : public ::testing::Test {
protected:
    void SetUp() override {
        if (!there.isValid() || !onAnotherFileSystem(here.path(), there.path())) {
            GTEST_SKIP() << "no second file system that can be written to";
        }
    }
    ~AcrossFileSystems() override { testing::fileFaults().clear(); }
    [[nodiscard]] QStringList arrived() const { return QDir(there.path()).entryList(QDir::Files | QDir::Hidden); }

    const QTemporaryDir here;
    const QTemporaryDir there{QStringLiteral("/dev/shm/vantrel-XXXXXX")};
    const QString from = write(here.filePath(QStringLiteral("a")), "content");
    const QString to = there.filePath(QStringLiteral("b"));
};

TEST_F(AcrossFileSystems, ACopyHasNoNameUntilItIsWhole) {
    FileMove move(from, there.path());
    EXPECT_TRUE(move.needsCopy());
    ASSERT_TRUE(move.copy());
    EXPECT_TRUE(arrived().isEmpty()) << "whoever is killed now leaves something behind";
    EXPECT_EQ(read(from), "content");
    ASSERT_TRUE(move.finish(to));
    EXPECT_EQ(read(to), "content");
    EXPECT_FALSE(QFile::exists(from));
}

TEST_F(AcrossFileSystems, AFileOfThatNameIsReplaced) {
    write(to, "old");
    ASSERT_TRUE(moveFile(from, to));
    EXPECT_EQ(read(to), "content");
    EXPECT_EQ(arrived().size(), 1);
}

TEST_F(AcrossFileSystems, AFolderOfThatNameIsNot) {
    ASSERT_TRUE(QDir().mkdir(to));
    ASSERT_FALSE(moveFile(from, to));
    EXPECT_EQ(read(from), "content");
    EXPECT_TRUE(arrived().isEmpty());
}

TEST_F(AcrossFileSystems, AMoveThatIsGivenUpLeavesNothing) {
    {
        FileMove move(from, there.path());
        ASSERT_TRUE(move.copy());
    }
    EXPECT_TRUE(arrived().isEmpty());
    EXPECT_EQ(read(from), "content");
}

TEST_F(AcrossFileSystems, ACopyThatCannotBeNamedIsToldAndTheSourceStays) {
    testing::fileFaults().linkError = [](const char*) { return EDQUOT; };
    const auto moved = moveFile(from, to);
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().text(), to + QStringLiteral(": Disk quota exceeded"));
    EXPECT_EQ(read(from), "content");
    EXPECT_TRUE(arrived().isEmpty());
}

TEST_F(AcrossFileSystems, WhatWasToBeReplacedStaysWhenTheCopyCannotBeNamed) {
    write(to, "old");
    testing::fileFaults().linkError = [](const char* name) {
        return std::strstr(name, "arriving") != nullptr ? EIO : 0;
    };
    const auto moved = moveFile(from, to);
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().text(), to + QStringLiteral(": Input/output error"));
    EXPECT_EQ(read(from) + read(to), "contentold");
    EXPECT_EQ(arrived().size(), 1);
}

TEST_F(AcrossFileSystems, ASourceThatIsGoneIsNamed) {
    ASSERT_TRUE(QFile::remove(from));
    const auto copied = FileMove(from, there.path()).copy();
    ASSERT_FALSE(copied);
    EXPECT_EQ(copied.error().text(), from + QStringLiteral(": No such file or directory"));
}

// As on a memory card, or a share of another machine.
class WithoutNamelessFiles : public AcrossFileSystems {
protected:
    WithoutNamelessFiles() { testing::fileFaults().hasNamelessFiles = false; }
};

TEST_F(WithoutNamelessFiles, FilesArriveWholeAndPrivateToo) {
    write(to, "old");
    ASSERT_TRUE(moveFile(from, to));
    EXPECT_EQ(read(to), "content");
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(arrived().size(), 1) << "a passing copy was left behind";
    EXPECT_EQ(QFile::permissions(to) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

TEST_F(WithoutNamelessFiles, ACopyPassesUnderAnotherName) {
    write(to, "old");
    {
        FileMove move(from, there.path());
        ASSERT_TRUE(move.copy());
        EXPECT_EQ(arrived().size(), 2);
        EXPECT_TRUE(arrived().first().startsWith(QStringLiteral(".vantrel-arriving."))) << "not taken for a capture";
        EXPECT_EQ(read(to), "old");
    }
    EXPECT_EQ(arrived().size(), 1) << "a move that was given up leaves nothing";
    EXPECT_EQ(read(from) + read(to), "contentold");
}

TEST_F(WithoutNamelessFiles, ADiskThatFillsUpIsGivenBackWhatItHeld) {
    testing::fileFaults().copyError = ENOSPC;
    const auto moved = moveFile(from, to);
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().text(), there.path() + QStringLiteral(": No space left on device"));
    EXPECT_TRUE(arrived().isEmpty());
    EXPECT_EQ(read(from), "content");
}

TEST_F(WithoutNamelessFiles, AFolderThatTakesNoFileIsNamed) {
    FileMove move(from, there.filePath(QStringLiteral("missing")));
    const auto copied = move.copy();
    ASSERT_FALSE(copied);
    EXPECT_EQ(copied.error().text(),
              there.filePath(QStringLiteral("missing")) + QStringLiteral(": No such file or directory"));
}

// Which look like one file system, but between which nothing can be renamed.
TEST(FileMover, CopiesBetweenTwoMountsOfOneFileSystem) {
    const QTemporaryDir folder;
    const QString place = folder.filePath(QStringLiteral("place"));
    const QString again = folder.filePath(QStringLiteral("again"));
    ASSERT_TRUE(QDir().mkdir(place) && QDir().mkdir(again));
    if (::mount(qPrintable(place), qPrintable(again), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "mounting a folder a second time needs CAP_SYS_ADMIN";
    }
    const QString from = write(folder.filePath(QStringLiteral("a")), "content");
    const QString to = again + QStringLiteral("/b");
    testing::fileFaults().copyError = EIO;
    const auto moved = moveFile(from, to);
    testing::fileFaults().clear();
    EXPECT_EQ(moved ? QString() : moved.error().text(), again + QStringLiteral(": Input/output error"));
    EXPECT_EQ(read(from), "content");
    EXPECT_TRUE(moveFile(from, to));
    EXPECT_EQ(read(place + QStringLiteral("/b")), "content");
    EXPECT_FALSE(QFile::exists(from));
    ::umount2(qPrintable(again), MNT_DETACH);
}

TEST(FileMover, WithinAFileSystemNothingIsCopied) {
    const QTemporaryDir folder;
    EXPECT_FALSE(FileMove(write(folder.filePath(QStringLiteral("a")), "content"), folder.path()).needsCopy());
}

TEST(FileMover, AnErrorNamesTheDestinationAndKeepsTheSource) {
    const QTemporaryDir folder;
    const QString from = write(folder.filePath(QStringLiteral("a")), "content");
    const QString to = folder.filePath(QStringLiteral("missing/b"));
    const auto moved = moveFile(from, to);
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().text(), to + QStringLiteral(": No such file or directory"));
    EXPECT_EQ(read(from), "content");
}

} // namespace
} // namespace vantrel
