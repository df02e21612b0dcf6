#include "host/drawing/FontPreload.h"

#include <fontconfig/fontconfig.h>

namespace rewindle {

// The library keeps the first configuration that is ready, for everybody, and throws away one that comes second.
FontPreload::FontPreload() : reader_([] { FcInit(); }) {}

} // namespace rewindle
