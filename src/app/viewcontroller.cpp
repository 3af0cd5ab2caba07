// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewcontroller.h"

#include "app/csvdatasourceviewcontroller.h"
#include "app/errorpresenter.h"
#include "app/imagedatasoucecontroller.h"
#include "app/imagewarningviewcontroller.h"
#include "app/shotlistviewcontroller.h"
#include "app/writereviewdialogs.h"

#include "widgets/dropviews.h"
#include "widgets/fileandfolderdialog.h"

#include "documents/mappingsdoc.h"
#include "preferences/preferences.h"
#include "sources/matchfindings.h"
#include "sources/shotlistcoordinator.h"
#include "writing/writejournal.h"
#include "writing/writepreview.h"

#include "extensions/log.h"
#include "extensions/notificationcenter.h"

#include <QAction>
#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSet>
#include <QShowEvent>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace qb {

namespace {

const QString assignTitle = QStringLiteral("Assign Metadata");
const QString workingTitle = QStringLiteral("Working\u2026");

QString methodPhrase(MetadataQueue::WriteMethod method)
{
    switch (method) {
    case MetadataQueue::WriteMethod::direct:
        return QStringLiteral("directly into the files");
    case MetadataQueue::WriteMethod::xmp:
        return QStringLiteral("into XMP sidecar files");
    case MetadataQueue::WriteMethod::captureOne:
        return QStringLiteral("to the open Capture One document");
    }
    return {};
}

} // namespace

ViewController::ViewController(MappingsDoc& document, WindowServices services, QWidget* parent)
    : QWidget(parent)
    , m_document(document)
    , m_services(std::move(services))
    , m_provider(std::make_shared<URLImageProvider>(QList<QUrl>(), true))
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
    layout->addWidget(buildImageBar());
}

QWidget* ViewController::buildImageBar()
{
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);

    imageDropTarget = new DestinationView(bar);
    imageDropTarget->setObjectName(QStringLiteral("imageDropTarget"));
    imageDropTarget->setAccessibleName(QStringLiteral("Images"));
    imageDropTarget->setMinimumHeight(48);
    auto* drop = new QHBoxLayout(imageDropTarget);
    imageDropNotice = new QLabel(QStringLiteral("Drop images or folders here"), imageDropTarget);
    imageDropNotice->setObjectName(QStringLiteral("imageDropNotice"));
    auto* select = new QPushButton(QStringLiteral("Select Images\u2026"), imageDropTarget);
    select->setObjectName(QStringLiteral("selectImagesButton"));
    select->setAccessibleName(QStringLiteral("Select images"));
    imageCountLabel = new QLabel(imageDropTarget);
    imageCountLabel->setObjectName(QStringLiteral("imageCountLabel"));
    imageWarningButton = new QToolButton(imageDropTarget);
    imageWarningButton->setObjectName(QStringLiteral("imageWarningButton"));
    imageWarningButton->setIcon(style()->standardIcon(QStyle::SP_MessageBoxWarning));
    imageWarningButton->setAccessibleName(QStringLiteral("Warnings about the images"));
    imageWarningButton->setToolTip(imageWarningButton->accessibleName());
    imageWarningButton->setAutoRaise(true);
    imageStatusButton = new QPushButton(QStringLiteral("Shot List\u2026"), imageDropTarget);
    imageStatusButton->setObjectName(QStringLiteral("imageStatusButton"));
    imageStatusButton->setAccessibleName(QStringLiteral("Show the shot list"));
    drop->addWidget(imageDropNotice);
    drop->addWidget(imageCountLabel);
    drop->addWidget(imageWarningButton);
    drop->addStretch(1);
    drop->addWidget(imageStatusButton);
    drop->addWidget(select);
    layout->addWidget(imageDropTarget, 1);

    m_statusLabel = new QLabel(bar);
    m_statusLabel->setObjectName(QStringLiteral("statusLabel"));
    progressIndicator = new QProgressBar(bar);
    progressIndicator->setObjectName(QStringLiteral("progressIndicator"));
    progressIndicator->setAccessibleName(QStringLiteral("Writing metadata"));
    progressIndicator->setRange(0, 0);
    progressIndicator->setMaximumWidth(120);
    progressIndicator->setTextVisible(false);
    progressIndicator->hide();
    actionButton = new QPushButton(assignTitle, bar);
    actionButton->setObjectName(QStringLiteral("actionButton"));
    actionButton->setAccessibleName(assignTitle);
    actionButton->setDefault(true);
    previewButton = new QPushButton(QStringLiteral("Preview\u2026"), bar);
    previewButton->setObjectName(QStringLiteral("previewButton"));
    previewButton->setAccessibleName(QStringLiteral("Preview the write"));
    layout->addWidget(m_statusLabel);
    layout->addWidget(progressIndicator);
    layout->addWidget(previewButton);
    layout->addWidget(actionButton);

    m_statusTimer = new QTimer(this);
    m_statusTimer->setInterval(500);
    connect(m_statusTimer, &QTimer::timeout, this, &ViewController::showQueueStatus);
    connect(select, &QPushButton::clicked, this, &ViewController::selectImagesAction);
    connect(actionButton, &QPushButton::clicked, this, &ViewController::assignMetadata);
    connect(previewButton, &QPushButton::clicked, this, &ViewController::previewMetadata);
    connect(imageWarningButton, &QToolButton::clicked, this, &ViewController::showImageWarning);
    connect(imageStatusButton, &QPushButton::clicked, this, &ViewController::showShotlist);
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
    m_datasourceView = std::make_unique<CSVDataSourceViewController>(panelContext());
    m_datasourceView->setDelegate(this);
    // A rule text change and a data source change share one name; this
    // observer takes any object, so it hears both and saves the rows.
    m_services.center->addObserver(ruleTextChangeNotification, nullptr, this,
                                   [this](const QObject*) { saveRows(); });
    actionButton->setEnabled(false);
    previewButton->setEnabled(false);
    connect(m_services.preferences, &Preferences::writeMethodValueChanged, this, [this] {
        refreshImageDisplay();
        m_services.center->post(dataSourceChangeNotification, this);
    });
    imageWarningButton->hide();
    connect(imageDropTarget, &DestinationView::urlsDropped, this, &ViewController::dropImages);
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

