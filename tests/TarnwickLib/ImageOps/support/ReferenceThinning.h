#pragma once

#include "MaskVolume.h"

#include <array>
#include <cstdint>

namespace Tarnwick::Test {

/// Straightforward transcription of the Lee–Kashyap–Chu thinning, for comparison with the optimised
/// code: full sweeps over a zero-padded byte volume, the neighbourhood as 27 bytes, the Euler table
/// applied octant by octant, connectivity by explicit breadth-first search. Slow; small volumes only.
MaskVolume referenceThinning(const MaskVolume& mask);

/// The three neighbourhood tests on 27 bytes, numbered as in the method's description:
/// n[9 * (dz + 1) + 3 * (dx + 1) + (dy + 1)], the centre being n[13].
using Neighborhood = std::array<std::uint8_t, 27>;
bool referenceIsEndpoint(const Neighborhood& n);
bool referenceIsEulerInvariant(const Neighborhood& n);
bool referenceIsSimple(const Neighborhood& n);

} // namespace Tarnwick::Test
