// SPDX-License-Identifier: GPL-3.0-or-later
#include "mappingsdoc.h"

#include "documents/documentjson.h"
#include "documents/documentmigrator.h"
#include "documents/mappingsdocdata.h"
#include "documents/packagestore.h"

#include "extensions/log.h"

#include <QFileInfo>
#include <QUndoCommand>

namespace qb {

namespace {

const QString mappingMember = mappingMemberName();
const QString datasourceMember = datasourceMemberName();

std::optional<QByteArray> regularContents(const std::map<QString, FileWrapper>& wrappers,
                                          const QString& name)
{
    const auto it = wrappers.find(name);
    if (it == wrappers.end())
        return std::nullopt;
    return it->second.regularFileContents();
}

} // namespace

// Undoing a toggle is another toggle. No action name is given, so the menu
// reads plain Undo and Redo.
class MappingsDoc::ToggleEditableCommand : public QUndoCommand {
public:
    explicit ToggleEditableCommand(MappingsDoc& document)
        : m_document(document)
    {
    }
    void redo() override { m_document.applyToggle(); }
    void undo() override { m_document.applyToggle(); }

private:
    MappingsDoc& m_document;
};

// One step puts the whole row list back, whatever changed in it.
class MappingsDoc::SetCriteriaCommand : public QUndoCommand {
public:
    SetCriteriaCommand(MappingsDoc& document, std::vector<MetadataMapping> before,
                       std::vector<MetadataMapping> after)
        : m_document(document)
        , m_before(std::move(before))
        , m_after(std::move(after))
    {
    }
    void redo() override { m_document.applyCriteria(m_after); }
    void undo() override { m_document.applyCriteria(m_before); }

private:
    MappingsDoc& m_document;
    std::vector<MetadataMapping> m_before;
    std::vector<MetadataMapping> m_after;
};

MappingsDoc::MappingsDoc(QObject* parent)
    : QObject(parent)
{
    connect(&m_undoStack, &QUndoStack::cleanChanged, this, [this](bool clean) {
        if (!m_settingsEdited)
            emit documentEditedChanged(!clean);
    });
}

MappingsDoc::~MappingsDoc()
{
    // The stack clears itself when it goes, which would announce a change of
    // the edited state from a document that is half destroyed.
    disconnect(&m_undoStack, nullptr, this, nullptr);
}

std::expected<std::unique_ptr<MappingsDoc>, Error> MappingsDoc::open(const QString& path,
                                                                     QObject* parent)
{
    const auto packagePath = packagePathForOpening(path);
    if (!packagePath)
        return std::unexpected(packagePath.error());
    const auto package = readPackage(*packagePath);
    if (!package)
        return std::unexpected(package.error());
    auto document = std::make_unique<MappingsDoc>(parent);
    document->m_fileName = *packagePath;
    if (auto read = document->readFromFileWrapper(*package, typeName()); !read) {
        Error error = read.error();
        if (!error.userInfo.contains(QStringLiteral("path")))
            error.userInfo.insert(QStringLiteral("path"), *packagePath);
        return std::unexpected(error);
    }
    return document;
}

std::expected<void, Error> MappingsDoc::save()
{
    if (m_fileName.isEmpty()) {
        Error error;
        error.domain = QStringLiteral("qb.DocumentPackage");
        error.code = 3;
        error.errorDescription = QStringLiteral("The document has not been saved before.");
        error.recoverySuggestion = QStringLiteral("Choose where to save it.");
        return std::unexpected(error);
    }
    return writeTo(m_fileName);
}

std::expected<void, Error> MappingsDoc::saveAs(const QString& path)
{
    return writeTo(packagePathForSaving(path));
}

std::expected<void, Error> MappingsDoc::writeTo(const QString& path)
{
    const auto package = fileWrapper();
    if (!package)
        return std::unexpected(package.error());
    if (auto replaced = replacePackage(*package, path); !replaced)
        return replaced;
    m_undoStack.setClean();
    setSettingsEdited(false);
    if (m_fileName != path) {
        m_fileName = path;
        emit fileNameChanged(m_fileName);
    }
    return {};
}

Json MappingsDoc::mappingJson() const
{
    MappingsDocDataV2 data;
    data.mappings = m_rows;
    data.isEditable = m_isEditable;
    data.datasource = m_datasource;
    return data.toJson();
}

std::expected<FileWrapper, Error> MappingsDoc::fileWrapper() const
{
    const auto bytes = encodeDocumentJson(mappingJson());
    if (!bytes)
        return std::unexpected(bytes.error());
    FileWrapper::Members datasource;
    for (const auto& [name, wrapper] : m_wrappers)
        datasource.emplace(name, wrapper);
    FileWrapper::Members members;
    members.emplace(mappingMember, FileWrapper::regularFile(*bytes, mappingMember));
    members.emplace(datasourceMember,
                    FileWrapper::directory(std::move(datasource), datasourceMember));
    return FileWrapper::directory(std::move(members));
}

std::expected<void, Error> MappingsDoc::readFromFileWrapper(const FileWrapper& package,
                                                            const QString& typeName)
{
    m_isReading = true;
    qbLog(QStringLiteral("Reading document of type '%1' from FileWrapper").arg(typeName));
    // A failed read leaves the flag set: such a document is thrown away.
    auto data = DocumentMigrator::decodeLatestDocument(package);
    if (!data)
        return std::unexpected(data.error());

    m_rows = std::move(data->mappings);
    emit currentCriteriaRowsChanged();
    m_isEditable = data->isEditable;
    emit isEditableChanged(m_isEditable);
    if (data->datasource)
        setDatasource(*data->datasource);

    const FileWrapper* datasource = package.member(datasourceMember);
    if (datasource != nullptr && datasource->isDirectory()) {
        m_wrappers = datasource->fileWrappers();
        emit datasourceWrappersChanged();
    }
    m_isReading = false;
    qbLog(QStringLiteral("Finished reading from document"));
    return {};
}

void MappingsDoc::setDatasource(const QString& datasource, ChangeOrigin origin)
{
    if (m_datasource == datasource)
        return;
    m_datasource = datasource;
    emit datasourceChanged(m_datasource);
    if (origin == ChangeOrigin::user)
        setSettingsEdited(true);
}

void MappingsDoc::setDatasourceWrapper(const FileWrapper& wrapper, ChangeOrigin origin)
{
    const auto stored = m_wrappers.find(wrapper.preferredFilename);
    const bool changed = stored == m_wrappers.end() ||
                         stored->second.regularFileContents() != wrapper.regularFileContents();
    m_wrappers.insert_or_assign(wrapper.preferredFilename, wrapper);
    emit datasourceWrappersChanged();
    if (changed && origin == ChangeOrigin::user)
        setSettingsEdited(true);
}

void MappingsDoc::setSettingsEdited(bool edited)
{
    const bool before = isDocumentEdited();
    m_settingsEdited = edited;
    if (isDocumentEdited() != before)
        emit documentEditedChanged(isDocumentEdited());
}

void MappingsDoc::toggleIsEditable()
{
    if (m_isReading)
        return;
    m_undoStack.push(new ToggleEditableCommand(*this));
}

void MappingsDoc::setCriteria(std::vector<MetadataMapping> rows)
{
    m_undoStack.push(new SetCriteriaCommand(*this, m_rows, std::move(rows)));
}

void MappingsDoc::applyToggle()
{
    m_isEditable = !m_isEditable;
    qbLog(QStringLiteral("Toggling editable and registering undo"));
    emit isEditableChanged(m_isEditable);
}

void MappingsDoc::applyCriteria(std::vector<MetadataMapping> rows)
{
    qbLog(QStringLiteral("Setting document criteria and registering undo"));
    m_rows = std::move(rows);
    emit currentCriteriaRowsChanged();
}

QString MappingsDoc::bookmarkBaseFolder() const
{
    return m_fileName.isEmpty() ? QString() : QFileInfo(m_fileName).absolutePath();
}

std::optional<CSVDatasourceSettings> MappingsDoc::csvSettings() const
{
    const auto bytes = regularContents(m_wrappers, CSVDatasourceSettings::memberName());
    if (!bytes)
        return std::nullopt;
    auto settings = CSVDatasourceSettings::decode(*bytes, bookmarkBaseFolder());
    if (!settings)
        return std::nullopt;
    return std::move(*settings);
}

std::expected<std::optional<CSVDatasourceSettings::Decoded>, Error>
MappingsDoc::readCsvSettings() const
{
    const auto bytes = regularContents(m_wrappers, CSVDatasourceSettings::memberName());
    if (!bytes)
        return std::nullopt;
    auto decoded = CSVDatasourceSettings::decodeKeepingColumns(*bytes, bookmarkBaseFolder());
    if (!decoded)
        return std::unexpected(decoded.error());
    return std::move(*decoded);
}

std::optional<ImageDatasourceSettings> MappingsDoc::imageSettings() const
{
    const auto bytes = regularContents(m_wrappers, ImageDatasourceSettings::memberName());
    if (!bytes)
        return std::nullopt;
    const auto settings = ImageDatasourceSettings::decode(*bytes);
    if (!settings)
        return std::nullopt;
    return *settings;
}

std::optional<QString> MappingsDoc::csvFilePath() const
{
    const auto settings = csvSettings();
    if (!settings || !settings->currentURL)
        return std::nullopt;
    return settings->currentURL->url.toLocalFile();
}

std::optional<QString> MappingsDoc::csvSelectedHeader() const
{
    const auto settings = csvSettings();
    return settings ? settings->selectedHeader : std::nullopt;
}

std::optional<FileNameDataSource::MatchingStyle> MappingsDoc::csvMatchStyle() const
{
    const auto settings = csvSettings();
    return settings ? settings->matchingStyle() : std::nullopt;
}

} // namespace qb
