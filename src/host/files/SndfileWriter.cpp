#include "host/files/SndfileWriter.h"

#include "base/SystemError.h"
#include "host/files/FileHandle.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sndfile.h>
#include <unistd.h>

namespace rewindle {
namespace {

/// The file as libsndfile sees it. The library forgets why a write failed, so it is remembered here.
struct Output {
    const FileHandle& file;
    sf_count_t position = 0;
    sf_count_t length = 0;
    int error = 0; // errno of the first write that failed; nothing is written after it
};

Output& outputOf(void* user) {
    return *static_cast<Output*>(user);
}

sf_count_t fileLength(void* user) {
    return outputOf(user).length;
}

sf_count_t tell(void* user) {
    return outputOf(user).position;
}

sf_count_t seek(sf_count_t offset, int whence, void* user) {
    Output& output = outputOf(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? output.position : output.length;
    return output.position = base + offset;
}

sf_count_t read(void*, sf_count_t, void*) {
    return 0;
} // the file is opened for writing only

sf_count_t write(const void* data, sf_count_t bytes, void* user) {
    Output& output = outputOf(user);
    const auto* begin = static_cast<const std::uint8_t*>(data);
    sf_count_t done = 0;
    while (done < bytes && output.error == 0) {
        const auto left = static_cast<std::size_t>(bytes - done);
        const ssize_t part = ::pwrite(output.file.get(), begin + done, left, output.position);
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) {
            output.error = part < 0 ? errno : EIO;
            break;
        }
        done += part;
        output.position += part;
        output.length = std::max(output.length, output.position);
    }
    return done;
}

struct CloseSndfile {
    void operator()(SNDFILE* file) const { sf_close(file); } // completes the header
};
using Sndfile = std::unique_ptr<SNDFILE, CloseSndfile>;

Sndfile openWav(AudioFileFormat format, Output& output) {
    SF_INFO info{};
    info.samplerate = format.sampleRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SF_VIRTUAL_IO io{fileLength, seek, read, write, tell};
    Sndfile file(sf_open_virtual(&io, SFM_WRITE, &info, &output));
    // Keeping track of the peaks costs half as much again as the whole write, and readers of clips do not
    // miss them.
    if (file) sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    return file;
}

void interleave(const float* left, const float* right, std::size_t frames, float* out) {
    for (std::size_t i = 0; i < frames; ++i) {
        out[2 * i] = left[i];
        out[2 * i + 1] = right[i];
    }
}

/// Writes all samples, or as many as go before the first failure.
void writeSamples(SNDFILE* file, std::span<const float> left, std::span<const float> right, const Output& output) {
    constexpr std::size_t kPieceFrames = 4096;             // 32 KiB: still in the cache when the system copies it
    alignas(64) std::array<float, 2 * kPieceFrames> piece; // filled before it is read
    for (std::size_t done = 0; done < left.size() && output.error == 0; done += kPieceFrames) {
        const auto frames = std::min(kPieceFrames, left.size() - done);
        interleave(left.data() + done, right.data() + done, frames, piece.data());
        sf_writef_float(file, piece.data(), static_cast<sf_count_t>(frames));
    }
}

/// The same in stretches that reach the storage one after the other: the system never has much to write at once, which
/// would slow down everybody else's files, and what is told of the progress is true.
void writeStretches(SNDFILE* file, std::span<const float> left, std::span<const float> right, Output& output,
                    const AudioFileWriter::Progress& progress) {
    constexpr std::size_t kStretchFrames = 2'097'152; // 16 MiB, 44 s
    for (std::size_t done = 0; done < left.size() && output.error == 0;) {
        const auto frames = std::min(kStretchFrames, left.size() - done);
        writeSamples(file, left.subspan(done, frames), right.subspan(done, frames), output);
        done += frames;
        if (done == left.size() || output.error != 0) return; // the end is synced with the header
        if (const auto synced = output.file.sync(); !synced) output.error = synced.error().code;
        if (progress) progress(static_cast<double>(done) / static_cast<double>(left.size()));
    }
}

} // namespace

Result<void> SndfileWriter::write(const std::filesystem::path& path, AudioFileFormat format,
                                  std::span<const float> left, std::span<const float> right,
                                  const Progress& progress) {
    assert(left.size() == right.size());
    FileHandle handle(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!handle.isOpen()) return systemError(errno);
    Output output{.file = handle};
    if (const Sndfile file = openWav(format, output)) {
        writeStretches(file.get(), left, right, output, progress);
    } else if (output.error == 0) {
        return systemError(ENOTSUP);
    }
    if (output.error != 0) return systemError(output.error);
    return handle.syncAndClose();
}

} // namespace rewindle
