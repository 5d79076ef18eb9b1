#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransformAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>
#include <TarnwickLib/IO/ImageSetTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <mutex>

namespace Tarnwick {

HostAlgorithmFactory::HostAlgorithmFactory() : AlgorithmFactory("Image") {
    registerAlgorithm<ThresholdAlgorithm>("Threshold", "Image;Threshold");
    registerAlgorithm<ImageResamplingAlgorithm>("ImageResampling", "Image;Resample");
    registerAlgorithm<MorphologicalOperationsAlgorithm>("MorphologicalOperations", "Image;Morphological Operations");
    registerAlgorithm<DistanceTransformAlgorithm>("DistanceTransform", "Image;Distance Transform");
}

void registerHostAlgorithms() {
    static std::once_flag once;
    std::call_once(once, [] {
        static HostAlgorithmFactory factory;
        FactoryRegistry::get().addAlgorithmFactory(&factory);
        TarnwickFile::addPlugin(std::make_unique<ImageSetTarnwickFilePlugin>());
    });
}

} // namespace Tarnwick