void ViewController::setUpPanel(const QString& name)
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
    m_document.setDatasource(name);
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
}

void ViewController::setDatasource(const QString& identifier)
{
    if (identifier.isEmpty()) {
        qbPrint(QStringLiteral("MenuItem must have an identifier"));
        return;
    }
    setUpPanel(identifier);
    showPanel();
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
}

void ViewController::refreshImageDisplay()
{
    const QList<QUrl> urls = m_provider->urls();
    if (urls.isEmpty()) {
        imageDropNotice->show();
        imageCountLabel->hide();
        imageWarningButton->hide();
        imageStatusButton->hide();
        actionButton->setEnabled(false);
        previewButton->setEnabled(false);
        return;
    }
    imageDropNotice->hide();
    imageStatusButton->show();
    imageCountLabel->show();
    // No singular: "1 Images".
    imageCountLabel->setText(QString::number(urls.size()) + QStringLiteral(" Images"));
    m_validatedImages = ImageValidator::validate(urls, *m_services.preferences);
    actionButton->show();
    const bool ready = m_datasourceView && m_datasourceView->isReady();
    actionButton->setEnabled(!m_working && !m_validatedImages->validImages.isEmpty() && ready);
    previewButton->setEnabled(actionButton->isEnabled());
    m_matchFindings = findMatchFindings(m_validatedImages->validImages);
    imageWarningButton->setVisible(m_validatedImages->invalidCount != 0 ||
                                   !m_matchFindings.isEmpty() || !m_leftOutImages.isEmpty());
}

QStringList ViewController::findMatchFindings(const QList<QUrl>& images) const
{
    if (!m_datasourceView || !m_datasourceView->isReady())
        return {};
    const auto source =
        std::dynamic_pointer_cast<FileNameDataSource>(m_datasourceView->dataSource());
    return source ? MatchFindings::find(*source, images).lines() : QStringList();
}

void ViewController::rebuildCriteria()
{
    m_criteriaAreLoading = true;
    const QStringList keyNames =
        m_datasourceView ? m_datasourceView->dataSource()->keyNames() : QStringList();
    sourceTagCriteria = makeSourceTagCriteria(keyNames, m_services.center);
    qbLog(QStringLiteral("Updated with %1 new criteria from %2 key names")
              .arg(sourceTagCriteria.size())
              .arg(keyNames.size()));
    const std::vector<MetadataMapping>& mappings = m_document.currentCriteriaRows();
    if (mappings.empty())
        qbLog(QStringLiteral("Document has no saved mappings"));
    // Rows that find no place are left out, so the placed ones close up.
    int placed = 0;
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        auto row = rowForMapping(mappings[i], int(i), sourceTagCriteria);
        if (!row)
            continue;
        if (ruleEditor->numberOfRows() < placed + 1)
            ruleEditor->addRow();
        ruleEditor->setCriteria(placed++, std::move(*row));
    }
    if (ruleEditor->numberOfRows() == 0 && !sourceTagCriteria.empty()) {
        qbPrint(QStringLiteral("Adding row"));
        ruleEditor->addRow();
    }
    qbLog(QStringLiteral("Finished updating criteria"));
    m_criteriaAreLoading = false;
    storePanelSettings();
}

