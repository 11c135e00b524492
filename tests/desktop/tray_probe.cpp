// A small program on the tray item, its menu and the alerts, for the desktop tests: the command to capture writes a
// capture file until the order "stop"; other lines on its standard input call up the windows. It prints what happens,
// one word a line.
#include "ui/Alerts.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <unistd.h>

namespace {

using vantrel::ui::StatusItem;
using vantrel::ui::StatusMenu;

void tell(const char* word) {
    std::puts(word);
    std::fflush(stdout);
}

// One 802.11 beacon of 60 bytes every millisecond, in a file of link type 105.
class ProbeCapture {
public:
    ProbeCapture() {
        const QString folder = QStringLiteral("%1/vantrel-%2").arg(QDir::tempPath()).arg(::getuid());
        QDir().mkpath(folder);
        _file.setFileName(folder + QStringLiteral("/probe.pcap"));
        QObject::connect(&_timer, &QTimer::timeout, &_timer, [this] { writeRecord(); });
    }

    void start() {
        if (!_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            qFatal("open() of %s failed: %s", qPrintable(_file.fileName()), qPrintable(_file.errorString()));
        }
        _records = 0;
        put({0xa1b2c3d4, 0x00040002, 0, 0, 65535, 105});
        _timer.start(1);
    }

    void stop() {
        _timer.stop();
        _file.close();
    }

private:
    void put(std::initializer_list<std::uint32_t> words) {
        for (const std::uint32_t word : words) {
            _file.write(reinterpret_cast<const char*>(&word), sizeof word);
        }
    }

    void writeRecord() {
        QByteArray frame(60, '\0');
        frame[0] = '\x80';
        put({1700000000U + _records / 1000, _records % 1000 * 1000, 60, 60});
        _file.write(frame);
        _file.flush();
        ++_records;
    }

    QFile _file;
    QTimer _timer;
    std::uint32_t _records = 0;
};

class Probe {
public:
    Probe() {
        vantrel::ui::MenuState state;
        state.powerOn = true;
        state.channel = {36, vantrel::bandFiveGHz, vantrel::width80MHz};
        state.channelWidthMHz = 80;
        _menu.updateStatusMenu(state);
        _item.setTitle({.powerOn = true, .channelNumber = 36, .displayChannel = true});
        _item.setNote(QStringLiteral("simulated"));
        QObject::connect(&_item, &StatusItem::shown, &_item, [] { tell("shown"); });
        QObject::connect(&_menu, &StatusMenu::captureRequested, &_menu, [this] { capture(); });
        QObject::connect(&_menu, &StatusMenu::quitRequested, qApp, &QApplication::quit);
        QObject::connect(&_orders, &QSocketNotifier::activated, &_item, [this] { readOrders(); });
    }

private:
    void capture() {
        _capture.start();
        _menu.disableCaptures();
        _item.setCapturing(true);
        tell("capture");
    }

    void stop() {
        _capture.stop();
        _item.setCapturing(false);
        _menu.enableCaptures();
        tell("stop");
    }

    void obey(const QByteArray& order) {
        if (order == "alert") {
            vantrel::ui::showCriticalAlertWithInfo(
                QStringLiteral("Cannot <i>save</i> the capture."),
                QStringLiteral("The folder \"/home/user/Captures & <b>more</b>\" does not exist any more. "
                               "Choose another folder for capture files in the preferences."));
            tell("alert-closed");
        } else if (order == "beta") {
            tell(vantrel::ui::showBetaNotice() ? "accepted" : "refused");
        } else if (order == "folder") {
            tell(vantrel::ui::askForFolder() ? "folder" : "no-folder");
        } else if (order == "menu") {
            _item.popUpMenu();
        } else if (order == "stop") {
            stop();
        }
    }

    void readOrders() {
        char buffer[256];
        const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (length <= 0) {
            _orders.setEnabled(false);
            return;
        }
        for (const QByteArray& order : QByteArray(buffer, static_cast<qsizetype>(length)).split('\n')) {
            // Outside the notifier's own slot, which a modal window would keep busy.
            QTimer::singleShot(0, &_item, [this, order] { obey(order); });
        }
    }

    ProbeCapture _capture;
    StatusMenu _menu;
    StatusItem _item{*_menu.menu()};
    QSocketNotifier _orders{STDIN_FILENO, QSocketNotifier::Read};
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const Probe probe;
    tell("ready");
    return QApplication::exec();
}
