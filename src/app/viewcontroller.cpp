// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewcontroller.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/errorpresenter.h"
#include "app/imagedatasoucecontroller.h"
#include "app/imagesareacontroller.h"
#include "app/writecontroller.h"

#include "widgets/dropviews.h"
#include "widgets/taborder.h"

#include "writing/metadataqueue.h"

#include "documents/mappingsdoc.h"
#include "mapping/columnrules.h"
#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "sources/shotlistcoordinator.h"
#include "sources/tagkeys.h"

#include "extensions/log.h"
#include "extensions/notificationcenter.h"

#include <QAction>
#include <QFileDialog>
#include <QFutureWatcher>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QShowEvent>
#include <QThread>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

namespace qb {

ViewController::ViewController(MappingsDoc& document, WindowServices services, QWidget* parent)
    : QWidget(parent)
    , m_document(document)
    , m_services(std::move(services))
{
    setObjectName(QStringLiteral("viewController"));
    buildView();
    viewDidLoad();
}

ViewController::~ViewController()
{
    // The rows' popups may still ask their questions while they go.
    ruleEditor->setDelegate(nullptr);
}

void ViewController::buildView()
{
    auto* layout = new QVBoxLayout(this);
    dataSourceBox = new QGroupBox(QStringLiteral("Data Source"), this);
    dataSourceBox->setObjectName(QStringLiteral("dataSourceBox"));
    dataSourceBox->setLayout(new QVBoxLayout);
    layout->addWidget(dataSourceBox);

    auto* rulesTitle = new QLabel(QStringLiteral("<b>Rules</b>"), this);
    layout->addWidget(rulesTitle);
    ruleEditor = new RuleEditor(this);
    ruleEditor->setObjectName(QStringLiteral("ruleEditor"));
    ruleEditor->setAccessibleName(QStringLiteral("Rules"));
    ruleEditor->setIncompleteRowToolTip(QStringLiteral("Choose a destination field"));
    ruleEditor->setPlaceholderText(
        QStringLiteral("Choose the data above. Each rule then writes one of its columns "
                       "into a metadata field of the images."));
    ruleEditor->setMinimumHeight(160);
    rulesTitle->setBuddy(ruleEditor);
    layout->addWidget(ruleEditor, 1);
    layout->addWidget(buildImageBar(), 2);
}

QWidget* ViewController::buildImageBar()
{
    auto* bar = new QWidget(this);
    auto* area = new QVBoxLayout(bar);
    area->setContentsMargins(0, 0, 0, 0);
    auto* layout = new QHBoxLayout;
    m_images = new ImagesAreaController(
        {m_services.preferences, m_services.center, [this] { return m_datasourceView.get(); }, this,
         [this] { return mappingsForRows(ruleEditor->allRowCriteria()); },
         [this](const QUrl& url) {
             if (m_services.openUrl)
                 m_services.openUrl(url);
         }},
        bar);
    m_writer = new WriteController(
        {m_services.preferences, [this] { return mappingsForRows(ruleEditor->allRowCriteria()); },
         [this] { return m_images->writeSource(m_datasourceView->dataSource()); },
         [this]() -> const ImageProvider& { return m_images->writeImages(); },
         [this] {
             return m_images->selectedImages();
         }},
        bar);
    area->addWidget(m_images->view(), 1);
    area->addLayout(layout);
    layout->addStretch(1);
    layout->addWidget(m_writer->statusLabel());
    layout->addWidget(m_writer->progressIndicator());
    layout->addWidget(m_writer->previewButton());
    layout->addWidget(m_writer->actionButton());

    imageDropTarget = m_images->dropTarget();
    imageDropNotice = m_images->dropNotice();
    imageCountLabel = m_images->countLabel();
    imageWarningButton = m_images->warningButton();
    imageStatusButton = m_images->shotlistButton();
    progressIndicator = m_writer->progressIndicator();
    actionButton = m_writer->actionButton();
    previewButton = m_writer->previewButton();
    connect(m_images, &ImagesAreaController::imagesChanged, this,
            &ViewController::updateWriteReadiness);
    connect(m_images, &ImagesAreaController::imagesChanged, this, &ViewController::readImageKeys);
    connect(m_images, &ImagesAreaController::cardPlanChanged, this,
            &ViewController::updateWriteReadiness);
    connect(m_writer, &WriteController::writeFinished, this, &ViewController::writeFinished);
    connect(m_writer, &WriteController::writeFinished, m_images,
            [this] { m_images->showOutcomes(m_writer->lastOutcomes()); });
    connect(m_services.preferences, &Preferences::emptyCellsClearChanged, m_images,
            &ImagesAreaController::replan);
    return bar;
}

PanelContext ViewController::panelContext() const
{
    return {m_services.preferences, m_services.center, m_document.bookmarkBaseFolder(),
            m_services.openUrl};
}

void ViewController::viewDidLoad()
{
    refreshImageDisplay();
    ruleEditor->setDelegate(this);
    ruleEditor->setNestingMode(RuleEditor::NestingMode::list);
    connect(ruleEditor, &RuleEditor::controlsChanged, this, &ViewController::scheduleTabOrder);
    m_datasourceView = std::make_unique<CSVDataSourceViewController>(panelContext());
    m_datasourceView->setDelegate(this);
    // The rows are saved for what the user does in this window alone: an
    // edit of a rule's text reaches us through the rule editor, and a data
    // source change posted by any window, or by the preferences, saves
    // nothing, so that it can't mark every open document edited.
    connect(m_services.preferences, &Preferences::writeMethodValueChanged, this, [this] {
        refreshImageDisplay();
        m_services.center->post(dataSourceChangeNotification, this);
    });
}

void ViewController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        viewDidAppear();
}

