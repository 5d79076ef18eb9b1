#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

class SharedImage;

/// Which voxels of an input image are vessel.
struct VesselMaskRule {
    /// Values above it are vessel; unset: the default rule (below).
    std::optional<double> threshold;
    /// Vessel is where the rule above does not hold (values at or below the threshold, or not the label).
    bool invert = false;
    /// Only this value is vessel; takes precedence over the threshold.
    std::optional<int> label;
};

/// A binary vessel mask and what was found while making it.
struct VesselMask {
    /// Unsigned 8-bit, 1 for vessel and 0 elsewhere, with the input's dimensions, spacing and matrix and
    /// the label modality; null when the input was refused.
    std::unique_ptr<SharedImage> mask;
    /// Why the input was refused (empty when it was not).
    std::string error;
    std::size_t foregroundVoxels = 0;
};

/// Largest number of distinct values an image may hold to be taken as a mask under the default rule.
constexpr int kMaxMaskValues = 16;

/// Makes the binary vessel mask of a single-channel image. The default rule (no threshold, no label)
/// takes values above 0.5 as vessel (every non-zero value of an integer mask, all labels together), and
/// refuses, naming the options that choose the foreground explicitly, an image that does not look like a
/// mask: one with negative values (a level set or distance map), with more than kMaxMaskValues distinct
/// values (an intensity image), or whose foreground fills more than half of the volume (inverted). An
/// explicit threshold, label or inversion is trusted as given. NaN is never vessel. One pass over the voxels,
/// parallel over z slabs.
VesselMask makeVesselMask(const SharedImage& image, const VesselMaskRule& rule);

} // namespace Tarnwick
