#include "delivery/CaptureDelivery.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/mount.h>

namespace vantrel {
namespace {

class CaptureDeliveryTest : public ::testing::Test {
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

    Expected<QString> finish(const QByteArray& content, std::int64_t maxFiles, bool multiple = true) {
        const QString path = write(_folder.filePath(QStringLiteral("vantrel_x.pcap")), content);
        return deliverCaptureFile({.path = path,
                                   .location = _folder.filePath(QStringLiteral("desktop")),
                                   .prefix = QStringLiteral("vantrel_x"),
                                   .isMultipleFileCapture = multiple,
                                   .maxCaptureFiles = maxFiles});
    }

    QTemporaryDir _folder;
};

TEST_F(CaptureDeliveryTest, ASingleFileStaysInTheTemporaryFolder) {
    const auto delivered = finish("one", 1, false);
    ASSERT_TRUE(delivered);
    EXPECT_EQ(*delivered, _folder.filePath(QStringLiteral("vantrel_x.pcap")));
    EXPECT_TRUE(QFile::exists(*delivered));
}

TEST_F(CaptureDeliveryTest, TheNewestFileIsAlways001AndOlderOnesMoveUp) {
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

TEST_F(CaptureDeliveryTest, TheOldestIsReplacedAtTheMaximum) {
    for (const char* content : {"first", "second", "third", "fourth"}) {
        ASSERT_TRUE(finish(content, 3));
    }
    EXPECT_EQ(read(QStringLiteral("vantrel_x.003.pcap")), "second");
    EXPECT_EQ(gathered().entryList(QDir::Files).size(), 3);
}

TEST_F(CaptureDeliveryTest, AGapIsShiftedAlong) {
    ASSERT_TRUE(finish("first", 4));
    ASSERT_TRUE(finish("second", 4));
    ASSERT_TRUE(QFile::remove(gathered().filePath(QStringLiteral("vantrel_x.001.pcap"))));
    ASSERT_TRUE(finish("third", 4));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.001.pcap")), "third");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.003.pcap")), "first");
}

TEST_F(CaptureDeliveryTest, AnEnormousMaximumCostsNoTime) {
    ASSERT_TRUE(finish("first", std::int64_t{1} << 60));
    ASSERT_TRUE(finish("second", std::int64_t{1} << 60));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.002.pcap")), "first");
}

TEST_F(CaptureDeliveryTest, NumbersBeyondThreeDigitsAndStrangeNamesAreToldApart) {
    ASSERT_TRUE(finish("first", 2000));
    write(gathered().filePath(QStringLiteral("vantrel_x.999.pcap")), "nine");
    write(gathered().filePath(QStringLiteral("vantrel_x.5.pcap")), "not ours");
    ASSERT_TRUE(finish("second", 2000));
    EXPECT_EQ(read(QStringLiteral("vantrel_x.1000.pcap")), "nine");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.5.pcap")), "not ours");
}

TEST_F(CaptureDeliveryTest, AFolderThatCannotBeMadeLeavesTheFileWhereItIs) {
    write(_folder.filePath(QStringLiteral("desktop")), "a file in the way");
    const auto delivered = finish("kept", 3);
    ASSERT_FALSE(delivered);
    EXPECT_TRUE(delivered.error().text().contains(QStringLiteral("desktop/vantrel_x")));
    EXPECT_TRUE(QFile::exists(_folder.filePath(QStringLiteral("vantrel_x.pcap"))));
}

TEST_F(CaptureDeliveryTest, AFileThatCannotMoveUpKeepsAllOthersInTheirPlaces) {
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

TEST_F(CaptureDeliveryTest, AFullDestinationMovesNothing) {
    const QString desktop = _folder.filePath(QStringLiteral("desktop"));
    ASSERT_TRUE(QDir().mkdir(desktop));
    if (::mount("tmpfs", qPrintable(desktop), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    const auto unmount = qScopeGuard([&] { ::umount2(qPrintable(desktop), MNT_DETACH); });
    ASSERT_TRUE(finish("first", 2));
    ASSERT_TRUE(finish("second", 2));
    const QByteArray large(200'000, 'x');
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto delivered = finish(large, 2);
        ASSERT_FALSE(delivered);
        EXPECT_EQ(delivered.error().why, QStringLiteral("No space left on device"));
    }
    EXPECT_EQ(read(QStringLiteral("vantrel_x.001.pcap")), "second");
    EXPECT_EQ(read(QStringLiteral("vantrel_x.002.pcap")), "first");
    EXPECT_EQ(gathered().entryList(QDir::Files | QDir::Hidden).size(), 2) << "a passing copy was left behind";
    EXPECT_EQ(QFileInfo(_folder.filePath(QStringLiteral("vantrel_x.pcap"))).size(), large.size());
}

} // namespace
} // namespace vantrel
