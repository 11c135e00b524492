#include "feed/ServiceFinder.h"

#include "feed/SafeText.h"
#include "feed/ServiceAnswers.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>
#include <chrono>
#include <net/if.h>

namespace vantrel::feed {

namespace {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcFinder, "vantrel.feed.finder")

// Avahi's D-Bus API, version 0.8 (its interface descriptions in dbus-1/interfaces).
constexpr QLatin1StringView avahi = "org.freedesktop.Avahi"_L1;
constexpr QLatin1StringView serverInterface = "org.freedesktop.Avahi.Server"_L1;
constexpr QLatin1StringView browserInterface = "org.freedesktop.Avahi.ServiceBrowser"_L1;
constexpr int protocolIpv4 = 0;
constexpr unsigned noFlags = 0;

constexpr QLatin1StringView serviceType = "_vantrel._tcp"_L1;
constexpr QLatin1StringView serviceDomain = "local"_L1;
constexpr std::chrono::seconds longestSearch{15}; // Avahi says within a second or two that there is no more

QString shown(const QString& name) { return QString::fromStdString(shownText(name.toStdString(), Charset::Utf8)); }

QDBusMessage serverCall(QLatin1StringView method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(avahi, "/"_L1, serverInterface, method);
    call.setArguments(arguments);
    return call;
}

} // namespace

ServiceFinder::ServiceFinder(QString name) : _name(std::move(name)) {
    _timeLimit.setSingleShot(true);
    connect(&_timeLimit, &QTimer::timeout, this,
            [this] { fail(QStringLiteral("the Avahi daemon does not answer; give the port with --port")); });
}

ServiceFinder::~ServiceFinder() { end(); }

void ServiceFinder::start() {
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        const QString why = bus.lastError().message();
        QMetaObject::invokeMethod(
            this,
            [this, why] {
                fail(QStringLiteral("cannot look for the service, as there is no system bus (%1); give the port with "
                                    "--port")
                         .arg(why));
            },
            Qt::QueuedConnection);
        return;
    }
    // Of every browser, as the signals of ours may come before its path is known.
    for (const QLatin1StringView signal : {"ItemNew"_L1, "AllForNow"_L1, "Failure"_L1}) {
        if (!bus.connect(avahi, {}, browserInterface, signal, this, SLOT(browserSignal(QDBusMessage)))) {
            qCWarning(lcFinder, "connecting to %s failed: %s", signal.data(),
                      qUtf8Printable(bus.lastError().message()));
        }
    }
    _timeLimit.start(longestSearch);
    browse();
}

void ServiceFinder::browse() {
    const int loopback = static_cast<int>(::if_nametoindex("lo"));
    const QDBusMessage call = serverCall(
        "ServiceBrowserNew"_L1, {loopback, protocolIpv4, QString(serviceType), QString(serviceDomain), noFlags});
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            fail(QStringLiteral("cannot look for the service, as there is no Avahi daemon (%1); start it, or give the "
                                "port with --port")
                     .arg(shown(reply.error().message())));
            return;
        }
        _browser = reply.value().path();
        for (const QDBusMessage& message : std::exchange(_early, {})) {
            handle(message);
        }
    });
}

void ServiceFinder::browserSignal(const QDBusMessage& message) {
    constexpr std::size_t mostEarly = 1000;
    if (_browser.isEmpty()) {
        if (_early.size() < mostEarly) {
            _early.push_back(message);
        }
        return;
    }
    handle(message);
}

void ServiceFinder::handle(const QDBusMessage& message) {
    if (_ended || message.path() != _browser) {
        return;
    }
    if (message.member() == "ItemNew"_L1) {
        const auto item = serviceItemOf(message.arguments());
        if (!item) {
            qCWarning(lcFinder, "ItemNew of the signature %s was left out", qUtf8Printable(message.signature()));
        } else if (!_name.isEmpty() && item->name != _name) {
            _others.append(item->name);
        } else if (!std::exchange(_resolving, true)) {
            resolve(*item);
        }
    } else if (message.member() == "AllForNow"_L1) {
        allForNow();
    } else {
        fail(QStringLiteral("Avahi cannot look for the service: %1")
                 .arg(shown(message.arguments().value(0).toString())));
    }
}

void ServiceFinder::resolve(const ServiceItem& item) {
    const QDBusMessage call = serverCall(
        "ResolveService"_L1, {item.interface, item.protocol, item.name, item.type, item.domain, protocolIpv4, noFlags});
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, name = item.name] {
        watcher->deleteLater();
        const auto port = servicePortOf(watcher->reply().arguments());
        if (watcher->isError() || !port) {
            fail(QStringLiteral("the service \"%1\" cannot be resolved: %2")
                     .arg(shown(name),
                          watcher->isError() ? shown(watcher->error().message()) : QStringLiteral("it has no port")));
            return;
        }
        if (!_ended) {
            end();
            Q_EMIT found(*port, name);
        }
    });
}

void ServiceFinder::allForNow() {
    if (_resolving) {
        return;
    }
    if (_others.isEmpty()) {
        fail(QStringLiteral("no capture service is published on this computer"));
        return;
    }
    QStringList names;
    for (const QString& other : _others) {
        names.append('"'_L1 + shown(other) + '"'_L1);
    }
    fail(QStringLiteral("no capture service of the name \"%1\" is published on this computer, only %2")
             .arg(shown(_name), names.join(", "_L1)));
}

void ServiceFinder::fail(const QString& why) {
    if (!_ended) {
        end();
        Q_EMIT notFound(why);
    }
}

void ServiceFinder::end() {
    _timeLimit.stop();
    if (!std::exchange(_ended, true) && !_browser.isEmpty()) {
        QDBusConnection::systemBus().send(
            QDBusMessage::createMethodCall(avahi, _browser, browserInterface, QStringLiteral("Free")));
    }
}

} // namespace vantrel::feed
