// Fuzzes the GraphML reader: any text must give a graph or null.

#include "FuzzSupport.h"

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/GraphMLReader.h>

#include <cstdint>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TarnwickFuzz::quietLog();
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    Tarnwick::GraphMLReader::read(in);
    return 0;
}
