#include "host/files/LockedAudioMemory.h"

#include "base/SystemError.h"

#include <cerrno>
#include <new>
#include <string>
#include <sys/mman.h>

namespace rewindle {

AudioMemory::Block LockedAudioMemory::allocate(std::size_t bytes) {
    void* memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    Block block(memory, Release{[](void* start, std::size_t length) { ::munmap(start, length); }, bytes});
    // Small pages: resident memory grows with the audio that is held, and no append waits for 2 MB to be
    // cleared. A kernel that knows no huge pages refuses, which is just as well.
    ::madvise(memory, bytes, MADV_NOHUGEPAGE);
    if (::madvise(memory, bytes, MADV_DONTDUMP) != 0) warnOnce("may appear in core dumps", errno);
    // On fault: a page is locked when the first audio is written to it; locking it now would make it
    // resident.
    if (::mlock2(memory, bytes, MLOCK_ONFAULT) != 0) warnOnce("may be swapped to disk", errno);
    return block;
}

void LockedAudioMemory::warnOnce(const char* what, int error) {
    if (warned_.test_and_set()) return;
    log_.warning(std::string("retained audio ") + what + ": " + systemError(error).message +
                 " (the default five minutes need a memlock limit of 115 MB, ten minutes 231 MB, a clip as much "
                 "again while it is saved: see ulimit -l)");
}

} // namespace rewindle
