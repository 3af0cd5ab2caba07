// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagestable.h"

#include "thumbnails/thumbnailloader.h"

#include "exif/stayopenexiftool.h"

#include <QClipboard>
#include <QComboBox>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QTableView>
#include <QVBoxLayout>

namespace qb {

namespace {

// A few screens of rows: memory stays the same however large the shoot.
constexpr int thumbnailsInMemory = 500;

const std::pair<const char*, ImageFilter> filterChoices[] = {
    {"All", ImageFilter::all},
    {"Will be written", ImageFilter::willBeWritten},
    {"Problems", ImageFilter::problems},
    {"Not yet written", ImageFilter::notYetWritten},
};

} // namespace

ImagesTable::ImagesTable(std::function<void(const QUrl&)> openUrl, const QString& exiftool,
                         QWidget* parent)
    : QWidget(parent)
    , m_openUrl(std::move(openUrl))
    , m_thumbnails(new ThumbnailLoader(
          ThumbnailCache(),
          std::make_shared<ThumbnailMaker>(std::make_shared<StayOpenExiftool>(), exiftool),
          thumbnailsInMemory, this))
    , m_model(new ImageTableModel(m_thumbnails, this))
    , m_filter(new ImageTableFilter(this))
{
    m_filter->setSourceModel(m_model);
    build();
}

ImagesTable::~ImagesTable()
{
    // The views go before the model they show.
    delete m_view;
    m_thumbnails->cancelAll();
}

void ImagesTable::build()
{
    m_filterPopup = new QComboBox(this);
    m_filterPopup->setObjectName(QStringLiteral("imageFilterPopup"));
    m_filterPopup->setAccessibleName(QStringLiteral("Show images"));
    // On Linux a popup is read by its current item; this says what it chooses.
    m_filterPopup->setAccessibleDescription(m_filterPopup->accessibleName());
    for (const auto& [title, filter] : filterChoices)
        m_filterPopup->addItem(QString::fromUtf8(title), int(filter));
    m_searchField = new QLineEdit(this);
    m_searchField->setObjectName(QStringLiteral("imageSearchField"));
    m_searchField->setAccessibleName(QStringLiteral("Search images by name or key"));
    m_searchField->setPlaceholderText(QStringLiteral("Search name or key"));
    m_searchField->setClearButtonEnabled(true);

    m_view = new QTableView(this);
    m_view->setObjectName(QStringLiteral("imageTable"));
    m_view->setAccessibleName(QStringLiteral("Images"));
    m_view->setModel(m_filter);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setIconSize(QSize(64, 48));
    m_view->setWordWrap(false);
    // Tab leaves the table; the arrows move in it.
    m_view->setTabKeyNavigation(false);
    m_view->setAlternatingRowColors(true);
    m_view->verticalHeader()->hide();
    // Fixed heights and widths: measuring 20,000 rows would stall the window.
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(54);
    QHeaderView* header = m_view->horizontalHeader();
    header->setAccessibleName(QStringLiteral("Image columns"));
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setStretchLastSection(true);
    header->resizeSection(ImageTableModel::thumbnailColumn, 72);
    header->resizeSection(ImageTableModel::nameColumn, 170);
    header->resizeSection(ImageTableModel::folderColumn, 90);
    header->resizeSection(ImageTableModel::keyColumn, 140);
    // The order of the drop until a column is chosen.
    header->setSortIndicator(-1, Qt::AscendingOrder);
    m_view->setSortingEnabled(true);

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(0, 0, 0, 0);
    bar->addWidget(m_filterPopup);
    bar->addWidget(m_searchField, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(bar);
    layout->addWidget(m_view, 1);

    connect(m_filterPopup, &QComboBox::currentIndexChanged, this,
            [this] { m_filter->setFilter(ImageFilter(m_filterPopup->currentData().toInt())); });
    connect(m_searchField, &QLineEdit::textChanged, m_filter, &ImageTableFilter::setSearch);
    auto* find = new QShortcut(QKeySequence::Find, this);
    find->setContext(Qt::WindowShortcut);
    connect(find, &QShortcut::activated, this, [this] {
        m_searchField->setFocus(Qt::ShortcutFocusReason);
        m_searchField->selectAll();
    });
    m_view->installEventFilter(this);
    // Return and a double-click.
    connect(m_view, &QTableView::activated, this, &ImagesTable::openCurrent);
    connect(m_view, &QTableView::customContextMenuRequested, this, &ImagesTable::showContextMenu);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                const QStringList keys = current.data(ImageTableModel::keysRole).toStringList();
                if (!keys.isEmpty())
                    emit keyChosen(keys.front());
            });
}

