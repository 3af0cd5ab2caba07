// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvdatasourceviewcontroller.h"

#include "app/errorpresenter.h"
#include "app/imagekeypopup.h"
#include "app/matchingstylepopup.h"

#include "widgets/pathcontrol.h"

#include "writing/metadataqueue.h"

#include "sources/tagkeys.h"

#include "mapping/columnrules.h"

#include "preferences/preferences.h"

#include "extensions/dynamicvalue.h"
#include "extensions/log.h"

#include <QComboBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace qb {

namespace {

const QString noColumns = QStringLiteral("Select a CSV Above");

using FieldDelimiter = CSVDataSource::FieldDelimiter;

// A popup read by its current item on Linux: the description says what it
// chooses.
QComboBox* namedPopUp(QWidget* parent, const QString& objectName, const QString& name,
                      const QString& toolTip)
{
    auto* popUp = new QComboBox(parent);
    popUp->setObjectName(objectName);
    popUp->setAccessibleName(name);
    popUp->setAccessibleDescription(name);
    popUp->setToolTip(toolTip);
    return popUp;
}

QComboBox* makeDelimiterPopUp(QWidget* parent)
{
    auto* popUp =
        namedPopUp(parent, QStringLiteral("delimiterPopUp"), QStringLiteral("Field delimiter"),
                   QStringLiteral("What separates the fields of the CSV file. Automatic "
                                  "takes the one that splits the header line most."));
    const std::pair<const char*, FieldDelimiter> items[] = {
        {"Comma", FieldDelimiter::comma},
        {"Semicolon", FieldDelimiter::semicolon},
        {"Tab", FieldDelimiter::tab},
        {"Automatic", FieldDelimiter::automatic},
    };
    for (const auto& [title, delimiter] : items)
        popUp->addItem(QString::fromLatin1(title), int(delimiter));
    return popUp;
}

QComboBox* makeSheetPopUp(QWidget* parent)
{
    auto* popUp = namedPopUp(parent, QStringLiteral("sheetPopUp"), QStringLiteral("Sheet"),
                             QStringLiteral("The sheet of the spreadsheet the rows come from."));
    popUp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return popUp;
}

QString listText(const QStringList& names)
{
    DynamicValue::List list;
    for (const QString& name : names)
        list.emplace_back(name);
    return DynamicValue(list).description();
}

// "there is no file at …", without the "At currentURL: " that tells a
// developer where in the document the reference was.
QString withoutJsonPath(QString reason)
{
    const qsizetype colon = reason.indexOf(QStringLiteral(": "));
    if (reason.startsWith(QStringLiteral("At ")) && colon > 0)
        reason.remove(0, colon + 2);
    return reason;
}

QStringList sorted(QStringList names)
{
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

CSVDataSourceViewController::CSVDataSourceViewController(PanelContext context, QObject* parent)
    : DataSourcePresentable(std::move(context), parent)
    , m_csvDataSource(std::make_shared<CSVDataSource>())
{
}

std::optional<FileWrapper> CSVDataSourceViewController::settingsWrapper() const
{
    return wrapperOrNone(m_settings.fileWrapper());
}

QStringList CSVDataSourceViewController::keyNames() const
{
    // A file that has moved still leaves the columns the rows were made for.
    const QStringList read = m_csvDataSource->keyNames();
    return read.isEmpty() ? m_settings.keyNames : read;
}

void CSVDataSourceViewController::loadWrappers(const std::map<QString, FileWrapper>& wrappers)
{
    const auto bytes = memberContents(wrappers, CSVDatasourceSettings::memberName());
    if (!bytes)
        return;
    const auto decoded =
        CSVDatasourceSettings::decodeKeepingColumns(*bytes, m_context.bookmarkBaseFolder);
    if (!decoded) {
        qbPrint(decoded.error().errorDescription);
        return;
    }
    m_missingFile.clear();
    if (const auto& unresolved = decoded->unresolvedFile) {
        qbPrint(unresolved->errorDescription);
        m_missingFile = QStringLiteral("The CSV file can\u2019t be found: %1 Choose it again "
                                       "to write; the rules keep its columns meanwhile.")
                            .arg(withoutJsonPath(unresolved->failureReason));
    }
    m_settings = decoded->settings;
    if (const auto style = m_settings.matchingStyle())
        m_csvDataSource->setMatchingStyle(*style);
    m_csvDataSource->setFieldDelimiter(m_settings.delimiter());
    m_csvDataSource->setSheetName(m_settings.sheetName);
    m_csvDataSource->setKeyTag(m_settings.keyTag);
    showDelimiter();
    showImageKey();
}

void CSVDataSourceViewController::setEnabled(bool enabled)
{
    m_enabled = enabled;
    if (m_matchingStylePopUp)
        m_matchingStylePopUp->setEnabled(enabled);
    if (m_delimiterPopUp)
        m_delimiterPopUp->setEnabled(enabled);
    if (m_sheetPopUp)
        m_sheetPopUp->setEnabled(enabled);
    updateHeaderPopUpEnabled();
    updateKeyControlsEnabled();
}

// The placeholder item is never a choice.
void CSVDataSourceViewController::updateHeaderPopUpEnabled()
{
    if (m_headerPopUp)
        m_headerPopUp->setEnabled(m_enabled && !m_settings.keyNames.isEmpty());
}

// A key that names the file is compared with its path, never a tag; rules
// come from columns only once there are some.
void CSVDataSourceViewController::updateKeyControlsEnabled()
{
    // Nor is a key compared with anything of the image by cards.
    if (m_imageKeyPopUp)
        m_imageKeyPopUp->setEnabled(m_enabled && !m_settings.cardMode &&
                                    m_csvDataSource->matchingStyle() != MatchingStyle::path);
    if (m_keyValueLabel)
        m_keyValueLabel->setVisible(!m_settings.cardMode);
    if (m_makeRulesButton)
        m_makeRulesButton->setEnabled(m_enabled && !m_settings.keyNames.isEmpty());
}

QWidget* CSVDataSourceViewController::loadView()
{
    auto* view = new QWidget;
    view->setObjectName(QStringLiteral("csvDataSourceView"));
    auto* form = new QFormLayout(view);
    m_form = form;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    auto* fileRow = new QHBoxLayout;
    m_pathControl = new PathControl(view);
    m_pathControl->setObjectName(QStringLiteral("pathControl"));
    m_pathControl->setAccessibleName(QStringLiteral("Data file"));
    m_pathControl->setNameFilters({QStringLiteral("Data files (*.csv *.CSV *.txt *.xlsx *.ods)"),
                                   QStringLiteral("CSV files (*.csv *.CSV *.txt)"),
                                   QStringLiteral("Spreadsheets (*.xlsx *.ods)"),
                                   QStringLiteral("All files (*)")});
    m_reloadButton = new QPushButton(QStringLiteral("Reload"), view);
    m_reloadButton->setObjectName(QStringLiteral("reloadButton"));
    m_reloadButton->setAccessibleName(QStringLiteral("Reload the data file"));
    m_reloadButton->setToolTip(QStringLiteral("Read the data file again"));
    fileRow->addWidget(m_pathControl, 1);
    fileRow->addWidget(m_reloadButton);
    // Said only when the file wasn't Unicode, so that a wrong guess shows.
    // Read with its text: a name given to it would hide what it says.
    m_encodingNote = new QLabel(view);
    m_encodingNote->setObjectName(QStringLiteral("encodingNote"));
    m_encodingNote->setAccessibleDescription(QStringLiteral("How the data file was read"));
    m_encodingNote->setWordWrap(true);
    m_encodingNote->setVisible(false);
    m_fileNote = new QLabel(m_missingFile, view);
    m_fileNote->setObjectName(QStringLiteral("fileNote"));
    m_fileNote->setWordWrap(true);
    m_fileNote->setVisible(!m_missingFile.isEmpty());
    auto* fileColumn = new QVBoxLayout;
    fileColumn->setSpacing(2);
    fileColumn->addLayout(fileRow);
    fileColumn->addWidget(m_fileNote);
    fileColumn->addWidget(m_encodingNote);
    form->addRow(QStringLiteral("Data file:"), fileColumn);

    // A row of one control at its own width.
    const auto addRow = [form](const QString& label, QWidget* control) {
        auto* row = new QHBoxLayout;
        row->addWidget(control);
        row->addStretch(1);
        form->addRow(label, row);
        return row;
    };
    // A spreadsheet has sheets and no delimiter; a CSV file the other way
    // round. Only the row that fits the file shows.
    m_sheetPopUp = makeSheetPopUp(view);
    m_sheetRow = addRow(QStringLiteral("Sheet:"), m_sheetPopUp);
    m_delimiterPopUp = makeDelimiterPopUp(view);
    m_delimiterRow = addRow(QStringLiteral("Fields separated by:"), m_delimiterPopUp);

    auto* matchRow = new QHBoxLayout;
    m_imageKeyPopUp = makeImageKeyPopUp(view);
    auto* keyLabel = new QLabel(QStringLiteral("its value"), view);
    m_keyValueLabel = keyLabel;
    m_headerPopUp = new QComboBox(view);
    m_headerPopUp->setObjectName(QStringLiteral("headerPopUp"));
    m_headerPopUp->setAccessibleName(QStringLiteral("Key column"));
    m_headerPopUp->setAccessibleDescription(m_headerPopUp->accessibleName());
    m_headerPopUp->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_matchingStylePopUp = makeMatchingStylePopUp(view, true, true);
    // Here it compares the key with the name, a tag's value or the path,
    // or gives frames their rows by cards.
    m_matchingStylePopUp->setAccessibleName(QStringLiteral("Key matching"));
    m_matchingStylePopUp->setAccessibleDescription(m_matchingStylePopUp->accessibleName());
    matchRow->addWidget(m_headerPopUp);
    matchRow->addSpacing(12);
    matchRow->addWidget(m_imageKeyPopUp);
    matchRow->addWidget(m_matchingStylePopUp);
    matchRow->addWidget(keyLabel);
    matchRow->addStretch(1);
    form->addRow(QStringLiteral("Key column:"), matchRow);

    m_makeRulesButton = new QPushButton(QStringLiteral("Make rules from the columns"), view);
    m_makeRulesButton->setObjectName(QStringLiteral("makeRulesButton"));
    m_makeRulesButton->setAccessibleName(m_makeRulesButton->text());
    m_makeRulesButton->setToolTip(
        QStringLiteral("Add a rule for each column named after a tag exiftool can write "
                       "(Title, XMP-dc:Subject\u2026), as exiftool -csv names its columns."));
    addRow(QString(), m_makeRulesButton);

    connect(m_pathControl, &PathControl::action, this,
            &CSVDataSourceViewController::importFileAction);
    connect(m_pathControl, &PathControl::doubleAction, this,
            &CSVDataSourceViewController::pathControlDoubleAction);
    connect(m_reloadButton, &QPushButton::clicked, this, &CSVDataSourceViewController::reloadCSV);
    // A choice counts however it is made, by mouse, keyboard, an assistive
    // tool or code; the panel's own refreshes block the signals.
    connect(m_headerPopUp, &QComboBox::currentIndexChanged, this,
            &CSVDataSourceViewController::fileNameSelect);
    connect(m_matchingStylePopUp, &QComboBox::currentIndexChanged, this,
            &CSVDataSourceViewController::matchStyleSelect);
    connect(m_delimiterPopUp, &QComboBox::currentIndexChanged, this,
            &CSVDataSourceViewController::delimiterSelect);
    connect(m_sheetPopUp, &QComboBox::currentIndexChanged, this,
            &CSVDataSourceViewController::sheetSelect);
    connect(m_imageKeyPopUp, &QComboBox::currentIndexChanged, this,
            &CSVDataSourceViewController::imageKeySelect);
    connect(m_makeRulesButton, &QPushButton::clicked, this,
            &CSVDataSourceViewController::makeRulesAction);
    return view;
}

void CSVDataSourceViewController::viewDidLoad()
{
    {
        const QSignalBlocker quiet(m_matchingStylePopUp);
        selectMatchingStyle(*m_matchingStylePopUp, m_settings.cardMode
                                                       ? cardsMatchingItem
                                                       : m_settings.selectedMatchStyle);
    }
    m_matchingStylePopUp->setEnabled(m_enabled);
    m_delimiterPopUp->setEnabled(m_enabled);
    m_sheetPopUp->setEnabled(m_enabled);
    showDelimiter();
    showSheets();
    showImageKey();
    refreshHeaderPopUp(true);
}

void CSVDataSourceViewController::refreshHeaderPopUp(bool autoImport)
{
    {
        const QSignalBlocker quiet(m_headerPopUp);
        m_headerPopUp->clear();
        if (!m_settings.keyNames.isEmpty()) {
            m_headerPopUp->addItems(m_settings.keyNames);
            if (m_settings.selectedHeader) {
                const int index = m_headerPopUp->findText(*m_settings.selectedHeader);
                if (index >= 0)
                    m_headerPopUp->setCurrentIndex(index);
            }
        } else {
            m_headerPopUp->addItem(noColumns);
        }
    }
    updateHeaderPopUpEnabled();
    updateKeyControlsEnabled();
    m_reloadButton->setEnabled(m_settings.currentURL.has_value());
    if (m_settings.currentURL && autoImport) {
        const QUrl url = m_settings.currentURL->url;
        // Opening the document reads its file; that changes nothing in it.
        if (url.isLocalFile() && QFileInfo::exists(url.toLocalFile())) {
            m_pathControl->setUrl(url);
            importFile(url, Import::opening);
        }
    }
}

void CSVDataSourceViewController::importFileAction()
{
    if (m_pathControl && !m_pathControl->url().isEmpty())
        importFile(m_pathControl->url());
}

void CSVDataSourceViewController::reloadCSV()
{
    if (m_settings.currentURL)
        importFile(m_settings.currentURL->url);
}

void CSVDataSourceViewController::pathControlDoubleAction(const QUrl& url)
{
    if (!url.isEmpty() && m_context.openUrl)
        m_context.openUrl(url);
}

void CSVDataSourceViewController::importFile(const QUrl& url)
{
    // Another file starts from its first sheet; one that doesn't read
    // leaves the choice as it was.
    const std::optional<QString> sheet = m_settings.sheetName;
    if (!m_settings.currentURL || m_settings.currentURL->url != url) {
        m_settings.sheetName.reset();
        m_csvDataSource->setSheetName(std::nullopt);
    }
    if (!importFile(url, Import::chosen)) {
        m_settings.sheetName = sheet;
        m_csvDataSource->setSheetName(sheet);
    }
}

bool CSVDataSourceViewController::importFile(const QUrl& url, Import how)
{
    qbPrint(QStringLiteral("Importing new source file from ") + url.toLocalFile());
    // A file that can't be read is reported and changes nothing: the panel
    // keeps showing the file its rows come from.
    if (auto loaded = m_csvDataSource->loadCSV(url); !loaded) {
        restorePathControl();
        presentError(m_pathControl ? m_pathControl->window() : nullptr, toError(loaded.error()));
        return false;
    }
    showEncodingNote();
    showSheets();
    // The file read is the one shown, however it was chosen.
    if (m_pathControl)
        m_pathControl->setUrl(url);

    const QStringList newNames = m_csvDataSource->keyNames();
    const QStringList oldSorted = sorted(m_settings.keyNames);
    const bool match = m_settings.keyNames.isEmpty() || oldSorted == sorted(newNames);
    qbPrint(QStringLiteral("Current headers: ") + listText(oldSorted));
    qbPrint(QStringLiteral("New headers:     ") + listText(newNames));

    // The question means what it says: Import goes on and removes the
    // rows, which Undo brings back; Cancel keeps everything as it was.
    bool removeRows = false;
    if (how != Import::sameFileOtherDelimiter && !match && m_context.preferences &&
        m_context.preferences->warnOnHeaderMismatch()) {
        QMessageBox& alert = headerMismatchAlert();
        alert.exec();
        if (alert.clickedButton() != m_importButton) {
            restorePathControl();
            return false;
        }
        removeRows = true;
    }

    m_settings.keyNames = newNames;
    m_missingFile.clear();
    if (m_fileNote)
        m_fileNote->hide();
    refreshHeaderPopUp(false);
    const QString column =
        m_headerPopUp->currentIndex() < 0 ? QString() : m_headerPopUp->currentText();
    if (column.isEmpty())
        return true;
    m_csvDataSource->buildMetadata(column);
    // The document records the column the rows are keyed by now, also when
    // the saved one has gone from the file.
    m_settings.selectedHeader = column;
    m_settings.currentURL = BookmarkURL(url);
    m_reloadButton->setEnabled(true);

    DataSourceDelegate* delegate = this->delegate();
    if (!delegate)
        return true;
    if (removeRows)
        delegate->removeRows();
    else
        delegate->rebuildCriteria();
    delegate->refreshImageDisplay();
    postDataSourceChange();
    if (how != Import::opening && !removeRows)
        delegate->saveRows();
    return true;
}

void CSVDataSourceViewController::fileNameSelect()
{
    if (m_headerPopUp->currentIndex() < 0 || m_settings.keyNames.isEmpty())
        return;
    const QString column = m_headerPopUp->currentText();
    m_settings.selectedHeader = column;
    m_csvDataSource->buildMetadata(column);
    contentChanged();
}

void CSVDataSourceViewController::matchStyleSelect()
{
    const int tag = selectedMatchingStyle(*m_matchingStylePopUp);
    if (tag == cardsMatchingItem) {
        m_settings.cardMode = true;
        updateKeyControlsEnabled();
        contentChanged();
        return;
    }
    const auto style = matchingStyleFromRawValue(tag);
    if (!style)
        return;
    m_settings.cardMode = false;
    m_settings.selectedMatchStyle = tag;
    m_csvDataSource->setMatchingStyle(*style);
    updateKeyControlsEnabled();
    contentChanged();
}

void CSVDataSourceViewController::setCardFixes(std::vector<CardFixSetting> fixes)
{
    if (fixes == m_settings.cardFixes)
        return;
    m_settings.cardFixes = std::move(fixes);
    contentChanged();
}

void CSVDataSourceViewController::delimiterSelect()
{
    const auto chosen = FieldDelimiter(m_delimiterPopUp->currentData().toInt());
    const FieldDelimiter previous = m_settings.delimiter();
    if (chosen == previous)
        return;
    // Set before the import, so that the settings the document takes from
    // it hold the new choice.
    m_settings.setDelimiter(chosen);
    m_csvDataSource->setFieldDelimiter(chosen);
    // A file that doesn't read with this delimiter keeps the one it had.
    reimport(
        [this, previous] {
            m_settings.setDelimiter(previous);
            m_csvDataSource->setFieldDelimiter(previous);
            showDelimiter();
        },
        Import::sameFileOtherDelimiter);
}

void CSVDataSourceViewController::sheetSelect()
{
    const int index = m_sheetPopUp->currentIndex();
    if (index < 0)
        return;
    // The first sheet is left out of the document, as it always was read.
    const std::optional<QString> chosen =
        index == 0 ? std::nullopt : std::optional(m_sheetPopUp->currentText());
    const std::optional<QString> previous = m_settings.sheetName;
    if (chosen == previous)
        return;
    m_settings.sheetName = chosen;
    m_csvDataSource->setSheetName(chosen);
    // Another sheet may have other columns: the user is asked, as for
    // another file, and a sheet that doesn't read keeps the one there was.
    reimport(
        [this, previous] {
            m_settings.sheetName = previous;
            m_csvDataSource->setSheetName(previous);
            showSheets();
        },
        Import::chosen);
}

void CSVDataSourceViewController::reimport(const std::function<void()>& undoChoice, Import how)
{
    const QUrl url = m_settings.currentURL ? m_settings.currentURL->url : QUrl();
    if (url.isLocalFile() && QFileInfo::exists(url.toLocalFile())) {
        if (!importFile(url, how))
            undoChoice();
        return;
    }
    contentChanged();
}

void CSVDataSourceViewController::showSheets()
{
    if (!m_sheetPopUp || !m_form)
        return;
    const bool sheets = m_csvDataSource->isSpreadsheet();
    {
        const QSignalBlocker quiet(m_sheetPopUp);
        m_sheetPopUp->clear();
        m_sheetPopUp->addItems(m_csvDataSource->sheetNames());
        m_sheetPopUp->setCurrentIndex(m_sheetPopUp->findText(m_csvDataSource->loadedSheet()));
    }
    m_form->setRowVisible(m_sheetRow, sheets);
    m_form->setRowVisible(m_delimiterRow, !sheets);
}

void CSVDataSourceViewController::showImageKey()
{
    if (m_imageKeyPopUp)
        qb::showImageKey(*m_imageKeyPopUp, m_settings.keyTag);
}

void CSVDataSourceViewController::imageKeySelect()
{
    const QVariant tag = m_imageKeyPopUp->currentData();
    if (!tag.isValid()) {
        chooseKeyTag();
        return;
    }
    const QString name = tag.toString();
    setKeyTag(name.isEmpty() ? std::nullopt : std::optional(name));
}

void CSVDataSourceViewController::chooseKeyTag()
{
    QInputDialog* dialog =
        makeKeyTagDialog(m_imageKeyPopUp->window(), m_settings.keyTag.value_or(QString()));
    connect(dialog, &QInputDialog::textValueSelected, this, [this](const QString& text) {
        const QString tag = text.trimmed();
        if (isTagName(tag)) {
            setKeyTag(tag);
            return;
        }
        showImageKey();
        presentError(m_imageKeyPopUp->window(), notATagName(tag));
    });
    connect(dialog, &QInputDialog::rejected, this, &CSVDataSourceViewController::showImageKey);
    dialog->open();
}

void CSVDataSourceViewController::setKeyTag(std::optional<QString> tag)
{
    if (tag == m_settings.keyTag) {
        showImageKey();
        return;
    }
    m_settings.keyTag = tag;
    m_csvDataSource->setKeyTag(std::move(tag));
    showImageKey();
    contentChanged();
}

void CSVDataSourceViewController::makeRulesAction()
{
    if (!m_context.preferences || m_settings.keyNames.isEmpty())
        return;
    const QString exiftool =
        MetadataQueue::shared(m_context.preferences->writeMethod()).exiftoolLocation();
    using Tags = std::shared_ptr<const WritableTags>;
    m_makeRulesButton->setEnabled(false);
    auto* watcher = new QFutureWatcher<Tags>(this);
    connect(watcher, &QFutureWatcher<Tags>::finished, this, [this, watcher, exiftool] {
        watcher->deleteLater();
        updateKeyControlsEnabled();
        QWidget* window = m_makeRulesButton ? m_makeRulesButton->window() : nullptr;
        const Tags tags = watcher->result();
        const ColumnRules made = tags ? columnRules(keyNames(), *tags) : ColumnRules{};
        if (!tags || made.rules.empty()) {
            presentError(
                window,
                Error{QStringLiteral("QuillbrookErrorDomain"),
                      0,
                      QStringLiteral("No rules could be made from the columns."),
                      tags ? QStringLiteral("No column is named after a tag exiftool can "
                                            "write; the columns are %1.")
                                 .arg(listText(keyNames()))
                           : QStringLiteral("exiftool (%1) couldn\u2019t be asked which tags "
                                            "it writes.")
                                 .arg(exiftool),
                      tags ? QStringLiteral("Name a column after the tag it fills, such as "
                                            "Title or XMP-dc:Subject.")
                           : QStringLiteral("Check that exiftool is installed."),
                      {},
                      {},
                      {}});
        } else if (DataSourceDelegate* delegate = this->delegate()) {
            delegate->addRules(made.rules);
        }
        emit rulesMade();
    });
    watcher->setFuture(QtConcurrent::run([exiftool] {
        return WritableTagsCache::shared().tagsOf(exiftool, ExiftoolConfig::none());
    }));
}

void CSVDataSourceViewController::showDelimiter()
{
    if (!m_delimiterPopUp)
        return;
    const QSignalBlocker quiet(m_delimiterPopUp);
    m_delimiterPopUp->setCurrentIndex(m_delimiterPopUp->findData(int(m_settings.delimiter())));
}

void CSVDataSourceViewController::showEncodingNote()
{
    if (!m_encodingNote)
        return;
    // A code page that may be guessed wrong, or the spreadsheet's cells that
    // don't read as they show (an error such as #N/A, a formula without its
    // result): the first of them, and how many more.
    const auto& page = m_csvDataSource->detectedCodePage();
    const QStringList& notes = m_csvDataSource->notes();
    QString text;
    if (page)
        text = QStringLiteral("Not UTF-8: read as %1. Save the file as UTF-8 if names "
                              "look wrong.")
                   .arg(QString::fromLatin1(page->displayName));
    else if (!notes.isEmpty())
        text =
            notes.size() == 1
                ? notes.front()
                : QStringLiteral("%1 (and %2 more cells)").arg(notes.front()).arg(notes.size() - 1);
    m_encodingNote->setText(text);
    m_encodingNote->setVisible(!text.isEmpty());
}

void CSVDataSourceViewController::restorePathControl()
{
    if (m_pathControl)
        m_pathControl->setUrl(m_settings.currentURL ? m_settings.currentURL->url : QUrl());
}

QMessageBox& CSVDataSourceViewController::headerMismatchAlert()
{
    if (!m_headerMismatchAlert) {
        m_headerMismatchAlert = new QMessageBox(m_pathControl ? m_pathControl->window() : nullptr);
        m_headerMismatchAlert->setObjectName(QStringLiteral("headerMismatchAlert"));
        m_headerMismatchAlert->setIcon(QMessageBox::Warning);
        m_headerMismatchAlert->setText(
            QStringLiteral("Continue with import and remove all mappings?"));
        m_headerMismatchAlert->setInformativeText(
            QStringLiteral("The headers of the imported file do not match the existing mappings."));
        m_importButton =
            m_headerMismatchAlert->addButton(QStringLiteral("Import"), QMessageBox::AcceptRole);
        m_headerMismatchAlert->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    }
    return *m_headerMismatchAlert;
}

} // namespace qb
