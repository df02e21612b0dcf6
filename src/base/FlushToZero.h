#pragma once

namespace rewindle {

/// Makes the calling thread treat denormal floats as zero, in results and in operands. They lie 750 dB below full
/// scale and cost up to two orders of magnitude more than other numbers (a decayed reverb tail is full of them).
/// Copies are not touched. Does nothing on processors without such a mode.
void setFlushToZero();

} // namespace rewindle
