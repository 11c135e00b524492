// What stands on the disk, and what happens when the disk does not play along.
#include "SettingsFixture.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "settings/SettingsText.h"
#include "support/LogCapture.h"

#include <QRegularExpression>
#include <csignal>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace vantrel;
using vantrel::testing::LogCapture;

namespace {

using SettingsFileTest = vantrel::testing::SettingsTest;

class Umask {
public:
    explicit Umask(mode_t mask) : _before(::umask(mask)) {}
    ~Umask() { ::umask(_before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t _before;
};

TEST_F(SettingsFileTest, onlyTheOwnerMayLookWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 077U}) {
        const Umask umask(mask);
        QDir(folder()).removeRecursively();
        SettingsStore settings(path());
        settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k"));
        EXPECT_EQ(modeOf(folder()), 0700U);
        EXPECT_EQ(modeOf(path()), 0600U);
        EXPECT_EQ(modeOf(path() + QStringLiteral(".lock")), 0600U);
    }
}

TEST_F(SettingsFileTest, missingFoldersAboveAreMadePrivateToo) {
    const Umask umask(0);
    const auto above = _folder.filePath(QStringLiteral("a"));
    SettingsStore settings(above + QStringLiteral("/b/settings.json"));
    settings.setInteger(keys::DwellTime, 1);
    EXPECT_EQ(modeOf(above), 0700U);
    EXPECT_EQ(modeOf(above + QStringLiteral("/b")), 0700U);
    EXPECT_EQ(SettingsStore(settings.path()).integerForKey(keys::DwellTime), 1);
}

TEST_F(SettingsFileTest, anOpenFileBecomesPrivateWithTheNextWrite) {
    overwrite("{}");
    ASSERT_EQ(::chmod(QFile::encodeName(path()).constData(), 0666), 0);
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 1);
    EXPECT_EQ(modeOf(path()), 0600U);
}

TEST_F(SettingsFileTest, readsMakeNothing) {
    SettingsStore settings(path());
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 0);
    settings.removeObjectForKey(keys::DwellTime);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(SettingsFileTest, corruptFilesAreKeptAsideAndDefaultsApply) {
    const QList<QByteArray> kinds{
        "{\"DwellTime\": 1",   "not json at all",        "[1, 2]",
        QByteArray(512, '\0'), "{\"DwellTime\": 1}\n{}", QByteArray(largestSettingsText + 1, ' ')};
    int count = 0;
    for (const auto& kind : kinds) {
        const LogCapture log;
        overwrite(kind);
        SettingsStore settings(path());
        settings.registerDefaults({{keys::DwellTime, 250}});
        EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
        EXPECT_FALSE(QFile::exists(path()));
        const auto aside = namesLike(QStringLiteral("settings.json.corrupt-*"));
        EXPECT_EQ(aside.size(), ++count) << "none overwrites an earlier one";
        QList<QByteArray> kept;
        for (const auto& name : aside) {
            EXPECT_TRUE(QRegularExpression(QStringLiteral("^settings\\.json\\.corrupt-\\d{8}-\\d{6}(-\\d+)?$"))
                            .match(name)
                            .hasMatch());
            kept.append(contentOf(folder() + u'/' + name));
        }
        EXPECT_TRUE(kept.contains(kind));
        ASSERT_EQ(log.warnings().size(), 1);
        EXPECT_TRUE(log.warnings().front().contains(QStringLiteral("is corrupt (parse: ")));
        EXPECT_TRUE(log.warnings().front().contains(QStringLiteral("settings.json.corrupt-")));
        settings.setInteger(keys::DwellTime, 100);
        EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 100);
    }
}

TEST_F(SettingsFileTest, aFileThatTurnsCorruptIsKeptByTheNextWriteToo) {
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 1);
    overwrite("{broken");
    settings.setInteger(keys::MaxCaptureFiles, 2);
    const auto aside = namesLike(QStringLiteral("*.corrupt-*"));
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(contentOf(folder() + u'/' + aside.front()), QByteArray("{broken"));
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 0);
    EXPECT_EQ(settings.integerForKey(keys::MaxCaptureFiles), 2);
}

TEST_F(SettingsFileTest, anEmptyFileStaysWhereItIs) {
    const LogCapture log;
    overwrite("");
    SettingsStore settings(path());
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 0);
    EXPECT_TRUE(QFile::exists(path()));
    overwrite("{\"DwellTime\": 7}");
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 7);
    EXPECT_TRUE(log.warnings().isEmpty());
}

