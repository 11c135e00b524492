#include "Drawing.h"

#include <QFile>
#include <QLoggingCategory>

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

} // namespace vantrel::ui
