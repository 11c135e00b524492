// Switches an adapter's power through the system's network-setup tool, where the system has one.
//
// Any thread; each call blocks until the tool has ended. The tool's output is thrown away.
#pragma once

#include <QString>

namespace vantrel {

class NetworkSetupTool {
public:
    explicit NetworkSetupTool(QString path = systemPath());

    // Whether the tool exists, ran, and ended with status 0.
    [[nodiscard]] bool powerDown(const QString& interfaceName) const;
    [[nodiscard]] bool powerUp(const QString& interfaceName) const;

    [[nodiscard]] static QString systemPath();

private:
    [[nodiscard]] bool run(const QString& interfaceName, const QString& power) const;

    const QString _path;
};

} // namespace vantrel
