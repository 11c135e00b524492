#include "Environment.h"

#include <algorithm>
#include <array>

namespace vantrel {

namespace {

// The C library drops its own on the way to the launcher, which counts as a secure execution; they are named again so
// that this holds for a launcher without its capability too.
constexpr std::array<std::string_view, 3> prefixes{
    "LD_",                    // the dynamic linker: libraries to load, and where to look for them
    "QT_QPA_PLATFORM_PLUGIN", // ..._PATH: Qt's platform plug-ins
    "__EGL_",                 // libglvnd: drivers by path, and folders of descriptions that name drivers
};

constexpr std::array<std::string_view, 40> names{
    // The C library: modules for character sets, locales, and its resolver's and allocator's traces.
    "GCONV_PATH",
    "GETCONF_DIR",
    "GLIBC_TUNABLES",
    "HOSTALIASES",
    "LOCPATH",
    "MALLOC_TRACE",
    "NLSPATH",
    "RESOLV_HOST_CONF",
    // Qt: every kind of plug-in, and plug-ins that no configuration asks for.
    "QT_PLUGIN_PATH",
    "QT_QPA_GENERIC_PLUGINS",
    "QML_IMPORT_PATH",
    "QML2_IMPORT_PATH",
    // GLib: GIO's modules, loaded with the first question for an application.
    "GIO_EXTRA_MODULES",
    "GIO_MODULE_DIR",
    "GIO_USE_VFS",
    "GSETTINGS_BACKEND",
    // GTK, which Qt loads for the look of some desktops: modules, engines, input methods, picture loaders.
    "GTK_MODULES",
    "GTK3_MODULES",
    "GTK_PATH",
    "GTK_EXE_PREFIX",
    "GTK_DATA_PREFIX",
    "GTK_IM_MODULE_FILE",
    "GDK_PIXBUF_MODULE_FILE",
    "GDK_PIXBUF_MODULEDIR",
    // Graphics drivers: Mesa, libglvnd, Vulkan, video.
    "LIBGL_DRIVERS_PATH",
    "LIBGL_DRIVERS_DIR",
    "MESA_LOADER_DRIVER_OVERRIDE",
    "GBM_BACKEND",
    "GBM_BACKENDS_PATH",
    "__GLX_VENDOR_LIBRARY_NAME",
    "VK_ICD_FILENAMES",
    "VK_DRIVER_FILES",
    "VK_ADD_DRIVER_FILES",
    "VK_LAYER_PATH",
    "VK_ADD_LAYER_PATH",
    "LIBVA_DRIVERS_PATH",
    // OpenSSL, under the uploads: its configuration names engines and providers to load.
    "OPENSSL_CONF",
    "OPENSSL_CONF_INCLUDE",
    "OPENSSL_ENGINES",
    "OPENSSL_MODULES",
};

} // namespace

bool loadsForeignCode(std::string_view entry) {
    const std::string_view name = entry.substr(0, entry.find('='));
    return std::ranges::any_of(prefixes, [name](std::string_view prefix) { return name.starts_with(prefix); }) ||
           std::ranges::find(names, name) != names.end();
}

} // namespace vantrel
