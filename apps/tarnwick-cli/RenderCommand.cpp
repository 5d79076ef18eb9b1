#include "RenderCommand.h"

#include <TarnwickCore/Log.h>
#include <TarnwickCore/String.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickGL/ColorBarOverlay.h>
#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGL/GL/Framebuffer.h>
#include <TarnwickGL/GL/OffscreenContext.h>
#include <TarnwickGL/GlImage.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGL/PngWriter.h>
#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Data/Colormap.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <cctype>
#include <cstdio>

namespace Tarnwick::Cli {

namespace {

/// Lower-case letters and digits only, so that "Cool-warm divergent", "coolwarm" and "COOL_WARM" meet.
std::string normalized(const std::string& text) {
    std::string result;
    for (const char c : text)
        if (std::isalnum(static_cast<unsigned char>(c)))
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// The preset whose name starts with `text` (ignoring case and punctuation).
std::optional<Colormap::Preset> parseColormap(const std::string& text) {
    const std::string wanted = normalized(text);
    for (const Colormap::Preset preset : Colormap::presets())
        if (!wanted.empty() && normalized(Colormap::name(preset)).rfind(wanted, 0) == 0)
            return preset;
    return std::nullopt;
}

std::optional<std::pair<int, int>> parseSize(const std::string& text) {
    int width = 0, height = 0;
    char end = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &width, &height, &end) != 2 || width < 16 || height < 16 || width > 8192 ||
        height > 8192)
        return std::nullopt;
    return std::make_pair(width, height);
}

/// Sets one display option by its path ("group/member"); logs and returns false when that fails.
bool setOption(Configurable& options, const std::string& path, const std::string& value) {
    ParameterBase* parameter = options.parameter(path);
    if (!parameter) {
        TW_LOG_ERROR("The graph's display options have no '{}'; they are: {}", path, options.describeValues(false));
        return false;
    }
    if (const std::optional<std::string> error = parameter->setFromString(value)) {
        TW_LOG_ERROR("{}", *error);
        return false;
    }
    return true;
}

std::unique_ptr<GlView> createView(const std::string& kind) {
    if (kind == "3d")
        return std::make_unique<GlVolumeView>();
    const GlSliceView::Orientation orientation = kind == "axial"     ? GlSliceView::Axial
                                                 : kind == "coronal" ? GlSliceView::Coronal
                                                                     : GlSliceView::Sagittal;
    return std::make_unique<GlSliceView>(orientation);
}

/// World axis a slice view looks along: z for axial, y for coronal, x for sagittal.
int sliceAxis(const GlSliceView& view) {
    return view.orientation() == GlSliceView::Axial ? 2 : view.orientation() == GlSliceView::Coronal ? 1 : 0;
}

} // namespace

CLI::App* RenderCommand::declare(CLI::App& app) {
    CLI::App* command = app.add_subcommand("render", "Draw a graph (over an image) into a PNG picture, offscreen");
    command->add_option("graph", m_graphPath, "The graph file (.graphml or .tnw)")->required();
    command->add_option("image", m_imagePath, "An image shown under the graph");
    command->add_option("-o,--output", m_output, "The picture to write (.png)")->required();
    command->add_option("--view", m_view, "3d, axial, coronal or sagittal")
        ->check(CLI::IsMember({"3d", "axial", "coronal", "sagittal"}))
        ->capture_default_str();
    command->add_option("--slice", m_slice,
                        "World position (mm) of the slice along the view's axis (z axial, y coronal, x sagittal); "
                        "default: the centre of the scene");
    command
        ->add_option("--slab", m_slab,
                     "Thickness (mm) of the slab of the graph shown in a slice view; default: 4 voxels of "
                     "the image, or 5 % of the graph's extent")
        ->check(CLI::PositiveNumber);
    command->add_option("--color-by", m_colorBy, "Colour the edges (or the nodes) by this feature");
    command->add_option("--colormap", m_colormap,
                        "Colour map: cool-warm divergent (default), grayscale, hot iron, inferno, jet, viridis");
    command->add_option("--circles", m_circles, "Draw this edge feature as circles around the edges");
    command->add_option("--size", m_size, "Picture size WIDTHxHEIGHT in pixels")->capture_default_str();
    command->add_option("--image-mode", m_imageMode, "How the 3-D view shows the image: mip or slices")
        ->check(CLI::IsMember({"mip", "slices"}))
        ->capture_default_str();
    command->add_option("--azimuth", m_azimuth, "3-D camera azimuth in degrees (0: from the front)")
        ->capture_default_str();
    command->add_option("--elevation", m_elevation, "3-D camera elevation in degrees")->capture_default_str();
    command->add_option("--set", m_settings,
                        "A display option as group/name=value, e.g. generalOptions/pointSize=4 (repeatable)");
    return command;
}

