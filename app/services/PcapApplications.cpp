#include "services/PcapApplications.h"

#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <algorithm>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>

// Stands outside any namespace, as the macro asks for. Without it the linker drops a static library's resources.
static void registerResources() { Q_INIT_RESOURCE(services); }

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcServices, "vantrel.services")

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
struct GUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct AppListFree {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};
using TextHandle = std::unique_ptr<char, GFree>;
using AppHandle = std::unique_ptr<GAppInfo, GUnref>;
using AppList = std::unique_ptr<GList, AppListFree>;

TextHandle pcapContentType() {
    registerResources();
    QFile sample(QStringLiteral(":/services/placeholder.pcap"));
    if (!sample.open(QIODevice::ReadOnly)) {
        qCWarning(lcServices, "open(placeholder.pcap) failed: %s", qUtf8Printable(sample.errorString()));
    }
    const auto bytes = sample.readAll();
    TextHandle type(g_content_type_guess("placeholder.pcap", reinterpret_cast<const guchar*>(bytes.constData()),
                                         static_cast<gsize>(bytes.size()), nullptr));
    // A machine without the shared database of content types knows none by name.
    if (!type || g_content_type_is_unknown(type.get()) != FALSE) {
        type.reset(g_strdup("application/vnd.tcpdump.pcap"));
    }
    return type;
}

// The path of the application's .desktop file; empty when it has none.
QString pathOf(GAppInfo* application) {
    if (application == nullptr || !G_IS_DESKTOP_APP_INFO(application)) {
        return {};
    }
    return QFile::decodeName(g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(application)));
}

QString valueOf(GDesktopAppInfo* application, const char* key) {
    const TextHandle value(g_desktop_app_info_get_string(application, key));
    return QString::fromUtf8(value.get());
}

// The application's .desktop file has a path.
PcapApplication describe(GAppInfo* application) {
    auto* entry = G_DESKTOP_APP_INFO(application);
    const auto path = pathOf(application);
    const auto version = valueOf(entry, "X-AppImage-Version");
    return {.path = path,
            .name = QString::fromUtf8(g_app_info_get_display_name(application)),
            .variant = version.isEmpty() ? QFileInfo(path).completeBaseName() : version,
            .icon = valueOf(entry, G_KEY_FILE_DESKTOP_KEY_ICON)};
}

std::vector<PcapApplication> applicationsFor(const char* type) {
    std::vector<PcapApplication> applications;
    const AppList list(g_app_info_get_recommended_for_type(type));
    for (const GList* entry = list.get(); entry != nullptr; entry = entry->next) {
        auto* application = G_APP_INFO(entry->data);
        const auto path = pathOf(application);
        // GIO learns of a deleted entry with a delay, and a path that does not exist is of no use.
        if (!path.isEmpty() && QFileInfo::exists(path)) {
            applications.push_back(describe(application));
        }
    }
    return applications;
}

} // namespace

std::vector<PcapApplication> pcapApplications() { return applicationsFor(pcapContentType().get()); }

std::optional<PcapApplication> applicationAt(const QString& path) {
    const std::unique_ptr<GDesktopAppInfo, GUnref> entry(
        g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()));
    return entry ? std::optional(describe(G_APP_INFO(entry.get()))) : std::nullopt;
}

QString defaultPcapApplication() {
    const auto type = pcapContentType();
    const auto applications = applicationsFor(type.get());
    if (applications.empty()) {
        return {};
    }
    // The default may be one for a broader type, so it counts only when it is among the list.
    const AppHandle preferred(g_app_info_get_default_for_type(type.get(), FALSE));
    const auto path = pathOf(preferred.get());
    const bool listed = std::any_of(applications.begin(), applications.end(),
                                    [&](const PcapApplication& application) { return application.path == path; });
    return listed ? path : applications.front().path;
}

} // namespace vantrel
