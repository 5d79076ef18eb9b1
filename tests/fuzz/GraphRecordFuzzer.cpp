// Fuzzes the graph record reader through the file plug-in: any bytes must load or fail cleanly.

#include "FuzzSupport.h"

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    Tarnwick::GraphTarnwickFilePlugin plugin(Tarnwick::GraphTarnwickFilePlugin::graphTypeId);
    std::unique_ptr<Tarnwick::Data> graph(plugin.loadInstance(Tarnwick::GraphTarnwickFilePlugin::graphTypeId, 1));
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    plugin.load(Tarnwick::GraphTarnwickFilePlugin::graphTypeId, graph.get(), in, nullptr);
    return 0;
}
