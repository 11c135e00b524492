#include "AppFixture.h"

#include "support/EventLoop.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFile>
#include <array>
#include <pcap/pcap.h>
#include <unistd.h>

namespace vantrel::testing {

namespace {

struct Place {
    const char* variable;
    const char* folder;
};
constexpr std::array places{
    Place{"HOME", "home"},          Place{"XDG_CONFIG_HOME", "config"}, Place{"XDG_CACHE_HOME", "cache"},
    Place{"XDG_DATA_HOME", "data"}, Place{"XDG_STATE_HOME", "state"},   Place{"XDG_RUNTIME_DIR", "run"},
    Place{"TMPDIR", "tmp"},         Place{"XDG_DATA_DIRS", "datadirs"}};

QString eventName(CWEventType type) { return QStringLiteral("monitor %1").arg(static_cast<int>(type)); }

} // namespace

void RecordingClient::setDelegate(CWEventDelegate* newDelegate) {
    _events << (newDelegate != nullptr ? QStringLiteral("delegate") : QStringLiteral("no delegate"));
    delegate = newDelegate;
    _inner->setDelegate(newDelegate);
}

Expected<void> RecordingClient::startMonitoringEventWithType(CWEventType type) {
    _events << eventName(type);
    if (refusesMonitoring) {
        return failure(eventName(type), QStringLiteral("refused"));
    }
    return _inner->startMonitoringEventWithType(type);
}

ReadCapture readCapture(const QString& path) {
    ReadCapture read;
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    pcap_t* file = pcap_open_offline(QFile::encodeName(path).constData(), error.data());
    if (file == nullptr) {
        return read;
    }
    read.dataLinkType = pcap_datalink(file);
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    int status = 0;
    while ((status = pcap_next_ex(file, &header, &data)) == 1) {
        read.packets.emplace_back(reinterpret_cast<const char*>(data), header->caplen);
    }
    read.isWhole = status == PCAP_ERROR_BREAK; // the end of the file
    pcap_close(file);
    return read;
}

AppFixture::AppFixture() {
    for (const auto& [variable, folder] : places) {
        _environmentBefore.emplace_back(variable, qEnvironmentVariableIsSet(variable) ? std::optional(qgetenv(variable))
                                                                                      : std::nullopt);
        const QString place = path(QString::fromLatin1(folder));
        QDir().mkpath(place);
        QFile::setPermissions(place, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, QFile::encodeName(place));
    }
    QDir().mkpath(path(QStringLiteral("home/Desktop")));
    // Nothing is shown on the desktop of whoever runs the tests.
    _environmentBefore.emplace_back("DBUS_SESSION_BUS_ADDRESS", qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")
                                                                    ? std::optional(qgetenv("DBUS_SESSION_BUS_ADDRESS"))
                                                                    : std::nullopt);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
}

AppFixture::~AppFixture() {
    app.reset();
    for (const auto& [variable, before] : _environmentBefore) {
        before ? qputenv(variable.constData(), *before) : qunsetenv(variable.constData());
    }
}

void AppFixture::storeSettings(const QByteArray& json) const {
    QDir().mkpath(path(QStringLiteral("config/vantrel")));
    QFile file(path(QStringLiteral("config/vantrel/settings.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(json), json.size());
}

QByteArray AppFixture::storedSettings() const {
    QFile file(path(QStringLiteral("config/vantrel/settings.json")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void AppFixture::make(const QString& version) {
    if (!wifi) {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        wifi = makeSimulatedClient(options);
    }
    auto recording = std::make_unique<RecordingClient>(std::move(wifi), events);
    client = recording.get();
    app = std::make_unique<AppDelegate>(AppDelegate::Options{.wifi = std::move(recording),
                                                             .version = version,
                                                             .sendTrackingReport = [this] { ++trackingReports; },
                                                             .startCaptureThread =
                                                                 [this](std::function<void()> work) {
                                                                     ++captureThreads;
                                                                     return startOrdinaryThread(std::move(work));
                                                                 }});
}

void AppFixture::start() {
    app->applicationWillFinishLaunching();
    app->applicationDidFinishLaunching();
}

QAction* AppFixture::command(const QString& title) {
    for (QAction* action : app->statusMenu()->menu()->actions()) {
        if (QString(action->text()).remove(u'&') == title) {
            return action;
        }
    }
    return nullptr;
}

bool AppFixture::startCapture() {
    command(QStringLiteral("Capture on Current Channel"))->trigger();
    return runUntil([this] { return app->session().isCapturing(); });
}

bool AppFixture::waitForFrames(std::uint64_t atLeast) {
    return runUntil([this, atLeast] { return app->session().progress().frames >= atLeast; });
}

bool AppFixture::waitIdle() {
    return runUntil([this] { return app->session().state() == CaptureSession::State::Idle; });
}

QStringList AppFixture::filesIn(const QString& name) const {
    const QDir folder(path(name));
    QStringList files;
    for (const QString& file : folder.entryList(QDir::Files)) {
        files << folder.filePath(file);
    }
    return files;
}

QStringList AppFixture::temporaryFiles() const { return filesIn(QStringLiteral("tmp/vantrel-%1").arg(::geteuid())); }

QStringList AppFixture::savedFiles() const { return filesIn(QStringLiteral("home/Desktop")); }

void AppFixture::answerAlert(const QString& button, bool ticksBox) {
    QTimer::singleShot(5, app.get(), [this, button, ticksBox] {
        auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (alert == nullptr) {
            answerAlert(button, ticksBox); // not there yet
            return;
        }
        alerts << QStringLiteral("%1 | %2").arg(alert->text(), alert->informativeText());
        if (ticksBox) {
            alert->checkBox()->click();
        }
        for (QAbstractButton* candidate : alert->buttons()) {
            if (QString(candidate->text()).remove(u'&') == button) {
                candidate->click();
                return;
            }
        }
        ADD_FAILURE() << "the alert has no button " << qPrintable(button);
        alert->reject();
    });
}

} // namespace vantrel::testing
