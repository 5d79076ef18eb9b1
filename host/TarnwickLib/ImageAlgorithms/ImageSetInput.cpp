#include <TarnwickLib/ImageAlgorithms/ImageSetInput.h>

#include <TarnwickCore/Log.h>

namespace Tarnwick::ImageSetInput {

bool requireImages(Algorithm& algorithm, const SharedImageSet& images, std::string_view name) {
    return !images.empty() || fail(algorithm, Algorithm::IncompleteInput, name, "the input image set is empty.");
}

bool fail(Algorithm& algorithm, int status, std::string_view name, std::string_view message) {
    TW_LOG_ERROR("{}: {}", name, message);
    algorithm.setStatus(status);
    return false;
}

std::unique_ptr<SharedImageSet> outputSet(const SharedImageSet& input,
                                          std::vector<std::shared_ptr<SharedImage>> results) {
    auto output = std::make_unique<SharedImageSet>(input.name());
    for (auto& image : results)
        output->add(std::move(image));
    return output;
}

} // namespace Tarnwick::ImageSetInput
