#include "engine/VantrelCaptureFile.h"

#include "PcapFaults.h"
#include "SmallFileSystem.h"
#include "support/LogCapture.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <pcap/pcap.h>
#include <sys/stat.h>

namespace vantrel {
namespace {

class CaptureFileTest : public ::testing::Test {
protected:
    ~CaptureFileTest() override { testing::pcapFaults().clear(); }

    static void dump(VantrelCaptureFile& file, std::uint32_t number, bpf_u_int32 length) {
        std::vector<std::uint8_t> data(length, static_cast<std::uint8_t>(number));
        const pcap_pkthdr header{.ts = {1000 + number, 42}, .caplen = length, .len = length + 5};
        file.dumpWithHeader(header, data.data());
    }

    // Reads a file with libpcap; the captured lengths of its records, and whether it ended at a record's boundary.
    static std::vector<bpf_u_int32> lengths(const QString& path, bool* whole = nullptr) {
        char error[PCAP_ERRBUF_SIZE];
        pcap_t* reader = pcap_open_offline(qPrintable(path), error);
        std::vector<bpf_u_int32> found;
        if (reader == nullptr) {
            return found;
        }
        EXPECT_EQ(pcap_datalink(reader), 127);
        EXPECT_EQ(pcap_snapshot(reader), 2048);
        pcap_pkthdr* header = nullptr;
        const u_char* data = nullptr;
        int result = 0;
        while ((result = pcap_next_ex(reader, &header, &data)) == 1) {
            found.push_back(header->caplen);
        }
        if (whole != nullptr) {
            *whole = result == PCAP_ERROR_BREAK;
        }
        pcap_close(reader);
        return found;
    }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("vantrel_test.pcap"));
};

TEST_F(CaptureFileTest, CanBeReadFromTheStart) {
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    ASSERT_TRUE(file);
    bool whole = false;
    EXPECT_TRUE(lengths(path, &whole).empty());
    EXPECT_TRUE(whole) << "a program killed now leaves a file without frames, not an empty one";
}

TEST_F(CaptureFileTest, CountsTwentyFourBytesPerFrameAndNoFileHeader) {
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 0U);
    EXPECT_EQ(file->frames(), 0U);
    dump(*file, 1, 100);
    dump(*file, 2, 50);
    EXPECT_EQ(file->size(), 198U);
    EXPECT_EQ(file->frames(), 2U);
    EXPECT_EQ(file->path(), path);
    EXPECT_LE(std::abs(file->creationTime().secsTo(QDateTime::currentDateTime())), 5);
    file->close();
    EXPECT_EQ(QFileInfo(path).size(), 24 + 2 * 16 + 150);
    EXPECT_EQ(lengths(path), (std::vector<bpf_u_int32>{100, 50}));
}

TEST_F(CaptureFileTest, TheFileIsTheUsersAlone) {
    const auto before = ::umask(0);
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    ::umask(before);
    ASSERT_TRUE(file);
    struct stat status {};
    ASSERT_EQ(::stat(qPrintable(path), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(CaptureFileTest, AFlushedFileIsReadableWhileItIsOpen) {
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    dump(*file, 1, 10);
    ASSERT_TRUE(file->flush());
    bool whole = false;
    EXPECT_EQ(lengths(path, &whole).size(), 1U);
    EXPECT_TRUE(whole);
}

TEST_F(CaptureFileTest, ClosedItTakesNothingMoreAndClosesAgain) {
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    dump(*file, 1, 10);
    file->close();
    file->close();
    dump(*file, 2, 10);
    EXPECT_EQ(file->frames(), 1U);
    EXPECT_TRUE(file->flush());
    EXPECT_EQ(lengths(path).size(), 1U);
}

TEST_F(CaptureFileTest, DestructionCloses) {
    {
        const auto file = VantrelCaptureFile::initWithPath(path, 127);
        dump(*file, 1, 2048);
    }
    EXPECT_EQ(lengths(path), std::vector<bpf_u_int32>{2048});
}

TEST_F(CaptureFileTest, RemoveDeletesAndIgnoresErrors) {
    const auto file = VantrelCaptureFile::initWithPath(path, 127);
    file->remove();
    EXPECT_FALSE(QFile::exists(path));
    file->remove();
    dump(*file, 1, 10); // still open: goes nowhere, harms nothing
}

TEST_F(CaptureFileTest, AFileInAMissingFolderIsLogged) {
    const testing::LogCapture log;
    const QString missing = folder.filePath(QStringLiteral("missing/x.pcap"));
    EXPECT_FALSE(VantrelCaptureFile::initWithPath(missing, 127));
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_dump_open() failed for file ") + missing +
                                          QStringLiteral(": No such file or directory")));
}

TEST_F(CaptureFileTest, AnExistingFileOrLinkIsNeverTakenOver) {
    QFile existing(path);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("precious");
    existing.close();
    const QString link = folder.filePath(QStringLiteral("link.pcap"));
    ASSERT_TRUE(QFile::link(folder.filePath(QStringLiteral("elsewhere")), link));
    EXPECT_FALSE(VantrelCaptureFile::initWithPath(path, 127));
    EXPECT_FALSE(VantrelCaptureFile::initWithPath(link, 127));
    EXPECT_EQ(QFileInfo(path).size(), 8);
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("elsewhere"))));
}

TEST_F(CaptureFileTest, AMissingDeadHandleIsLogged) {
    testing::pcapFaults().openDead = true;
    const testing::LogCapture log;
    EXPECT_FALSE(VantrelCaptureFile::initWithPath(path, 127));
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_open_dead() failed for file ") + path));
    EXPECT_FALSE(QFile::exists(path));
}

// A small file system of our own that fills up in the middle of a record.
TEST_F(CaptureFileTest, AFullDiskKeepsEveryWholeRecordAndCountsThem) {
    const testing::SmallFileSystem small(folder.filePath(QStringLiteral("small")), "size=1m");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    const QString full = small.path() + QStringLiteral("/full.pcap");
    std::uint64_t frames = 0;
    {
        const auto file = VantrelCaptureFile::initWithPath(full, 127);
        ASSERT_TRUE(file);
        const testing::LogCapture log;
        for (std::uint32_t number = 0; number < 3000 && !file->writeError(); ++number) {
            dump(*file, number, 1001);
        }
        ASSERT_TRUE(file->writeError());
        EXPECT_EQ(file->writeError()->text(), QStringLiteral("pcap_dump_flush: No space left on device"));
        const std::uint64_t atFailure = file->frames();
        dump(*file, 9999, 10);
        EXPECT_EQ(file->frames(), atFailure);
        EXPECT_FALSE(file->flush());
        file->close();
        frames = file->frames();
        EXPECT_EQ(file->size(), frames * (1001 + 24));
        EXPECT_EQ(
            log.warnings(),
            QStringList(QStringLiteral("pcap_dump_flush() failed for file %1: No space left on device").arg(full)));
    }
    bool whole = false;
    EXPECT_EQ(lengths(full, &whole).size(), frames);
    EXPECT_TRUE(whole) << "the file ends inside a record";
    // One more record would not have fitted into the mebibyte.
    EXPECT_GT(QFileInfo(full).size() + 16 + 1001, 1024 * 1024 - 4096);
}

} // namespace
} // namespace vantrel
