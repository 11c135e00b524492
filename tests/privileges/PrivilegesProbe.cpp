// Does what the application's main() does with its capabilities, then prints a line for each thread and for a child:
//     WHO inheritable permitted effective ambient      the sets as /proc tells them, in hexadecimal
// With the argument "environment" it prints its arguments and its environment instead, each in a line.
#include "base/Capabilities.h"
#include "privileges/CapableThreads.h"

#include <QFile>
#include <QTextStream>
#include <cstring>
#include <linux/capability.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace vantrel;

QByteArray setOf(const QByteArray& status, const QByteArray& name) {
    const QByteArray label = "Cap" + name + ":\t";
    const auto begin = status.indexOf(label) + label.size();
    return status.mid(begin, status.indexOf('\n', begin) - begin);
}

void report(const char* who) {
    QFile file(QStringLiteral("/proc/thread-self/status"));
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    const QByteArray status = file.readAll();
    const QByteArray line = QByteArray(who) + ' ' + setOf(status, "Inh") + ' ' + setOf(status, "Prm") + ' ' +
                            setOf(status, "Eff") + ' ' + setOf(status, "Amb") + '\n';
    static_cast<void>(::write(STDOUT_FILENO, line.constData(), static_cast<std::size_t>(line.size())));
}

// A program that this thread executes.
void reportChild(const char* self, const char* who) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(self, self, "child", who, nullptr);
        ::_exit(1);
    }
    ::waitpid(child, nullptr, 0);
}

int printEnvironment(int argc, char** argv) {
    QTextStream out(stdout);
    report("launched");
    for (int index = 0; index < argc; ++index) {
        out << "argument " << argv[index] << '\n';
    }
    for (char** entry = environ; *entry != nullptr; ++entry) {
        out << *entry << '\n';
    }
    return 0;
}

int refuse(const Error& error) {
    QTextStream(stderr) << error.text() << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], "child") == 0) {
        report(argv[2]);
        return 0;
    }
    if (argc > 1 && std::strcmp(argv[1], "environment") == 0) {
        return printEnvironment(argc, argv);
    }
    report("start");
    if (const auto kept = keepCapabilitiesFromPrograms(); !kept) {
        return refuse(kept.error());
    }
    report("cleared");
    const auto threads = CapableThreads::keep(capabilityMask(CAP_NET_RAW));
    if (!threads) {
        return refuse(threads.error());
    }
    report("main");
    reportChild(argv[0], "main-child");
    std::thread([] { report("ordinary"); }).join();
    for (const char* who : {"capable", "another-capable"}) {
        (*threads)->start([who] { report(who); }).join();
    }
    (*threads)->start([self = argv[0]] { reportChild(self, "capable-child"); }).join();
    (*threads)
        ->start([] {
            if (setCapabilities({})) {
                report("dropped");
            }
        })
        .join();
    return 0;
}
