// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/popoverpanel.h"

#include "sources/shotlistcoordinator.h"

#include <QAbstractTableModel>

#include <optional>
#include <vector>

class QLabel;
class QTableView;
class QToolButton;

namespace qb {

class NotificationCenter;

// One line of the shot list: a shot's name, and whether it has images.
struct ShotStatus {
    QString name;
    Qt::CheckState status;
};

// The table behind the shot list. Columns are told apart by identifier.
class ShotlistTableModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    static inline const QString nameColumn = QStringLiteral("NameColumn");
    static inline const QString statusColumn = QStringLiteral("StatusColumn");

    explicit ShotlistTableModel(QObject* parent = nullptr);

    // Replaces the table; the view is told to reload.
    void setStatusData(std::vector<ShotStatus> data);
    const std::vector<ShotStatus>& statusData() const { return m_statusData; }

    int numberOfRows() const { return int(m_statusData.size()); }
    // The cell's value, or an invalid value for a missing or unknown column.
    QVariant objectValue(const QString* columnIdentifier, int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<ShotStatus> m_statusData;
};

// Which rows of the data already have images: a table of all shots, ticked
// when they have one, and two counts. It follows the window's data source
// while it is open, and can be torn off into a window of its own.
class ShotlistViewController final : public PopoverPanel {
    Q_OBJECT

public:
    explicit ShotlistViewController(QWidget* anchor);

    // The main window's part: the coordinator, and the notifications of
    // `window` that should refresh the list.
    void setUp(std::optional<ShotlistCoordinator> shotlist, NotificationCenter& center,
               const QObject* window);

    void refresh();
    // The refresh control: refreshes and reloads.
    void viewStyleAction();

    ShotlistTableModel& model() { return m_model; }
    QLabel* shotCountLabel() const { return m_shotCountLabel; }
    QLabel* completedCountLabel() const { return m_completedCountLabel; }
    QTableView* tableView() const { return m_tableView; }
    // Chooses the shot of that name, quietly; none when there is none.
    void selectShot(const QString& name);

signals:
    // The user chose this shot in the list.
    void shotChosen(const QString& name);

private:
    std::optional<ShotlistCoordinator> m_shotlist;
    ShotlistTableModel m_model;
    QLabel* m_shotCountLabel;
    QLabel* m_completedCountLabel;
    QTableView* m_tableView;
};

} // namespace qb
