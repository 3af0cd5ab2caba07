// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagedatasoucecontroller.h"

#include "app/errorpresenter.h"
#include "app/matchingstylepopup.h"

#include "widgets/dropviews.h"

#include "extensions/log.h"

#include <QComboBox>
#include <QFormLayout>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QtConcurrent/QtConcurrentRun>

namespace qb {

namespace {

struct LoadResult {
    std::expected<QString, Error> outcome;
    MetadataTable table;
};

} // namespace

ImageDataSouceController::ImageDataSouceController(PanelContext context,
                                                   ImageDataSource::ReaderFactory reader,
                                                   QObject* parent)
    : DataSourcePresentable(std::move(context), parent)
    , m_imageDataSource(std::make_shared<ImageDataSource>(std::move(reader)))
{
}

std::optional<FileWrapper> ImageDataSouceController::settingsWrapper() const
{
    return wrapperOrNone(m_settings.fileWrapper());
}

void ImageDataSouceController::loadWrappers(const std::map<QString, FileWrapper>& wrappers)
{
    const auto bytes = memberContents(wrappers, ImageDatasourceSettings::memberName());
    if (!bytes)
        return;
    const auto decoded = ImageDatasourceSettings::decode(*bytes);
    if (!decoded) {
        qbPrint(decoded.error().errorDescription);
        return;
    }
    m_settings = *decoded;
    // The document's own settings: the data source takes the style, and
    // nothing is saved, as opening a document changes nothing in it.
    applyStyle();
}

void ImageDataSouceController::setEnabled(bool enabled)
{
    if (m_matchingStylePopUp)
        m_matchingStylePopUp->setEnabled(enabled);
}

QWidget* ImageDataSouceController::loadView()
{
    auto* view = new QWidget;
    view->setObjectName(QStringLiteral("imageDataSourceView"));
    auto* form = new QFormLayout(view);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_sourceImagesLabel = new DestinationTextField(view);
    m_sourceImagesLabel->setObjectName(QStringLiteral("sourceImagesLabel"));
    m_sourceImagesLabel->setAccessibleName(QStringLiteral("Source images"));
    m_sourceImagesLabel->setToolTip(
        QStringLiteral("Drop the images whose metadata the rows come from"));
    form->addRow(QStringLiteral("Source images:"), m_sourceImagesLabel);
    m_matchingStylePopUp = makeMatchingStylePopUp(view);
    auto* matchRow = new QHBoxLayout;
    matchRow->addWidget(new QLabel(QStringLiteral("image name"), view));
    matchRow->addWidget(m_matchingStylePopUp);
    matchRow->addWidget(new QLabel(QStringLiteral("the source image\u2019s name"), view));
    matchRow->addStretch(1);
    form->addRow(QStringLiteral("Match:"), matchRow);
    connect(m_sourceImagesLabel, &DestinationTextField::action, this,
            &ImageDataSouceController::importFileAction);
    connect(m_matchingStylePopUp, &QComboBox::currentIndexChanged, this,
            &ImageDataSouceController::matchStyleSelect);
    return view;
}

void ImageDataSouceController::viewDidLoad()
{
    const QSignalBlocker quiet(m_matchingStylePopUp);
    selectMatchingStyle(*m_matchingStylePopUp, m_settings.selectedMatchStyle);
}

void ImageDataSouceController::importFileAction()
{
    if (!m_sourceImagesLabel || m_loading)
        return;
    const QList<QUrl> urls = m_sourceImagesLabel->urls();
    // exiftool reads on a worker, into a copy of the table; the panel's own
    // table is only ever touched here, on the main thread.
    auto working = std::make_shared<ImageDataSource>(*m_imageDataSource);
    m_loading = true;
    m_sourceImagesLabel->setEnabled(false);
    auto* watcher = new QFutureWatcher<LoadResult>(this);
    connect(watcher, &QFutureWatcher<LoadResult>::finished, this, [this, watcher] {
        watcher->deleteLater();
        m_loading = false;
        if (m_sourceImagesLabel)
            m_sourceImagesLabel->setEnabled(true);
        LoadResult result = watcher->result();
        if (!result.outcome) {
            presentError(m_sourceImagesLabel ? m_sourceImagesLabel->window() : nullptr,
                         result.outcome.error());
        } else {
            m_imageDataSource->setMetadata(std::move(result.table));
            // The columns are those of the images read: saved rows that
            // name them come back to life.
            if (DataSourceDelegate* delegate = this->delegate())
                delegate->rebuildCriteria();
            contentChanged();
        }
        emit loadFinished();
    });
    watcher->setFuture(QtConcurrent::run([working, urls] {
        LoadResult result{std::unexpected(Error{}), {}};
        working->loadImages(
            urls, [&](const std::expected<QString, Error>& outcome) { result.outcome = outcome; });
        result.table = working->metadata();
        return result;
    }));
}

void ImageDataSouceController::matchStyleSelect()
{
    const int tag = selectedMatchingStyle(*m_matchingStylePopUp);
    if (!matchingStyleFromRawValue(tag))
        return;
    m_settings.selectedMatchStyle = tag;
    applyStyle();
    contentChanged();
}

void ImageDataSouceController::applyStyle()
{
    if (const auto style = m_settings.matchingStyle())
        m_imageDataSource->setMatchingStyle(*style);
}

} // namespace qb
