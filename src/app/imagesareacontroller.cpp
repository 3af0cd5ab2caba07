// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagesareacontroller.h"

#include "app/cardplanner.h"
#include "app/csvdatasourceviewcontroller.h"
#include "app/datasourcepresentable.h"
#include "app/errorpresenter.h"
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
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
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
    const QString exiftool =
        MetadataQueue::shared(m_context.preferences->writeMethod()).exiftoolLocation();
    buildSubjectRow();
    area->addWidget(m_subjectRow);
    m_table = new ImagesTable(m_context.openUrl, exiftool, m_dropTarget);
    area->addWidget(m_table, 1);
    m_cards = new CardPlanner(exiftool, this);
    connect(m_cards, &CardPlanner::planned, this, &ImagesAreaController::showCardPlan);
    connect(m_cards, &CardPlanner::failed, this,
            [this](const Error& error) { presentError(m_view->window(), error); });
    m_table->setMenuExtension(
        [this](QMenu& menu, const QStringList& paths) { addCardActions(menu, paths); });

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

void ImagesAreaController::buildSubjectRow()
{
    // A USB scanner types a card's code and Return into the field in focus.
    m_subjectRow = new QWidget(m_dropTarget);
    auto* row = new QHBoxLayout(m_subjectRow);
    row->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QStringLiteral("Current subject:"), m_subjectRow);
    m_subjectField = new QLineEdit(m_subjectRow);
    m_subjectField->setObjectName(QStringLiteral("currentSubjectField"));
    m_subjectField->setAccessibleName(QStringLiteral("Current subject"));
    m_subjectField->setPlaceholderText(QStringLiteral("Scan a card or type its key"));
    m_subjectField->setMinimumWidth(
        m_subjectField->fontMetrics().horizontalAdvance(m_subjectField->placeholderText()) + 24);
    m_subjectField->setToolTip(
        QStringLiteral("Frames no card covers, as those shot before the first card, go to "
                       "this row: scan the subject's card here before shooting."));
    label->setBuddy(m_subjectField);
    m_subjectNote = new QLabel(m_subjectRow);
    m_subjectNote->setObjectName(QStringLiteral("currentSubjectNote"));
    row->addWidget(label);
    row->addWidget(m_subjectField);
    row->addWidget(m_subjectNote, 1);
    m_subjectRow->hide();
    connect(m_subjectField, &QLineEdit::returnPressed, this,
            &ImagesAreaController::setCurrentSubject);
}

