#include "base/FlushToZero.h"

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace rewindle {

void setFlushToZero() {
#if defined(__SSE2__)
    constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040; // MXCSR bits 15 and 6
    _mm_setcsr(_mm_getcsr() | kFlushToZero | kDenormalsAreZero);
#elif defined(__aarch64__)
    constexpr std::uint64_t kFlushToZero = 1U << 24; // FPCR.FZ
    std::uint64_t control = 0;
    __asm__ volatile("mrs %0, fpcr" : "=r"(control));
    __asm__ volatile("msr fpcr, %0" : : "r"(control | kFlushToZero));
#endif
}

} // namespace rewindle