int RenderCommand::run(CommandContext&) {
    Timer timer;
    const auto size = parseSize(m_size);
    if (!size) {
        TW_LOG_ERROR("The size '{}' is not WIDTHxHEIGHT with both between 16 and 8192", m_size);
        return 2;
    }
    if (!String::endsWith(String::toLowerCopy(m_output), ".png")) {
        TW_LOG_ERROR("The output '{}' must end in .png", m_output);
        return 2;
    }
    std::optional<Colormap::Preset> preset;
    if (!m_colormap.empty() && !(preset = parseColormap(m_colormap))) {
        TW_LOG_ERROR("Unknown colour map '{}'", m_colormap);
        return 2;
    }

    std::optional<OwningDataList> graphFile = DataFileIO::load(m_graphPath);
    if (!graphFile)
        return 1;
    DataDisplayHandlerFactory& handlers = DataDisplayHandlerFactory::instance();
    Data* graph = nullptr;
    DataDisplayHandler* handler = nullptr;
    for (std::size_t i = 0; i < graphFile->size() && !handler; ++i)
        if ((handler = handlers.handlerFor(*graphFile->get(i))))
            graph = graphFile->get(i);
    if (!handler) {
        TW_LOG_ERROR("'{}' holds nothing a loaded plug-in can draw (is the graph plug-in loaded?)", m_graphPath);
        return 1;
    }
    std::unique_ptr<SharedImageSet> image;
    if (!m_imagePath.empty()) {
        std::optional<OwningDataList> imageFile = DataFileIO::load(m_imagePath);
        if (!imageFile)
            return 1;
        image = imageFile->extractFirstImage();
        if (!image || image->size() < 1) {
            TW_LOG_ERROR("'{}' holds no image", m_imagePath);
            return 1;
        }
    }

    Configurable* options = handler->displayOptions(*graph);
    if (!options && (!m_colorBy.empty() || !m_circles.empty() || preset || !m_settings.empty())) {
        TW_LOG_ERROR("The display handler of '{}' has no display options to set", graph->name());
        return 1;
    }
    for (const std::string& setting : m_settings) {
        const std::size_t equals = setting.find('=');
        if (equals == std::string::npos) {
            TW_LOG_ERROR("--set '{}' is not group/name=value", setting);
            return 2;
        }
        if (!setOption(*options, setting.substr(0, equals), setting.substr(equals + 1)))
            return 2;
    }
    if (preset && !setOption(*options, "featureColorMapOptions/colormap", std::to_string(*preset)))
        return 2;
    if (!m_circles.empty() && !setOption(*options, "featureCircleOptions/featureName", m_circles))
        return 2;
    std::optional<ColorLegend> legend;
    if (!m_colorBy.empty()) {
        // An edge feature colours the lines; a name that is only a node feature colours by node values.
        if (!setOption(*options, "featureColorMapOptions/edgeFeatureName", m_colorBy))
            return 2;
        if (!(legend = handler->legend(*graph))) {
            setOption(*options, "featureColorMapOptions/edgeFeatureName", "");
            setOption(*options, "featureColorMapOptions/nodeFeatureName", m_colorBy);
            legend = handler->legend(*graph);
        }
        if (!legend) {
            TW_LOG_ERROR("'{}' has no node or edge feature '{}' (see `tarnwick-cli info {}`)", graph->name(), m_colorBy,
                         m_graphPath);
            return 2;
        }
    }

    std::string error;
    const std::unique_ptr<GL::OffscreenContext> context = GL::OffscreenContext::create(&error);
    if (!context) {
        TW_LOG_ERROR("{}", error);
        return 1;
    }
    try {
        GL::Framebuffer framebuffer(size->first, size->second, 4);
        std::unique_ptr<GlView> view = createView(m_view);
        view->resize(size->first, size->second);
        view->setBackgroundColor(Eigen::Vector4f(0.08f, 0.08f, 0.1f, 1.0f));

        std::unique_ptr<GlImage> glImage;
        if (image) {
            glImage = std::make_unique<GlImage>(image->getShared(0));
            glImage->setMode(m_imageMode == "mip" ? GlImage::MIP : GlImage::Slices);
            // The image's full range spans black to 60 % grey, so that the graph's colours stand out.
            const auto [low, high] = image->get(0)->mem()->minMax();
            const double window = (high > low ? high - low : 1.0) / 0.6;
            glImage->setWindowLevel(window, low + 0.5 * window);
            view->addObject(glImage.get());
        }
        Geometry::AlignedBox scene = graph->bounds();
        if (image)
            scene.addBox(image->bounds());

        auto* slice = dynamic_cast<GlSliceView*>(view.get());
        if (slice) {
            Eigen::Vector3d position = scene.isEmpty() ? Eigen::Vector3d::Zero() : scene.center();
            if (m_slice)
                position[sliceAxis(*slice)] = *m_slice;
            slice->setSlicePosition(position);
            const double spacing = image ? image->get(0)->descriptor().spacing[sliceAxis(*slice)] : 0.0;
            const double slab = m_slab > 0.0 ? m_slab
                                : image      ? 4.0 * spacing
                                             : std::max(1.0, 0.05 * scene.extent().maxCoeff());
            slice->setSlabThickness(slab);
            // 3-D graphs are shown in the slab of the scene around the slice, 2-D graphs flat.
            if (!handler->canBeShownInView(*graph, *view))
                slice->setFlat(false);
        } else {
            static_cast<GlVolumeView*>(view.get())->setCamera(m_azimuth, m_elevation);
        }
        if (!handler->canBeShownInView(*graph, *view)) {
            TW_LOG_ERROR("'{}' cannot be shown in the {} view", graph->name(), m_view);
            return 1;
        }
        view->fitToBounds(scene);
        handler->show(*graph, *view);

        framebuffer.bind();
        view->render();
        if (legend) {
            ColorBarOverlay colorBar;
            colorBar.setLegend(*legend);
            colorBar.setPlacement(size->first >= size->second ? ColorBarOverlay::Right : ColorBarOverlay::Bottom);
            colorBar.draw(*view);
        }
        const std::vector<std::uint8_t> pixels = framebuffer.readPixels();
        handler->hide(*graph, *view);
        if (!writePng(m_output, framebuffer.width(), framebuffer.height(), pixels, &error)) {
            TW_LOG_ERROR("Cannot write '{}': {}", m_output, error);
            return 1;
        }
    } catch (const std::exception& failure) {
        TW_LOG_ERROR("Rendering failed: {}", failure.what());
        return 1;
    }
    fmt::print("Rendered {} ({} view, {}) in {:.3f} s: {}\n", FactoryRegistry::get().describe(*graph), m_view, m_size,
               timer.elapsedSeconds(), m_output);
    return 0;
}

} // namespace Tarnwick::Cli
