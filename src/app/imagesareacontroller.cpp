// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagesareacontroller.h"

#include "app/datasourcepresentable.h"
#include "app/imagestable.h"
#include "app/imagewarningviewcontroller.h"
#include "app/shotlistviewcontroller.h"

#include "widgets/dropviews.h"
#include "widgets/fileandfolderdialog.h"

#include "preferences/preferences.h"
#include "sources/matchfindings.h"
#include "sources/shotlistcoordinator.h"
#include "writing/metadataqueue.h"

#include "extensions/log.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

namespace qb {

ImagesAreaController::ImagesAreaController(Context context, QWidget* parent)
    : QObject(parent)
    , m_context(std::move(context))
    , m_provider(std::make_shared<URLImageProvider>(QList<QUrl>(), true))
{
    build(parent);
}

void ImagesAreaController::build(QWidget* parent)
{
    m_dropTarget = new DestinationView(parent);
    m_view = m_dropTarget;
    m_dropTarget->setObjectName(QStringLiteral("imageDropTarget"));
    m_dropTarget->setAccessibleName(QStringLiteral("Image drop area"));
    m_dropTarget->setMinimumHeight(48);
    auto* area = new QVBoxLayout(m_dropTarget);
    auto* layout = new QHBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    area->addLayout(layout);
    m_dropNotice = new QLabel(QStringLiteral("Drop images or folders here"), m_dropTarget);
    m_dropNotice->setObjectName(QStringLiteral("imageDropNotice"));
    auto* select = new QPushButton(QStringLiteral("Select Images\u2026"), m_dropTarget);
    select->setObjectName(QStringLiteral("selectImagesButton"));
    select->setAccessibleName(QStringLiteral("Select images"));
    m_countLabel = new QLabel(m_dropTarget);
    m_countLabel->setObjectName(QStringLiteral("imageCountLabel"));
    m_warningButton = new QToolButton(m_dropTarget);
    m_warningButton->setObjectName(QStringLiteral("imageWarningButton"));
    m_warningButton->setIcon(parent->style()->standardIcon(QStyle::SP_MessageBoxWarning));
    m_warningButton->setAccessibleName(QStringLiteral("Warnings about the images"));
    m_warningButton->setToolTip(m_warningButton->accessibleName());
    m_warningButton->setAutoRaise(true);
    m_warningButton->hide();
    m_shotlistButton = new QPushButton(QStringLiteral("Shot List\u2026"), m_dropTarget);
    m_shotlistButton->setObjectName(QStringLiteral("imageStatusButton"));
    m_shotlistButton->setAccessibleName(QStringLiteral("Show the shot list"));
    layout->addWidget(m_dropNotice);
    layout->addWidget(m_countLabel);
    layout->addWidget(m_warningButton);
    layout->addStretch(1);
    layout->addWidget(m_shotlistButton);
    layout->addWidget(select);
    m_table = new ImagesTable(
        m_context.openUrl,
        MetadataQueue::shared(m_context.preferences->writeMethod()).exiftoolLocation(),
        m_dropTarget);
    area->addWidget(m_table, 1);

    connect(m_table, &ImagesTable::removeRequested, this, &ImagesAreaController::removeImages);
    connect(m_table, &ImagesTable::keyChosen, this, [this](const QString& key) {
        if (m_shotlist)
            m_shotlist->selectShot(key);
    });
    connect(select, &QPushButton::clicked, this, &ImagesAreaController::selectImages);
    connect(m_warningButton, &QToolButton::clicked, this, &ImagesAreaController::showImageWarning);
    connect(m_shotlistButton, &QPushButton::clicked, this, &ImagesAreaController::showShotlist);
    connect(m_dropTarget, &DestinationView::urlsDropped, this, &ImagesAreaController::dropImages);
}

bool ImagesAreaController::hasWritableImages() const
{
    return m_validatedImages && !m_validatedImages->validImages.isEmpty();
}

void ImagesAreaController::refresh()
{
    const QList<QUrl> urls = m_provider->urls();
    m_dropNotice->setVisible(urls.isEmpty());
    m_countLabel->setVisible(!urls.isEmpty());
    m_shotlistButton->setVisible(!urls.isEmpty());
    QStringList paths;
    paths.reserve(urls.size());
    for (const QUrl& url : urls)
        paths << url.toLocalFile();
    m_table->model().setImages(paths);
    replan();
    if (urls.isEmpty()) {
        m_validatedImages.reset();
        m_matchFindings.clear();
        m_warningButton->hide();
        emit imagesChanged();
        return;
    }
    // No singular: "1 Images".
    m_countLabel->setText(QString::number(urls.size()) + QStringLiteral(" Images"));
    m_validatedImages = ImageValidator::validate(urls, *m_context.preferences);
    m_matchFindings = findMatchFindings(m_validatedImages->validImages);
    m_warningButton->setVisible(m_validatedImages->invalidCount != 0 ||
                                !m_matchFindings.isEmpty() || !m_leftOutImages.isEmpty());
    emit imagesChanged();
}

ImagePlanInputs ImagesAreaController::planInputs() const
{
    ImagePlanInputs inputs;
    DataSourcePresentable* panel = m_context.panel ? m_context.panel() : nullptr;
    if (panel && panel->isReady()) {
        // A copy, as the worker reads it while the panel may change.
        if (const auto source = std::dynamic_pointer_cast<FileNameDataSource>(panel->dataSource()))
            inputs.source = std::make_shared<const FileNameDataSource>(*source);
    }
    if (m_context.mappings)
        inputs.mappings = m_context.mappings();
    inputs.writeMethodValue = m_context.preferences->writeMethodValue();
    inputs.emptyCells =
        m_context.preferences->emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep;
    return inputs;
}

void ImagesAreaController::replan()
{
    m_table->model().plan(planInputs());
}

void ImagesAreaController::removeImages(const QStringList& paths)
{
    const QSet<QString> removed(paths.begin(), paths.end());
    QList<QUrl> kept;
    for (const QUrl& url : m_provider->urls())
        if (!removed.contains(url.toLocalFile()))
            kept << url;
    m_provider->setURLs(kept);
    refresh();
}

QList<QUrl> ImagesAreaController::selectedImages() const
{
    QList<QUrl> urls;
    for (const QString& path : m_table->selectedPaths())
        urls << QUrl::fromLocalFile(path);
    return urls;
}

void ImagesAreaController::showOutcomes(const FileOutcomes& outcomes)
{
    m_table->model().setOutcomes(outcomes);
}

QStringList ImagesAreaController::findMatchFindings(const QList<QUrl>& images) const
{
    DataSourcePresentable* panel = m_context.panel();
    if (!panel || !panel->isReady())
        return {};
    const auto source = std::dynamic_pointer_cast<FileNameDataSource>(panel->dataSource());
    return source ? MatchFindings::find(*source, images).lines() : QStringList();
}

FileAndFolderDialog& ImagesAreaController::openPanel()
{
    if (!m_openPanel) {
        m_includeSubdirsCheck = new QCheckBox(QStringLiteral("Include subfolders"));
        m_includeSubdirsCheck->setObjectName(QStringLiteral("includeSubdirsCheck"));
        m_includeSubdirsCheck->setChecked(true);
        m_openPanel = new FileAndFolderDialog(m_view->window(), m_includeSubdirsCheck);
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
            refresh();
        });
    }
    return *m_openPanel;
}

void ImagesAreaController::selectImages()
{
    openPanel().open();
}

void ImagesAreaController::dropImages(const QList<QUrl>& urls)
{
    const FolderSearch found = ImageValidator::expandDropped(urls, false);
    m_leftOutImages = found.leftOut;
    m_provider->setURLs(found.images);
    refresh();
}

QString ImagesAreaController::warningText() const
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

ImageWarningViewController* ImagesAreaController::showImageWarning()
{
    const QString text = warningText();
    auto* warning = new ImageWarningViewController(
        m_warningButton, text.isEmpty() ? std::nullopt : std::optional<QString>(text));
    warning->popUp();
    return warning;
}

ShotlistViewController* ImagesAreaController::showShotlist()
{
    auto* panel = new ShotlistViewController(m_shotlistButton);
    std::optional<ShotlistCoordinator> coordinator;
    if (DataSourcePresentable* source = m_context.panel())
        coordinator.emplace(m_provider, source->dataSource());
    panel->setUp(std::move(coordinator), *m_context.center, m_context.notifier);
    connect(panel, &ShotlistViewController::shotChosen, m_table, &ImagesTable::selectKey);
    m_shotlist = panel;
    panel->popUp();
    return panel;
}

} // namespace qb
