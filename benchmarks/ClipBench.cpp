#include "Bench.h"

#include "base/Clock.h"
#include "base/SampleArray.h"
#include "host/files/PosixFileSystem.h"
#include "host/files/SndfileWriter.h"
#include "waveform/ClipExport.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace rewindle::bench {
namespace {

constexpr std::size_t kFrames = std::size_t{300} * 48'000;

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(1); // NOLINT(concurrency-mt-unsafe): there is one thread
}

/// 300 s of audio, and a folder in memory to write it to.
class ClipFiles {
public:
    ClipFiles() {
        std::string name = "/dev/shm/rewindle-bench-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) fail("/dev/shm");
        folder_ = name;
        for (std::size_t i = 0; i < kFrames; ++i) {
            left_.data()[i] = std::sin(0.01F * static_cast<float>(i % 4096));
            right_.data()[i] = 0.5F * left_.data()[i];
        }
        write(source_ = folder_ / "source.wav");
    }
    ClipFiles(const ClipFiles&) = delete;
    ~ClipFiles() { std::filesystem::remove_all(folder_); }

    void writeOne() {
        const auto path = folder_ / "clip.wav";
        write(path);
        std::filesystem::remove(path);
    }

    void copyOne() const {
        const auto path = folder_ / "copy.wav";
        const int in = ::open(source_.c_str(), O_RDONLY | O_CLOEXEC);
        const int out = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (in < 0 || out < 0) fail("copy");
        static std::array<char, std::size_t{128} * 1024> piece;
        for (ssize_t n = 0; (n = ::read(in, piece.data(), piece.size())) > 0;) {
            if (::write(out, piece.data(), static_cast<std::size_t>(n)) != n) fail("copy");
        }
        ::close(in);
        ::close(out);
        std::filesystem::remove(path);
    }

private:
    void write(const std::filesystem::path& path) {
        if (!writeClip(left_, right_, path, {files_, writer_, clock_})) fail("writeClip");
    }

    PosixFileSystem files_;
    SndfileWriter writer_;
    SystemClock clock_;
    SampleArray left_{kFrames};
    SampleArray right_{kFrames};
    std::filesystem::path folder_;
    std::filesystem::path source_;
};

const Registration kClip({"clip", [] {
                              const auto files = std::make_shared<ClipFiles>();
                              return std::vector<Row>{{"writeClip, 300 s, to /dev/shm", "read/write copy of the file",
                                                       1.0, [=] { files->writeOne(); }, [=] { files->copyOne(); }}};
                          }});

} // namespace
} // namespace rewindle::bench
