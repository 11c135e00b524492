// Finds the port of the capture service of this computer over DNS-SD, through Avahi's D-Bus API.
//
// The service is published under "_vantrel._tcp" in the domain "local" on the loopback interface, and only there it is
// looked for; so nothing on a network can offer itself. Main thread; one search an object.
#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <cstdint>
#include <utility>
#include <vector>

class QDBusConnection;

namespace vantrel::feed {

struct ServiceItem;

class ServiceFinder : public QObject {
    Q_OBJECT

public:
    // An empty name takes the first service that is found.
    explicit ServiceFinder(QString name);
    ~ServiceFinder() override;

    // Answers later, by exactly one of the two signals.
    void start();

Q_SIGNALS:
    void found(quint16 port, const QString& name);
    void notFound(const QString& why);

private Q_SLOTS:
    void browserSignal(const QDBusMessage& message);

private:
    void browse();
    void handle(const QDBusMessage& message);
    void resolve(const ServiceItem& item);
    void allForNow();
    void fail(const QString& why);
    void end();

    const QString _name;
    QString _browser;                 // its object path, once known
    std::vector<QDBusMessage> _early; // signals from before that
    QStringList _others;              // services of other names
    QTimer _timeLimit;
    bool _resolving = false;
    bool _ended = false;
};

} // namespace vantrel::feed
