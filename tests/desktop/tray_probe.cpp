// A small program on the tray item and the alerts, for the desktop tests: "Capture" writes a capture file until "Stop
// Capture", and lines on its standard input call up the windows. It prints what happens, one word a line.
#include "ui/Alerts.h"
#include "ui/StatusItem.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPalette>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <unistd.h>

namespace {

using vantrel::ui::StatusItem;

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

void obey(StatusItem& item, const QByteArray& order) {
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
    } else if (order == "dark") {
        QApplication::setPalette(QPalette(QColor(Qt::black)));
    } else if (order == "menu") {
        item.popUpMenu();
    }
}

void readOrders(StatusItem& item, QSocketNotifier& notifier) {
    char buffer[256];
    const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (length <= 0) {
        notifier.setEnabled(false);
        return;
    }
    for (const QByteArray& order : QByteArray(buffer, static_cast<qsizetype>(length)).split('\n')) {
        // Outside the notifier's own slot, which a modal window would keep busy.
        QTimer::singleShot(0, &item, [&item, order] { obey(item, order); });
    }
}

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    ProbeCapture capture;
    StatusItem item;
    item.setNote(QStringLiteral("simulated"));
    QObject::connect(&item, &StatusItem::shown, &item, [] { tell("shown"); });
    QObject::connect(&item, &StatusItem::captureRequested, &item, [&] {
        capture.start();
        item.setCapturesEnabled(false);
        item.setCapturing(true);
        tell("capture");
    });
    QObject::connect(&item, &StatusItem::stopRequested, &item, [&] {
        capture.stop();
        item.setCapturing(false);
        item.setCapturesEnabled(true);
        tell("stop");
    });
    QObject::connect(&item, &StatusItem::quitRequested, qApp, &QApplication::quit);
    QSocketNotifier orders(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&orders, &QSocketNotifier::activated, &item, [&] { readOrders(item, orders); });
    tell("ready");
    return QApplication::exec();
}
