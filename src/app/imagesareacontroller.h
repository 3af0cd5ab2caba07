// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/imageplan.h"
#include "sources/imagevalidator.h"
#include "sources/urlimageprovider.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QToolButton;
class QWidget;

namespace qb {

class CardPlanner;
class CSVDataSourceViewController;
class DataSourcePresentable;
class DestinationView;
class FileAndFolderDialog;
class ImagesTable;
class ImageWarningViewController;
class NotificationCenter;
class Preferences;
class ShotlistViewController;

// The images of a document window: the drop area with its count and
// warnings, the choice of images, and the shot list over them.
class ImagesAreaController final : public QObject {
    Q_OBJECT

public:
    struct Context {
        Preferences* preferences = nullptr;
        NotificationCenter* center = nullptr;
        // The window's data source panel, or null; asked anew each time, as
        // the window replaces its panel.
        std::function<DataSourcePresentable*()> panel;
        // Whose notifications refresh the shot list.
        const QObject* notifier = nullptr;
        // The rule rows in force, which give each image its tags.
        std::function<std::vector<MetadataMapping>()> mappings;
        // Opens a file or folder with the desktop's program for it.
        std::function<void(const QUrl&)> openUrl;
    };

    ImagesAreaController(Context context, QWidget* parent);

    QWidget* view() const { return m_view; }
    DestinationView* dropTarget() const { return m_dropTarget; }
    QLabel* dropNotice() const { return m_dropNotice; }
    QLabel* countLabel() const { return m_countLabel; }
    QToolButton* warningButton() const { return m_warningButton; }
    QPushButton* shotlistButton() const { return m_shotlistButton; }
    ImagesTable* table() const { return m_table; }
    // By barcode cards: the subject a scanner (or a person) types, and what
    // came of it.
    QLineEdit* currentSubjectField() const { return m_subjectField; }
    QLabel* currentSubjectNote() const { return m_subjectNote; }
    CardPlanner& cardPlanner() const { return *m_cards; }
    const QStringList& currentSubject() const { return m_currentSubject; }

    URLImageProvider& provider() const { return *m_provider; }
    const std::optional<ImageValidator::ValidatedImages>& validatedImages() const
    {
        return m_validatedImages;
    }
    // Where the rows tie to the images ambiguously, as the last refresh
    // found it: shown beside the image warning.
    const QStringList& matchFindings() const { return m_matchFindings; }
    // Whether the last refresh found images the write method can write;
    // by cards, whether the plan gives any frame a row.
    bool hasWritableImages() const;
    // Whether the panel gives frames their rows by barcode cards.
    bool isCardMode() const { return cardPanel() != nullptr; }
    // What a write maps: the panel's rows and the images, or by cards the
    // plan's rows and the frames it gives them.
    std::shared_ptr<MetadataSource> writeSource(std::shared_ptr<MetadataSource> panelSource) const;
    const ImageProvider& writeImages() const;
    // Marks each of `paths` as a card of the row `key`, or, without one, as
    // not a card; kept in the document with the panel's settings.
    void markCards(const QStringList& paths, const std::optional<QString>& key);

    // Counts and checks the images again, for the write method in force and
    // the rows of the panel.
    void refresh();
    // Works out again what the next write does with each image, as after
    // a change of the rules.
    void replan();
    // Replaces the images, as a drop of files and folders does.
    void dropImages(const QList<QUrl>& urls);
    // Takes images out of the batch.
    void removeImages(const QStringList& paths);
    // The images chosen in the table; none when nothing is chosen.
    QList<QUrl> selectedImages() const;
    // Shows what the last write did with each image.
    void showOutcomes(const FileOutcomes& outcomes);
    void selectImages();
    ImageWarningViewController* showImageWarning();
    ShotlistViewController* showShotlist();

signals:
    // After each refresh.
    void imagesChanged();
    // A plan by barcode cards came in, or card mode ended.
    void cardPlanChanged();

private:
    void build(QWidget* parent);
    FileAndFolderDialog& openPanel();
    QStringList findMatchFindings(const QList<QUrl>& images) const;
    QString warningText() const;
    ImagePlanInputs planInputs() const;
    CSVDataSourceViewController* cardPanel() const;
    void buildSubjectRow();
    void showCardPlan();
    void setCurrentSubject();
    void addCardActions(QMenu& menu, const QStringList& paths);
    void chooseCardRow(const QStringList& paths);

    Context m_context;
    std::shared_ptr<URLImageProvider> m_provider;
    std::optional<ImageValidator::ValidatedImages> m_validatedImages;
    QStringList m_matchFindings;
    // Images of the last drop or choice left out, as their names aren't UTF-8.
    QStringList m_leftOutImages;

    QWidget* m_view = nullptr;
    DestinationView* m_dropTarget = nullptr;
    QLabel* m_dropNotice = nullptr;
    QLabel* m_countLabel = nullptr;
    QToolButton* m_warningButton = nullptr;
    QPushButton* m_shotlistButton = nullptr;
    ImagesTable* m_table = nullptr;
    // The shot list while it is open, which follows the table's choice.
    QPointer<ShotlistViewController> m_shotlist;
    QPointer<FileAndFolderDialog> m_openPanel;
    QCheckBox* m_includeSubdirsCheck = nullptr;

    CardPlanner* m_cards = nullptr;
    QLineEdit* m_subjectField = nullptr;
    QLabel* m_subjectNote = nullptr;
    QWidget* m_subjectRow = nullptr;
    QStringList m_currentSubject;
    std::shared_ptr<URLListProvider> m_plannedImages;
};

} // namespace qb
