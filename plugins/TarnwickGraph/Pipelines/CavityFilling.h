#pragma once

#include <cstddef>

namespace Tarnwick {

class SharedImage;

/// Fills the enclosed cavities of a binary mask (single-channel unsigned 8-bit, non-zero inside): every
/// background voxel that is not connected to the volume border through background (face neighbours: 6 in
/// 3-D, 4 in a single slice) becomes 1. Unlike a morphological closing, this never joins two separate
/// objects, however close they are, and never rounds off their surfaces: it only removes holes that
/// thinning would turn into loops or surfaces. Returns the number of voxels filled (0 for any other
/// image, and for masks of 2^32 voxels or more, which are left as they are). One sequential pass over the
/// voxels, then work and about 13 bytes of scratch per run of background along x.
std::size_t fillEnclosedCavities(SharedImage& mask);

} // namespace Tarnwick
