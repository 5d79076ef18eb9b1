// Graph persistence benchmarks on a vessel-like graph of one million nodes and one million edges
// with the edge features "diameter" and "length": the binary graph record written to and read from
// memory and through the host's data file on disk (bytes per second), building the same graph with
// addNode/addEdge for comparison, and GraphML export and import.
#include "BenchGraph.h"

#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>
#include <TarnwickGraph/IO/GraphMLReader.h>
#include <TarnwickGraph/IO/GraphMLWriter.h>
#include <TarnwickGraph/IO/GraphRecord.h>
#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <sstream>

namespace Tarnwick {
namespace {

constexpr std::size_t nodeCount = 1000000;

const Graph& benchGraph() {
    static const std::unique_ptr<Graph> graph = Bench::toGraph(Bench::makeVesselArrays(nodeCount, nodeCount));
    return *graph;
}

std::string recordBytes() {
    std::ostringstream out;
    GraphRecord::write(benchGraph(), out);
    return out.str();
}

std::string scratchFile(const char* name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

void BM_RecordWrite(benchmark::State& state) {
    const Graph& graph = benchGraph();
    const std::size_t bytes = recordBytes().size();
    for (auto _ : state) {
        state.PauseTiming();
        std::ostringstream out(std::string(bytes, '\0')); // writes overwrite: no growth while timed
        state.ResumeTiming();
        GraphRecord::write(graph, out);
        benchmark::DoNotOptimize(out.tellp());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB"] = double(bytes) / 1e6;
}
BENCHMARK(BM_RecordWrite)->Unit(benchmark::kMillisecond)->Iterations(5);

/// Reads a record into a fresh graph once before timing: the first graph of a
/// process also pays for the kernel handing out its memory (page faults), which says more about the
/// machine than about the reader.
void warmUp(const std::string& bytes) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    std::istringstream in(bytes);
    GraphRecord::read(graph, in);
}

void BM_RecordRead(benchmark::State& state) {
    const std::string bytes = recordBytes();
    warmUp(bytes);
    for (auto _ : state) {
        auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
        std::istringstream in(bytes);
        if (!GraphRecord::read(*graph, in))
            state.SkipWithError("record read failed");
        benchmark::DoNotOptimize(graph->numEdges());
        state.PauseTiming(); // freeing the graph is not part of reading
        graph.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_RecordRead)->Unit(benchmark::kMillisecond)->Iterations(3);

/// The same nodes and edges added with addNode and addEdge: what building the graph costs by itself,
/// the floor for reading any format into it.
void BM_BuildGraphDirectly(benchmark::State& state) {
    const Bench::GraphArrays arrays = Bench::makeVesselArrays(nodeCount, nodeCount);
    warmUp(recordBytes());
    for (auto _ : state) {
        auto graph = Bench::toGraph(arrays);
        benchmark::DoNotOptimize(graph->numEdges());
        state.PauseTiming();
        graph.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_BuildGraphDirectly)->Unit(benchmark::kMillisecond)->Iterations(3);

/// The record inside a .tnw file on disk, through TarnwickFile (temporary file, rename, bounded reading).
void BM_DataFileSaveAndLoad(benchmark::State& state) {
    auto plugin = std::make_unique<GraphTarnwickFilePlugin>();
    const TarnwickFilePlugin* registered = plugin.get();
    TarnwickFile::addPlugin(std::move(plugin));
    Graph& graph = const_cast<Graph&>(benchGraph());
    const std::string path = scratchFile("tarnwick-persistence-bench.tnw");
    const bool save = state.range(0) == 0;
    TarnwickFile::save(path, DataList{&graph});
    for (auto _ : state) {
        if (save) {
            if (!TarnwickFile::save(path, DataList{&graph}))
                state.SkipWithError("save failed");
        } else {
            auto loaded = TarnwickFile::load(path);
            if (!loaded)
                state.SkipWithError("load failed");
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * std::filesystem::file_size(path)));
    std::filesystem::remove(path);
    TarnwickFile::removePlugin(registered);
}
BENCHMARK(BM_DataFileSaveAndLoad)->Arg(0)->Arg(1)->ArgNames({"load"})->Unit(benchmark::kMillisecond);

void BM_GraphMLWrite(benchmark::State& state) {
    const Graph& graph = benchGraph();
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::ostringstream out;
        GraphMLWriter::write(graph, true, out);
        bytes = out.tellp();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_GraphMLWrite)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_GraphMLRead(benchmark::State& state) {
    std::ostringstream out;
    GraphMLWriter::write(benchGraph(), true, out);
    const std::string text = out.str();
    for (auto _ : state) {
        std::istringstream in(text);
        auto graph = GraphMLReader::read(in);
        if (!graph)
            state.SkipWithError("GraphML read failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_GraphMLRead)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
} // namespace Tarnwick

BENCHMARK_MAIN();
