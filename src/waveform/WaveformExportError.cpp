#include "waveform/WaveformExportError.h"

#include <cassert>
#include <utility>

namespace rewindle {

WaveformExportError::WaveformExportError(Case which) : which_(which) {
    assert(which != Case::writeFailed);
}

WaveformExportError::WaveformExportError(Case which, Error underlying)
    : which_(which), underlying_(std::move(underlying)) {}

WaveformExportError WaveformExportError::writeFailed(Error underlying) {
    return {Case::writeFailed, std::move(underlying)};
}

std::string WaveformExportError::message() const {
    switch (which_) {
    case Case::writeFailed: return "Could not write the audio file: " + underlying_.message;
    case Case::noSelection: return "Select a region on the waveform first.";
    case Case::emptySelection: return "There is not enough audio to export.";
    case Case::formatUnavailable: return "Could not create the audio format for export.";
    case Case::bufferAllocationFailed: return "Could not allocate memory for export.";
    case Case::tooManyExports: return "Other clips are still being saved. Try again when they are done.";
    }
    return {};
}

} // namespace rewindle
