// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "documents/datasourcesettings.h"
#include "kit/csvdatasource.h"

#include "widgets/pathcontrol.h"

#include <QComboBox>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace qb {

// The CSV panel: a file, the column that holds the file names, and the
// matching style.
class CSVDataSourceViewController final : public DataSourcePresentable {
    Q_OBJECT

public:
    explicit CSVDataSourceViewController(PanelContext context, QObject* parent = nullptr);

    std::shared_ptr<MetadataSource> dataSource() const override { return m_csvDataSource; }
    const std::shared_ptr<CSVDataSource>& csvDataSource() const { return m_csvDataSource; }
    const CSVDatasourceSettings& settings() const { return m_settings; }
    bool isReady() const override { return !m_csvDataSource->metadata().empty(); }
    std::optional<FileWrapper> settingsWrapper() const override;
    void loadWrappers(const std::map<QString, FileWrapper>& wrappers) override;
    void setEnabled(bool enabled) override;

    // The actions of the panel's controls.
    void importFileAction();
    void reloadCSV();
    void pathControlDoubleAction(const QUrl& url);
    void fileNameSelect();
    void matchStyleSelect();

    void importFile(const QUrl& url);

    PathControl* pathControl() const { return m_pathControl; }
    QComboBox* headerPopUp() const { return m_headerPopUp; }
    QComboBox* matchingStylePopUp() const { return m_matchingStylePopUp; }

protected:
    QWidget* loadView() override;
    void viewDidLoad() override;

private:
    void refreshHeaderPopUp(bool autoImport);
    void updateHeaderPopUpEnabled();
    void restorePathControl();
    QMessageBox& headerMismatchAlert();

    std::shared_ptr<CSVDataSource> m_csvDataSource;
    CSVDatasourceSettings m_settings;
    bool m_enabled = true;
    QPointer<PathControl> m_pathControl;
    QPointer<QComboBox> m_headerPopUp;
    QPointer<QComboBox> m_matchingStylePopUp;
    QPointer<QPushButton> m_reloadButton;
    QPointer<QMessageBox> m_headerMismatchAlert;
};

} // namespace qb
