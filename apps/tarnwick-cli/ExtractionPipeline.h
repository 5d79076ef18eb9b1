#pragma once

#include <TarnwickCore/Progress.h>
#include <TarnwickLib/Data/Data.h>

#include <memory>

namespace Tarnwick {
class SharedImageSet;
}

namespace Tarnwick::Cli {

/// The settings of the main job's centerline extraction; the defaults are the `extract` command's. The
/// smoothing is lighter than the algorithm's own default (2.0), which pulls the centerlines off the
/// vessel axes near junctions and along loops on the synthetic trees of the accuracy tests.
struct ExtractionSettings {
    double minVesselDiameter = 1.0; ///< millimetres; coarsens the working grid
    double graphSmoothing = 0.5;    ///< smoothing strength of the positions; 0 disables it
    double pruneSensitivity = 1.0;  ///< side branches shorter than this times the local radius go
    bool removeCycles = false;      ///< break every cycle (the result is a forest)
    int closeHoles = 2;             ///< closing radius in voxels before thinning; 0 disables it
};

/// Extracts the centerline graph of the single image in `mask` with the graph plug-in's catalogue
/// algorithms and adds the edge features "length" and "diameter" (measured against the mask). Every
/// top-level step is a task of `progress`. Returns the graph (positions in its own placement), or null
/// with the reason logged (plug-in not loaded, extraction or measuring failed).
std::unique_ptr<Data> extractCenterlines(SharedImageSet& mask, const ExtractionSettings& settings, Progress& progress);

} // namespace Tarnwick::Cli
