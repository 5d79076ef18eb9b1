#pragma once

#include <Eigen/Core>

#include <string>
#include <vector>

namespace Tarnwick {

/// Colour-map presets and their lookup tables. No OpenGL: data components and algorithms use the
/// tables directly; GlColormap turns them into textures.
///
/// Each preset is a function from t in [0, 1] to an opaque RGB colour, taken from its published
/// definition:
/// - Grayscale: black to white.
/// - Jet: the classic rainbow, dark blue (0, 0, 0.5) over blue, cyan, yellow and red to dark red
///   (0.5, 0, 0), piecewise linear in eighths.
/// - Hot iron: black to red (t = 1/2) to yellow (t = 3/4) to white, as in the medical hot-iron palette.
/// - Viridis and Inferno: the perceptually uniform 256-entry tables, stored as control points whose
///   linear interpolation stays within 0.4/255 of every published entry.
/// - Cool-warm divergent: blue (59, 76, 192)/255 over near-white to red (180, 4, 38)/255, interpolated
///   in the Msh colour space (CIELAB in polar form) with the white mid point, as the diverging-map
///   method defines it.
struct Colormap {
    enum Preset : int { Grayscale = 0, Jet = 1, HotIron = 2, Viridis = 7, Inferno = 8, CoolWarm = 9 };

    /// Largest number of entries table() builds.
    static constexpr int maxEntries = 65536;

    /// `entries` colours (RGBA, alpha 1) sampled at t = i / (entries - 1); one entry gives the colour
    /// at t = 0. Empty when `entries` is outside [1, maxEntries] or the preset is unknown.
    static std::vector<Eigen::Vector4f> table(Preset preset, int entries);
    /// The preset's colour at t, clamped to [0, 1] (NaN counts as 0); magenta for an unknown preset.
    static Eigen::Vector4f color(Preset preset, double t);
    /// Display text ("Cool-warm divergent", "Grayscale", "Hot iron", "Inferno", "Jet", "Viridis");
    /// empty for an unknown preset.
    static std::string name(Preset preset);
    /// Every preset, ordered by name.
    static std::vector<Preset> presets();
    /// Whether `value` is one of the preset codes.
    static bool isValid(int value);
};

} // namespace Tarnwick
