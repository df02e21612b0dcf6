#pragma once

#include "base/Observable.h"

#include <functional>

namespace rewindle {

/// Whether the main window has been opened, and how to open it.
///
/// Threads: interface thread.
struct MainWindowPresentation {
    Observable<bool> isPresented{false};
    std::function<void()> openWindow; // makes and shows the main window; set before the first use
};

} // namespace rewindle
