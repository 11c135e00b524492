#include "Environment.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(Environment, VariablesThatNameCodeAreTold) {
    for (const char* entry :
         {"LD_PRELOAD=/tmp/x.so", "LD_LIBRARY_PATH=/tmp", "LD_AUDIT=x", "QT_PLUGIN_PATH=/tmp",
          "QT_QPA_PLATFORM_PLUGIN_PATH=/tmp", "GIO_EXTRA_MODULES=/tmp", "GIO_MODULE_DIR=/tmp", "GTK_PATH=/tmp",
          "GTK_MODULES=/tmp/x.so", "GDK_PIXBUF_MODULE_FILE=/tmp/x", "LIBGL_DRIVERS_PATH=/tmp",
          "__EGL_VENDOR_LIBRARY_FILENAMES=/tmp/x", "OPENSSL_CONF=/tmp/x", "GCONV_PATH=/tmp", "GTK_PATH", "GTK_PATH="}) {
        EXPECT_TRUE(loadsForeignCode(entry)) << entry;
    }
}

TEST(Environment, WhatADesktopNeedsIsLeftAlone) {
    for (const char* entry : {"HOME=/home/u",
                              "PATH=/usr/bin",
                              "LANG=C.UTF-8",
                              "DISPLAY=:0",
                              "WAYLAND_DISPLAY=wayland-0",
                              "XAUTHORITY=/x",
                              "DBUS_SESSION_BUS_ADDRESS=unix:path=/x",
                              "XDG_RUNTIME_DIR=/run/user/1",
                              "XDG_CURRENT_DESKTOP=XFCE",
                              "QT_QPA_PLATFORM=wayland",
                              "QT_QPA_PLATFORMTHEME=gtk3",
                              "QT_SCALE_FACTOR=2",
                              "GTK_THEME=Adwaita",
                              "GTK_IM_MODULE=ibus",
                              "GIO_LAUNCHED_DESKTOP_FILE=/x",
                              "VANTREL_RADIO=simulated",
                              "XDG_ACTIVATION_TOKEN=1",
                              "OLD_LD_PRELOAD=x",
                              "https_proxy=http://x",
                              "=odd",
                              ""}) {
        EXPECT_FALSE(loadsForeignCode(entry)) << entry;
    }
}

} // namespace
} // namespace vantrel
