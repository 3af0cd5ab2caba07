// SPDX-License-Identifier: GPL-3.0-or-later
#include "shotlistviewcontroller.h"

#include "extensions/notificationcenter.h"

#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QToolButton>

namespace qb {

ShotlistTableModel::ShotlistTableModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void ShotlistTableModel::setStatusData(std::vector<ShotStatus> data)
{
    beginResetModel();
    m_statusData = std::move(data);
    endResetModel();
}

QVariant ShotlistTableModel::objectValue(const QString* columnIdentifier, int row) const
{
    if (!columnIdentifier || row < 0 || row >= numberOfRows())
        return {};
    const ShotStatus& entry = m_statusData[std::size_t(row)];
    if (*columnIdentifier == nameColumn)
        return entry.name;
    if (*columnIdentifier == statusColumn)
        return int(entry.status == Qt::Checked ? 1 : 0);
    return {};
}

int ShotlistTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : numberOfRows();
}

int ShotlistTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 2;
}

QVariant ShotlistTableModel::data(const QModelIndex& index, int role) const
{
    const QString& column = index.column() == 0 ? nameColumn : statusColumn;
    const QVariant value = objectValue(&column, index.row());
    if (index.column() == 0)
        return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? value : QVariant();
    if (role == Qt::CheckStateRole)
        return value.toInt() == 1 ? Qt::Checked : Qt::Unchecked;
    if (role == Qt::AccessibleTextRole)
        return value.toInt() == 1 ? QStringLiteral("has images") : QStringLiteral("no images yet");
    return {};
}

QVariant ShotlistTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == 0 ? QStringLiteral("Shot") : QStringLiteral("Shot Taken");
}

ShotlistViewController::ShotlistViewController(QWidget* anchor)
    : PopoverPanel(anchor)
{
    setObjectName(QStringLiteral("shotlistView"));
    setWindowTitle(QStringLiteral("Shot List"));
    auto* layout = new QGridLayout(this);
    auto caption = [this](const char* text) {
        auto* label = new QLabel(QString::fromUtf8(text), this);
        return label;
    };
    m_shotCountLabel = new QLabel(QStringLiteral("0"), this);
    m_shotCountLabel->setObjectName(QStringLiteral("shotCountLabel"));
    m_completedCountLabel = new QLabel(QStringLiteral("0"), this);
    m_completedCountLabel->setObjectName(QStringLiteral("completedCountLabel"));
    QLabel* shots = caption("Shots:");
    QLabel* completed = caption("With images:");
    shots->setBuddy(m_shotCountLabel);
    completed->setBuddy(m_completedCountLabel);
    // Read with their numbers; the captions beside them say what they count.
    m_shotCountLabel->setAccessibleDescription(QStringLiteral("Shots"));
    m_completedCountLabel->setAccessibleDescription(QStringLiteral("Shots with images"));

    auto* refresh = new QToolButton(this);
    refresh->setObjectName(QStringLiteral("viewStyleControl"));
    refresh->setText(QStringLiteral("Refresh"));
    refresh->setAccessibleName(QStringLiteral("Refresh the shot list"));
    auto* detach = new QToolButton(this);
    detach->setObjectName(QStringLiteral("detachButton"));
    detach->setText(QStringLiteral("Keep Open"));
    detach->setToolTip(QStringLiteral("Keep the shot list open in a window of its own"));
    detach->setAccessibleName(QStringLiteral("Keep the shot list open"));

    m_tableView = new QTableView(this);
    m_tableView->setObjectName(QStringLiteral("tableView"));
    m_tableView->setAccessibleName(QStringLiteral("Shots"));
    m_tableView->setModel(&m_model);
    m_tableView->verticalHeader()->hide();
    m_tableView->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tableView->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_tableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_tableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tableView->setMinimumSize(300, 240);

    layout->addWidget(shots, 0, 0);
    layout->addWidget(m_shotCountLabel, 0, 1);
    layout->addWidget(completed, 0, 2);
    layout->addWidget(m_completedCountLabel, 0, 3);
    layout->setColumnStretch(4, 1);
    layout->addWidget(refresh, 0, 5);
    layout->addWidget(detach, 0, 6);
    layout->addWidget(m_tableView, 1, 0, 1, 7);

    connect(refresh, &QToolButton::clicked, this, &ShotlistViewController::viewStyleAction);
    connect(detach, &QToolButton::clicked, this, &PopoverPanel::detach);
    connect(this, &PopoverPanel::detached, detach, &QToolButton::hide);
    connect(m_tableView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                if (current.isValid())
                    emit shotChosen(m_model.statusData()[std::size_t(current.row())].name);
            });
}

void ShotlistViewController::selectShot(const QString& name)
{
    const auto& shots = m_model.statusData();
    const auto found = std::ranges::find(shots, name, &ShotStatus::name);
    const QSignalBlocker quiet(m_tableView->selectionModel());
    if (found == shots.end()) {
        m_tableView->clearSelection();
        return;
    }
    m_tableView->selectRow(int(found - shots.begin()));
    m_tableView->scrollTo(m_model.index(int(found - shots.begin()), 0));
    m_tableView->viewport()->update();
}

void ShotlistViewController::setUp(std::optional<ShotlistCoordinator> shotlist,
                                   NotificationCenter& center, const QObject* window)
{
    m_shotlist = std::move(shotlist);
    center.addObserver(dataSourceChangeNotification, window, this,
                       [this](const QObject*) { refresh(); });
    refresh();
}

void ShotlistViewController::refresh()
{
    if (!m_shotlist)
        return;
    m_shotlist->setRequireMatchingFolder(false);
    std::vector<ShotRequest> requests = m_shotlist->shotRequests();
    const auto completed = std::count_if(requests.begin(), requests.end(),
                                         [](const ShotRequest& r) { return r.hasImages(); });
    sortShotRequests(requests);
    std::vector<ShotStatus> entries;
    entries.reserve(requests.size());
    for (const ShotRequest& request : requests)
        entries.push_back({request.name, request.hasImages() ? Qt::Checked : Qt::Unchecked});
    m_shotCountLabel->setText(QString::number(entries.size()));
    m_completedCountLabel->setText(QString::number(completed));
    m_model.setStatusData(std::move(entries));
}

void ShotlistViewController::viewStyleAction()
{
    refresh();
}

} // namespace qb
