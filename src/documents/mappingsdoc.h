// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "documents/datasourcesettings.h"
#include "documents/filewrapper.h"

#include "mapping/metadatamapping.h"
#include "sources/filenamedatasource.h"

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <QObject>
#include <QString>
#include <QUndoStack>

#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

// A mappings document without its window: the rule rows, whether they may
// be edited, which data source panel feeds them and that panel's settings,
// read from and written to a .qbmap package, with undo of the rows and of
// the editable flag.
class MappingsDoc : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isEditable READ isEditable NOTIFY isEditableChanged)
    Q_PROPERTY(QString datasource READ datasource WRITE setDatasource NOTIFY datasourceChanged)

public:
    // Never compared; it only appears in the log.
    static QString typeName() { return QStringLiteral("org.quillbrook.mappings"); }
    static QString csvSource() { return QStringLiteral("csvsource"); }
    static QString imageSource() { return QStringLiteral("imagesource"); }
    // Documents are written only when the user saves.
    static constexpr bool autosavesInPlace() { return false; }

    explicit MappingsDoc(QObject* parent = nullptr);
    ~MappingsDoc() override;

    // The package at `path`, which may also be the mapping.json inside it.
    static std::expected<std::unique_ptr<MappingsDoc>, Error> open(const QString& path,
                                                                   QObject* parent = nullptr);
    // Writes the package where it was opened or last saved.
    std::expected<void, Error> save();
    // Writes the package to `path` (the extension is added when missing),
    // which is the document's place from then on.
    std::expected<void, Error> saveAs(const QString& path);

    // The whole package as it would be written now, and the reverse.
    std::expected<FileWrapper, Error> fileWrapper() const;
    std::expected<void, Error> readFromFileWrapper(const FileWrapper& package,
                                                   const QString& typeName);

    // mapping.json as it would be saved now: version 2, whatever was read.
    Json mappingJson() const;

    // The package folder; empty for a document never saved.
    const QString& fileName() const { return m_fileName; }
    bool isReading() const { return m_isReading; }
    bool isEditable() const { return m_isEditable; }
    const std::vector<MetadataMapping>& currentCriteriaRows() const { return m_rows; }
    // Who changed the panel settings: the window setting itself up from
    // the document leaves it as saved; only what the user does in the
    // window marks it edited.
    enum class ChangeOrigin { setUp, user };

    const QString& datasource() const { return m_datasource; }
    // Switching the panel is not an undoable edit.
    void setDatasource(const QString& datasource, ChangeOrigin origin = ChangeOrigin::setUp);

    // The members of the datasource folder, held as they are: the document
    // never reads them, the panels do.
    const std::map<QString, FileWrapper>& datasourceWrappers() const { return m_wrappers; }
    // Stores a panel's settings under the wrapper's preferred file name.
    void setDatasourceWrapper(const FileWrapper& wrapper,
                              ChangeOrigin origin = ChangeOrigin::setUp);

    // Each change is one undo step; undoing it registers the redo.
    void toggleIsEditable();
    void setCriteria(std::vector<MetadataMapping> rows);
    QUndoStack& undoStack() { return m_undoStack; }
    // Unsaved changes: of the rows and the lock, as the undo stack tells
    // them, or of the panel settings, which aren't undone.
    bool isDocumentEdited() const { return !m_undoStack.isClean() || m_settingsEdited; }

    // The CSV panel's saved settings, for the command line. Each is nothing
    // when csv.json is absent or doesn't decode (a bookmark whose file has
    // gone, for one), or when the setting itself is unset.
    std::optional<CSVDatasourceSettings> csvSettings() const;
    // The same, telling why they can't be used: nothing when csv.json is
    // absent, an error when it is damaged, and beside the settings why the
    // file they name can't be found any more.
    std::expected<std::optional<CSVDatasourceSettings::Decoded>, Error> readCsvSettings() const;
    std::optional<ImageDatasourceSettings> imageSettings() const;
    std::optional<QString> csvFilePath() const;
    std::optional<QString> csvSelectedHeader() const;
    std::optional<FileNameDataSource::MatchingStyle> csvMatchStyle() const;
    // The folder that relative bookmarks of this document start from.
    QString bookmarkBaseFolder() const;

signals:
    void isEditableChanged(bool isEditable);
    void currentCriteriaRowsChanged();
    void datasourceChanged(const QString& datasource);
    void datasourceWrappersChanged();
    void fileNameChanged(const QString& fileName);
    void documentEditedChanged(bool edited);

private:
    class ToggleEditableCommand;
    class SetCriteriaCommand;

    void applyToggle();
    void applyCriteria(std::vector<MetadataMapping> rows);
    void setSettingsEdited(bool edited);
    std::expected<void, Error> writeTo(const QString& path);

    QString m_fileName;
    bool m_isReading = false;
    bool m_isEditable = true;
    std::vector<MetadataMapping> m_rows;
    QString m_datasource = csvSource();
    std::map<QString, FileWrapper> m_wrappers;
    bool m_settingsEdited = false;
    QUndoStack m_undoStack;
};

} // namespace qb
