// Command-line driver for the GraphML comparison with NetworkX (run_graphml_vs_networkx.sh): one
// operation per process, so the peak memory of each can be measured from outside.
//
//   tarnwick-graphml-tool generate NODES EDGES PREFIX   writes PREFIX.graphml and the raw arrays
//   tarnwick-graphml-tool write PREFIX OUT.graphml      builds the graph from the arrays, exports it
//   tarnwick-graphml-tool read FILE.graphml             imports the file
// write and read print the seconds the GraphML operation alone took.
#include "BenchGraph.h"

#include <TarnwickCore/Timer.h>
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

#include <fmt/format.h>

#include <string>

using namespace Tarnwick;

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "generate" && argc == 5) {
        const Bench::GraphArrays arrays = Bench::makeVesselArrays(std::stoul(argv[2]), std::stoul(argv[3]));
        const auto graph = Bench::toGraph(arrays);
        GraphMLIoAlgorithm saver(*graph);
        const bool ok =
            Bench::writeArrays(arrays, argv[4]) && saver.saveToGraphML(*graph, std::string(argv[4]) + ".graphml");
        fmt::print("{} nodes, {} edges\n", graph->numNodes(), graph->numEdges());
        return ok ? 0 : 1;
    }
    if (mode == "write" && argc == 4) {
        Bench::GraphArrays arrays;
        if (!Bench::readArrays(argv[2], arrays))
            return 1;
        const auto graph = Bench::toGraph(arrays);
        arrays = {};
        GraphMLIoAlgorithm saver(*graph);
        Timer timer;
        const bool ok = saver.saveToGraphML(*graph, argv[3]);
        fmt::print("{:.3f}\n", timer.elapsedSeconds());
        return ok ? 0 : 1;
    }
    if (mode == "read" && argc == 3) {
        Timer timer;
        const auto graph = GraphMLIoAlgorithm::loadFromGraphML(std::string(argv[2]));
        fmt::print("{:.3f}\n", timer.elapsedSeconds());
        return graph ? 0 : 1;
    }
    fmt::print(stderr, "usage: {} generate NODES EDGES PREFIX | write PREFIX OUT.graphml | read FILE.graphml\n",
               argv[0]);
    return 2;
}
