// Loaded before libpcap: one call of one function fails, as VANTREL_FAULT_CALL names it, when the file that
// VANTREL_FAULT_ARMED names exists. The file is removed by the very call that fails. All other calls go to libpcap.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <pcap/pcap.h>
#include <unistd.h>

namespace {

constexpr char errorText[] = "a fault of the tests";

std::atomic<pcap_t*> failed = nullptr; // the handle whose last call failed here

bool fails(const char* call) {
    static const char* const wanted = std::getenv("VANTREL_FAULT_CALL");
    static const char* const armed = std::getenv("VANTREL_FAULT_ARMED");
    return wanted != nullptr && armed != nullptr && std::strcmp(wanted, call) == 0 && ::unlink(armed) == 0;
}

bool fails(const char* call, pcap_t* handle) {
    const bool now = fails(call);
    if (now) {
        failed = handle;
    }
    return now;
}

void explain(char* buffer) { std::memcpy(buffer, errorText, sizeof errorText); }

template <typename Function>
Function original(const char* call) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, call));
}

} // namespace

// A call on a handle that answers a status: the status of the failure, then the call's further parameters.
#define VANTREL_FAULT(status, call, parameters, arguments)                                                             \
    int call parameters {                                                                                              \
        static const auto next = original<decltype(&call)>(#call);                                                     \
        return fails(#call, handle) ? (status) : next arguments;                                                       \
    }

extern "C" {

VANTREL_FAULT(PCAP_ERROR, pcap_set_snaplen, (pcap_t * handle, int value), (handle, value))
VANTREL_FAULT(PCAP_ERROR, pcap_set_promisc, (pcap_t * handle, int value), (handle, value))
VANTREL_FAULT(PCAP_ERROR, pcap_set_timeout, (pcap_t * handle, int value), (handle, value))
VANTREL_FAULT(PCAP_ERROR, pcap_set_buffer_size, (pcap_t * handle, int value), (handle, value))
VANTREL_FAULT(PCAP_ERROR, pcap_set_immediate_mode, (pcap_t * handle, int value), (handle, value))
VANTREL_FAULT(PCAP_ERROR, pcap_activate, (pcap_t * handle), (handle))
VANTREL_FAULT(PCAP_ERROR, pcap_set_datalink, (pcap_t * handle, int type), (handle, type))
VANTREL_FAULT(PCAP_ERROR, pcap_list_datalinks, (pcap_t * handle, int** types), (handle, types))
VANTREL_FAULT(PCAP_ERROR, pcap_stats, (pcap_t * handle, pcap_stat* statistics), (handle, statistics))
VANTREL_FAULT(-1, pcap_fileno, (pcap_t * handle), (handle))
VANTREL_FAULT(-1, pcap_get_selectable_fd, (pcap_t * handle), (handle))
VANTREL_FAULT(PCAP_ERROR, pcap_loop, (pcap_t * handle, int count, pcap_handler callback, u_char* user),
              (handle, count, callback, user))
VANTREL_FAULT(PCAP_ERROR, pcap_dispatch, (pcap_t * handle, int count, pcap_handler callback, u_char* user),
              (handle, count, callback, user))

int pcap_setnonblock(pcap_t* handle, int nonblock, char* error) {
    if (fails("pcap_setnonblock", handle)) {
        explain(error);
        return PCAP_ERROR;
    }
    static const auto next = original<decltype(&pcap_setnonblock)>("pcap_setnonblock");
    return next(handle, nonblock, error);
}

pcap_t* pcap_create(const char* source, char* error) {
    if (fails("pcap_create")) {
        explain(error);
        return nullptr;
    }
    static const auto next = original<decltype(&pcap_create)>("pcap_create");
    return next(source, error);
}

pcap_t* pcap_fopen_offline(FILE* file, char* error) {
    if (fails("pcap_fopen_offline")) {
        explain(error);
        return nullptr;
    }
    static const auto next = original<decltype(&pcap_fopen_offline)>("pcap_fopen_offline");
    return next(file, error);
}

pcap_t* pcap_open_dead(int type, int snapshot) {
    static const auto next = original<decltype(&pcap_open_dead)>("pcap_open_dead");
    return fails("pcap_open_dead") ? nullptr : next(type, snapshot);
}

pcap_dumper_t* pcap_dump_fopen(pcap_t* handle, FILE* file) {
    static const auto next = original<decltype(&pcap_dump_fopen)>("pcap_dump_fopen");
    return fails("pcap_dump_fopen", handle) ? nullptr : next(handle, file);
}

int pcap_dump_flush(pcap_dumper_t* dumper) {
    if (fails("pcap_dump_flush")) {
        errno = EIO;
        return PCAP_ERROR;
    }
    static const auto next = original<decltype(&pcap_dump_flush)>("pcap_dump_flush");
    return next(dumper);
}

char* pcap_geterr(pcap_t* handle) {
    static std::array<char, sizeof errorText> text = std::to_array(errorText);
    static const auto next = original<decltype(&pcap_geterr)>("pcap_geterr");
    return failed == handle ? text.data() : next(handle);
}
}