bool ImagesTable::eventFilter(QObject* watched, QEvent* event)
{
    // Delete acts on the table alone, not on the window's fields.
    if (watched == m_view && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Delete)) {
        if (const QStringList paths = selectedPaths(); !paths.isEmpty())
            emit removeRequested(paths);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

QStringList ImagesTable::selectedPaths() const
{
    QModelIndexList rows = m_view->selectionModel()->selectedRows(ImageTableModel::nameColumn);
    std::ranges::sort(rows, {}, &QModelIndex::row);
    QStringList paths;
    for (const QModelIndex& row : rows)
        paths << row.data(ImageTableModel::pathRole).toString();
    return paths;
}

void ImagesTable::selectKey(const QString& key)
{
    QItemSelection selection;
    QModelIndex first;
    for (int row = 0; row < m_filter->rowCount(); ++row) {
        const QModelIndex index = m_filter->index(row, 0);
        if (!index.data(ImageTableModel::keysRole).toStringList().contains(key))
            continue;
        selection.select(index, m_filter->index(row, ImageTableModel::columns - 1));
        if (!first.isValid())
            first = index;
    }
    // Quietly, so that choosing a shot doesn't choose it again.
    const QSignalBlocker quiet(m_view->selectionModel());
    m_view->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (first.isValid()) {
        m_view->selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
        m_view->scrollTo(first);
    }
    m_view->viewport()->update();
}

void ImagesTable::openCurrent()
{
    const QModelIndex current = m_view->currentIndex();
    if (current.isValid())
        m_openUrl(QUrl::fromLocalFile(current.data(ImageTableModel::pathRole).toString()));
}

void ImagesTable::copyPaths() const
{
    QGuiApplication::clipboard()->setText(selectedPaths().join(QLatin1Char('\n')));
}

void ImagesTable::showContextMenu(const QPoint& position)
{
    if (selectedPaths().isEmpty())
        return;
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("imageContextMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Open"), this, &ImagesTable::openCurrent);
    menu->addAction(QStringLiteral("Show in folder"), this,
                    [this] { showInFolder(selectedPaths(), m_openUrl); });
    menu->addAction(QStringLiteral("Copy path"), this, &ImagesTable::copyPaths);
    menu->addSeparator();
    menu->addAction(QStringLiteral("Remove from the batch"), this,
                    [this] { emit removeRequested(selectedPaths()); });
    if (m_menuExtension)
        m_menuExtension(*menu, selectedPaths());
    menu->popup(m_view->viewport()->mapToGlobal(position));
}

void ImagesTable::showInFolder(const QStringList& paths,
                               const std::function<void(const QUrl&)>& openUrl)
{
    if (paths.isEmpty())
        return;
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface()->isServiceRegistered(service)) {
        QStringList uris;
        for (const QString& path : paths)
            uris << QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
        QDBusMessage call =
            QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/FileManager1"),
                                           service, QStringLiteral("ShowItems"));
        call << uris << QString();
        if (bus.send(call))
            return;
    }
    // No file manager takes the request: the folders open instead.
    QStringList folders;
    for (const QString& path : paths) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!folders.contains(folder))
            folders << folder;
    }
    for (const QString& folder : folders)
        openUrl(QUrl::fromLocalFile(folder));
}

} // namespace qb
