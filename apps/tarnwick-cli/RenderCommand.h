#pragma once

#include "Command.h"

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick::Cli {

/// `render GRAPH [IMAGE] -o PICTURE.png`: draws a graph offscreen (EGL, no window) in the 3-D view or
/// in an axial, coronal or sagittal slice, over the image when one is given (its maximum-intensity
/// projection or orthogonal slices in 3-D, its slice in a slice view), and writes a PNG. The graph is
/// drawn by the display handler its plug-in registered, with its display options; --color-by, --circles
/// and --set change those options, and a colour bar with four value labels is drawn when colouring.
class RenderCommand : public Command {
public:
    CLI::App* declare(CLI::App& app) override;
    int run(CommandContext& context) override;

private:
    std::string m_graphPath;
    std::string m_imagePath;
    std::string m_output;
    std::string m_view = "3d";
    std::optional<double> m_slice;
    double m_slab = 0.0;
    std::string m_colorBy;
    std::string m_colormap;
    std::string m_circles;
    std::string m_size = "1280x800";
    std::string m_imageMode = "mip";
    double m_azimuth = 30.0;
    double m_elevation = 20.0;
    std::vector<std::string> m_settings;
};

} // namespace Tarnwick::Cli
