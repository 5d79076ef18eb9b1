#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <memory>
#include <string_view>
#include <vector>

/// Input and output handling shared by the host's image algorithms, which all work on one image set.
namespace Tarnwick::ImageSetInput {

/// The createCompatible of an algorithm class T constructed from one image set: the selection must
/// hold exactly one item, and that item must be an image set (an empty set fits too; compute() then
/// reports it). With a non-null `out`, a new T on that set is stored there, owned by the caller.
template <class T>
bool createCompatible(const DataList& data, Algorithm** out) {
    auto* images = data.size() == 1 ? dynamic_cast<SharedImageSet*>(data[0]) : nullptr;
    if (!images)
        return false;
    if (out)
        *out = new T(*images); // ownership passes to the caller through the factory interface
    return true;
}

/// Checks at the start of compute() that `images` holds at least one image. Otherwise logs
/// "<name>: the input image set is empty.", sets IncompleteInput on `algorithm` and returns false.
bool requireImages(Algorithm& algorithm, const SharedImageSet& images, std::string_view name);

/// Logs "<name>: <message>" as an error, sets `status` on `algorithm` and returns false.
bool fail(Algorithm& algorithm, int status, std::string_view name, std::string_view message);

/// A new set named like `input` holding `results` in order; it takes its placement and modality from
/// the first result.
std::unique_ptr<SharedImageSet> outputSet(const SharedImageSet& input,
                                          std::vector<std::shared_ptr<SharedImage>> results);

/// Applies `operation(image, index)`, which returns a new image or null on failure, to every image of
/// `images` and returns the results as outputSet(). On the first failure logs "<name>: failed on image
/// <index + 1>.", sets Error on `algorithm` and returns null.
template <typename Operation>
std::unique_ptr<SharedImageSet> mapImages(Algorithm& algorithm, const SharedImageSet& images, std::string_view name,
                                          Operation operation) {
    std::vector<std::shared_ptr<SharedImage>> results;
    for (int i = 0; i < images.size(); ++i) {
        results.emplace_back(operation(*images.get(i), i));
        if (!results.back()) {
            fail(algorithm, Algorithm::Error, name, "failed on image " + std::to_string(i + 1) + ".");
            return nullptr;
        }
    }
    return outputSet(images, std::move(results));
}

} // namespace Tarnwick::ImageSetInput
