#include <TarnwickGUI/DataModelCommand.h>

#include <TarnwickLib/Data/DataModel.h>

namespace Tarnwick {

DataModelCommand::DataModelCommand(DataModel& model, const QString& text) : QUndoCommand(text), m_model(model) {}

DataModelCommand::~DataModelCommand() = default;

void DataModelCommand::addAdded(Data* data) {
    m_changes.push_back({data, nullptr, m_model.indexOf(data)});
}

void DataModelCommand::addRemoved(std::unique_ptr<Data> data, std::size_t index) {
    m_changes.push_back({nullptr, std::move(data), index});
}

void DataModelCommand::addReplaced(Data* current, std::unique_ptr<Data> previous) {
    m_changes.push_back({current, std::move(previous), m_model.indexOf(current)});
}

void DataModelCommand::swap(Change& change) {
    std::unique_ptr<Data> taken;
    if (change.inModel) {
        change.index = m_model.indexOf(change.inModel);
        taken = m_model.take(change.inModel);
    }
    change.inModel = change.kept ? m_model.insert(change.index, std::move(change.kept)) : nullptr;
    change.kept = std::move(taken);
}

void DataModelCommand::undo() {
    for (auto it = m_changes.rbegin(); it != m_changes.rend(); ++it)
        swap(*it);
    m_done = false;
}

void DataModelCommand::redo() {
    if (m_done)
        return;
    for (Change& change : m_changes)
        swap(change);
    m_done = true;
}

} // namespace Tarnwick
