// main() of a test program with widgets: they are drawn, but on no screen.
#include <QApplication>
#include <gmock/gmock.h>

// Qt's threads (of D-Bus, and of pictures) and GLib are not built for the thread sanitizer, which so misses how they
// order their own work. Our code and the data that it shares stay watched.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6DBus.so.6\n"
           "called_from_lib:libQt6Gui.so.6\n"
           "race:libglib-2.0.so.0\n";
}

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // No test may reach the desktop or the system services of whoever runs it.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
