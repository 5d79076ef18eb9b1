#include <TarnwickGraph/Algorithms/GraphSelection.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Data/DataList.h>
#include <TarnwickLib/Image/SharedImageSet.h>

namespace Tarnwick {

std::optional<GraphWithOptionalImage> graphWithOptionalImage(const DataList& data) {
    const auto graphs = data.getAll<Graph>();
    const auto images = data.getAll<SharedImageSet>();
    if (graphs.size() != 1 || images.size() > 1 || graphs.size() + images.size() != data.size())
        return std::nullopt;
    return GraphWithOptionalImage{graphs.front(), images.empty() ? nullptr : images.front()};
}

} // namespace Tarnwick
