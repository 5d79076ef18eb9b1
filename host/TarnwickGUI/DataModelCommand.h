#pragma once

#include <QUndoCommand>

#include <memory>
#include <vector>

namespace Tarnwick {

class Data;
class DataModel;

/// An undoable change of the data model, recorded after it was made: data added, data removed and data
/// replaced by another version of itself (an input edited in place, with a copy taken before the edit).
/// Undo and redo swap what is in the model with what the command keeps, change by change (undo in
/// reverse order), each at the position it had in the model; the data a command keeps stays alive, so
/// a data set returns as the same object. The first redo, when the command is pushed, does nothing.
class DataModelCommand : public QUndoCommand {
public:
    DataModelCommand(DataModel& model, const QString& text);
    ~DataModelCommand() override;

    /// `data` was added to the model.
    void addAdded(Data* data);
    /// `data` was taken out of the model at `index`.
    void addRemoved(std::unique_ptr<Data> data, std::size_t index);
    /// `current`, in the model, replaces `previous`, its state before the change.
    void addReplaced(Data* current, std::unique_ptr<Data> previous);
    bool isEmpty() const { return m_changes.empty(); }

    void undo() override;
    void redo() override;

private:
    /// One change: `inModel` is in the model (or null), `kept` is what undo or redo puts in its place.
    struct Change {
        Data* inModel = nullptr;
        std::unique_ptr<Data> kept;
        std::size_t index = 0;
    };
    void swap(Change& change);

    DataModel& m_model;
    std::vector<Change> m_changes;
    bool m_done = true;
};

} // namespace Tarnwick
