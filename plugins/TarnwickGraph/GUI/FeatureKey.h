#pragma once

#include <QMetaType>

#include <string>

namespace Tarnwick::detail {

/// One feature of a graph: a node or an edge feature, by name. The item data of the feature combo
/// box of GraphDataController, registered with Qt as "Tarnwick::detail::FeatureKey" and
/// "Tarnwick::FeatureKey".
struct FeatureKey {
    enum Kind : int { Node = 0, Edge = 1 };

    Kind kind = Edge;
    std::string name;

    bool operator==(const FeatureKey& other) const { return kind == other.kind && name == other.name; }
    bool operator!=(const FeatureKey& other) const { return !(*this == other); }
};

} // namespace Tarnwick::detail

Q_DECLARE_METATYPE(Tarnwick::detail::FeatureKey)
