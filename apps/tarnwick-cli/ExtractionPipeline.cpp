#include "ExtractionPipeline.h"
#include "ConfiguredAlgorithm.h"
#include "MaskDiameterMeasurement.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Cli {

namespace {

/// Runs `algorithm` as one task of `progress`; true on success.
bool runStage(Algorithm& algorithm, const char* stage, Progress& progress) {
    progress.start(stage);
    algorithm.setProgress(&progress);
    algorithm.compute();
    algorithm.setProgress(nullptr);
    progress.end();
    return algorithm.status() == Algorithm::Success;
}

} // namespace

std::unique_ptr<Data> extractCenterlines(SharedImageSet& mask, const ExtractionSettings& settings, Progress& progress) {
    std::unique_ptr<Algorithm> extraction = createConfiguredAlgorithm(
        "CenterlineGraphExtraction", DataList({&mask}),
        {{"minVesselDiameter", fmt::format("{}", settings.minVesselDiameter)},
         {"graphSmoothing", fmt::format("{}", settings.graphSmoothing)},
         {"prunePathsSensitivity", fmt::format("{}", settings.pruneSensitivity)},
         {"removeCycles", settings.removeCycles ? "true" : "false"},
         {"closeHolesSize", settings.closeHoles > 0 ? std::to_string(settings.closeHoles) : ""}});
    if (!extraction)
        return nullptr;
    // The extraction's own steps are the top-level tasks here.
    extraction->setProgress(&progress);
    extraction->compute();
    extraction->setProgress(nullptr);
    std::vector<std::unique_ptr<Data>> output = extraction->takeOutput().release();
    if (extraction->status() != Algorithm::Success || output.empty() || !output.front()) {
        TW_LOG_ERROR("Centerline extraction failed");
        return nullptr;
    }
    std::unique_ptr<Data> graph = std::move(output.front());

    std::unique_ptr<Algorithm> lengths =
        createConfiguredAlgorithm("ComputeFeatures", DataList({graph.get()}), {{"mode", "EdgeLength"}});
    if (!lengths || !runStage(*lengths, "length", progress)) {
        TW_LOG_ERROR("Measuring the edge lengths failed");
        return nullptr;
    }
    progress.start("diameters");
    const bool measured = measureVesselDiameters(*graph, mask);
    progress.end();
    if (!measured)
        return nullptr;
    return graph;
}

} // namespace Tarnwick::Cli
