#include <TarnwickGUI/AlgorithmMenu.h>

#include <TarnwickLib/Algorithm/FactoryRegistry.h>

#include <set>

namespace Tarnwick {

AlgorithmMenu::AlgorithmMenu(QWidget* parent) : QMenu(tr("&Algorithms"), parent) {
    rebuild();
}

void AlgorithmMenu::rebuild() {
    clear();
    m_actions.clear();
    std::map<QString, QMenu*> categories;
    for (const FactoryRegistry::AlgorithmInfo& info : FactoryRegistry::get().algorithms()) {
        if (m_actions.count(info.id))
            continue; // the first registration of an identifier is the one that runs
        const QString menuName = QString::fromStdString(info.menuName);
        const QString category = menuName.contains(';') ? menuName.section(';', 0, -2) : tr("Other");
        const QString title =
            menuName.section(';', -1).isEmpty() ? QString::fromStdString(info.id) : menuName.section(';', -1);
        QMenu*& submenu = categories[category];
        if (!submenu)
            submenu = addMenu(category);
        QAction* entry = submenu->addAction(title);
        entry->setData(QString::fromStdString(info.id));
        entry->setEnabled(false);
        connect(entry, &QAction::triggered, this,
                [this, id = info.id] { Q_EMIT algorithmChosen(QString::fromStdString(id)); });
        m_actions[info.id] = entry;
    }
}

void AlgorithmMenu::updateEnabled(const DataList& selection) {
    std::set<std::string> seen;
    for (const FactoryRegistry::AlgorithmInfo& info : FactoryRegistry::get().algorithms()) {
        const auto it = m_actions.find(info.id);
        if (it != m_actions.end() && seen.insert(info.id).second)
            it->second->setEnabled(info.factory && info.factory->isCompatible(info.id, selection));
    }
}

QAction* AlgorithmMenu::action(const std::string& id) const {
    const auto it = m_actions.find(id);
    return it == m_actions.end() ? nullptr : it->second;
}

} // namespace Tarnwick
