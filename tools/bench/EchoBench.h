#pragma once

#include "bench/LaneBench.h"

namespace tavrin {

/// A meeting of two people whose microphone hears the loudspeaker: what of the other side's words comes back as Me, and
/// what of the user's own gets lost, at several strengths of the leak. Throws what reading and the engine throw.
void measureEcho(const LaneMaterial& material, Report& report);

} // namespace tavrin
