#pragma once

#include <TarnwickLib/Data/Colormap.h>

#include <string>

namespace Tarnwick {

/// What a colour bar shows: a title, the colour map and the value range it spans.
struct ColorLegend {
    std::string title;
    Colormap::Preset preset = Colormap::CoolWarm;
    double min = 0.0;
    double max = 1.0;
};

} // namespace Tarnwick
