// Runs the main job (VesselGraphExtractionAlgorithm with its defaults) on a fixed set of synthetic
// phantoms and reports, per phantom and pooled over all of them: diameter bias and |error| and recall per
// band of true radius, branch-point F1, spurious terminal branches per true endpoint, cycles and time.
// usage: tarnwick-phantom-accuracy [--export DIR | --graphs DIR] [CASE ...]      (no case: all of them)
//   --export DIR  writes each phantom as DIR/CASE.nii.gz (for other programs) and runs nothing;
//   --graphs DIR  scores DIR/CASE.graphml (world positions, edge feature "diameter") instead of running the
//                 main job, e.g. the output of another build's `tarnwick-cli extract`.
// Phantom voxels are inside exactly when their centre lies within the true radius of a centerline.
#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include "CenterlineScore.h"
#include "VesselPhantom.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Tarnwick::VesselPhantom;

struct Case {
    const char* name;
    VesselPhantom::Options options;
};

VesselPhantom::Options tree(int size, double maxRadius, double minRadius, std::uint32_t seed) {
    VesselPhantom::Options options;
    options.size = size;
    options.maxRadiusVoxels = maxRadius;
    options.minRadiusVoxels = minRadius;
    options.seed = seed;
    return options;
}

std::vector<Case> cases() {
    std::vector<Case> all;
    all.push_back({"tree384", tree(384, 10, 1.0, 1)});
    all.push_back({"tree384b", tree(384, 14, 1.0, 2)}); // 187 bifurcations
    VesselPhantom::Options bumpy = tree(128, 6, 1.5, 3);
    bumpy.bumps = 25;
    all.push_back({"bumps128", bumpy});
    all.push_back({"thin128", tree(128, 3, 0.6, 4)});
    all.push_back({"thin128b", tree(128, 2.5, 0.6, 5)});
    VesselPhantom::Options anisotropic = tree(160, 6, 1.0, 6);
    anisotropic.spacing = Eigen::Vector3d(0.6, 0.6, 1.2);
    all.push_back({"anisotropic160", anisotropic});
    VesselPhantom::Options oblique = tree(128, 6, 1.0, 7);
    oblique.oblique = true;
    oblique.spacing = Eigen::Vector3d(0.5, 0.7, 0.6);
    all.push_back({"oblique128", oblique});
    VesselPhantom::Options flat = tree(256, 8, 1.0, 8);
    flat.twoD = true;
    all.push_back({"twoD256", flat});
    VesselPhantom::Options loops = tree(128, 6, 1.0, 9);
    loops.loops = true;
    all.push_back({"loops128", loops});
    VesselPhantom::Options holes = tree(128, 8, 1.5, 10);
    holes.holes = true;
    holes.noise = 0.15;
    all.push_back({"holes128", holes});
    return all;
}

} // namespace

int main(int argc, char** argv) {
    using namespace Tarnwick;
    Log::setGlobalLevel(Log::Error);
    std::string exportFolder, graphFolder;
    std::vector<std::string> names;
    for (int a = 1; a < argc; ++a) {
        const std::string arg = argv[a];
        if ((arg == "--export" || arg == "--graphs") && a + 1 < argc)
            (arg == "--export" ? exportFolder : graphFolder) = argv[++a];
        else
            names.push_back(arg);
    }
    std::vector<Test::CenterlineScore> scores;
    int run = 0;
    for (const Case& c : cases()) {
        if (!names.empty() && std::find(names.begin(), names.end(), c.name) == names.end())
            continue;
        ++run;
        const VesselPhantom phantom(c.options);
        SharedImageSet set(phantom.mask());
        if (!exportFolder.empty()) {
            if (!DataFileIO::save(exportFolder + "/" + c.name + ".nii.gz", DataList({&set})))
                return 1;
            scores.emplace_back();
            continue;
        }
        std::unique_ptr<Graph> graph;
        Timer timer;
        if (graphFolder.empty()) {
            VesselGraphExtractionAlgorithm job(set);
            job.compute();
            if (job.status() == Algorithm::Success)
                graph = job.takeOutput().extractFirst<Graph>();
        } else {
            graph = GraphMLIoAlgorithm::loadFromGraphML(graphFolder + "/" + c.name + ".graphml");
        }
        const double seconds = timer.elapsedSeconds();
        if (!graph) {
            fmt::print("{}: no graph\n", c.name);
            continue;
        }
        const VesselPhantom::Centerlines truth = phantom.truth();
        const Eigen::Vector3d spacing = phantom.descriptor().spacing;
        const double voxel = c.options.twoD ? spacing.head<2>().maxCoeff() : spacing.maxCoeff();
        scores.push_back(Test::scoreCenterlines(*graph, {truth.points, truth.edges, truth.diameters}, voxel));
        const Test::CenterlineScore& score = scores.back();
        fmt::print("== {} ({:.2f} s): {}\n{}", c.name, seconds, score.describe(), Test::describeBands(score.bands));
    }
    if (run == 0) {
        fmt::print(stderr, "no such case; the cases are:");
        for (const Case& c : cases())
            fmt::print(stderr, " {}", c.name);
        fmt::print(stderr, "\n");
        return 2;
    }
    if (!exportFolder.empty())
        return 0;
    if (scores.size() > 1)
        fmt::print("== pooled over {} phantoms\n{}", scores.size(), Test::describeBands(Test::poolBands(scores)));
    return scores.size() == static_cast<std::size_t>(run) ? 0 : 1;
}
