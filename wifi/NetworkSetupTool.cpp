#include "wifi/NetworkSetupTool.h"

#include "WiFiTexts.h"
#include "base/ChildProcess.h"

#include <QFile>
#include <utility>

namespace vantrel {

NetworkSetupTool::NetworkSetupTool(QString path) : _path(std::move(path)) {}

QString NetworkSetupTool::systemPath() {
    return QFile::decodeName(QByteArray::fromBase64(texts::networkSetupTool, QByteArray::Base64Encoding));
}

bool NetworkSetupTool::powerDown(const QString& interfaceName) const {
    return run(interfaceName, QStringLiteral("off"));
}

bool NetworkSetupTool::powerUp(const QString& interfaceName) const { return run(interfaceName, QStringLiteral("on")); }

bool NetworkSetupTool::run(const QString& interfaceName, const QString& power) const {
    if (!QFile::exists(_path)) {
        return false;
    }
    const auto tool = ChildProcess::start({.program = _path,
                                           .arguments = {texts::setAirportPower, interfaceName, power},
                                           .errors = ChildCommand::Errors::Captured});
    return tool && (*tool)->waitUntilExit().succeeded();
}

} // namespace vantrel
