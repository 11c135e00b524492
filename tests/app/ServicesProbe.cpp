// Runs one service and prints what it answers, one line each, for tests that need a process of its own.
//
//   services_probe pcap      "application PATH NAME" for each, then "default PATH"
//   services_probe describe PATH   "application PATH | NAME | VARIANT | ICON", or "none"
//   services_probe instance  "first", "another" or "error TEXT"; the first prints "activated TOKEN" for each request
//                            and runs until its standard input closes
//   services_probe sleep     "about to sleep" and "woke up"; lets the machine sleep at the line "ready", and runs until
//                            its standard input closes
#include "services/PcapApplications.h"
#include "services/SingleInstance.h"
#include "services/SleepWatch.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

void say(const QString& line) {
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
}

int probePcapApplications() {
    for (const auto& application : vantrel::pcapApplications()) {
        say(QStringLiteral("application %1 %2").arg(application.path, application.name));
    }
    say(QStringLiteral("default %1").arg(vantrel::defaultPcapApplication()));
    return 0;
}

int probeDescription(const QString& path) {
    const auto found = vantrel::applicationAt(path);
    say(found ? QStringLiteral("application ") +
                    QStringList{found->path, found->name, found->variant, found->icon}.join(QStringLiteral(" | "))
              : QStringLiteral("none"));
    return 0;
}

int probeInstance(const QCoreApplication& application) {
    const auto instance = vantrel::SingleInstance::claim(vantrel::SingleInstance::activationTokenOfThisStart());
    if (!instance) {
        say(QStringLiteral("error ") + instance.error().text());
        return 1;
    }
    if (!*instance) {
        say(QStringLiteral("another"));
        return 0;
    }
    QObject::connect(instance->get(), &vantrel::SingleInstance::activationRequested, &application,
                     [](const QString& token) { say(QStringLiteral("activated ") + token); });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [] { QCoreApplication::quit(); });
    say(QStringLiteral("first"));
    return QCoreApplication::exec();
}

int probeSleep(const QCoreApplication& application) {
    vantrel::SleepWatch watch;
    QObject::connect(&watch, &vantrel::SleepWatch::aboutToSleep, &application,
                     [] { say(QStringLiteral("about to sleep")); });
    QObject::connect(&watch, &vantrel::SleepWatch::wokeUp, &application, [] { say(QStringLiteral("woke up")); });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&watch] {
        std::array<char, 16> line{};
        if (::read(STDIN_FILENO, line.data(), line.size()) > 0) {
            watch.readyToSleep();
        } else {
            QCoreApplication::quit();
        }
    });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    const auto service = arguments.value(1);
    if (service == QLatin1String("pcap")) {
        return probePcapApplications();
    }
    if (service == QLatin1String("describe")) {
        return probeDescription(arguments.value(2));
    }
    return service == QLatin1String("sleep") ? probeSleep(application) : probeInstance(application);
}
