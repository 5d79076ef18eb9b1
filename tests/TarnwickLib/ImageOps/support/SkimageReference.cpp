#include "SkimageReference.h"

#include "support/TempDir.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace Tarnwick::Test {

bool skimageAvailable() {
    return std::system("/usr/bin/python3 -c 'import skimage.morphology' > /dev/null 2>&1") == 0;
}

std::optional<std::vector<MaskVolume>> skimageSkeletons(const std::vector<MaskVolume>& masks) {
    TempDir dir;
    std::string command =
        "/usr/bin/python3 " TARNWICK_SOURCE_DIR "/tests/TarnwickLib/ImageOps/skeletonize_reference.py";
    for (std::size_t i = 0; i < masks.size(); ++i) {
        const std::string input = dir.file("mask" + std::to_string(i) + ".u8");
        std::ofstream(input, std::ios::binary)
            .write(reinterpret_cast<const char*>(masks[i].voxels.data()),
                   static_cast<std::streamsize>(masks[i].voxels.size()));
        command += " " + input + " " + std::to_string(masks[i].dims.x()) + " " + std::to_string(masks[i].dims.y()) +
                   " " + std::to_string(masks[i].dims.z()) + " " + dir.file("skeleton" + std::to_string(i) + ".u8");
    }
    if (std::system(command.c_str()) != 0)
        return std::nullopt;
    std::vector<MaskVolume> skeletons;
    for (std::size_t i = 0; i < masks.size(); ++i) {
        std::ifstream in(dir.file("skeleton" + std::to_string(i) + ".u8"), std::ios::binary);
        MaskVolume skeleton(masks[i].dims);
        skeleton.voxels.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (skeleton.voxels.size() != masks[i].voxels.size())
            return std::nullopt;
        skeletons.push_back(std::move(skeleton));
    }
    return skeletons;
}

} // namespace Tarnwick::Test
