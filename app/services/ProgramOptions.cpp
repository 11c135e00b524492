#include "services/ProgramOptions.h"

#include <string_view>

namespace vantrel {

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView help = R"(usage: vantrel [options]

Puts the icon of Vantrel into the system tray. Its menu captures Wi-Fi frames
with this computer's adapter, and leads to the settings and to Help. A second
start brings the menu of the first forward.

  --help      print this, and nothing else
  --version   print the version, and nothing else

Options of Qt, such as -style, are taken too.

Exit status: 0 it was quit, or another one of this user runs already, 1 it
cannot start.
)"_L1;

constexpr QLatin1StringView version = "vantrel " VANTREL_VERSION "\n"_L1;

} // namespace

std::optional<QString> printedFor(std::span<char* const> arguments) {
    for (const std::string_view argument : arguments) {
        if (argument == "--help") {
            return QString(help);
        }
        if (argument == "--version") {
            return QString(version);
        }
    }
    return std::nullopt;
}

} // namespace vantrel
