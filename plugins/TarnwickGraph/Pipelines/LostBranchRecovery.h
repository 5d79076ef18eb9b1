#pragma once

#include <cstddef>

namespace Tarnwick {

class Graph;
class SharedImage;

/// Thinning removes its candidates one by one in memory order, re-checking only that each removal keeps
/// the object connected. A free vessel end that runs along an image axis towards lower indices, with a
/// cross-section of even width, is then eaten from its tip up to the next junction within one pass: the
/// tip is never a single line with an end point while it is being removed. The same vessel pointing the
/// other way survives. So the mask is thinned once more with every axis reversed, and every piece of that
/// skeleton further than its local radius plus two voxels from the graph (nodes of the graph cover a
/// ball of the mask's inner radius at them, measured along the six axis directions, plus two voxels) is
/// added as a branch: the longest chain of the piece, linked to the graph node nearest to where the
/// piece leaves the covered region. Positions are voxel centres of the mask.
///
/// `mask`: the mask the graph was thinned from (unsigned 8-bit, non-zero inside, the graph's positions
/// mapped through their matrixToWorld into its world). Returns the number of branches added; 0 for any
/// other mask. Cost: one more thinning, plus O(nodes x (radius + 2)^3) to mark the covered voxels.
std::size_t recoverLostBranches(Graph& graph, const SharedImage& mask);

} // namespace Tarnwick
