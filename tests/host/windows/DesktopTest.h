#pragma once

#include "host/PrivateBus.h"
#include "support/Desktop.h"

#include <gtest/gtest.h>

namespace rewindle::test {

using namespace support;

/// A test in a process that is a program on a private display. The process has one display for all its tests, so each
/// test leaves no window behind.
class DesktopTest : public testing::Test {
public:
    /// The session that this process lives in, with its event loop running while commands run.
    static PrivateSession& session();

protected:
    Desktop desktop{session()};
};

} // namespace rewindle::test