void ViewController::saveRows()
{
    if (m_criteriaAreLoading)
        return;
    if (m_firstLoad) {
        m_firstLoad = false;
        return;
    }
    m_document.setCriteria(mappingsForRows(ruleEditor->allRowCriteria()));
    storePanelSettings();
}

void ViewController::storePanelSettings()
{
    if (!m_datasourceView)
        return;
    if (auto wrapper = m_datasourceView->settingsWrapper())
        m_document.setDatasourceWrapper(*wrapper);
}

FileAndFolderDialog& ViewController::openPanel()
{
    if (!m_openPanel) {
        m_includeSubdirsCheck = new QCheckBox(QStringLiteral("Include subfolders"));
        m_includeSubdirsCheck->setObjectName(QStringLiteral("includeSubdirsCheck"));
        m_includeSubdirsCheck->setChecked(true);
        m_openPanel = new FileAndFolderDialog(window(), m_includeSubdirsCheck);
        m_openPanel->setObjectName(QStringLiteral("imageOpenPanel"));
        m_openPanel->setWindowTitle(QStringLiteral("Select Images"));
        QStringList patterns;
        for (const QString& type : ImageValidator::writableTypeList())
            patterns << QStringLiteral("*.") + type.toLower() << QStringLiteral("*.") + type;
        m_openPanel->setNameFilters(
            {QStringLiteral("Images (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')'),
             QStringLiteral("All files (*)")});
        m_openPanel->setWindowModality(Qt::WindowModal);
        connect(m_openPanel, &QDialog::accepted, this, [this] {
            const QList<QUrl> chosen = m_openPanel->chosenUrls();
            qbPrint(QStringLiteral("Opening %1 images").arg(chosen.size()));
            m_provider->setRecursive(m_includeSubdirsCheck->checkState() != Qt::Unchecked);
            m_provider->setURLs(chosen);
            m_leftOutImages = m_provider->expandURLs();
            qbLog(
                QStringLiteral("Image provider now has %1 images").arg(m_provider->urls().size()));
            refreshImageDisplay();
        });
    }
    return *m_openPanel;
}

void ViewController::selectImagesAction()
{
    openPanel().open();
}

void ViewController::dropImages(const QList<QUrl>& urls)
{
    const FolderSearch found = ImageValidator::expandDropped(urls, false);
    m_leftOutImages = found.leftOut;
    m_provider->setURLs(found.images);
    refreshImageDisplay();
}

QString ViewController::imageWarningText() const
{
    // What exiftool can't write, what couldn't be named, then how the rows
    // tie to the images.
    QStringList parts;
    if (m_validatedImages && m_validatedImages->message)
        parts << *m_validatedImages->message;
    if (!m_leftOutImages.isEmpty()) {
        QStringList names = m_leftOutImages.mid(0, MatchFindings::lineLimit);
        if (const qsizetype rest = m_leftOutImages.size() - names.size(); rest > 0)
            names << QStringLiteral("\u2026 and %1 more").arg(rest);
        parts << QStringLiteral("Left out, as their names aren\u2019t UTF-8:\n") +
                     names.join(QLatin1Char('\n'));
    }
    if (!m_matchFindings.isEmpty())
        parts << m_matchFindings.join(QLatin1Char('\n'));
    return parts.join(QStringLiteral("\n\n"));
}

ImageWarningViewController* ViewController::showImageWarning()
{
    const QString text = imageWarningText();
    auto* warning = new ImageWarningViewController(
        imageWarningButton, text.isEmpty() ? std::nullopt : std::optional<QString>(text));
    warning->popUp();
    return warning;
}

ShotlistViewController* ViewController::showShotlist()
{
    auto* panel = new ShotlistViewController(imageStatusButton);
    std::optional<ShotlistCoordinator> coordinator;
    if (m_datasourceView)
        coordinator.emplace(m_provider, m_datasourceView->dataSource());
    panel->setUp(std::move(coordinator), *m_services.center, this);
    panel->popUp();
    return panel;
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

void ViewController::setWorking(bool working)
{
    // Posted, so that the change shows only once the running work returns.
    QMetaObject::invokeMethod(
        this,
        [this, working] {
            m_working = working;
            actionButton->setText(working ? workingTitle : assignTitle);
            actionButton->setEnabled(!working);
            previewButton->setEnabled(!working);
            progressIndicator->setVisible(working);
            progressIndicator->setRange(0, 0);
            if (working) {
                m_statusTimer->start();
                showQueueStatus();
            } else {
                m_statusTimer->stop();
                m_progressText.clear();
                m_statusLabel->clear();
            }
        },
        Qt::QueuedConnection);
}

void ViewController::showQueueStatus()
{
    const auto method = m_services.preferences->writeMethod();
    // Waiting for another process's write says more than a count at zero.
    m_statusLabel->setText(MetadataQueue::shared(method).statusText().value_or(m_progressText));
}

void ViewController::assignMetadata()
{
    setWorking(true);
    const MetadataQueue::WriteMethod method = m_services.preferences->writeMethod();
    MetadataQueue& queue = MetadataQueue::shared(method);
    queue.setSidecarNaming(m_services.preferences->sidecarNaming());
    queue.setJournalDirectory(m_services.preferences->keepWriteJournal()
                                  ? std::optional(journalDirectory())
                                  : std::nullopt);
    watchQueue(queue);
    m_lastReport = {};
    queue.setWriteJobs(m_services.preferences->writeJobs());
    std::vector<MetadataMapping> mappings = mappingsForRows(ruleEditor->allRowCriteria());
    const std::shared_ptr<MetadataSource> source = m_datasourceView->dataSource();
    queue.addImages(*m_provider, *source, std::move(mappings));
    const int count = queue.imageCount();
    const QPointer<ViewController> self(this);
    queue.write([self, method, count](const MetadataQueue::WriteResult& result) {
        if (self)
            self->finishWrite(result, method, count);
    });
}

void ViewController::finishWrite(const MetadataQueue::WriteResult& result,
                                 MetadataQueue::WriteMethod method, int count)
{
    if (result) {
        qbLog(QStringLiteral("Metadata written successfully"));
        if (m_services.preferences->presentDialogueOnSuccess()) {
            auto* box = new QMessageBox(QMessageBox::Information, QStringLiteral("Quillbrook"),
                                        QStringLiteral("Metadata was written to %1 images %2.")
                                            .arg(count)
                                            .arg(methodPhrase(method)),
                                        QMessageBox::Ok, window());
            box->setObjectName(QStringLiteral("successAlert"));
            box->setAttribute(Qt::WA_DeleteOnClose);
            box->setWindowModality(Qt::WindowModal);
            box->open();
        }
    } else {
        qbLog(QStringLiteral("ERROR writing metadata"));
        qbLog(result.error().errorDescription);
        const Error error = result.error();
        // Every failed file with its own reason, not the first error only.
        const FileOutcomes outcomes = m_lastReport.outcomes;
        QMetaObject::invokeMethod(
            this,
            [this, error, outcomes] {
                if (countOutcomes(outcomes).failed == 0) {
                    presentError(window(), error);
                    return;
                }
                auto* dialog = new FailedFilesDialog(error, outcomes, window());
                dialog->setAttribute(Qt::WA_DeleteOnClose);
                dialog->setWindowModality(Qt::WindowModal);
                dialog->open();
            },
            Qt::QueuedConnection);
    }
    setWorking(false);
    emit writeFinished(result.has_value());
}

void ViewController::watchQueue(MetadataQueue& queue)
{
    if (!m_watchedQueues.insert(&queue).second)
        return;
    connect(&queue, &MetadataQueue::writeReported, this, [this](const WriteReport& report) {
        m_lastReport = report;
        if (!report.journalPath.isEmpty())
            m_lastJournal = report.journalPath;
    });
    connect(&queue, &MetadataQueue::writeProgress, this, &ViewController::showProgress);
}

void ViewController::showProgress(qsizetype done, qsizetype total)
{
    // A short write is over before a bar could tell anything.
    constexpr qsizetype determinateFrom = 300;
    if (!m_working || total < determinateFrom)
        return;
    progressIndicator->setRange(0, int(total));
    progressIndicator->setValue(int(done));
    m_progressText = QStringLiteral("%1 of %2 images written").arg(done).arg(total);
    showQueueStatus();
}

} // namespace qb
