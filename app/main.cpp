// The tray application.
#include "app/AppDelegate.h"
#include "app/Translations.h"
#include "backend/WiFiBackend.h"
#include "base/TerminationSignals.h"
#include "services/SingleInstance.h"
#include "ui/ApplicationIcon.h"

#include <QApplication>
#include <QLoggingCategory>

namespace {
Q_LOGGING_CATEGORY(lcApp, "vantrel.app")
}

int main(int argc, char** argv) {
    using namespace vantrel;

    // Before any thread exists: it may move the process into a network namespace of its own.
    const auto backend = chooseWiFiBackend();
    if (!backend) {
        qCCritical(lcApp, "%s", qUtf8Printable(backend.error().text()));
        return 1;
    }
    const QString activationToken = SingleInstance::activationTokenOfThisStart();

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setDesktopFileName(QStringLiteral("vantrel"));
    QApplication::setApplicationVersion(QStringLiteral(VANTREL_VERSION));
    installTranslations(QLocale::system());
    QApplication::setWindowIcon(ui::applicationIcon());
    QApplication::setQuitOnLastWindowClosed(false); // it lives in the tray

    const auto instance = SingleInstance::claim(activationToken);
    if (!instance) {
        qCWarning(lcApp, "%s", qUtf8Printable(instance.error().text()));
        return 1;
    }
    if (!*instance) {
        return 0; // another instance runs and has been brought forward
    }

    AppDelegate delegate(
        {.wifi = makeWiFiClient(*backend), .version = QApplication::applicationVersion(), .sendTrackingReport = {}});
    const TerminationSignals terminationSignals;
    QObject::connect(&delegate, &AppDelegate::quitRequested, &application, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, &application,
                     &QCoreApplication::quit);
    QObject::connect(instance->get(), &SingleInstance::activationRequested, &delegate,
                     [&delegate] { static_cast<void>(delegate.applicationShouldHandleReopen(false)); });

    // In the event loop: until it runs, nothing can end a program that shows a question.
    QMetaObject::invokeMethod(
        &delegate,
        [&delegate] {
            delegate.applicationWillFinishLaunching();
            delegate.applicationDidFinishLaunching();
        },
        Qt::QueuedConnection);
    const int status = QApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}
