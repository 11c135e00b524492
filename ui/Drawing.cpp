#include "Drawing.h"

#include <QFile>
#include <QLoggingCategory>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

// Resources of a static library stay out of the program unless someone asks for them, outside any namespace.
static void registerResources() { Q_INIT_RESOURCE(ui); }

namespace vantrel::ui {

QByteArray resource(const QString& fileName) {
    registerResources();
    QFile file(QStringLiteral(":/vantrel/ui/%1").arg(fileName));
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("open() of %s failed: %s", qUtf8Printable(file.fileName()), qUtf8Printable(file.errorString()));
    }
    return file.readAll();
}

QByteArray drawing(const QString& name) { return resource(name + QStringLiteral(".svg")); }

QIcon drawnIcon(const QString& name) {
    QSvgRenderer renderer(drawing(name));
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace vantrel::ui
