#include "delivery/NumberedFiles.h"

#include "delivery/FileMover.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

class NumberedFilesTest : public ::testing::Test {
protected:
    QString write(const QString& path, const QByteArray& content) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    QByteArray read(const QString& name) {
        QFile file(gathered().filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }

    QDir gathered() { return QDir(_folder.filePath(QStringLiteral("desktop/vantrel_x"))); }

    // As the last step of a delivery does it.
    Expected<QString> finish(const QByteArray& content, std::int64_t maxFiles) {
        const QString path = write(_folder.filePath(QStringLiteral("vantrel_x.pcap")), content);
        const NumberedFiles files(_folder.filePath(QStringLiteral("desktop")), QStringLiteral("vantrel_x"), maxFiles);
        auto done = files.makeFolder();
        if (done) {
            done = files.makeRoom();
        }
        if (done) {
            done = moveFile(path, files.newest());
        }
        return done ? Expected<QString>(files.newest()) : tl::unexpected(done.error());
    }

    QTemporaryDir _folder;
};

TEST_F(NumberedFilesTest, TheNewestFileIsAlways001AndOlderOnesMoveUp) {
    ASSERT_TRUE(finish("first", 3));
    ASSERT_TRUE(finish("second", 3));
    const auto third = finish("third", 3);
    ASSERT_TRUE(third);
    EXPECT_EQ(*third, gathered().filePath(QStringLiteral("vantrel_x.001.pcap")));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.001.pcap")), "third");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.002.pcap")), "second");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.003.pcap")), "first");
    EXPECT_FALSE(QFile::exists(_folder.filePath(QStringLiteral("vantrel_x.pcap"))));
}

TEST_F(NumberedFilesTest, TheOldestIsReplacedAtTheMaximum) {
    for (const char* content : {"first", "second", "third", "fourth"}) {
        ASSERT_TRUE(finish(content, 3));
    }
    EXPECT_EQ(read(QStringLiteral("vantrel_x.003.pcap")), "second");
    EXPECT_EQ(gathered().entryList(QDir::Files).size(), 3);
}

TEST_F(NumberedFilesTest, AGapIsShiftedAlong) {
    ASSERT_TRUE(finish("first", 4));
    ASSERT_TRUE(finish("second", 4));
    ASSERT_TRUE(QFile::remove(gathered().filePath(QStringLiteral("vantrel_x.001.pcap"))));
    ASSERT_TRUE(finish("third", 4));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.001.pcap")), "third");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.003.pcap")), "first");
}

TEST_F(NumberedFilesTest, AnEnormousMaximumCostsNoTime) {
    ASSERT_TRUE(finish("first", std::int64_t{1} << 60));
    ASSERT_TRUE(finish("second", std::int64_t{1} << 60));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.002.pcap")), "first");
}

TEST_F(NumberedFilesTest, NumbersBeyondThreeDigitsAndStrangeNamesAreToldApart) {
    ASSERT_TRUE(finish("first", 2000));
    write(gathered().filePath(QStringLiteral("vantrel_x.999.pcap")), "nine");
    write(gathered().filePath(QStringLiteral("vantrel_x.5.pcap")), "not ours");
    ASSERT_TRUE(finish("second", 2000));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.1000.pcap")), "nine");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.5.pcap")), "not ours");
}

TEST_F(NumberedFilesTest, AFolderThatCannotBeMadeLeavesTheFileWhereItIs) {
    write(_folder.filePath(QStringLiteral("desktop")), "a file in the way");
    const auto delivered = finish("kept", 3);
    ASSERT_FALSE(delivered);
    EXPECT_TRUE(delivered.error().text().contains(QStringLiteral("desktop/vantrel_x")));
    EXPECT_TRUE(QFile::exists(_folder.filePath(QStringLiteral("vantrel_x.pcap"))));
}

TEST_F(NumberedFilesTest, AFileThatCannotMoveUpKeepsAllOthersInTheirPlaces) {
    ASSERT_TRUE(finish("first", 4));
    ASSERT_TRUE(finish("second", 4));
    // A folder of that name cannot be replaced by a file.
    ASSERT_TRUE(QFile::remove(gathered().filePath(QStringLiteral("vantrel_x.002.pcap"))));
    ASSERT_TRUE(gathered().mkdir(QStringLiteral("vantrel_x.002.pcap")));
    ASSERT_FALSE(finish("third", 4));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.001.pcap")), "second");
    QFile kept(_folder.filePath(QStringLiteral("vantrel_x.pcap")));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "third");
}

} // namespace
} // namespace vantrel
