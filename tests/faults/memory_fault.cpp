// Loaded before the C library: of the allocations of at least VANTREL_FAULT_SIZE bytes, that of the number
// VANTREL_FAULT_NUMBER (the first is 1) finds no memory, once, and the file that asked for it is told of. Programs that
// this one starts do not load it.
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

// glibc's own names for what it offers as malloc and its like.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

std::atomic<std::size_t> smallest = 0; // 0: nothing fails
std::atomic<long> remaining = 0;

// Before main(), and before any thread.
__attribute__((constructor)) void prepare() {
    const char* const size = std::getenv("VANTREL_FAULT_SIZE");
    const char* const number = std::getenv("VANTREL_FAULT_NUMBER");
    if (size != nullptr && number != nullptr) {
        remaining = std::atol(number);
        smallest = std::strtoul(size, nullptr, 10);
    }
    ::unsetenv("LD_PRELOAD");
}

void tell(const char* text) { static_cast<void>(!::write(STDERR_FILENO, text, std::strlen(text))); }

bool fails(std::size_t size, void* caller) {
    const std::size_t least = smallest;
    if (least == 0 || size < least || --remaining != 0) {
        return false;
    }
    Dl_info asking{};
    tell("fault: no memory for ");
    tell(::dladdr(caller, &asking) != 0 ? asking.dli_fname : "?");
    tell("\n");
    errno = ENOMEM;
    return true;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) { return fails(size, __builtin_return_address(0)) ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) {
    return fails(count * size, __builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    return fails(size, __builtin_return_address(0)) ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return fails(size, __builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
}
}
