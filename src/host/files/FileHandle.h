#pragma once

#include "base/Result.h"

#include <utility>

namespace rewindle {

/// A descriptor of the system (a file, a socket, an end of a pipe, a timer), closed at the end.
class FileHandle {
public:
    explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileHandle& operator=(FileHandle&&) = delete;
    ~FileHandle();

    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int get() const { return descriptor_; }
    /// Puts what was written on the storage.
    [[nodiscard]] Result<void> sync() const;
    /// The same, and closes. Only this tells of storage that failed late.
    [[nodiscard]] Result<void> syncAndClose();

private:
    int descriptor_;
};

} // namespace rewindle
