// What a login, or whoever else starts this program, has to run.
#pragma once

#include <QString>

namespace vantrel {

// The absolute path of the command: of the installed program /usr/bin/vantrel (with the prefix it was built for), which
// gives it the permission to capture; of a program in a build folder, the program itself. Needs the application object.
[[nodiscard]] QString commandOfProgram();

// The same for the program at this path.
[[nodiscard]] QString commandOfProgram(const QString& program);

} // namespace vantrel
