#pragma once

#include <cstdint>

namespace rewindle::test {

/// Calls of operator new, in every form, that this thread has made so far. An executable that asks links
/// AllocationCounter.cpp, which replaces the operators.
std::uint64_t allocationsOfThisThread();

} // namespace rewindle::test
