#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickCore/Progress.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/IO/GraphMLReader.h>
#include <TarnwickGraph/IO/GraphMLWriter.h>
#include <TarnwickLib/IO/AtomicFileWriter.h>

#include <fstream>

namespace Tarnwick {

GraphMLIoAlgorithm::GraphMLIoAlgorithm() : IoAlgorithm(Load) {
    setupParameters();
}

GraphMLIoAlgorithm::GraphMLIoAlgorithm(const Graph& graph) : IoAlgorithm(Save), m_graph(&graph) {
    setupParameters();
}

void GraphMLIoAlgorithm::setupParameters() {
    p_exportFeatures.setAttribute("useroption", "rw");
}

bool GraphMLIoAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const Graph* graph = data.size() == 1 ? dynamic_cast<const Graph*>(data[0]) : nullptr;
    if (!data.empty() && !graph)
        return false;
    if (out)
        *out = graph ? new GraphMLIoAlgorithm(*graph) : new GraphMLIoAlgorithm();
    return true;
}

void GraphMLIoAlgorithm::compute() {
    if (ioMode() == Save) { // a saver always has its graph (see the constructors)
        setStatus(saveToGraphML(*m_graph, location(), progress()) ? Success : Error);
        return;
    }
    m_output.clear();
    std::unique_ptr<Graph> graph = loadFromGraphML(location());
    setStatus(graph ? Success : Error);
    if (graph)
        m_output.add(std::move(graph));
}

std::unique_ptr<Graph> GraphMLIoAlgorithm::loadFromGraphML(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        TW_LOG_ERROR("Could not open {} for reading.", path);
        return nullptr;
    }
    return loadFromGraphML(in);
}

std::unique_ptr<Graph> GraphMLIoAlgorithm::loadFromGraphML(std::istream& in) {
    return GraphMLReader::read(in);
}

bool GraphMLIoAlgorithm::saveToGraphML(const Graph& graph, const std::string& path, Progress* progress) const {
    AtomicFileWriter file(path);
    std::string error;
    if (!file.open(error)) {
        TW_LOG_ERROR("Failed to open '{}'.", path);
        return false;
    }
    // The task ends only once the file is in place, so that "done" never precedes a failed rename.
    if (progress)
        progress->start("Writing GraphML");
    try {
        if (!GraphMLWriter::write(graph, p_exportFeatures, file.stream())) {
            const std::string cause = file.writeError();
            error = "cannot write '" + path + "': " + (cause.empty() ? "the stream failed" : cause);
        } else {
            file.commit(error);
        }
    } catch (const std::exception& exception) {
        error = exception.what();
    }
    if (!error.empty())
        TW_LOG_ERROR("Failed to write GraphML: {}", error);
    if (progress)
        error.empty() ? progress->end() : progress->fail();
    return error.empty();
}

} // namespace Tarnwick
