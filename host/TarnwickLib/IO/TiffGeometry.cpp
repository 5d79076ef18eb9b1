#include <TarnwickLib/IO/TiffGeometry.h>

#include <Eigen/LU>
#include <fmt/format.h>

#include <cmath>
#include <locale>
#include <sstream>

namespace Tarnwick {

namespace {

const char* const signature = "tarnwick-geometry 1";

/// Reads `count` numbers after the word `name`; false when the line is something else.
bool readNumbers(std::istream& in, const char* name, double* values, int count) {
    std::string word;
    if (!(in >> word) || word != name)
        return false;
    for (int i = 0; i < count; ++i)
        if (!(in >> values[i]) || !std::isfinite(values[i]))
            return false;
    return true;
}

} // namespace

std::string TiffGeometry::text() const {
    std::string result =
        fmt::format("{}\nspacing {:.17g} {:.17g} {:.17g}\nmatrix", signature, spacing.x(), spacing.y(), spacing.z());
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            result += fmt::format(" {:.17g}", matrixToWorld(row, column));
    return result + "\n";
}

std::optional<TiffGeometry> TiffGeometry::parse(const std::string& text, const Eigen::Vector2d& tagSpacing) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    std::string line;
    if (!std::getline(in, line) || line != signature)
        return std::nullopt;
    TiffGeometry g;
    double rows[12];
    if (!readNumbers(in, "spacing", g.spacing.data(), 3) || !readNumbers(in, "matrix", rows, 12))
        return std::nullopt;
    for (int i = 0; i < 12; ++i)
        g.matrixToWorld(i / 4, i % 4) = rows[i];
    // The resolution tags hold 1/spacing as a fraction of 32-bit integers, written from a float.
    for (int axis = 0; axis < 2; ++axis)
        if (!(std::abs(g.spacing[axis] - tagSpacing[axis]) <= 1e-5 * g.spacing[axis]))
            return std::nullopt;
    if ((g.spacing.array() <= 0).any() || std::abs(g.matrixToWorld.topLeftCorner<3, 3>().determinant()) < 1e-12)
        return std::nullopt;
    return g;
}

} // namespace Tarnwick
