#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace rewindle {

/// An owned run of samples whose storage is not filled before it is written. Movable, not copyable.
class SampleArray {
public:
    /// Gives storage back to where it came from.
    struct Release {
        void (*release)(void* storage, std::size_t bytes);
        std::size_t bytes;
        void operator()(float* storage) const { release(storage, bytes); }
    };

    SampleArray() = default;
    /// On the heap. The samples hold whatever the memory held. Throws std::bad_alloc.
    explicit SampleArray(std::size_t size)
        : SampleArray(size ? new float[size] : nullptr, size,
                      {[](void* storage, std::size_t) { delete[] static_cast<float*>(storage); }, 0}) {}
    /// Takes over storage for `size` samples.
    SampleArray(float* storage, std::size_t size, Release release) : samples_(storage, release), size_(size) {}
    SampleArray(SampleArray&& other) noexcept
        : samples_(std::move(other.samples_)), size_(std::exchange(other.size_, 0)) {}
    SampleArray& operator=(SampleArray&& other) noexcept {
        samples_ = std::move(other.samples_);
        size_ = std::exchange(other.size_, 0);
        return *this;
    }

    /// Gives up the samples from `size` on; their storage stays. Requires: size <= size().
    void shrink(std::size_t size) noexcept {
        assert(size <= size_);
        size_ = size;
    }

    [[nodiscard]] float* data() noexcept { return samples_.get(); }
    [[nodiscard]] const float* data() const noexcept { return samples_.get(); }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] float operator[](std::size_t i) const noexcept { return samples_[i]; }
    operator std::span<const float>() const noexcept { return {data(), size_}; }

private:
    std::unique_ptr<float[], Release> samples_;
    std::size_t size_ = 0;
};

/// A stretch of stereo audio, one array per channel, both of the same length.
struct StereoSamples {
    SampleArray left;
    SampleArray right;
};

} // namespace rewindle
