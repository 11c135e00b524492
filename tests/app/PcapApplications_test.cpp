// Each case asks in a process of its own, because GIO reads the environment once.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const auto pcapType = QStringLiteral("application/vnd.tcpdump.pcap");

class PcapApplications : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(_home.isValid());
        for (const auto* folder : {"data/applications", "data/mime", "system", "config"}) {
            ASSERT_TRUE(QDir(_home.path()).mkpath(QString::fromLatin1(folder)));
        }
    }

    void write(const QString& path, const QByteArray& text) {
        QFile file(_home.filePath(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }

    [[nodiscard]] QString entryPath(const QString& id) const {
        return _home.filePath(QStringLiteral("data/applications/") + id);
    }

    void install(const QString& id, const QString& name, const QString& type = pcapType) {
        write(QStringLiteral("data/applications/") + id, QStringLiteral("[Desktop Entry]\nType=Application\nName=%1\n"
                                                                        "Exec=/bin/true %f\nMimeType=%2;\n")
                                                             .arg(name, type)
                                                             .toUtf8());
        _cache += QStringLiteral("%1=%2;\n").arg(type, id);
    }

    // Several applications of one type stand in one line of the cache.
    void writeCache(const QByteArray& text) {
        write(QStringLiteral("data/applications/mimeinfo.cache"), "[MIME Cache]\n" + text);
    }
    void writeCache() { writeCache(_cache.toUtf8()); }

    [[nodiscard]] QStringList probe(const QStringList& arguments = {QStringLiteral("pcap")}) const {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), _home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_DATA_DIRS"), _home.filePath(QStringLiteral("system")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), _home.filePath(QStringLiteral("config")));
        environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), _home.filePath(QStringLiteral("system")));
        environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("test"));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(VANTREL_SERVICES_PROBE), arguments);
        EXPECT_TRUE(process.waitForFinished(20000));
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
        return QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    [[nodiscard]] QString applicationLine(const QString& id, const QString& name) const {
        return QStringLiteral("application %1 %2").arg(entryPath(id), name);
    }
    [[nodiscard]] QString defaultLine(const QString& id) const { return QStringLiteral("default ") + entryPath(id); }

    QTemporaryDir _home;
    QString _cache;
};

const auto alpha = QStringLiteral("alpha.desktop");
const auto beta = QStringLiteral("beta.desktop");
const auto noDefault = QStringLiteral("default ");

TEST_F(PcapApplications, NoneInstalled) { EXPECT_EQ(probe(), QStringList{noDefault}); }

TEST_F(PcapApplications, SeveralWithoutADefaultGiveTheFirst) {
    install(alpha, QStringLiteral("Alpha"));
    install(beta, QStringLiteral("Beta"));
    writeCache("application/vnd.tcpdump.pcap=alpha.desktop;beta.desktop;\n");
    const auto lines = probe();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines.contains(applicationLine(alpha, QStringLiteral("Alpha"))));
    EXPECT_TRUE(lines.contains(applicationLine(beta, QStringLiteral("Beta"))));
    EXPECT_EQ(lines[2], QStringLiteral("default ") + lines[0].section(QLatin1Char(' '), 1, 1));
}

TEST_F(PcapApplications, TheUsersDefaultIsTaken) {
    install(alpha, QStringLiteral("Alpha"));
    install(beta, QStringLiteral("Beta"));
    writeCache("application/vnd.tcpdump.pcap=alpha.desktop;beta.desktop;\n");
    for (const auto& id : {alpha, beta}) {
        write(QStringLiteral("config/mimeapps.list"),
              QStringLiteral("[Default Applications]\n%1=%2\n").arg(pcapType, id).toUtf8());
        EXPECT_EQ(probe().constLast(), defaultLine(id));
    }
}

TEST_F(PcapApplications, ADeletedEntryIsNotListed) {
    install(alpha, QStringLiteral("Alpha"));
    install(beta, QStringLiteral("Beta"));
    writeCache("application/vnd.tcpdump.pcap=alpha.desktop;beta.desktop;\n");
    write(QStringLiteral("config/mimeapps.list"),
          "[Default Applications]\napplication/vnd.tcpdump.pcap=alpha.desktop\n");
    ASSERT_TRUE(QFile::remove(entryPath(alpha)));
    EXPECT_EQ(probe(), (QStringList{applicationLine(beta, QStringLiteral("Beta")), defaultLine(beta)}));
    ASSERT_TRUE(QFile::remove(entryPath(beta)));
    EXPECT_EQ(probe(), QStringList{noDefault});
}

TEST_F(PcapApplications, ApplicationsForAnyFileAreNoFallBack) {
    install(alpha, QStringLiteral("Hex editor"), QStringLiteral("application/octet-stream"));
    writeCache();
    write(QStringLiteral("data/mime/subclasses"), "application/vnd.tcpdump.pcap application/octet-stream\n");
    write(QStringLiteral("config/mimeapps.list"), "[Default Applications]\napplication/octet-stream=alpha.desktop\n");
    EXPECT_EQ(probe(), QStringList{noDefault});
}

TEST_F(PcapApplications, TheContentTypeIsTheOneThisDesktopGivesTheFile) {
    install(alpha, QStringLiteral("Alpha"));
    install(beta, QStringLiteral("Beta"), QStringLiteral("application/x-own-capture"));
    writeCache();
    EXPECT_EQ(probe().constLast(), defaultLine(alpha));
    write(QStringLiteral("data/mime/globs2"), "50:application/x-own-capture:*.pcap\n");
    EXPECT_EQ(probe().constLast(), defaultLine(beta));
}

TEST_F(PcapApplications, AnEntryTellsItsNameVariantAndIcon) {
    const auto describe = [this](const QString& id, const QByteArray& keys) {
        write(QStringLiteral("data/applications/") + id, "[Desktop Entry]\nType=Application\nName=Alpha\n" + keys);
        return probe({QStringLiteral("describe"), entryPath(id)}).value(0);
    };
    const QString id = QStringLiteral("org.example.Alpha.desktop");
    EXPECT_EQ(describe(id, "Exec=/bin/true %f\nVersion=1.5\nIcon=alpha-icon\n"),
              QStringLiteral("application %1 | Alpha | org.example.Alpha | alpha-icon").arg(entryPath(id)));
    EXPECT_EQ(describe(id, "Exec=/bin/true %f\nX-AppImage-Version=4.2.1\n"),
              QStringLiteral("application %1 | Alpha | 4.2.1 | ").arg(entryPath(id)));
    EXPECT_EQ(describe(id, "Exec=/nonexistent/program %f\n"), QStringLiteral("none"));
    EXPECT_EQ(probe({QStringLiteral("describe"), QStringLiteral("/nonexistent")}).value(0), QStringLiteral("none"));
}

} // namespace
