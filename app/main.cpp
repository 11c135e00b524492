// The tray application.
#include "app/AppDelegate.h"
#include "app/Translations.h"
#include "backend/WiFiBackend.h"
#include "base/Capabilities.h"
#include "base/TerminationSignals.h"
#include "privileges/CapableThreads.h"
#include "services/ProgramOptions.h"
#include "services/SingleInstance.h"
#include "ui/ApplicationIcon.h"

#include <QApplication>
#include <QLoggingCategory>
#include <cstdio>
#include <functional>
#include <span>

namespace {

using namespace vantrel;

Q_LOGGING_CATEGORY(lcApp, "vantrel.app")

int refuseToStart(const Error& error) {
    qCCritical(lcApp, "%s", qUtf8Printable(error.text()));
    return 1;
}

// Until the user or a signal ends it. The adapter is opened once no other instance of this user can have it.
int runInTray(QApplication& application, const WiFiBackend& backend, CapableThreads& capableThreads,
              const QString& activationToken) {
    const auto instance = SingleInstance::claim(activationToken);
    if (!instance) {
        qCWarning(lcApp, "%s", qUtf8Printable(instance.error().text()));
        return 1;
    }
    if (!*instance) {
        return 0; // another instance runs and has been brought forward
    }

    AppDelegate delegate({.wifi = makeWiFiClient(backend),
                          .version = QApplication::applicationVersion(),
                          .sendTrackingReport = {},
                          .startCaptureThread = [&capableThreads](std::function<void()> work) {
                              return capableThreads.start(std::move(work));
                          }});
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

} // namespace

int main(int argc, char** argv) {
    // Before any thread exists, so that it holds for all of them: no child of ours begins with a capability.
    if (const auto kept = keepCapabilitiesFromPrograms(); !kept) {
        return refuseToStart(kept.error());
    }
    if (const auto text = printedFor(std::span(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0))) {
        return std::fputs(qUtf8Printable(*text), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
    }
    // Still before any thread: it may move the process into a network namespace of its own.
    const auto backend = chooseWiFiBackend();
    if (!backend) {
        return refuseToStart(backend.error());
    }
    const auto capableThreads = CapableThreads::keep(capabilitiesOfCaptures(*backend));
    if (!capableThreads) {
        return refuseToStart(capableThreads.error());
    }
    const QString activationToken = SingleInstance::activationTokenOfThisStart();

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setDesktopFileName(QStringLiteral("vantrel"));
    QApplication::setApplicationVersion(QStringLiteral(VANTREL_VERSION));
    installTranslations(QLocale::system());
    QApplication::setWindowIcon(ui::applicationIcon());
    QApplication::setQuitOnLastWindowClosed(false); // it lives in the tray

    return runInTray(application, *backend, **capableThreads, activationToken);
}
