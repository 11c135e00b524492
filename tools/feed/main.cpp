// vantrel-feed: shows what the capture service of this computer hears. Documented in man/vantrel-feed.1.
#include "FeedProgram.h"

#include <QCoreApplication>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <langinfo.h>
#include <unistd.h>

namespace {

using namespace vantrel::feed;

// What the user's terminal reads. To be asked before Qt moves the process to a UTF-8 locale.
Charset takeCharset() {
    std::setlocale(LC_ALL, "");
    return std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0 ? Charset::Utf8 : Charset::Ascii;
}

int refuse(const QString& sentence) {
    std::fprintf(stderr, "vantrel-feed: %s\nTry 'vantrel-feed --help'.\n", qUtf8Printable(sentence));
    return WrongUse;
}

} // namespace

int main(int argc, char** argv) {
    SignalWatch::holdBack();
    const Charset charset = takeCharset();
    QStringList arguments;
    for (int at = 1; at < argc; ++at) {
        arguments.append(QString::fromLocal8Bit(argv[at]));
    }
    const auto options = readOptions(arguments);
    if (!options) {
        return refuse(options.error());
    }
    if (options->print) {
        const bool printed = std::fputs(qUtf8Printable(*options->print), stdout) >= 0 && std::fflush(stdout) == 0;
        return printed ? EndedAsAsked : EndedByFailure;
    }
    if (options->format == OutputFormat::Pcap && ::isatty(STDOUT_FILENO) == 1) {
        return refuse(QStringLiteral("--pcap writes bytes that are not for a terminal; lead them into a file or pipe"));
    }
    int one = 1;
    const QCoreApplication application(one, argv);
    return FeedProgram(*options, charset).run();
}
