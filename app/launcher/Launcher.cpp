// The launcher: executes one program, such as the application, with CAP_NET_RAW and nothing else.
//
// Installed for root and a group, not executable by others, with the file capability cap_net_raw+p: being in the group
// is the permission to capture. A program with a file capability is executed as a secure one, which portals and the
// session bus will have nothing to do with; a program that receives the capability as an ambient one is not. So this
// one has the file capability, and the program gets the ambient one and gives it up at once in all threads but those
// that open the device.
#include "Environment.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr auto program = VANTREL_PROGRAM;
constexpr std::uint32_t netRaw = 1U << CAP_NET_RAW; // in the first of the two halves that the kernel takes a set in
constexpr int cannotExecute = 126;                  // as of a shell
constexpr int notFound = 127;

void complain(const char* call) { std::fprintf(stderr, VANTREL_LAUNCHER ": %s: %s\n", call, std::strerror(errno)); }

// Everything but CAP_NET_RAW is given up, also what this program was started with. Where that fails the application
// does without, and says so at the first capture.
void passOnNetRaw() {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (::syscall(SYS_capget, &header, sets) != 0) {
        return complain("capget");
    }
    if ((sets[0].permitted & netRaw) == 0) {
        std::fprintf(stderr,
                     VANTREL_LAUNCHER ": this file has lost its capability cap_net_raw, or may not use it here; "
                                      "captures will not be permitted\n");
        return;
    }
    sets[0] = {.effective = 0, .permitted = netRaw, .inheritable = netRaw};
    sets[1] = {};
    if (::syscall(SYS_capset, &header, sets) != 0) {
        return complain("capset");
    }
    if (::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0 ||
        ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_NET_RAW, 0, 0) != 0) {
        complain("prctl(PR_CAP_AMBIENT)");
    }
}

void scrub(char** environment) {
    char** kept = environment;
    for (char** entry = environment; *entry != nullptr; ++entry) {
        if (!vantrel::loadsForeignCode(*entry)) {
            *kept++ = *entry;
        }
    }
    *kept = nullptr;
}

} // namespace

int main(int argc, char** argv) {
    // For root the file capability means nothing: whatever root executes has every capability.
    if (::getuid() != 0) {
        passOnNetRaw();
    }
    scrub(environ);
    char* name[] = {const_cast<char*>(program), nullptr};
    if (argc > 0) {
        argv[0] = name[0];
    }
    ::execve(program, argc > 0 ? argv : name, environ);
    const int status = errno == ENOENT ? notFound : cannotExecute;
    complain(program);
    return status;
}
