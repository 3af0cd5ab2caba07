// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "documents/datasourcesettings.h"
#include "sources/csvdatasource.h"

#include "widgets/pathcontrol.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include <functional>

namespace qb {

// The data file panel: a CSV file and how its fields are delimited, or a
// spreadsheet and its sheet; the column that holds the keys, what of the
// image a key is compared with (its name or a tag's value) and how; and
// rules made from columns named after tags.
class CSVDataSourceViewController final : public DataSourcePresentable {
    Q_OBJECT

public:
    explicit CSVDataSourceViewController(PanelContext context, QObject* parent = nullptr);

    std::shared_ptr<MetadataSource> dataSource() const override { return m_csvDataSource; }
    QStringList keyNames() const override;
    const std::shared_ptr<CSVDataSource>& csvDataSource() const { return m_csvDataSource; }
    const CSVDatasourceSettings& settings() const { return m_settings; }
    bool isReady() const override { return !m_csvDataSource->rows().isEmpty(); }
    std::optional<FileWrapper> settingsWrapper() const override;
    void loadWrappers(const std::map<QString, FileWrapper>& wrappers) override;
    void setEnabled(bool enabled) override;

    // The actions of the panel's controls.
    void importFileAction();
    void reloadCSV();
    void pathControlDoubleAction(const QUrl& url);
    void fileNameSelect();
    void matchStyleSelect();
    void delimiterSelect();
    void sheetSelect();
    void imageKeySelect();
    // Adds a rule for each column named after a tag exiftool writes; asks
    // exiftool which those are off the main thread.
    void makeRulesAction();

    void importFile(const QUrl& url);

    // By barcode cards: frames get their rows from the cards shot among
    // them, mended by the fixes the user made; both kept in the document.
    bool cardMode() const { return m_settings.cardMode; }
    const std::vector<CardFixSetting>& cardFixes() const { return m_settings.cardFixes; }
    void setCardFixes(std::vector<CardFixSetting> fixes);

    PathControl* pathControl() const { return m_pathControl; }
    QComboBox* headerPopUp() const { return m_headerPopUp; }
    QComboBox* matchingStylePopUp() const { return m_matchingStylePopUp; }
    QComboBox* delimiterPopUp() const { return m_delimiterPopUp; }
    // Shown for a spreadsheet only.
    QComboBox* sheetPopUp() const { return m_sheetPopUp; }
    // "image name", or "image's TAG" for the tag the keys are compared with.
    QComboBox* imageKeyPopUp() const { return m_imageKeyPopUp; }
    QPushButton* makeRulesButton() const { return m_makeRulesButton; }
    QLabel* encodingNote() const { return m_encodingNote; }
    // Says so when the document's CSV file can't be found.
    QLabel* fileNote() const { return m_fileNote; }

signals:
    // The rules from the columns were made and handed on, or couldn't be.
    void rulesMade();

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    // A file the user picks, or the document's own as it opens, is checked
    // against the rows' columns; the same file read with another delimiter
    // is not: that choice was deliberate. Only what the user does saves.
    enum class Import { opening, chosen, sameFileOtherDelimiter };
    bool importFile(const QUrl& url, Import how);
    void refreshHeaderPopUp(bool autoImport);
    void showDelimiter();
    void showSheets();
    void showImageKey();
    void updateKeyControlsEnabled();
    void chooseKeyTag();
    void setKeyTag(std::optional<QString> tag);
    void reimport(const std::function<void()>& undoChoice, Import how);
    void showEncodingNote();
    void updateHeaderPopUpEnabled();
    void restorePathControl();
    QMessageBox& headerMismatchAlert();

    std::shared_ptr<CSVDataSource> m_csvDataSource;
    CSVDatasourceSettings m_settings;
    bool m_enabled = true;
    QPointer<PathControl> m_pathControl;
    QPointer<QComboBox> m_headerPopUp;
    QPointer<QComboBox> m_matchingStylePopUp;
    QPointer<QComboBox> m_delimiterPopUp;
    QPointer<QComboBox> m_sheetPopUp;
    QPointer<QComboBox> m_imageKeyPopUp;
    QPointer<QPushButton> m_makeRulesButton;
    QPointer<QLabel> m_keyValueLabel;
    QLayout* m_sheetRow = nullptr;
    QLayout* m_delimiterRow = nullptr;
    QFormLayout* m_form = nullptr;
    QPointer<QLabel> m_encodingNote;
    QPointer<QLabel> m_fileNote;
    QString m_missingFile;
    QPointer<QPushButton> m_reloadButton;
    QPointer<QMessageBox> m_headerMismatchAlert;
    QAbstractButton* m_importButton = nullptr;
};

} // namespace qb