void ViewController::viewDidAppear()
{
    setUpPanel(m_document.datasource());
    showPanel();
    notePanelSettings();
    // A panel that couldn't read its data shows the saved rows all the same.
    if (!m_criteriaBuilt)
        rebuildCriteria();
    applyEditable(m_document.isEditable());
    connect(&m_document, &MappingsDoc::isEditableChanged, this, &ViewController::applyEditable);
    connect(&m_document, &MappingsDoc::currentCriteriaRowsChanged, this,
            &ViewController::rebuildCriteria);
}

void ViewController::applyEditable(bool editable)
{
    ruleEditor->setEditable(editable);
    if (m_datasourceView)
        m_datasourceView->setEnabled(editable);
}

void ViewController::setUpPanel(const QString& name, MappingsDoc::ChangeOrigin origin)
{
    std::unique_ptr<DataSourcePresentable> panel;
    if (name == MappingsDoc::csvSource())
        panel = std::make_unique<CSVDataSourceViewController>(panelContext());
    else if (name == MappingsDoc::imageSource())
        panel = std::make_unique<ImageDataSouceController>(panelContext(), m_services.imageReader);
    if (!panel) {
        qbPrint(name + QStringLiteral(" is an invalid source"));
        return;
    }
    // The old panel's view leaves the box with it.
    m_datasourceView = std::move(panel);
    m_document.setDatasource(name, origin);
    m_datasourceView->setDelegate(this);
    emit datasourceViewChanged();
}

void ViewController::showPanel()
{
    m_datasourceView->loadWrappers(m_document.datasourceWrappers());
    QLayout* box = dataSourceBox->layout();
    while (QLayoutItem* item = box->takeAt(0))
        delete item;
    box->addWidget(m_datasourceView->view());
    m_datasourceView->setEnabled(m_document.isEditable());
    scheduleTabOrder();
}

void ViewController::scheduleTabOrder()
{
    if (m_tabOrderScheduled)
        return;
    m_tabOrderScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_tabOrderScheduled = false;
            setTabOrderByLayout(this);
        },
        Qt::QueuedConnection);
}

void ViewController::setDatasource(const QString& identifier)
{
    if (identifier.isEmpty()) {
        qbPrint(QStringLiteral("MenuItem must have an identifier"));
        return;
    }
    setUpPanel(identifier, MappingsDoc::ChangeOrigin::user);
    showPanel();
    notePanelSettings();
    // The rows meet the new panel's columns; those it lacks are kept.
    rebuildCriteria();
}

bool ViewController::validateUserInterfaceItem(QAction* item) const
{
    const QString identifier = item->data().toString();
    if (identifier != MappingsDoc::csvSource() && identifier != MappingsDoc::imageSource())
        return true;
    const bool inUse = (identifier == MappingsDoc::csvSource() &&
                        dynamic_cast<CSVDataSourceViewController*>(m_datasourceView.get())) ||
                       (identifier == MappingsDoc::imageSource() &&
                        dynamic_cast<ImageDataSouceController*>(m_datasourceView.get()));
    item->setCheckable(true);
    item->setChecked(inUse);
    return true;
}

void ViewController::ruleEditorRowsDidChange(RuleEditor&)
{
    saveRows();
    m_images->replan();
}

void ViewController::refreshImageDisplay()
{
    m_images->refresh();
}

void ViewController::updateWriteReadiness()
{
    // Images whose key tag is still being read would have no row yet.
    m_writer->setReady(m_images->hasWritableImages() && m_datasourceView &&
                       m_datasourceView->isReady() && !m_readingKeys);
}

