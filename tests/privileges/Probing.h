// Runs a program as somebody who is not root, with capabilities of choice.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace vantrel::testing {

// A reason for GTEST_SKIP(), empty when this machine can: only root can give capabilities away.
[[nodiscard]] QString whyNoProbing();

// A folder that everybody can reach, with copies of programs that everybody may execute: a build folder may be out of
// others' reach. It is removed at the end.
class PublicFolder {
public:
    explicit PublicFolder(const QStringList& programs);
    ~PublicFolder();
    PublicFolder(const PublicFolder&) = delete;
    PublicFolder& operator=(const PublicFolder&) = delete;
    [[nodiscard]] const QString& path() const { return _path; }

private:
    QString _path;
};

// The lines that the command prints, run in this folder by user and group 65534 with these ambient capabilities
// ("+net_raw"; empty for none). Fails the test when its status is not 0.
[[nodiscard]] QStringList linesOf(const PublicFolder& folder, const QStringList& command, const QString& ambient,
                                  const QStringList& environment = {});

// "inheritable permitted effective ambient" of the line for `who`, without leading zeros; empty when there is none.
[[nodiscard]] QString setsOf(const QStringList& lines, const QString& who);

} // namespace vantrel::testing
