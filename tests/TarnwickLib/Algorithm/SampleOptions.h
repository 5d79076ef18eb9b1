#pragma once

#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Algorithm/SubProperty.h>

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Tarnwick::Test {

enum class Shape { Circle = 0, Square = 1, Star = 2 };

/// A group with two members, used as a sub-property.
struct LineOptions : Configurable {
    LineOptions() = default;
    LineOptions(const LineOptions& other) : Configurable(other), width(other.width), colour(other.colour) {
        width.setParentFromCopy(this);
        colour.setParentFromCopy(this);
    }
    LineOptions& operator=(const LineOptions&) = default;

    Parameter<double> width{"width", 3.0, this};
    Parameter<Eigen::Vector4d> colour{"colour", Eigen::Vector4d(0, 0, 1, 1), this};
};

/// One parameter of every supported kind.
struct SampleOptions : Configurable {
    SampleOptions() {
        shape.setAttribute("values", "Circle, Square, Star");
        count.setAttribute("min", "0");
        count.setAttribute("max", "100");
    }

    Parameter<bool> enabled{"enabled", true, this};
    Parameter<int> count{"count", 5, this};
    Parameter<unsigned long> nodeId{"nodeId", 7ul, this};
    Parameter<float> scale{"scale", 0.5f, this};
    Parameter<double> minVesselDiameter{"minVesselDiameter", 1.0, this};
    Parameter<std::string> title{"title", "vessels", this};
    Parameter<std::optional<std::string>> featureName{"featureName", std::nullopt, this};
    Parameter<std::optional<int>> closeHolesSize{"closeHolesSize", 2, this};
    Parameter<Eigen::Vector4i> box{"box", Eigen::Vector4i(1, 2, 3, 4), this};
    Parameter<Shape> shape{"shape", Shape::Square, this};
    SubProperty<LineOptions> line{"line", LineOptions(), this};
};

} // namespace Tarnwick::Test
