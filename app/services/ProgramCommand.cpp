#include "services/ProgramCommand.h"

#include <QCoreApplication>

namespace vantrel {

QString commandOfProgram() { return commandOfProgram(QCoreApplication::applicationFilePath()); }

QString commandOfProgram(const QString& program) {
    return program == QStringLiteral(VANTREL_INSTALLED_PROGRAM) ? QStringLiteral(VANTREL_INSTALLED_COMMAND) : program;
}

} // namespace vantrel
