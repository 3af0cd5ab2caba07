// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "documents/datasourcesettings.h"
#include "sources/csvdatasource.h"

#include "widgets/pathcontrol.h"

#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace qb {

// The CSV panel: a file, how its fields are delimited, the column that holds
// the file names, and the matching style.
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

    void importFile(const QUrl& url);

    PathControl* pathControl() const { return m_pathControl; }
    QComboBox* headerPopUp() const { return m_headerPopUp; }
    QComboBox* matchingStylePopUp() const { return m_matchingStylePopUp; }
    QComboBox* delimiterPopUp() const { return m_delimiterPopUp; }
    QLabel* encodingNote() const { return m_encodingNote; }
    // Says so when the document's CSV file can't be found.
    QLabel* fileNote() const { return m_fileNote; }

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
    QPointer<QLabel> m_encodingNote;
    QPointer<QLabel> m_fileNote;
    QString m_missingFile;
    QPointer<QPushButton> m_reloadButton;
    QPointer<QMessageBox> m_headerMismatchAlert;
    QAbstractButton* m_importButton = nullptr;
};

} // namespace qb