TEST_F(SettingsFileTest, aSymbolicLinkStaysAndItsTargetIsReplaced) {
    const auto target = _folder.filePath(QStringLiteral("dotfiles/vantrel.json"));
    overwrite(target, "{\"DwellTime\": 1}");
    QDir().mkpath(folder());
    const auto between = _folder.filePath(QStringLiteral("between.json"));
    ASSERT_TRUE(QFile::link(QStringLiteral("dotfiles/vantrel.json"), between));
    ASSERT_TRUE(QFile::link(between, path()));
    SettingsStore settings(path());
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 1);
    settings.setInteger(keys::DwellTime, 2);
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    EXPECT_TRUE(QFileInfo(between).isSymLink());
    EXPECT_EQ(SettingsStore(target).integerForKey(keys::DwellTime), 2);

    QFile::remove(target);
    QFile::remove(path());
    ASSERT_TRUE(QFile::link(target, path()));
    settings.setInteger(keys::DwellTime, 3);
    EXPECT_TRUE(QFileInfo(path()).isSymLink()) << "a link that led nowhere";
    EXPECT_EQ(SettingsStore(target).integerForKey(keys::DwellTime), 3);
}

// A read that cannot succeed, even for root: the text of the failure, and no write over what could not be read.
TEST_F(SettingsFileTest, whatIsNoFileIsLoggedOnceAndLeftAlone) {
    for (const bool fifo : {true, false}) {
        QDir(folder()).removeRecursively();
        QDir().mkpath(folder());
        const auto name = QFile::encodeName(path());
        ASSERT_EQ(fifo ? ::mkfifo(name.constData(), 0600) : ::mkdir(name.constData(), 0700), 0);
        const LogCapture log;
        SettingsStore settings(path());
        settings.registerDefaults({{keys::DwellTime, 250}});
        EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
        EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
        EXPECT_EQ(log.warnings(), QStringList(path() + QStringLiteral(" cannot be read: open: not a regular file")));
        settings.setInteger(keys::DwellTime, 100);
        EXPECT_EQ(settings.integerForKey(keys::DwellTime), 100);
        EXPECT_FALSE(settings.synchronize());
        EXPECT_FALSE(QFileInfo(path()).isFile());
        ASSERT_EQ(std::remove(name.constData()), 0);
        EXPECT_TRUE(settings.synchronize());
        EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 100);
    }
}

// An ordinary user's life while it lasts, so that permissions count.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (::geteuid() == 0 && ::seteuid(nobody) == 0) {
            _wasRoot = true;
        }
    }
    ~OrdinaryUser() {
        if (_wasRoot && ::seteuid(0) != 0) {
            std::abort();
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

    static constexpr uid_t nobody = 65534;

private:
    bool _wasRoot = false;
};

TEST_F(SettingsFileTest, anUnreadableFileIsNeitherMovedNorOverwritten) {
    overwrite("{\"DwellTime\": 1}");
    const auto name = QFile::encodeName(path());
    if (::geteuid() == 0) {
        for (const auto& each : {_folder.path(), folder(), path()}) {
            ASSERT_EQ(::chown(QFile::encodeName(each).constData(), OrdinaryUser::nobody, ::getegid()), 0);
        }
    }
    const OrdinaryUser user;
    ASSERT_EQ(::chmod(name.constData(), 0), 0);
    const LogCapture log;
    SettingsStore settings(path());
    settings.registerDefaults({{keys::DwellTime, 250}});
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
    EXPECT_EQ(log.warnings(), QStringList(path() + QStringLiteral(" cannot be read: open: Permission denied")));
    settings.setInteger(keys::MaxCaptureFiles, 9);
    EXPECT_EQ(settings.integerForKey(keys::MaxCaptureFiles), 9);
    EXPECT_FALSE(settings.synchronize());
    EXPECT_TRUE(namesLike(QStringLiteral("*.corrupt-*")).isEmpty());

    ASSERT_EQ(::chmod(name.constData(), 0600), 0);
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 1) << "seen at the next read";
    EXPECT_TRUE(settings.synchronize());
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 1);
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::MaxCaptureFiles), 9);
}