void ViewController::readImageKeys()
{
    const auto source =
        m_datasourceView
            ? std::dynamic_pointer_cast<FileNameDataSource>(m_datasourceView->dataSource())
            : nullptr;
    const auto& validated = validatedImages();
    if (!source || m_readingKeys || !validated)
        return;
    const QList<QUrl> unread = source->imagesToReadKeysOf(validated->validImages);
    if (unread.isEmpty())
        return;
    m_readingKeys = true;
    updateWriteReadiness();
    const QString tag = *source->keyTag();
    const QString exiftool =
        MetadataQueue::shared(m_services.preferences->writeMethod()).exiftoolLocation();
    using Keys = std::expected<QHash<QUrl, QString>, Error>;
    auto* watcher = new QFutureWatcher<Keys>(this);
    connect(watcher, &QFutureWatcher<Keys>::finished, this, [this, watcher, source, unread, tag] {
        watcher->deleteLater();
        m_readingKeys = false;
        const Keys keys = watcher->result();
        // A tag changed meanwhile is read anew by the refresh.
        if (source->keyTag() == tag) {
            if (!keys)
                presentError(window(), keys.error());
            // Unreadable images count as read: they have no key, and are told.
            source->addTagKeys(unread, keys.value_or(QHash<QUrl, QString>()));
        }
        refreshImageDisplay();
    });
    watcher->setFuture(QtConcurrent::run([exiftool, unread, tag] {
        return readTagKeys(ExifTool(exiftool, {}), unread, tag, QThread::idealThreadCount());
    }));
}

void ViewController::addRules(const std::vector<MetadataMapping>& rules)
{
    std::vector<MetadataMapping> rows = withColumnRules(rowsAsSaved(), rules);
    // The document's change of rows places them in the editor.
    if (rows != m_document.currentCriteriaRows())
        m_document.setCriteria(std::move(rows));
}

void ViewController::rebuildCriteria()
{
    m_criteriaAreLoading = true;
    m_criteriaBuilt = true;
    const QStringList keyNames = m_datasourceView ? m_datasourceView->keyNames() : QStringList();
    sourceTagCriteria = makeSourceTagCriteria(keyNames, m_services.center);
    qbLog(QStringLiteral("Updated with %1 new criteria from %2 key names")
              .arg(sourceTagCriteria.size())
              .arg(keyNames.size()));
    const std::vector<MetadataMapping>& mappings = m_document.currentCriteriaRows();
    if (mappings.empty())
        qbLog(QStringLiteral("Document has no saved mappings"));
    // Every saved row gets a row of its own, also one whose column the data
    // lacks: it shows as unfinished and is saved as it was.
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        Criteria row = rowForMapping(mappings[i], int(i), sourceTagCriteria);
        if (ruleEditor->numberOfRows() <= int(i))
            ruleEditor->addRow(std::move(row));
        else
            ruleEditor->setCriteria(int(i), std::move(row));
    }
    // Rows beyond the saved ones are an undone change, or a new row of an
    // older tree.
    while (ruleEditor->numberOfRows() > int(mappings.size()))
        ruleEditor->removeRow(ruleEditor->numberOfRows() - 1);
    if (ruleEditor->numberOfRows() == 0 && !sourceTagCriteria.empty()) {
        qbPrint(QStringLiteral("Adding row"));
        ruleEditor->addRow();
    }
    rememberPlacedRows();
    markOverruledRows();
    qbLog(QStringLiteral("Finished updating criteria"));
    m_criteriaAreLoading = false;
    // The panel's settings are left as the document has them: they are
    // stored when the user changes something, not when the window is set up.
}

// What each row reads as now, beside the mapping it was placed from: a row
// that still reads so when the rows are saved is saved as its mapping, so
// that what a row can't show (a second mapper, a regular expression, a
// destination its mode doesn't offer) isn't lost by an edit of another row.
void ViewController::rememberPlacedRows()
{
    m_placedRows.clear();
    const std::vector<MetadataMapping>& mappings = m_document.currentCriteriaRows();
    for (std::size_t i = 0; i < mappings.size() && int(i) < ruleEditor->numberOfRows(); ++i)
        m_placedRows.push_back({ruleEditor->rowWidget(int(i)),
                                mappingForRow(ruleEditor->criteriaForRow(int(i)), int(i)),
                                mappings[i]});
}

std::vector<MetadataMapping> ViewController::rowsAsSaved() const
{
    std::vector<MetadataMapping> rows;
    for (int i = 0; i < ruleEditor->numberOfRows(); ++i) {
        std::optional<MetadataMapping> reads = mappingForRow(ruleEditor->criteriaForRow(i), i);
        const RuleRow* widget = ruleEditor->rowWidget(i);
        const auto placed = std::find_if(m_placedRows.begin(), m_placedRows.end(),
                                         [widget](const PlacedRow& p) { return p.row == widget; });
        if (placed != m_placedRows.end() && placed->readsAs == reads)
            reads = placed->saved;
        if (reads)
            rows.push_back(std::move(*reads));
    }
    return rows;
}

