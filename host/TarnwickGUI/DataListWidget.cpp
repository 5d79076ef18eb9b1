#include <TarnwickGUI/DataListWidget.h>

#include <TarnwickCore/Platform.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <QHeaderView>

namespace Tarnwick {

namespace {
constexpr int dataRole = Qt::UserRole;
}

DataListWidget::DataListWidget(QWidget* parent) : QTreeWidget(parent) {
    setColumnCount(3);
    setHeaderLabels({tr("Name"), tr("Kind"), tr("Size")});
    setRootIsDecorated(false);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    connect(this, &QTreeWidget::itemSelectionChanged, this, &DataListWidget::dataSelectionChanged);
    connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* changed, int column) {
        if (column == NameColumn)
            Q_EMIT visibilityToggled(data(*changed), changed->checkState(NameColumn) == Qt::Checked);
    });
}

void DataListWidget::addData(Data& data, bool shown, int position) {
    const QSignalBlocker blocker(this);
    auto* row = new QTreeWidgetItem();
    insertTopLevelItem(position >= 0 && position < topLevelItemCount() ? position : topLevelItemCount(), row);
    row->setData(NameColumn, dataRole, QVariant::fromValue(static_cast<void*>(&data)));
    row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
    row->setCheckState(NameColumn, shown ? Qt::Checked : Qt::Unchecked);
    refresh(data);
}

void DataListWidget::removeData(const Data& data) {
    delete item(data); // a QTreeWidgetItem leaves its tree when deleted
}

void DataListWidget::refresh(const Data& data) {
    QTreeWidgetItem* row = item(data);
    if (!row)
        return;
    const QSignalBlocker blocker(this);
    row->setText(NameColumn, QString::fromStdString(data.name()));
    row->setText(KindColumn, kindText(data));
    row->setText(SizeColumn, sizeText(data));
    row->setToolTip(NameColumn, QString::fromStdString(FactoryRegistry::get().describe(data)));
}

QTreeWidgetItem* DataListWidget::item(const Data& data) const {
    for (int i = 0; i < topLevelItemCount(); ++i)
        if (DataListWidget::data(*topLevelItem(i)) == &data)
            return topLevelItem(i);
    return nullptr;
}

Data* DataListWidget::data(const QTreeWidgetItem& item) {
    return static_cast<Data*>(item.data(NameColumn, dataRole).value<void*>());
}

DataList DataListWidget::selectedData() const {
    DataList selection;
    for (int i = 0; i < topLevelItemCount(); ++i)
        if (topLevelItem(i)->isSelected())
            selection.add(data(*topLevelItem(i)));
    return selection;
}

void DataListWidget::setSelectedData(const DataList& selection) {
    {
        const QSignalBlocker blocker(this);
        clearSelection();
        for (Data* selected : selection)
            if (QTreeWidgetItem* row = item(*selected))
                row->setSelected(true);
    }
    Q_EMIT dataSelectionChanged();
}

QString DataListWidget::kindText(const Data& data) {
    switch (data.kind()) {
    case Data::Image:
        return data.modality() == Data::Label ? tr("Label map") : tr("Image");
    case Data::Mesh:
        return tr("Mesh");
    case Data::PointCloud:
        return tr("Point cloud");
    default:
        break;
    }
    const QString type = QString::fromStdString(Platform::demangleTypeName(data));
    return type.section("::", -1);
}

QString DataListWidget::sizeText(const Data& data) {
    if (const auto* set = dynamic_cast<const SharedImageSet*>(&data); set && set->size() > 0) {
        const ImageDescriptor& descriptor = set->get(0)->descriptor();
        const Eigen::Vector3i& d = descriptor.dimensions;
        QString text =
            QString("%1 x %2 x %3, %4").arg(d.x()).arg(d.y()).arg(d.z()).arg(pixelTypeName(descriptor.pixelType));
        if (set->size() > 1)
            text += tr(", %1 images").arg(set->size());
        return text;
    }
    return QString::fromStdString(FactoryRegistry::get().describe(data));
}

} // namespace Tarnwick
