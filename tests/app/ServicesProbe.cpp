// Runs one service and prints what it answers, one line each, for tests that need a process of its own.
//
//   services_probe pcap      "application PATH NAME" for each, then "default PATH"
//   services_probe instance  "first", "another" or "error TEXT"; the first prints "activated TOKEN" for each request
//                            and runs until its standard input closes
#include "services/PcapApplications.h"
#include "services/SingleInstance.h"

#include <QCoreApplication>
#include <QSocketNotifier>
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

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    return arguments.value(1) == QLatin1String("pcap") ? probePcapApplications() : probeInstance(application);
}