void ViewController::saveRows()
{
    if (m_criteriaAreLoading)
        return;
    // Only a change makes an undo step: the same rows saved again don't.
    std::vector<MetadataMapping> rows = rowsAsSaved();
    if (rows != m_document.currentCriteriaRows())
        m_document.setCriteria(std::move(rows));
    markOverruledRows();
    const auto wrapper = m_datasourceView ? m_datasourceView->settingsWrapper() : std::nullopt;
    if (wrapper && wrapper->regularFileContents() != m_panelSettings) {
        m_panelSettings = wrapper->regularFileContents();
        m_document.setDatasourceWrapper(*wrapper, MappingsDoc::ChangeOrigin::user);
    }
}

// Two rows writing one tag both stay, and the upper one's value stands: the
// lower is framed, so the user sees why its column never reaches the file.
void ViewController::markOverruledRows()
{
    std::vector<MetadataMapping> mappings;
    std::vector<int> editorRows;
    for (int i = 0; i < ruleEditor->numberOfRows(); ++i)
        if (auto mapping = mappingForRow(ruleEditor->criteriaForRow(i), i)) {
            mappings.push_back(std::move(*mapping));
            editorRows.push_back(i);
        }
    QHash<int, QString> reasons;
    for (const OverruledRule& rule : overruledRules(mappings))
        reasons.insert(editorRows[std::size_t(rule.row)],
                       QStringLiteral("Row %1 writes %2 too; its value stands.")
                           .arg(editorRows[std::size_t(rule.upper)] + 1)
                           .arg(mappings[std::size_t(rule.row)].destTag));
    ruleEditor->setOverruledRows(reasons);
}

// The panel's settings as the document opened them, or as last stored: a
// save of the rows stores them only when the user has changed them since,
// as they read differently from how the document wrote them (a bookmark
// made anew, columns in the file's order) without being another choice.
void ViewController::notePanelSettings()
{
    const auto wrapper = m_datasourceView ? m_datasourceView->settingsWrapper() : std::nullopt;
    m_panelSettings = wrapper ? wrapper->regularFileContents() : std::nullopt;
}

void ViewController::removeRows()
{
    const bool hadRows = !m_document.currentCriteriaRows().empty();
    m_criteriaAreLoading = true;
    while (ruleEditor->numberOfRows() > 0)
        ruleEditor->removeRow(0);
    m_criteriaAreLoading = false;
    // The document's change of rows builds them again over the new columns;
    // without rows to remove, the new columns still need their tree.
    saveRows();
    if (!hadRows)
        rebuildCriteria();
}

void ViewController::selectImagesAction()
{
    m_images->selectImages();
}

void ViewController::dropImages(const QList<QUrl>& urls)
{
    m_images->dropImages(urls);
}

ImageWarningViewController* ViewController::showImageWarning()
{
    return m_images->showImageWarning();
}

ShotlistViewController* ViewController::showShotlist()
{
    return m_images->showShotlist();
}

URLImageProvider& ViewController::provider() const
{
    return m_images->provider();
}

const std::optional<ImageValidator::ValidatedImages>& ViewController::validatedImages() const
{
    return m_images->validatedImages();
}

const QStringList& ViewController::matchFindings() const
{
    return m_images->matchFindings();
}

QLabel* ViewController::statusLabel() const
{
    return m_writer->statusLabel();
}

void ViewController::exportCaptureFolders()
{
    const QString folder = QFileDialog::getExistingDirectory(
        window(), QStringLiteral("Export Capture Folders"), QString(), QFileDialog::ShowDirsOnly);
    if (folder.isEmpty())
        return;
    exportCaptureFolders(QUrl::fromLocalFile(folder));
}

void ViewController::exportCaptureFolders(const QUrl& folder)
{
    if (folder.isEmpty()) {
        qbLog(QStringLiteral("ExportCaptureFolders OpenPanel does not have a URL"));
        return;
    }
    if (!m_datasourceView)
        return;
    const std::shared_ptr<MetadataSource> source = m_datasourceView->dataSource();
    qbLog(QStringLiteral("Creating %1 capture folders in %2")
              .arg(source->keys().size())
              .arg(folder.toLocalFile()));
    // A plain list of images: the folders are made, not searched.
    ShotlistCoordinator folders(std::make_shared<URLListProvider>(QList<QUrl>()), source);
    if (auto created = folders.createFolders(folder); !created)
        presentError(window(), created.error());
}

void ViewController::assignMetadata()
{
    m_writer->assignMetadata();
}

void ViewController::previewMetadata()
{
    m_writer->previewMetadata();
}

void ViewController::restoreLastWrite()
{
    m_writer->restoreLastWrite();
}

bool ViewController::canRestoreLastWrite() const
{
    return m_writer->canRestoreLastWrite();
}

} // namespace qb
