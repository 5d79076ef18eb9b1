#pragma once

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>

namespace Tarnwick {

/// The host's own algorithm catalogue, factory name "Image": image operations offered in the menu
/// category "Image", each created on a selection of exactly one image set:
///
///     identifier               menu name                         class
///     Threshold                Image;Threshold                   ThresholdAlgorithm
///     ImageResampling          Image;Resample                    ImageResamplingAlgorithm
///     MorphologicalOperations  Image;Morphological Operations    MorphologicalOperationsAlgorithm
///     DistanceTransform        Image;Distance Transform          DistanceTransformAlgorithm
class HostAlgorithmFactory : public AlgorithmFactory {
public:
    HostAlgorithmFactory();
};

/// Registers what the host itself contributes to the process-wide registries: a HostAlgorithmFactory
/// with the FactoryRegistry and the image set record (ImageSetTarnwickFilePlugin) with TarnwickFile.
/// Applications call it once at start-up, before loading plug-ins; further calls do nothing. The
/// factory lives until the process ends.
void registerHostAlgorithms();

} // namespace Tarnwick
