#include <TarnwickLib/Data/Colormap.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

namespace {

/// A colour of a published 256-entry table at its index (0..255).
struct ControlPoint {
    int index;
    float r, g, b;
};

// Control points of the published 256-entry tables. Entries between two control points are linear
// interpolations of them, within 0.4/255 of the published values.
constexpr ControlPoint viridisPoints[] = {
    {0, 0.267004, 0.004874, 0.329415},   {6, 0.274952, 0.037752, 0.364543},   {16, 0.282327, 0.094955, 0.417331},
    {27, 0.281887, 0.150881, 0.465405},  {38, 0.273006, 0.204520, 0.501721},  {49, 0.257322, 0.256130, 0.526563},
    {63, 0.231674, 0.318106, 0.544834},  {83, 0.194100, 0.399323, 0.555565},  {111, 0.150476, 0.504369, 0.557430},
    {130, 0.125394, 0.574318, 0.549086}, {140, 0.119423, 0.611141, 0.538982}, {148, 0.124780, 0.640461, 0.527068},
    {155, 0.140210, 0.665859, 0.513427}, {162, 0.166383, 0.690856, 0.496502}, {170, 0.208030, 0.718701, 0.472873},
    {179, 0.266941, 0.748751, 0.440573}, {189, 0.344074, 0.780029, 0.397381}, {201, 0.449368, 0.813768, 0.335384},
    {214, 0.575563, 0.844566, 0.256415}, {232, 0.762373, 0.876424, 0.137064}, {237, 0.814576, 0.883393, 0.110347},
    {241, 0.855810, 0.888601, 0.097452}, {244, 0.886271, 0.892374, 0.095374}, {247, 0.916242, 0.896091, 0.100717},
    {251, 0.955300, 0.901065, 0.118128}, {255, 0.993248, 0.906157, 0.143936},
};

constexpr ControlPoint infernoPoints[] = {
    {0, 0.001462, 0.000466, 0.013866},   {3, 0.004547, 0.003392, 0.030909},   {10, 0.019373, 0.015133, 0.088767},
    {16, 0.042253, 0.028139, 0.141141},  {25, 0.087411, 0.044556, 0.224813},  {32, 0.129285, 0.047293, 0.290788},
    {38, 0.169575, 0.042489, 0.340874},  {43, 0.204209, 0.037632, 0.373238},  {49, 0.244967, 0.037055, 0.400007},
    {56, 0.290763, 0.045644, 0.418637},  {65, 0.347771, 0.064616, 0.430217},  {77, 0.422549, 0.092501, 0.432714},
    {90, 0.503493, 0.121575, 0.423356},  {103, 0.584521, 0.150294, 0.402385}, {116, 0.664540, 0.181539, 0.369846},
    {130, 0.747127, 0.222378, 0.322856}, {143, 0.817341, 0.270954, 0.270390}, {155, 0.873741, 0.326906, 0.216886},
    {167, 0.919879, 0.393389, 0.160070}, {179, 0.954506, 0.468744, 0.099874}, {191, 0.977092, 0.550850, 0.039050},
    {195, 0.981895, 0.579392, 0.026250}, {199, 0.985315, 0.608422, 0.024202}, {202, 0.986964, 0.630485, 0.030908},
    {206, 0.987926, 0.660250, 0.051750}, {212, 0.986694, 0.705540, 0.095694}, {220, 0.980032, 0.766837, 0.166353},
    {227, 0.969783, 0.820825, 0.238686}, {233, 0.958720, 0.866624, 0.310820}, {238, 0.950018, 0.903409, 0.380271},
    {243, 0.946403, 0.937159, 0.458592}, {247, 0.951740, 0.960587, 0.524203}, {251, 0.966249, 0.980678, 0.587206},
    {255, 0.988362, 0.998364, 0.644924},
};

constexpr double pi = 3.14159265358979323846;

double clamp01(double v) {
    return std::clamp(v, 0.0, 1.0);
}

template <std::size_t N>
Eigen::Vector3d interpolateControlPoints(const ControlPoint (&points)[N], double t) {
    const double x = t * 255.0;
    const auto* upper = std::find_if(points + 1, points + N - 1, [x](const ControlPoint& p) { return p.index >= x; });
    const ControlPoint& a = *(upper - 1);
    const ControlPoint& b = *upper;
    const double w = clamp01((x - a.index) / (b.index - a.index));
    return Eigen::Vector3d(a.r + w * (b.r - a.r), a.g + w * (b.g - a.g), a.b + w * (b.b - a.b));
}

// Cool-warm divergent map: sRGB -> linear RGB -> XYZ (D65) -> CIELAB -> Msh, interpolated in Msh with
// an unsaturated white mid point of magnitude at least 88 and the hue spin that keeps the path to it
// smooth.
const Eigen::Vector3d whitePoint(0.9505, 1.0, 1.089);

Eigen::Matrix3d rgbToXyzMatrix() {
    Eigen::Matrix3d m;
    m << 0.4124, 0.3576, 0.1805, 0.2126, 0.7152, 0.0722, 0.0193, 0.1192, 0.9505;
    return m;
}

double srgbToLinear(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}
double linearToSrgb(double c) {
    return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1.0 / 2.4) - 0.055;
}
double labF(double v) {
    return v > 0.008856 ? std::cbrt(v) : 7.787 * v + 16.0 / 116.0;
}
double labFInverse(double v) {
    return v > 0.20689 ? v * v * v : (v - 16.0 / 116.0) / 7.787;
}

