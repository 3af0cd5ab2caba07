// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/datasourcepresentable.h"

#include "widgets/criteriatreedelegate.h"

#include "documents/mappingsdoc.h"

#include "sources/imagedatasource.h"
#include "sources/imagevalidator.h"
#include "sources/urlimageprovider.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QAction;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

namespace qb {

class DestinationView;
class ImagesAreaController;
class ImageWarningViewController;
class NotificationCenter;
class Preferences;
class ShotlistViewController;
class WriteController;

// What a document window needs from the application around it.
struct WindowServices {
    Preferences* preferences = nullptr;
    NotificationCenter* center = nullptr;
    std::function<void(const QUrl&)> openUrl;
    // How the image panel reads other images; by default the installed exiftool.
    ImageDataSource::ReaderFactory imageReader;
};

// The controller of a document window: it joins the document, the rule
// rows and the data source panel, and hands the images and the write to
// controllers of their own.
class ViewController final : public QWidget,
                             public CriteriaTreeDelegate,
                             public DataSourceDelegate {
    Q_OBJECT

public:
    ViewController(MappingsDoc& document, WindowServices services, QWidget* parent = nullptr);
    ~ViewController() override;

    // The outlets; the images area's and the write's are theirs.
    RuleEditor* ruleEditor;
    QLabel* imageCountLabel;
    QProgressBar* progressIndicator;
    QPushButton* actionButton;
    QPushButton* previewButton;
    QToolButton* imageWarningButton;
    QPushButton* imageStatusButton;
    DestinationView* imageDropTarget;
    QLabel* imageDropNotice;
    QGroupBox* dataSourceBox;

    MappingsDoc& document() const { return m_document; }
    DataSourcePresentable* datasourceView() const { return m_datasourceView.get(); }
    ImagesAreaController& images() const { return *m_images; }
    WriteController& writer() const { return *m_writer; }
    URLImageProvider& provider() const;
    const std::optional<ImageValidator::ValidatedImages>& validatedImages() const;
    QLabel* statusLabel() const;
    // Where the rows tie to the images ambiguously, as the last refresh of
    // the image display found it: shown beside the image warning.
    const QStringList& matchFindings() const;

    // Actions.
    void selectImagesAction();
    // Chooses the data source panel by name: "csvsource" or "imagesource".
    void setDatasource(const QString& identifier);
    void assignMetadata();
    void previewMetadata();
    void restoreLastWrite();
    bool canRestoreLastWrite() const;
    void exportCaptureFolders();
    void exportCaptureFolders(const QUrl& folder);
    // Marks the data source items by the panel in use; always true.
    bool validateUserInterfaceItem(QAction* item) const;
    ImageWarningViewController* showImageWarning();
    ShotlistViewController* showShotlist();

    // Replaces the images, as a drop of files and folders does.
    void dropImages(const QList<QUrl>& urls);

    void ruleEditorRowsDidChange(RuleEditor& editor) override;

    // What the panels ask of the window.
    void rebuildCriteria() override;
    void refreshImageDisplay() override;
    void saveRows() override;
    void removeRows() override;
    void addRules(const std::vector<MetadataMapping>& rules) override;

signals:
    // The data source panel was replaced.
    void datasourceViewChanged();
    // A write started by this window has ended, well or not.
    void writeFinished(bool success);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildView();
    QWidget* buildImageBar();
    void viewDidLoad();
    void viewDidAppear();
    void setUpPanel(const QString& name,
                    MappingsDoc::ChangeOrigin origin = MappingsDoc::ChangeOrigin::setUp);
    void showPanel();
    void applyEditable(bool editable);
    void rememberPlacedRows();
    void markOverruledRows();
    // Tab follows the reading order again once the event loop turns.
    void scheduleTabOrder();
    void notePanelSettings();
    // The rows as the document should keep them.
    std::vector<MetadataMapping> rowsAsSaved() const;
    void updateWriteReadiness();
    // Reads, off the main thread, the key tag of the images whose value
    // isn't known yet, and shows the images again with it.
    void readImageKeys();
    PanelContext panelContext() const;

    MappingsDoc& m_document;
    WindowServices m_services;
    struct PlacedRow {
        QPointer<const RuleRow> row;
        std::optional<MetadataMapping> readsAs;
        MetadataMapping saved;
    };

    std::unique_ptr<DataSourcePresentable> m_datasourceView;
    bool m_criteriaAreLoading = false;
    bool m_criteriaBuilt = false;
    bool m_readingKeys = false;
    bool m_tabOrderScheduled = false;
    std::vector<PlacedRow> m_placedRows;
    std::optional<QByteArray> m_panelSettings;
    ImagesAreaController* m_images = nullptr;
    WriteController* m_writer = nullptr;
};

} // namespace qb
