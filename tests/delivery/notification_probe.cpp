// A small program on the notifications and the opener, for the tests with a real bus and a real desktop. It obeys the
// lines on its standard input, of words separated by tabs, and prints what happens, one such line each.
#include "delivery/DesktopNotifications.h"
#include "delivery/FileOpener.h"
#include "delivery/NotificationActivation.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <cstdio>
#include <unistd.h>

namespace {

using namespace vantrel;

void tell(const QStringList& words) {
    std::puts(words.join(QLatin1Char('\t')).toUtf8().constData());
    std::fflush(stdout);
}

// Prints what was clicked, and passes it on.
class TellingDelegate : public UserNotificationCenterDelegate {
public:
    explicit TellingDelegate(UserNotificationCenterDelegate& next) : _next(next) {}

    [[nodiscard]] bool shouldPresentNotification(const UserNotification& notification) override {
        return _next.shouldPresentNotification(notification);
    }
    void didActivateNotification(const UserNotification& notification, ActivationType type) override {
        tell({QStringLiteral("activated"), QString::number(static_cast<int>(type)), notification.subtitle});
        _next.didActivateNotification(notification, type);
    }

private:
    UserNotificationCenterDelegate& _next;
};

class Probe {
public:
    Probe() {
        _settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("https://shark.example/"));
        _center.setDelegate(&_delegate);
        QObject::connect(&_orders, &QSocketNotifier::activated, &_orders, [this] { readOrders(); });
    }

private:
    void readOrders() {
        char buffer[4096];
        const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (length <= 0) {
            QCoreApplication::quit();
            return;
        }
        _read += QByteArray(buffer, static_cast<qsizetype>(length));
        for (qsizetype end = _read.indexOf('\n'); end >= 0; end = _read.indexOf('\n')) {
            obey(QString::fromUtf8(_read.left(end)).split(QLatin1Char('\t')));
            _read.remove(0, end + 1);
        }
    }

    void obey(const QStringList& words) {
        const QString& order = words.constFirst();
        if (order == QLatin1StringView("deliver")) {
            deliver(words);
        } else if (order == QLatin1StringView("token")) {
            _opener->setActivationToken(words.at(1));
        } else if (order == QLatin1StringView("url")) {
            _opener->openUrl(words.at(1));
        } else if (order == QLatin1StringView("folder")) {
            _opener->openFolder(words.at(1));
        } else if (order == QLatin1StringView("reveal")) {
            _opener->revealFile(words.at(1));
        } else if (order == QLatin1StringView("file")) {
            _opener->openFile(words.at(1), words.at(2));
        } else if (order == QLatin1StringView("echo")) {
            tell(words);
        }
    }

    // deliver, subtitle, informative text, then key and value in turn.
    void deliver(const QStringList& words) {
        UserNotification notification;
        notification.title = QStringLiteral("Capture completed");
        notification.subtitle = words.at(1);
        notification.informativeText = words.at(2);
        notification.otherButtonTitle = QStringLiteral("Dismiss");
        for (qsizetype at = 3; at + 1 < words.size(); at += 2) {
            notification.userInfo.insert(words.at(at), words.at(at + 1));
        }
        _center.deliverNotification(notification);
    }

    const QTemporaryDir _folder;
    SettingsStore _settings{_folder.filePath(QStringLiteral("settings.json"))};
    const std::unique_ptr<FileOpener> _opener =
        makeDesktopOpener([](const QString& messageText, const QString& informativeText) {
            tell({QStringLiteral("failed"), messageText, informativeText});
        });
    NotificationActivation _activation{_settings, *_opener};
    TellingDelegate _delegate{_activation};
    DesktopNotifications _center{QDBusConnection::sessionBus(), [](const UserNotification& notification) {
                                     tell({QStringLiteral("undelivered"), notification.subtitle});
                                 }};
    QSocketNotifier _orders{STDIN_FILENO, QSocketNotifier::Read};
    QByteArray _read;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const Probe probe;
    tell({QStringLiteral("ready")});
    return QCoreApplication::exec();
}