TEST_F(SettingsFileTest, aReadOnlyFolderKeepsChangesForLater) {
    overwrite("{\"DwellTime\": 1}");
    const auto name = QFile::encodeName(folder());
    if (::geteuid() == 0) {
        for (const auto& each : {_folder.path(), folder(), path()}) {
            ASSERT_EQ(::chown(QFile::encodeName(each).constData(), OrdinaryUser::nobody, ::getegid()), 0);
        }
    }
    const OrdinaryUser user;
    ASSERT_EQ(::chmod(name.constData(), 0500), 0);
    const LogCapture log;
    SettingsStore settings(path());
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("secret"));
    settings.removeObjectForKey(keys::DwellTime);
    EXPECT_EQ(settings.stringForKey(keys::MojoPacketsAPIKey), QStringLiteral("secret"));
    EXPECT_FALSE(settings.objectForKey(keys::DwellTime).isValid());
    EXPECT_EQ(content(), QByteArray("{\"DwellTime\": 1}"));
    ASSERT_EQ(log.warnings().size(), 2);
    EXPECT_EQ(log.warnings().front(),
              path() + QStringLiteral(" could not be written, the change is kept and will be tried again: open ") +
                  path() + QStringLiteral(".lock: Permission denied"));
    EXPECT_FALSE(log.warnings().join(u'\n').contains(QStringLiteral("secret")));

    // A corrupt file that cannot be moved: defaults apply, it stays, and that is said once.
    ASSERT_EQ(::chmod(name.constData(), 0700), 0);
    overwrite("[]");
    ASSERT_EQ(::chmod(name.constData(), 0500), 0);
    SettingsStore other(path());
    other.registerDefaults({{keys::DwellTime, 250}});
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(other.integerForKey(keys::DwellTime), 250);
    }
    EXPECT_EQ(content(), QByteArray("[]"));
    EXPECT_EQ(log.warnings().size(), 3);

    ASSERT_EQ(::chmod(name.constData(), 0700), 0);
    settings.setInteger(keys::MaxCaptureFiles, 2);
    EXPECT_EQ(namesLike(QStringLiteral("*.corrupt-*")).size(), 1);
    EXPECT_EQ(SettingsStore(path()).stringForKey(keys::MojoPacketsAPIKey), QStringLiteral("secret"))
        << "written with the next change";
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::MaxCaptureFiles), 2);
}

TEST_F(SettingsFileTest, aWriteCutShortLeavesTheOldFile) {
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 1);
    const auto before = content();
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small{4096, limit.rlim_max};
    const LogCapture log;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    settings.setString(keys::LastUsedScript, QString(10'000, u'x'));
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_EQ(log.warnings(), QStringList(path() + QStringLiteral(" could not be written, the change is kept and will "
                                                                  "be tried again: write: File too large")));
    EXPECT_EQ(content(), before);
    EXPECT_TRUE(namesLike(QStringLiteral("*.new")).isEmpty());
    EXPECT_EQ(settings.stringForKey(keys::LastUsedScript).size(), 10'000);
    EXPECT_TRUE(settings.synchronize());
    EXPECT_EQ(SettingsStore(path()).stringForKey(keys::LastUsedScript).size(), 10'000);
}

TEST_F(SettingsFileTest, aFullDiskKeepsChangesForLater) {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "no small file system can be mounted here: " << std::strerror(errno);
    }
    const auto disk = _folder.filePath(QStringLiteral("disk"));
    ASSERT_TRUE(QDir().mkdir(disk));
    if (::mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "no small file system can be mounted here: " << std::strerror(errno);
    }
    {
        SettingsStore settings(disk + QStringLiteral("/vantrel/settings.json"));
        settings.setInteger(keys::DwellTime, 1);
        const auto filler = disk + QStringLiteral("/filler");
        QFile full(filler);
        ASSERT_TRUE(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (full.write(QByteArray(4096, 'x')) == 4096) {
        }
        full.close();
        const LogCapture log;
        settings.setInteger(keys::DwellTime, 2);
        EXPECT_EQ(settings.integerForKey(keys::DwellTime), 2);
        EXPECT_EQ(SettingsStore(settings.path()).integerForKey(keys::DwellTime), 1) << "the old file still stands";
        EXPECT_FALSE(settings.synchronize());
        ASSERT_EQ(log.warnings().size(), 2);
        EXPECT_TRUE(log.warnings().front().endsWith(QStringLiteral(": write: No space left on device")));
        QFile::remove(filler);
        EXPECT_TRUE(settings.synchronize());
        EXPECT_EQ(SettingsStore(settings.path()).integerForKey(keys::DwellTime), 2);
    }
    EXPECT_EQ(::umount2(QFile::encodeName(disk).constData(), MNT_DETACH), 0);
}

} // namespace
