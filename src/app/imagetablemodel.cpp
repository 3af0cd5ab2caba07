// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagetablemodel.h"

#include "thumbnails/thumbnailloader.h"

#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QPixmap>
#include <QStyle>
#include <QtConcurrent/QtConcurrentRun>

namespace qb {

namespace {

// Small enough that the first rows show at once, large enough that 20,000
// images don't flood the event loop.
constexpr qsizetype batchSize = 500;
constexpr int iconHeight = 48;

const ImagePlanEntry unplanned;

bool isProblem(ImageState state)
{
    return stateMatchesFilter(state, ImageFilter::problems);
}

// Whether `paths` is `old` with some entries taken out, order kept.
bool isRemovalFrom(const QStringList& old, const QStringList& paths)
{
    if (paths.size() >= old.size())
        return false;
    qsizetype at = 0;
    for (const QString& path : old)
        if (at < paths.size() && path == paths[at])
            ++at;
    return at == paths.size();
}

} // namespace

ImageTableModel::ImageTableModel(ThumbnailLoader* thumbnails, QObject* parent)
    : QAbstractTableModel(parent)
    , m_thumbnails(thumbnails)
{
    if (!m_thumbnails)
        return;
    connect(m_thumbnails, &ThumbnailLoader::ready, this, &ImageTableModel::thumbnailChanged);
    connect(m_thumbnails, &ThumbnailLoader::failed, this,
            [this](const QString& path, const QString&) { thumbnailChanged(path); });
}

ImageTableModel::~ImageTableModel()
{
    cancelPlanning();
    for (QFuture<void>& planning : m_planning)
        planning.waitForFinished();
}

void ImageTableModel::cancelPlanning()
{
    if (m_cancelled)
        *m_cancelled = true;
    std::erase_if(m_planning, [](const QFuture<void>& planning) { return planning.isFinished(); });
}

void ImageTableModel::setImages(const QStringList& paths)
{
    if (paths == m_paths)
        return;
    if (isRemovalFrom(m_paths, paths)) {
        // From the end, so that the rows before stay where they are.
        const QSet<QString> kept(paths.begin(), paths.end());
        for (qsizetype row = m_paths.size() - 1; row >= 0; --row) {
            if (kept.contains(m_paths[row]))
                continue;
            qsizetype first = row;
            while (first > 0 && !kept.contains(m_paths[first - 1]))
                --first;
            beginRemoveRows({}, int(first), int(row));
            for (qsizetype gone = first; gone <= row; ++gone) {
                if (m_thumbnails)
                    m_thumbnails->cancel(m_paths[gone]);
                m_outcomes.remove(m_paths[gone]);
            }
            m_paths.remove(first, row - first + 1);
            m_plan.erase(m_plan.begin() + first, m_plan.begin() + row + 1);
            m_folders.remove(first, row - first + 1);
            if (!m_groups.isEmpty())
                m_groups.remove(first, row - first + 1);
            endRemoveRows();
            row = first;
        }
    } else {
        beginResetModel();
        if (m_thumbnails)
            m_thumbnails->cancelAll();
        m_paths = paths;
        m_plan.assign(std::size_t(paths.size()), ImagePlanEntry());
        m_groups.clear();
        m_outcomes.clear();
        endResetModel();
    }
    indexRows();
}

void ImageTableModel::indexRows()
{
    m_rows.clear();
    m_rows.reserve(m_paths.size());
    for (qsizetype row = 0; row < m_paths.size(); ++row)
        m_rows.insert(m_paths[row], int(row));
    const QDir common(commonFolder(m_paths));
    m_folders.clear();
    m_folders.reserve(m_paths.size());
    for (const QString& path : m_paths) {
        const QString folder = common.relativeFilePath(QFileInfo(path).absolutePath());
        m_folders << (folder == QStringLiteral(".") ? QString() : folder);
    }
    if (!m_paths.isEmpty())
        emit dataChanged(index(0, folderColumn), index(rowCount() - 1, folderColumn));
}

void ImageTableModel::plan(ImagePlanInputs inputs)
{
    cancelPlanning();
    const int generation = ++m_generation;
    if (!m_groups.isEmpty()) {
        m_groups.clear();
        if (!m_paths.isEmpty())
            emit dataChanged(index(0, keyColumn), index(rowCount() - 1, keyColumn));
    }
    m_pending = (m_paths.size() + batchSize - 1) / batchSize;
    if (m_pending == 0) {
        emit planned();
        return;
    }
    inputs.images.clear();
    inputs.images.reserve(m_paths.size());
    for (const QString& path : std::as_const(m_paths))
        inputs.images << QUrl::fromLocalFile(path);
    m_cancelled = std::make_shared<std::atomic_bool>(false);
    m_planning.push_back(
        QtConcurrent::run([this, inputs = std::move(inputs), cancelled = m_cancelled, generation] {
            planImages(
                inputs, batchSize,
                [this, generation](qsizetype first, std::vector<ImagePlanEntry> batch) {
                    QMetaObject::invokeMethod(
                        this,
                        [this, generation, first, batch = std::move(batch)] {
                            takeBatch(generation, first, batch);
                        },
                        Qt::QueuedConnection);
                },
                *cancelled);
        }));
}

void ImageTableModel::takeBatch(int generation, qsizetype first,
                                const std::vector<ImagePlanEntry>& batch)
{
    if (generation != m_generation || first + qsizetype(batch.size()) > m_paths.size())
        return;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        ImagePlanEntry& entry = m_plan[std::size_t(first) + i];
        // An outcome tells of the write that was planned; a new plan ends it.
        if (entry != batch[i])
            m_outcomes.remove(m_paths[first + qsizetype(i)]);
        entry = batch[i];
    }
    emit dataChanged(index(int(first), 0), index(int(first) + int(batch.size()) - 1, columns - 1));
    if (--m_pending == 0)
        emit planned();
}

