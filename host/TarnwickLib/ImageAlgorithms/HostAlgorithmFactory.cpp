#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/IO/ImageSetTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <mutex>

namespace Tarnwick {

HostAlgorithmFactory::HostAlgorithmFactory() : AlgorithmFactory("Image") {}

void registerHostAlgorithms() {
    static std::once_flag once;
    std::call_once(once, [] {
        static HostAlgorithmFactory factory;
        FactoryRegistry::get().addAlgorithmFactory(&factory);
        TarnwickFile::addPlugin(std::make_unique<ImageSetTarnwickFilePlugin>());
    });
}

} // namespace Tarnwick
