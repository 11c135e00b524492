// Several programs at one file, and one that dies in the middle of a write.
#include "SettingsFixture.h"
#include "base/FileDescriptor.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <random>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace vantrel;

namespace {

using SettingsProcessesTest = vantrel::testing::SettingsTest;

pid_t inAnotherProcess(const std::function<void()>& work) {
    const auto child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return child;
}

void expectToEndWell(pid_t child) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

struct Pipe {
    Pipe() {
        int ends[2];
        if (::pipe(ends) == 0) {
            reading = FileDescriptor(ends[0]);
            writing = FileDescriptor(ends[1]);
        }
    }
    void tell(std::int64_t number) const { ASSERT_EQ(::write(writing.get(), &number, sizeof number), 8); }
    // 0 when the other side is gone.
    [[nodiscard]] std::int64_t hear() const {
        std::int64_t number = 0;
        return ::read(reading.get(), &number, sizeof number) == 8 ? number : 0;
    }
    FileDescriptor reading;
    FileDescriptor writing;
};

TEST_F(SettingsProcessesTest, twoProgramsThatWriteDifferentKeysLoseNothing) {
    constexpr int rounds = 200;
    std::vector<pid_t> children;
    for (const char who : {'a', 'b'}) {
        children.push_back(inAnotherProcess([this, who] {
            SettingsStore settings(path());
            for (int round = 0; round < rounds; ++round) {
                const auto key = who + QByteArray::number(round);
                settings.setInteger(QLatin1StringView(key), round);
            }
            ::_exit(settings.synchronize() ? 0 : 1);
        }));
    }
    for (const auto child : children) {
        expectToEndWell(child);
    }
    const SettingsStore settings(path());
    for (const char who : {'a', 'b'}) {
        for (int round = 0; round < rounds; ++round) {
            const auto key = who + QByteArray::number(round);
            ASSERT_EQ(settings.objectForKey(QLatin1StringView(key)), QVariant(round)) << key.constData();
        }
    }
}

TEST_F(SettingsProcessesTest, aChangeByAnotherProgramShowsAtTheNextRead) {
    Pipe ask;
    Pipe answer;
    const auto child = inAnotherProcess([&] {
        ask.writing.reset();
        SettingsStore settings(path());
        while (const auto number = ask.hear()) {
            settings.setInteger(keys::DwellTime, number);
            answer.tell(number);
        }
    });
    SettingsStore settings(path());
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 0);
    for (std::int64_t number = 1; number <= 100; ++number) {
        ask.tell(number);
        ASSERT_EQ(answer.hear(), number);
        ASSERT_EQ(settings.integerForKey(keys::DwellTime), number);
    }
    ask.writing.reset();
    expectToEndWell(child);
}

// The number and a text made from it, large enough for a write that takes several blocks.
QString textFor(std::int64_t number) { return QString::number(number).rightJustified(8, u'0').repeated(4000); }

TEST_F(SettingsProcessesTest, aKilledWriterLeavesTheOldFileOrTheNew) {
    std::minstd_rand random(20261121);
    std::uniform_int_distribution<int> microseconds(0, 8000);
    std::int64_t acknowledged = 0;
    for (int round = 0; round < 40; ++round) {
        Pipe done;
        const auto child = inAnotherProcess([this, &done, acknowledged] {
            SettingsStore settings(path());
            for (auto number = acknowledged + 1;; ++number) {
                settings.setString(keys::LastUsedScript, textFor(number));
                done.tell(number);
            }
        });
        done.writing.reset();
        acknowledged = done.hear();
        ASSERT_GT(acknowledged, 0);
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        while (const auto number = done.hear()) {
            acknowledged = number;
        }
        const auto document = QJsonDocument::fromJson(content());
        ASSERT_TRUE(document.isObject());
        const auto text = document.object().value(keys::LastUsedScript).toString();
        const auto number = text.left(8).toLongLong();
        ASSERT_EQ(text, textFor(number));
        ASSERT_TRUE(number == acknowledged || number == acknowledged + 1) << number << " after " << acknowledged;
        ASSERT_EQ(modeOf(path()), 0600U);
        acknowledged = number;
    }
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 1);
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files | QDir::Hidden).join(u' '),
              QStringLiteral("settings.json settings.json.lock"))
        << "a dead writer's leavings are gone and nothing was taken for corrupt";
}

TEST_F(SettingsProcessesTest, aLockThatIsNeverGivenBackDelaysButDoesNotFreeze) {
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 1);
    const auto name = QFile::encodeName(path() + QStringLiteral(".lock"));
    FileDescriptor holder(::open(name.constData(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    settings.setInteger(keys::DwellTime, 2);
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 2);
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 1);
    holder.reset();
    EXPECT_TRUE(settings.synchronize());
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 2);
}

} // namespace
