// What CloudSharkUploader sends.
#include "CloudSharkFixture.h"

#include <QCryptographicHash>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {
namespace {

using namespace testing;

class CloudSharkRequest : public CloudSharkFixture {
protected:
    // The one request that an upload of the file leads to.
    ReceivedRequest sent(const QString& file, const QString& tags = {}, const QString& comments = {},
                         const QString& urlSuffix = {}) {
        UploadServer server({{receiveRequest(), answer("{}")}});
        settings.setString(keys::CloudSharkApplianceURL, server.url() + urlSuffix);
        CloudSharkUploader uploader(settings, file, tags, comments);
        run(uploader);
        return server.waitForRequests(1) && server.requests().size() == 1 ? server.requests().front()
                                                                          : ReceivedRequest{};
    }

    void SetUp() override { settings.setString(keys::CloudSharkApplianceAPIToken, token); }
};

TEST_F(CloudSharkRequest, IsOnePutOfTheFile) {
    const ReceivedRequest request = sent(path);
    EXPECT_EQ(request.line.toStdString(),
              "PUT /api/v1/5ecr3t-t0ken/upload?filename=a.pcap;additional_tags=;comments= HTTP/1.1");
    EXPECT_EQ(request.header(QStringLiteral("Content-Type")), QStringLiteral("application/octet-stream"));
    EXPECT_EQ(request.header(QStringLiteral("Content-Length")), QString::number(content.size()));
    EXPECT_EQ(request.header(QStringLiteral("Transfer-Encoding")), QString());
    EXPECT_EQ(request.header(QStringLiteral("Expect")), QString());
    EXPECT_EQ(request.body, content);
}

TEST_F(CloudSharkRequest, EncodesJustWhatMayNotStandInAUrl) {
    const QString name = QString::fromUtf8(" \"#%<>[\\]^`{|}\x01\x1f\x7f"
                                           "azAZ09ü€😀;?&='+~!$()*,:@-._.pcap");
    const ReceivedRequest request = sent(write(name, content), QStringLiteral("a b"), QStringLiteral("1;2&x=y/z?'+~"));
    EXPECT_EQ(request.line.toStdString(),
              "PUT /api/v1/5ecr3t-t0ken/upload?filename="
              "%20%22%23%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D%01%1F%7FazAZ09%C3%BC%E2%82%AC%F0%9F%98%80"
              ";?&='+~!$()*,:@-._.pcap"
              ";additional_tags=a%20b;comments=1;2&x=y/z?'+~ HTTP/1.1");
    EXPECT_EQ(request.body, content);
}

TEST_F(CloudSharkRequest, APercentSignIsNoPlaceholderAndNoEncoding) {
    const ReceivedRequest request = sent(path, QStringLiteral("%1%2%4%5%20%41"), QStringLiteral("%7e%%"));
    EXPECT_EQ(request.line.toStdString(), "PUT /api/v1/5ecr3t-t0ken/upload?filename=a.pcap;"
                                          "additional_tags=%251%252%254%255%2520%2541;comments=%257e%25%25 HTTP/1.1");
}

TEST_F(CloudSharkRequest, TheTokenStandsAsItIs) {
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("aZ09-._~!$&'()*+,;=:@/%2F//...x%20"));
    EXPECT_EQ(
        sent(path).line.toStdString(),
        "PUT /api/v1/aZ09-._~!$&'()*+,;=:@/%2F//...x%20/upload?filename=a.pcap;additional_tags=;comments= HTTP/1.1");
}

// Of two ways to write the same (RFC 3986, 6.2.2) the library sends the usual one.
TEST_F(CloudSharkRequest, AnEncodingInTheTokenIsWrittenInTheUsualWay) {
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("%2f%41"));
    EXPECT_EQ(sent(path).line.toStdString(),
              "PUT /api/v1/%2FA/upload?filename=a.pcap;additional_tags=;comments= HTTP/1.1");
}

TEST_F(CloudSharkRequest, TheApplianceMayStandBelowAPath) {
    EXPECT_EQ(sent(path, {}, {}, QStringLiteral("/sharks/1")).line.toStdString(),
              "PUT /sharks/1/api/v1/5ecr3t-t0ken/upload?filename=a.pcap;additional_tags=;comments= HTTP/1.1");
}

TEST_F(CloudSharkRequest, TheSettingsAreThoseOfTheStart) {
    UploadServer server({{receiveRequest(), answer("{}")}});
    CloudSharkUploader uploader(settings, path);
    configure(server.url());
    run(uploader);
    EXPECT_TRUE(server.waitForRequests(1));
}

TEST_F(CloudSharkRequest, IsNotMadeWithoutAnAddressThatSaysIt) {
    const std::vector<std::pair<QString, QString>> addresses = {
        {QString(), token},
        {QStringLiteral("127.0.0.1"), token},
        {QStringLiteral("127.0.0.1:1"), token},
        {QStringLiteral("ftp://127.0.0.1:1"), token},
        {QStringLiteral("file://127.0.0.1"), token},
        {QStringLiteral("http://"), token},
        {QStringLiteral("http://127.0.0.1:99999"), token},
        {QStringLiteral("http://127.0.0.1:1 "), token},
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("5ecr3t t0ken")},
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("5ecr3t-t0ken\n")},
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("5ecr3t%zz")},
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("<5ecr3t-t0ken>")},
        // Would be resolved on the way, and ask for something else.
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("..")},
        {QStringLiteral("http://127.0.0.1:1"), QStringLiteral("5ecr3t/../t0ken")},
        {QStringLiteral("http://127.0.0.1:1/./x"), token},
    };
    QStringList expected;
    for (const auto& [url, key] : addresses) {
        SCOPED_TRACE(qPrintable(url + QLatin1Char(' ') + key));
        settings.setString(keys::CloudSharkApplianceURL, url);
        settings.setString(keys::CloudSharkApplianceAPIToken, key);
        CloudSharkUploader uploader(settings, path);
        run(uploader);
        expected.append(QStringLiteral("failed."));
        EXPECT_EQ(log.warnings(), expected);
        EXPECT_EQ(recorder.order, QStringList());
    }
}

