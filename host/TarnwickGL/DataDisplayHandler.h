#pragma once

#include <TarnwickGL/ColorLegend.h>

#include <memory>
#include <optional>

namespace Tarnwick {

class Configurable;
class Data;
class GlView;

/// Shows one kind of data in views: decides which views fit, creates the data's GlObjects and adds
/// them to the views, and removes them again. Handlers are registered by name with
/// DataDisplayHandlerFactory (plug-ins register theirs in init()); the host keeps one shared
/// instance per name and calls it on the GUI thread.
class DataDisplayHandler {
public:
    /// Base of the panels createDisplayOptionsWidget() returns. The GUI layer derives its widgets from
    /// it and from QWidget; this layer only hands them on, so it needs no Qt.
    class OptionsWidget {
    public:
        virtual ~OptionsWidget() = default;
    };

    virtual ~DataDisplayHandler();

    /// Whether this handler draws data of this type.
    virtual bool handlesType(const Data& data) const = 0;
    /// Whether `data` may be shown in `view` (by the view's class and kind).
    virtual bool canBeShownInView(const Data& data, const GlView& view) const = 0;
    /// Adds the data's objects to the view (once per data and view).
    virtual void show(Data& data, GlView& view) = 0;
    /// Removes the data's objects from the view.
    virtual void hide(Data& data, GlView& view) = 0;
    /// Forgets every object of a view that is about to be destroyed (without touching the view).
    virtual void onViewDeleted(GlView& view) = 0;
    /// The data's display settings, for an options panel; null when it has none.
    virtual Configurable* displayOptions(Data& data) { return nullptr; }
    /// A panel editing how `data` is drawn in `view`, built by the GUI layer; null when the handler has
    /// none (the host then shows displayOptions() as a plain form).
    virtual std::unique_ptr<OptionsWidget> createDisplayOptionsWidget(Data& data, GlView& view) { return nullptr; }
    /// The colour legend the data's display asks for, if any.
    virtual std::optional<ColorLegend> legend(const Data& data) const { return std::nullopt; }
};

} // namespace Tarnwick
