// Fuzzes the .tnw container with the image set and graph record plug-ins registered: any bytes must
// give a data list or an error message.

#include "FuzzSupport.h"

#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/IO/ImageSetTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    static const bool registered = [] {
        Tarnwick::TarnwickFile::addPlugin(std::make_unique<Tarnwick::ImageSetTarnwickFilePlugin>());
        Tarnwick::TarnwickFile::addPlugin(
            std::make_unique<Tarnwick::GraphTarnwickFilePlugin>(Tarnwick::GraphTarnwickFilePlugin::graphTypeId));
        return true;
    }();
    (void)registered;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::string error;
    const auto list = Tarnwick::TarnwickFile::read(in, nullptr, error);
    if (!list && error.empty())
        std::abort();
    return 0;
}