void ImageTableModel::showPlanned(const QStringList& paths, std::vector<ImagePlanEntry> entries,
                                  const QStringList& groups)
{
    cancelPlanning();
    ++m_generation;
    m_pending = 0;
    QHash<QString, ImagePlanEntry> outcomes;
    for (qsizetype row = 0; row < paths.size(); ++row) {
        // An outcome tells of the write that was planned; a new plan ends it.
        const auto outcome = m_outcomes.constFind(paths[row]);
        const int old = rowOf(paths[row]);
        if (outcome != m_outcomes.cend() && old >= 0 &&
            m_plan[std::size_t(old)] == entries[std::size_t(row)])
            outcomes.insert(paths[row], *outcome);
    }
    beginResetModel();
    m_paths = paths;
    m_plan = std::move(entries);
    m_groups = groups;
    m_outcomes = std::move(outcomes);
    endResetModel();
    indexRows();
    emit planned();
}

void ImageTableModel::setOutcomes(const FileOutcomes& outcomes)
{
    for (const FileOutcome& outcome : outcomes) {
        const int row = rowOf(outcome.path);
        if (row < 0)
            continue;
        ImagePlanEntry shown = m_plan[std::size_t(row)];
        shown.state = stateOfOutcome(outcome.kind);
        shown.reason =
            outcome.kind == FileOutcomeKind::failed || outcome.kind == FileOutcomeKind::leftOut
                ? outcome.message.section(QLatin1Char('\n'), 0, 0)
                : QString();
        m_outcomes.insert(outcome.path, shown);
    }
    if (!m_paths.isEmpty())
        emit dataChanged(index(0, 0), index(rowCount() - 1, columns - 1));
}

const ImagePlanEntry& ImageTableModel::entry(int row) const
{
    if (row < 0 || row >= rowCount())
        return unplanned;
    const auto outcome = m_outcomes.constFind(m_paths[row]);
    return outcome != m_outcomes.cend() ? *outcome : m_plan[std::size_t(row)];
}

QString ImageTableModel::spokenRow(int row) const
{
    const ImagePlanEntry& shown = entry(row);
    QStringList parts{QFileInfo(m_paths[row]).fileName()};
    if (!m_groups.value(row).isEmpty())
        parts << m_groups[row];
    else if (!shown.keys.isEmpty() && shown.state != ImageState::severalRows)
        parts << shown.keys.join(QStringLiteral(", "));
    parts << imageStateText(shown);
    return parts.join(QStringLiteral(", "));
}

int ImageTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_paths.size());
}

int ImageTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columns;
}