bool ImagesAreaController::hasWritableImages() const
{
    if (isCardMode())
        return m_plannedImages && !m_plannedImages->images().isEmpty();
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
    m_subjectRow->setVisible(isCardMode());
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
    // By cards, names tie no row to an image.
    m_matchFindings =
        isCardMode() ? QStringList() : findMatchFindings(m_validatedImages->validImages);
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

CSVDataSourceViewController* ImagesAreaController::cardPanel() const
{
    auto* panel =
        qobject_cast<CSVDataSourceViewController*>(m_context.panel ? m_context.panel() : nullptr);
    return panel && panel->cardMode() ? panel : nullptr;
}

void ImagesAreaController::replan()
{
    CSVDataSourceViewController* panel = cardPanel();
    const auto source = panel && panel->isReady()
                            ? std::dynamic_pointer_cast<FileNameDataSource>(panel->dataSource())
                            : nullptr;
    if (!source) {
        const bool hadPlan = m_plannedImages != nullptr;
        m_cards->clear();
        m_plannedImages.reset();
        m_table->model().plan(planInputs());
        if (hadPlan)
            emit cardPlanChanged();
        return;
    }
    CardPlanner::Inputs inputs;
    for (const QUrl& url : m_provider->urls())
        inputs.paths << url.toLocalFile();
    // A copy, as the worker reads it while the panel may change.
    inputs.rows = std::make_shared<const FileNameDataSource>(*source);
    if (m_context.mappings)
        inputs.mappings = m_context.mappings();
    inputs.emptyCells =
        m_context.preferences->emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep;
    for (const CardFixSetting& fix : panel->cardFixes())
        inputs.options.fixes.push_back(CardFix{fix.frame, fix.key, 0});
    inputs.options.currentSubject = m_currentSubject;
    m_cards->plan(std::move(inputs));
}

void ImagesAreaController::showCardPlan()
{
    const std::optional<CardPlan>& plan = m_cards->currentPlan();
    if (!plan) {
        m_plannedImages.reset();
        emit cardPlanChanged();
        return;
    }
    const CardTableRows& rows = m_cards->tableRows();
    m_table->model().showPlanned(rows.paths, rows.entries, rows.subjects);
    // A subject's name and count say more than a key; the column widens
    // once as card mode starts, and is the user's to size after that.
    if (!m_plannedImages) {
        QHeaderView* header = m_table->tableView()->horizontalHeader();
        header->resizeSection(ImageTableModel::keyColumn,
                              std::max(header->sectionSize(ImageTableModel::keyColumn), 320));
    }
    m_plannedImages = std::make_shared<URLListProvider>(m_cards->plannedRows()->images());
    const auto checks = std::ranges::count_if(plan->subjects, &CardSubject::needsCheck);
    const auto unassigned = std::ranges::count_if(rows.entries, [](const ImagePlanEntry& entry) {
        return entry.state == ImageState::unassigned;
    });
    QStringList summary{QStringLiteral("%1 Images").arg(rows.paths.size()),
                        plan->subjects.size() == 1
                            ? QStringLiteral("1 subject")
                            : QStringLiteral("%1 subjects").arg(plan->subjects.size())};
    if (checks)
        summary << QStringLiteral("%1 to check").arg(checks);
    if (unassigned)
        summary << QStringLiteral("%1 unassigned").arg(unassigned);
    m_countLabel->setText(summary.join(QStringLiteral(", ")));
    emit cardPlanChanged();
}

std::shared_ptr<MetadataSource>
ImagesAreaController::writeSource(std::shared_ptr<MetadataSource> panelSource) const
{
    if (!isCardMode())
        return panelSource;
    if (m_cards->plannedRows())
        return m_cards->plannedRows();
    // No plan yet: no frame has a row.
    return std::make_shared<PlannedRows>(
        std::make_shared<const FileNameDataSource>(MetadataTable()),
        std::vector<std::pair<QString, QStringList>>());
}

const ImageProvider& ImagesAreaController::writeImages() const
{
    static const URLListProvider none({});
    if (!isCardMode())
        return *m_provider;
    return m_plannedImages ? *m_plannedImages : none;
}

void ImagesAreaController::setCurrentSubject()
{
    const QString text = m_subjectField->text().trimmed();
    // The next scan replaces what this one typed.
    m_subjectField->selectAll();
    QString note;
    if (text.isEmpty()) {
        m_currentSubject.clear();
        note = QStringLiteral("No subject: frames before the first card stay unassigned.");
    } else {
        CSVDataSourceViewController* panel = cardPanel();
        const auto source =
            panel ? std::dynamic_pointer_cast<FileNameDataSource>(panel->dataSource()) : nullptr;
        const CardReading reading =
            readCardKeys({text}, CardKeyPattern(), source ? rowKeysOf(*source) : RowKeys());
        if (!reading.isKnown()) {
            note = QStringLiteral("No row has the key “%1”.").arg(text);
            m_subjectNote->setText(note);
            m_subjectField->setAccessibleDescription(note);
            return;
        }
        m_currentSubject = reading.rowKeys;
        QStringList named;
        for (const QString& key : m_currentSubject) {
            const QString name = rowName(*source, key);
            named << (name.isEmpty() ? key : QStringLiteral("%1 (%2)").arg(key, name));
        }
        note = QStringLiteral("Subject ") + named.join(QStringLiteral(", "));
    }
    m_subjectNote->setText(note);
    m_subjectField->setAccessibleDescription(note);
    replan();
}

void ImagesAreaController::addCardActions(QMenu& menu, const QStringList& paths)
{
    if (!isCardMode() || paths.isEmpty())
        return;
    menu.addSeparator();
    QAction* mark = menu.addAction(QStringLiteral("Mark as card for…"), this,
                                   [this, paths] { chooseCardRow(paths); });
    mark->setObjectName(QStringLiteral("markAsCardAction"));
    QAction* notCard = menu.addAction(QStringLiteral("Not a card"), this,
                                      [this, paths] { markCards(paths, std::nullopt); });
    notCard->setObjectName(QStringLiteral("notACardAction"));
}

void ImagesAreaController::chooseCardRow(const QStringList& paths)
{
    CSVDataSourceViewController* panel = cardPanel();
    const auto source =
        panel ? std::dynamic_pointer_cast<FileNameDataSource>(panel->dataSource()) : nullptr;
    if (!source)
        return;
    const QStringList keys = source->keys();
    QStringList items;
    for (const QString& key : keys) {
        const QString name = rowName(*source, key);
        items << (name.isEmpty() ? key : key + QStringLiteral(" – ") + name);
    }
    auto* dialog = new QInputDialog(m_view->window());
    dialog->setObjectName(QStringLiteral("cardRowDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(QStringLiteral("Mark as Card"));
    dialog->setLabelText(
        paths.size() == 1
            ? QStringLiteral("The row whose card %1 shows:")
                  .arg(QFileInfo(paths.front()).fileName())
            : QStringLiteral("The row whose card the %1 frames show:").arg(paths.size()));
    dialog->setComboBoxItems(items);
    dialog->setComboBoxEditable(false);
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QInputDialog::textValueSelected, this,
            [this, paths, keys, items](const QString& text) {
                if (const qsizetype at = items.indexOf(text); at >= 0)
                    markCards(paths, keys[at]);
            });
    dialog->open();
}

void ImagesAreaController::markCards(const QStringList& paths, const std::optional<QString>& key)
{
    CSVDataSourceViewController* panel = cardPanel();
    if (!panel)
        return;
    // A name two folders share is told apart by its folder.
    QHash<QString, int> names;
    for (const QUrl& url : m_provider->urls())
        ++names[url.fileName()];
    QSet<QString> read;
    if (const std::optional<CardPlan>& plan = m_cards->currentPlan()) {
        for (const PlannedFrame& frame : plan->frames)
            if (!frame.codes.isEmpty())
                read.insert(frame.path);
    }
    std::vector<CardFixSetting> fixes = panel->cardFixes();
    for (const QString& path : paths) {
        const QFileInfo info(path);
        const QString frame = names.value(info.fileName()) > 1
                                  ? info.dir().dirName() + QLatin1Char('/') + info.fileName()
                                  : info.fileName();
        std::erase_if(fixes, [&](const CardFixSetting& fix) { return fix.frame == frame; });
        // A frame made a card by hand only needs its mark taken away.
        if (key || read.contains(path))
            fixes.push_back({frame, key});
    }
    panel->setCardFixes(std::move(fixes));
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
