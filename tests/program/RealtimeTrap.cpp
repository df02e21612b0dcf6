// Loaded into the program before everything else. While the program's own part of a cycle runs on the audio thread, the
// trap is armed: each allocation, release, lock and system call of that thread is a line on standard error. What the
// sound server does around that part is the server's own affair.

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <pipewire/filter.h>
#include <pthread.h>
#include <sched.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

// What the kernel calls PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON and SYSCALL_DISPATCH_FILTER_*.
constexpr int kSetDispatch = 59, kDispatchOn = 1;
constexpr char kAllow = 0, kBlock = 1;

// Where to find these is settled when the library is loaded: the usual way could allocate.
[[gnu::tls_model("initial-exec")]] thread_local bool armed = false;
[[gnu::tls_model("initial-exec")]] thread_local volatile char systemCalls = kAllow; // read by the kernel at each

std::atomic<decltype(pw_filter_events::process)> program{nullptr};
std::atomic<int> cycles{0};
std::atomic<int> wakeUps{0};

void arm(bool on) {
    armed = on;
    systemCalls = on ? kBlock : kAllow;
}

void caught(const char* what) {
    arm(false);
    dprintf(STDERR_FILENO, "realtime trap: %s\n", what);
    arm(true);
}

bool isEventfd(long long descriptor) {
    std::array<char, 32> link{}, target{};
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%lld", descriptor);
    const auto length = readlink(link.data(), target.data(), target.size());
    return length > 0 && std::string_view(target.data(), static_cast<std::size_t>(length)) == "anon_inode:[eventfd]";
}

/// The kernel comes here instead of doing what an armed thread asks. Waking the capture thread is allowed: eight bytes
/// to an eventfd. From here on the cycle's system calls are let through, because the way out of a handler is one.
void onSystemCall(int, siginfo_t* info, void* context) {
    arm(false);
    const int error = errno;
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    if (info->si_syscall == SYS_write && registers[REG_RDX] == 8 && isEventfd(registers[REG_RDI])) {
        ++wakeUps;
    } else {
        dprintf(STDERR_FILENO, "realtime trap: system call %d\n", info->si_syscall);
    }
    errno = error;
    armed = true;
    registers[REG_RIP] -= 2; // the instruction once more
}

/// Has the kernel watch this thread, and shows that the trap can trip: one of each.
void prepareThread() {
    static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    static void* volatile block = nullptr; // volatile, or the compiler leaves the allocation out
    struct sigaction action {};
    action.sa_sigaction = onSystemCall;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    if (prctl(kSetDispatch, kDispatchOn, 0, 0, &systemCalls) != 0) caught("this kernel shows no system calls");
    block = std::malloc(1); // a thread's first one asks the kernel for its place
    std::free(block);
    arm(true);
    block = std::malloc(1);
    std::free(block);
    pthread_mutex_lock(&lock);
    sched_yield();
    arm(false);
    pthread_mutex_unlock(&lock);
}

void process(void* data, spa_io_position* position) {
    thread_local const bool prepared = (prepareThread(), true);
    static_cast<void>(prepared);
    const auto own = program.load();
    arm(true);
    own(data, position);
    arm(false);
    ++cycles;
}

[[gnu::destructor]] void report() {
    if (cycles > 0) dprintf(STDERR_FILENO, "realtime trap: %d cycles, %d wake-ups\n", cycles.load(), wakeUps.load());
}

} // namespace

#define NEXT(name) static const auto next = reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name))
#define WATCHED(result, name, parameters, arguments)                                                                 \
    result name parameters noexcept {                                                                                \
        NEXT(name);                                                                                                  \
        if (armed) caught(#name);                                                                                    \
        return next arguments;                                                                                       \
    }

extern "C" {
WATCHED(void*, malloc, (std::size_t size), (size))
WATCHED(void*, calloc, (std::size_t count, std::size_t size), (count, size))
WATCHED(void*, realloc, (void* block, std::size_t size), (block, size))
WATCHED(void*, aligned_alloc, (std::size_t alignment, std::size_t size), (alignment, size))
WATCHED(int, posix_memalign, (void** block, std::size_t alignment, std::size_t size), (block, alignment, size))
WATCHED(void, free, (void* block), (block))
WATCHED(int, pthread_mutex_lock, (pthread_mutex_t * lock), (lock))
WATCHED(int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
WATCHED(int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
WATCHED(int, pthread_spin_lock, (pthread_spinlock_t * lock), (lock))

void pw_filter_add_listener(pw_filter* filter, spa_hook* hook, const pw_filter_events* events, void* data) {
    NEXT(pw_filter_add_listener);
    static pw_filter_events watched; // the program has one table for all of its nodes
    watched = *events;
    program = watched.process;
    watched.process = process;
    next(filter, hook, &watched, data);
}
}
