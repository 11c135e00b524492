// Asks NetworkManager as vantrel-radio does, as its arguments say, and prints the answer.
//
//   manager_probe managed NAME      "true", "false" or the error
//   manager_probe set NAME 0|1      "done" or the error
#include "NetworkManager.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const vantrel::NetworkManager manager;
    const QString name = arguments.value(2);
    QString told;
    if (arguments.value(1) == QLatin1StringView("set")) {
        const auto done = manager.setManaged(name, arguments.value(3) == QLatin1StringView("1"));
        told = done ? QStringLiteral("done") : done.error().text();
    } else {
        const auto managed = manager.isManaged(name);
        told = managed ? QVariant(*managed).toString() : managed.error().text();
    }
    return std::puts(qUtf8Printable(told)) >= 0 ? 0 : 1;
}