QVariant ImageTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const int row = index.row();
    const QString& path = m_paths[row];
    const ImagePlanEntry& shown = entry(row);
    const QString text = [&] {
        switch (index.column()) {
        case nameColumn:
            return QFileInfo(path).fileName();
        case folderColumn:
            return m_folders.value(row);
        case keyColumn:
            return m_groups.value(row).isEmpty() ? shown.keys.join(QStringLiteral(", "))
                                                 : m_groups[row];
        case statusColumn:
            return imageStateText(shown);
        }
        return QString();
    }();
    switch (role) {
    case Qt::DisplayRole:
        return text;
    case Qt::AccessibleTextRole:
        // The first cell reads the whole row, as the arrows land there.
        return index.column() == thumbnailColumn ? spokenRow(row) : text;
    case Qt::DecorationRole:
        return index.column() == thumbnailColumn ? thumbnail(path) : QVariant();
    case Qt::ToolTipRole:
        if (index.column() == thumbnailColumn && m_thumbnails)
            return m_thumbnails->failure(path).value_or(path);
        return index.column() == statusColumn || index.column() == folderColumn ? QVariant(text)
                                                                                : QVariant();
    case Qt::ForegroundRole:
        if (index.column() != statusColumn)
            return {};
        if (isProblem(shown.state))
            return QColor(0xb0, 0x20, 0x20);
        if (shown.state == ImageState::written)
            return QColor(0x1a, 0x7f, 0x37);
        // A frame to check is written all the same; a card isn't.
        if (shown.state == ImageState::willBeWritten && !shown.reason.isEmpty())
            return QColor(0x9a, 0x5b, 0x00);
        if (shown.state == ImageState::card)
            return QColor(0x1f, 0x4e, 0x9c);
        return {};
    case stateRole:
        return int(shown.state);
    case pathRole:
        return path;
    case keysRole:
        return shown.keys;
    case flaggedRole:
        return shown.state == ImageState::willBeWritten && !shown.reason.isEmpty();
    case sortRole:
        if (index.column() == statusColumn)
            return QStringLiteral("%1 %2").arg(int(shown.state), 2, 10, QLatin1Char('0')).arg(text);
        return index.column() == thumbnailColumn ? QFileInfo(path).fileName().toLower()
                                                 : text.toLower();
    }
    return {};
}

QVariant ImageTableModel::thumbnail(const QString& path) const
{
    if (!m_thumbnails)
        return {};
    if (const QIcon* icon = m_icons.object(path))
        return *icon;
    if (const std::optional<QImage> image = m_thumbnails->thumbnail(path)) {
        auto* icon = new QIcon(
            QPixmap::fromImage(image->height() > iconHeight
                                   ? image->scaledToHeight(iconHeight, Qt::SmoothTransformation)
                                   : *image));
        m_icons.insert(path, icon);
        return *icon;
    }
    if (m_thumbnails->failure(path))
        return QApplication::style()->standardIcon(QStyle::SP_FileIcon);
    // Asked as the row is painted, so the rows in view come first.
    m_thumbnails->request(path);
    return {};
}

void ImageTableModel::thumbnailChanged(const QString& path)
{
    m_icons.remove(path);
    if (const int row = rowOf(path); row >= 0)
        emit dataChanged(index(row, thumbnailColumn), index(row, thumbnailColumn),
                         {Qt::DecorationRole, Qt::ToolTipRole});
}

QVariant ImageTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    static const QStringList titles{QString(), QStringLiteral("Name"), QStringLiteral("Folder"),
                                    QStringLiteral("Key"), QStringLiteral("Status")};
    if (role == Qt::DisplayRole)
        return titles.value(section);
    if (role == Qt::AccessibleTextRole || role == Qt::ToolTipRole)
        return section == thumbnailColumn ? QStringLiteral("Thumbnail") : titles.value(section);
    return {};
}

ImageTableFilter::ImageTableFilter(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    setSortRole(ImageTableModel::sortRole);
}

void ImageTableFilter::setFilter(ImageFilter filter)
{
    m_filter = filter;
    invalidateRowsFilter();
}

void ImageTableFilter::setSearch(const QString& text)
{
    m_search = text.trimmed();
    invalidateRowsFilter();
}

bool ImageTableFilter::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QAbstractItemModel& model = *sourceModel();
    const QModelIndex name = model.index(sourceRow, ImageTableModel::nameColumn, sourceParent);
    if (!stateMatchesFilter(ImageState(name.data(ImageTableModel::stateRole).toInt()), m_filter,
                            name.data(ImageTableModel::flaggedRole).toBool()))
        return false;
    if (m_search.isEmpty() || name.data().toString().contains(m_search, Qt::CaseInsensitive))
        return true;
    const QStringList keys = name.data(ImageTableModel::keysRole).toStringList();
    return std::ranges::any_of(
        keys, [this](const QString& key) { return key.contains(m_search, Qt::CaseInsensitive); });
}

} // namespace qb