TEST_F(CloudSharkRequest, WhatCannotBeReadIsAnEmptyBody) {
    const QString pipe = folder.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(qPrintable(pipe), 0600), 0);
    for (const QString& unreadable :
         {folder.filePath(QStringLiteral("missing")), folder.path(), pipe, write(QStringLiteral("empty"), {})}) {
        SCOPED_TRACE(qPrintable(unreadable));
        const ReceivedRequest request = sent(unreadable);
        EXPECT_TRUE(request.line.startsWith(QStringLiteral("PUT ")));
        EXPECT_EQ(request.header(QStringLiteral("Content-Length")), QStringLiteral("0"));
        EXPECT_EQ(request.header(QStringLiteral("Content-Type")), QStringLiteral("application/octet-stream"));
        EXPECT_EQ(request.length, 0);
        EXPECT_EQ(recorder.order, QStringList()) << "there is no share of nothing";
    }
}

TEST(CloudSharkProgress, IsRoundedDown) {
    EXPECT_EQ(CloudSharkUploader::percentCompleted(50, 200), 25);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(199, 200), 99);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(200, 200), 100);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(1, 200), 0);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(29, 100), 29);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(0x7fff'ffff'ffff, 0x7fff'ffff'ffff), 100);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(0, 0), std::nullopt);
    EXPECT_EQ(CloudSharkUploader::percentCompleted(0, -1), std::nullopt);
}

TEST_F(CloudSharkRequest, TheProgressGrowsToAHundred) {
    const ReceivedRequest request = sent(write(QStringLiteral("large"), QByteArray(20'000'000, 'x')));
    EXPECT_EQ(request.length, 20'000'000);
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_TRUE(std::is_sorted(recorder.progress.begin(), recorder.progress.end()));
    EXPECT_LT(recorder.progress.front(), 100);
    EXPECT_EQ(recorder.progress.back(), 100);
}

// Does something to the file once the first bytes of it have been sent.
class Meddler : public Recorder {
public:
    explicit Meddler(std::function<void()> meddle) : _meddle(std::move(meddle)) {}
    void didUpdateProgress(VantrelUploader& uploader, int completed) override {
        Recorder::didUpdateProgress(uploader, completed);
        if (_meddle) {
            std::exchange(_meddle, {})();
        }
    }

private:
    std::function<void()> _meddle;
};

class CloudSharkMeddledFile : public CloudSharkFixture {
protected:
    ReceivedRequest upload(const QString& file, Meddler& meddler) {
        UploadServer server({{receiveRequest(), answer("{}")}});
        configure(server.url());
        CloudSharkUploader uploader(settings, file);
        bool ended = false;
        QObject::connect(&uploader, &VantrelUploader::ended, &uploader, [&] { ended = true; });
        uploader.setDelegate(&meddler);
        uploader.upload();
        EXPECT_TRUE(runUntil([&] { return ended && server.closedConnections() > 0; }));
        return server.waitForRequests(1) ? server.requests().front() : ReceivedRequest{};
    }
};

TEST_F(CloudSharkMeddledFile, GrowingAddsNothing) {
    const QByteArray large(8'000'000, 'x');
    const QString file = write(QStringLiteral("large"), large);
    Meddler meddler([&] {
        QFile more(file);
        ASSERT_TRUE(more.open(QIODevice::Append));
        more.write(QByteArray(1'000'000, 'y'));
    });
    const ReceivedRequest request = upload(file, meddler);
    EXPECT_EQ(request.header(QStringLiteral("Content-Length")), QStringLiteral("8000000"));
    EXPECT_EQ(request.sha256, QCryptographicHash::hash(large, QCryptographicHash::Sha256).toHex());
    EXPECT_TRUE(meddler.failed.empty());
    EXPECT_EQ(meddler.progress.back(), 100);
}

TEST_F(CloudSharkMeddledFile, ShrinkingFailsAtOnce) {
    const QString file = write(QStringLiteral("large"), QByteArray(8'000'000, 'x'));
    Meddler meddler([&] { ASSERT_EQ(::truncate(qPrintable(file), 100), 0); });
    const ReceivedRequest request = upload(file, meddler);
    EXPECT_LT(request.length, 8'000'000);
    ASSERT_EQ(meddler.failed.size(), 1U);
    EXPECT_EQ(meddler.failed.front().value(QStringLiteral("error")),
              QStringLiteral("The file became shorter while it was uploaded."));
}

// In kB; the most memory that this program has had since the last reset.
qint64 peakMemory() {
    QFile status(QStringLiteral("/proc/self/status"));
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').front().toLongLong();
        }
    }
    return 0;
}

void resetPeakMemory() {
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1);
}

TEST_F(CloudSharkRequest, ALargeFileNeedsNoMemoryOfItsSize) {
    constexpr qint64 size = 500'000'000;
    const QString large = write(QStringLiteral("large"), {});
    ASSERT_EQ(::truncate(qPrintable(large), size), 0); // takes no room on the disk either
    resetPeakMemory();
    const qint64 before = peakMemory();
    const ReceivedRequest request = sent(large);
    const qint64 after = peakMemory();
    EXPECT_EQ(request.length, size);
    std::printf("peak memory: %lld kB before, %lld kB after\n", static_cast<long long>(before),
                static_cast<long long>(after));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep freed memory and more
    EXPECT_LT(after - before, 30'000);
#endif
}

} // namespace
} // namespace vantrel
