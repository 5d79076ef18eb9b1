#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <QTreeWidget>

namespace Tarnwick {

/// The data list of the main window: one row per data set with its name, kind and size, and a check
/// box that shows or hides it in the views. The selected rows, in list order, are the input of the
/// algorithms. Does not own the data.
class DataListWidget : public QTreeWidget {
    Q_OBJECT
public:
    enum Column : int { NameColumn = 0, KindColumn = 1, SizeColumn = 2 };

    explicit DataListWidget(QWidget* parent = nullptr);

    /// Adds a row for the data at `position` (at the end when out of range).
    void addData(Data& data, bool shown, int position = -1);
    void removeData(const Data& data);
    /// Rewrites the row of a data set that changed (name, size).
    void refresh(const Data& data);
    /// The row of a data set, or null.
    QTreeWidgetItem* item(const Data& data) const;
    /// The data set of a row.
    static Data* data(const QTreeWidgetItem& item);

    DataList selectedData() const;
    /// Selects exactly these data sets.
    void setSelectedData(const DataList& selection);

    /// "Image", "Label map", "Mesh", "Point cloud" or the type name of plug-in data ("Graph").
    static QString kindText(const Data& data);
    /// Image dimensions ("64 x 64 x 32, uint8") or the data's description ("Graph with 3 nodes and 2 edges").
    static QString sizeText(const Data& data);

Q_SIGNALS:
    void dataSelectionChanged();
    void visibilityToggled(Data* data, bool visible);
};

} // namespace Tarnwick