/// (M, s, h) of an sRGB colour.
Eigen::Vector3d srgbToMsh(const Eigen::Vector3d& rgb) {
    const Eigen::Vector3d linear = rgb.unaryExpr([](double c) { return srgbToLinear(c); });
    const Eigen::Vector3d xyz = rgbToXyzMatrix() * linear;
    const Eigen::Vector3d f = xyz.cwiseQuotient(whitePoint).unaryExpr([](double v) { return labF(v); });
    const double l = 116.0 * f.y() - 16.0, a = 500.0 * (f.x() - f.y()), b = 200.0 * (f.y() - f.z());
    const double m = std::sqrt(l * l + a * a + b * b);
    return {m, std::acos(l / m), std::atan2(b, a)};
}

Eigen::Vector3d mshToSrgb(const Eigen::Vector3d& msh) {
    const double l = msh.x() * std::cos(msh.y());
    const double a = msh.x() * std::sin(msh.y()) * std::cos(msh.z());
    const double b = msh.x() * std::sin(msh.y()) * std::sin(msh.z());
    const double fy = (l + 16.0) / 116.0;
    const Eigen::Vector3d f(a / 500.0 + fy, fy, fy - b / 200.0);
    const Eigen::Vector3d xyz = f.unaryExpr([](double v) { return labFInverse(v); }).cwiseProduct(whitePoint);
    const Eigen::Vector3d linear = rgbToXyzMatrix().inverse() * xyz;
    return linear.unaryExpr([](double c) { return clamp01(linearToSrgb(c)); });
}

/// Hue for an unsaturated colour of magnitude mUnsaturated next to the saturated colour msh.
double adjustHue(const Eigen::Vector3d& msh, double mUnsaturated) {
    if (msh.x() >= mUnsaturated)
        return msh.z();
    const double spin =
        msh.y() * std::sqrt(mUnsaturated * mUnsaturated - msh.x() * msh.x()) / (msh.x() * std::sin(msh.y()));
    return msh.z() > -pi / 3.0 ? msh.z() + spin : msh.z() - spin;
}

Eigen::Vector3d coolWarm(double t) {
    static const Eigen::Vector3d cool = srgbToMsh(Eigen::Vector3d(59, 76, 192) / 255.0);
    static const Eigen::Vector3d warm = srgbToMsh(Eigen::Vector3d(180, 4, 38) / 255.0);
    Eigen::Vector3d from = cool, to = warm;
    // Both ends are saturated and far apart in hue: pass through white.
    const Eigen::Vector3d white(std::max({cool.x(), warm.x(), 88.0}), 0.0, 0.0);
    if (t < 0.5) {
        to = white;
        t *= 2.0;
    } else {
        from = white;
        t = 2.0 * t - 1.0;
    }
    if (from.y() < 0.05)
        from.z() = adjustHue(to, from.x());
    else if (to.y() < 0.05)
        to.z() = adjustHue(from, to.x());
    return mshToSrgb(from + t * (to - from));
}

Eigen::Vector3d presetColor(Colormap::Preset preset, double t) {
    switch (preset) {
    case Colormap::Grayscale:
        return Eigen::Vector3d::Constant(t);
    case Colormap::Jet:
        return {clamp01(1.5 - std::abs(4.0 * t - 3.0)), clamp01(1.5 - std::abs(4.0 * t - 2.0)),
                clamp01(1.5 - std::abs(4.0 * t - 1.0))};
    case Colormap::HotIron:
        return {clamp01(2.0 * t), clamp01(2.0 * t - 1.0), clamp01(4.0 * t - 3.0)};
    case Colormap::Viridis:
        return interpolateControlPoints(viridisPoints, t);
    case Colormap::Inferno:
        return interpolateControlPoints(infernoPoints, t);
    case Colormap::CoolWarm:
        return coolWarm(t);
    }
    return {1.0, 0.0, 1.0};
}

} // namespace

bool Colormap::isValid(int value) {
    const auto all = presets();
    return std::find(all.begin(), all.end(), value) != all.end();
}

Eigen::Vector4f Colormap::color(Preset preset, double t) {
    t = std::isnan(t) ? 0.0 : clamp01(t);
    const Eigen::Vector3d rgb = isValid(preset) ? presetColor(preset, t) : Eigen::Vector3d(1.0, 0.0, 1.0);
    return Eigen::Vector4f(float(rgb.x()), float(rgb.y()), float(rgb.z()), 1.0f);
}

std::vector<Eigen::Vector4f> Colormap::table(Preset preset, int entries) {
    if (entries < 1 || entries > maxEntries || !isValid(preset))
        return {};
    std::vector<Eigen::Vector4f> result(static_cast<std::size_t>(entries));
    for (int i = 0; i < entries; ++i)
        result[i] = color(preset, entries == 1 ? 0.0 : double(i) / (entries - 1));
    return result;
}

std::string Colormap::name(Preset preset) {
    switch (preset) {
    case Grayscale:
        return "Grayscale";
    case Jet:
        return "Jet";
    case HotIron:
        return "Hot iron";
    case Viridis:
        return "Viridis";
    case Inferno:
        return "Inferno";
    case CoolWarm:
        return "Cool-warm divergent";
    }
    return {};
}

std::vector<Colormap::Preset> Colormap::presets() {
    return {CoolWarm, Grayscale, HotIron, Inferno, Jet, Viridis};
}

} // namespace Tarnwick
