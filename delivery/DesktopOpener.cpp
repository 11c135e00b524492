#include "delivery/FileOpener.h"

#include "AsyncCall.h"
#include "base/Translated.h"

#include <QAbstractEventDispatcher>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <cerrno>
#include <cstring>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcOpener, "vantrel.opener")

constexpr std::chrono::milliseconds fileManagerLimit{10000}; // one that has to be started first takes a few seconds

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
struct GUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using TextHandle = std::unique_ptr<char, GFree>;
using AppHandle = std::unique_ptr<GAppInfo, GUnref>;
using ContextHandle = std::unique_ptr<GAppLaunchContext, GUnref>;
using ErrorHandle = std::unique_ptr<GError, GErrorFree>;

// What is to be opened, and what to say when it cannot be.
struct Opening {
    QString messageText;
    QString subject; // the path or address
    QByteArray uri;
    QString token;
};

// Why this path cannot be opened; nothing when it can.
std::optional<QString> obstacle(const QString& path, const char* kind, bool mustBeFolder = false) {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0) {
        return mustBeFolder && !S_ISDIR(status.st_mode)
                   ? std::optional(translated(QT_TRANSLATE_NOOP("vantrel", "\"%1\" is not a folder.")).arg(path))
                   : std::nullopt;
    }
    const int reason = errno;
    if (reason == ENOENT || reason == ENOTDIR) {
        return translated(QT_TRANSLATE_NOOP("vantrel", "The %1 \"%2\" no longer exists.")).arg(translated(kind), path);
    }
    return translated(QT_TRANSLATE_NOOP("vantrel", "The %1 \"%2\" cannot be reached: %3."))
        .arg(translated(kind), path, QString::fromLocal8Bit(std::strerror(reason)));
}

QByteArray uriOf(const QString& path) {
    const QByteArray absolute = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    const TextHandle uri(g_filename_to_uri(absolute.constData(), nullptr, nullptr)); // fails for relative paths only
    return {uri.get()};
}

// The asynchronous way of GIO needs GLib's main loop, and Qt's is another one if the user wants that (QT_NO_GLIB).
bool runsGlibLoop() {
    const auto* const dispatcher = QAbstractEventDispatcher::instance();
    return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

class DesktopOpener final : public QObject, public FileOpener {
public:
    explicit DesktopOpener(OpenFailed failed) : _failed(std::move(failed)) {}

    void setActivationToken(const QString& token) override { _token = token; }
    void openUrl(const QString& url) override;
    void openFolder(const QString& path) override;
    void revealFile(const QString& path) override;
    void openFile(const QString& path, const QString& applicationPath) override;

    void launchEnded(const Opening& opening, GAppInfo* application, bool succeeded, GError* raw);

private:
    void askFileManager(const char* method, const Opening& opening, const Opening& folder);
    void openInFolderViewer(const Opening& folder);
    void launch(GAppInfo* application, const Opening& opening);
    void fail(const QString& messageText, const QString& informativeText);

    const OpenFailed _failed;
    QString _token;
};

// What a launch that goes on needs at its end.
struct Launch {
    QPointer<DesktopOpener> opener; // may be gone by then
    Opening opening;
};

void launched(GObject* source, GAsyncResult* result, gpointer data) {
    const std::unique_ptr<Launch> launch(static_cast<Launch*>(data));
    GError* error = nullptr;
    const bool succeeded = g_app_info_launch_uris_finish(G_APP_INFO(source), result, &error) != FALSE;
    if (launch->opener) {
        launch->opener->launchEnded(launch->opening, G_APP_INFO(source), succeeded, error);
    } else {
        g_clear_error(&error);
    }
}

void DesktopOpener::openUrl(const QString& url) {
    const Opening opening{translated(QT_TRANSLATE_NOOP("vantrel", "Failed to open web page.")), url, url.toUtf8(),
                          std::exchange(_token, {})};
    const TextHandle scheme(g_uri_parse_scheme(opening.uri.constData()));
    const AppHandle browser(scheme ? g_app_info_get_default_for_uri_scheme(scheme.get()) : nullptr);
    if (!browser) {
        fail(opening.messageText,
             translated(QT_TRANSLATE_NOOP("vantrel", "No application is installed that opens the address \"%1\"."))
                 .arg(url));
        return;
    }
    launch(browser.get(), opening);
}

void DesktopOpener::openFolder(const QString& path) {
    const Opening opening{translated(QT_TRANSLATE_NOOP("vantrel", "Failed to open folder.")), path, uriOf(path),
                          std::exchange(_token, {})};
    if (const auto reason = obstacle(path, QT_TRANSLATE_NOOP("vantrel", "folder"), true)) {
        fail(opening.messageText, *reason);
        return;
    }
    askFileManager("ShowFolders", opening, opening);
}

void DesktopOpener::revealFile(const QString& path) {
    const Opening opening{translated(QT_TRANSLATE_NOOP("vantrel", "Failed to show capture file.")), path, uriOf(path),
                          std::exchange(_token, {})};
    if (const auto reason = obstacle(path, QT_TRANSLATE_NOOP("vantrel", "file"))) {
        fail(opening.messageText, *reason);
        return;
    }
    Opening folder = opening;
    folder.uri = uriOf(QFileInfo(path).absolutePath());
    askFileManager("ShowItems", opening, folder);
}

void DesktopOpener::openFile(const QString& path, const QString& applicationPath) {
    const Opening opening{translated(QT_TRANSLATE_NOOP("vantrel", "Failed to open capture file.")), path, uriOf(path),
                          std::exchange(_token, {})};
    auto reason = obstacle(path, QT_TRANSLATE_NOOP("vantrel", "file"));
    if (!reason) {
        reason = obstacle(applicationPath, QT_TRANSLATE_NOOP("vantrel", "application"));
    }
    if (reason) {
        fail(opening.messageText, *reason);
        return;
    }
    const QByteArray entry = QFile::encodeName(applicationPath);
    auto* const description = g_desktop_app_info_new_from_filename(entry.constData());
    if (description == nullptr) { // GLib does not say why
        fail(opening.messageText,
             translated(QT_TRANSLATE_NOOP("vantrel",
                                          "\"%1\" cannot be opened with \"%2\", which describes no application "
                                          "whose program is installed."))
                 .arg(path, applicationPath));
        return;
    }
    const AppHandle application(G_APP_INFO(description));
    launch(application.get(), opening);
}

// freedesktop.org, File Manager D-Bus Interface: ShowItems and ShowFolders, each of (as uris, s startup_id).
void DesktopOpener::askFileManager(const char* method, const Opening& opening, const Opening& folder) {
    auto request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QString::fromLatin1(method));
    request << QStringList(QString::fromLatin1(opening.uri)) << opening.token;
    const auto answered = [this, folder, method](const QDBusPendingCall& call) {
        const QDBusPendingReply<> reply = call;
        if (!reply.isError()) {
            return;
        }
        if (reply.error().type() != QDBusError::ServiceUnknown) { // usual: not every file manager offers it
            qCWarning(lcOpener, "%s failed: %s: %s", method, qUtf8Printable(reply.error().name()),
                      qUtf8Printable(reply.error().message()));
        }
        openInFolderViewer(folder);
    };
    callAsync(QDBusConnection::sessionBus(), request, fileManagerLimit, this, answered);
}

