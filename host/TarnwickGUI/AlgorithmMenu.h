#pragma once

#include <QMenu>

#include <map>
#include <string>

namespace Tarnwick {

class DataList;

/// The Algorithms menu: one submenu per category of the algorithm catalogue (menu names
/// "Category;Title"), one entry per algorithm. An entry is enabled only while its class accepts the
/// current selection (AlgorithmFactory::isCompatible), so a disabled entry cannot start anything.
class AlgorithmMenu : public QMenu {
    Q_OBJECT
public:
    explicit AlgorithmMenu(QWidget* parent = nullptr);

    /// Rebuilds the entries from the catalogue (after plug-ins were loaded); all start disabled.
    void rebuild();
    /// Enables exactly the entries whose algorithm accepts `selection`.
    void updateEnabled(const DataList& selection);
    /// The entry of a catalogue identifier, or null.
    QAction* action(const std::string& id) const;

Q_SIGNALS:
    /// The user chose the entry of this catalogue identifier.
    void algorithmChosen(const QString& id);

private:
    std::map<std::string, QAction*> m_actions;
};

} // namespace Tarnwick