void DesktopOpener::openInFolderViewer(const Opening& folder) {
    const AppHandle viewer(g_app_info_get_default_for_type("inode/directory", FALSE));
    if (!viewer) {
        fail(folder.messageText,
             translated(QT_TRANSLATE_NOOP("vantrel", "No application is installed that shows \"%1\"."))
                 .arg(folder.subject));
        return;
    }
    launch(viewer.get(), folder);
}

// GLib starts a program from this thread, closes all descriptors but the three standard ones in it, and quotes the URI
// for the command line without changing it.
void DesktopOpener::launch(GAppInfo* application, const Opening& opening) {
    const ContextHandle context(g_app_launch_context_new());
    if (!opening.token.isEmpty()) {
        const QByteArray token = opening.token.toUtf8();
        g_app_launch_context_setenv(context.get(), "XDG_ACTIVATION_TOKEN", token.constData());
        g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", token.constData()); // its name on X11
    }
    QByteArray uri = opening.uri;
    GList uris{uri.data(), nullptr, nullptr}; // GLib takes a copy
    if (runsGlibLoop()) {
        g_app_info_launch_uris_async(application, &uris, context.get(), nullptr, launched, new Launch{this, opening});
        return;
    }
    GError* error = nullptr;
    const bool succeeded = g_app_info_launch_uris(application, &uris, context.get(), &error) != FALSE;
    launchEnded(opening, application, succeeded, error);
}

// Takes the error over.
void DesktopOpener::launchEnded(const Opening& opening, GAppInfo* application, bool succeeded, GError* raw) {
    const ErrorHandle error(raw);
    if (!succeeded) {
        const QString why = error ? QString::fromUtf8(error->message) : QString();
        qCWarning(lcOpener, "g_app_info_launch_uris failed: %s", qUtf8Printable(why)); // no address: it may be secret
        fail(opening.messageText,
             translated(QT_TRANSLATE_NOOP("vantrel", "\"%1\" could not be opened with %2: %3"))
                 .arg(opening.subject, QString::fromUtf8(g_app_info_get_display_name(application)), why));
    }
}

void DesktopOpener::fail(const QString& messageText, const QString& informativeText) {
    QMetaObject::invokeMethod(
        this, [failed = _failed, messageText, informativeText] { failed(messageText, informativeText); },
        Qt::QueuedConnection);
}

} // namespace

std::unique_ptr<FileOpener> makeDesktopOpener(OpenFailed failed) {
    return std::make_unique<DesktopOpener>(std::move(failed));
}

} // namespace vantrel
