// SPDX-License-Identifier: GPL-3.0-or-later
#include "writabletags.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QXmlStreamReader>

namespace qb {

namespace {

// The groups of a table or a tag element, lower case.
void addGroups(const QXmlStreamAttributes& attributes, QSet<QString>& groups)
{
    for (const char* family : {"g0", "g1", "g2"}) {
        const QStringView group = attributes.value(QLatin1String(family));
        if (!group.isEmpty())
            groups.insert(group.toString().toLower());
    }
}

// How the kept answer marks an IPTC text tag's limit, and the groups where
// a tag is a list, apart from the names: no tag name starts with '@'.
const QString iptcLinePrefix = QStringLiteral("@iptc:");
const QString listLinePrefix = QStringLiteral("@list:");

// exiftool's flags for a tag that holds several items.
bool flagsMarkList(QStringView flags)
{
    for (const QStringView flag : flags.split(QLatin1Char(','))) {
        if (flag == u"List" || flag == u"Bag" || flag == u"Seq" || flag == u"Alt")
            return true;
    }
    return false;
}

QByteArray groupsLine(const QString& prefix, const QString& name, const QSet<QString>& groups)
{
    const QStringList list(groups.cbegin(), groups.cend());
    return (prefix + name + QLatin1Char(' ') + list.join(QLatin1Char(','))).toUtf8() + '\n';
}

// A tag as written, "GROUP:...:Name", split into its name and groups; the
// name loses exiftool's '#' behind it.
std::pair<QString, QStringList> nameAndGroups(const QString& tag)
{
    QStringList parts = tag.split(QLatin1Char(':'));
    QString name = parts.takeLast();
    if (name.endsWith(QLatin1Char('#'))) // exiftool's mark for a value without conversion
        name.chop(1);
    return {name, parts};
}

// A group as written before a tag name, without its family number.
QString plainGroup(const QString& group)
{
    qsizetype digits = 0;
    while (digits < group.size() && group[digits].isDigit())
        ++digits;
    return group.mid(digits).toLower();
}

// What identifies an exiftool's answer: the executable and its config.
QString cacheKey(const QString& location, const ExiftoolConfig& config)
{
    QStringList parts;
    for (const QString& file : {location, config.location()}) {
        const QFileInfo info(file);
        parts << info.canonicalFilePath() << QString::number(info.size())
              << QString::number(info.lastModified().toMSecsSinceEpoch());
    }
    parts << QString::number(int(config.kind()));
    return QString::fromLatin1(
        QCryptographicHash::hash(parts.join('\n').toUtf8(), QCryptographicHash::Sha256).toHex());
}

} // namespace

std::optional<WritableTags> WritableTags::fromTagDatabase(const QByteArray& xml)
{
    WritableTags tags;
    QXmlStreamReader reader(xml);
    QSet<QString> tableGroups;
    bool iptcTable = false;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == QLatin1String("table")) {
            tableGroups.clear();
            addGroups(attributes, tableGroups);
            iptcTable = attributes.value(QLatin1String("g0")) == QLatin1String("IPTC");
        } else if (reader.name() == QLatin1String("tag") &&
                   attributes.value(QLatin1String("writable")) == QLatin1String("true")) {
            const QString name = attributes.value(QLatin1String("name")).toString().toLower();
            QSet<QString>& groups = tags.m_groupsByName[name];
            groups.unite(tableGroups);
            addGroups(attributes, groups);
            if (flagsMarkList(attributes.value(QLatin1String("flags")))) {
                QSet<QString>& listGroups = tags.m_listGroupsByName[name];
                listGroups.unite(tableGroups);
                addGroups(attributes, listGroups);
            }
            // A record's text tags, such as Caption-Abstract (string[0,2000]):
            // their count is the most bytes the record holds.
            if (iptcTable && attributes.value(QLatin1String("type")) == QLatin1String("string"))
                tags.m_iptcTextLimits.insert(name,
                                             attributes.value(QLatin1String("count")).toInt());
        }
    }
    if (reader.hasError() || tags.m_groupsByName.isEmpty())
        return std::nullopt;
    return tags;
}

QByteArray WritableTags::serialized() const
{
    QByteArray text;
    for (auto it = m_groupsByName.cbegin(); it != m_groupsByName.cend(); ++it)
        text += groupsLine({}, it.key(), it.value());
    for (auto it = m_listGroupsByName.cbegin(); it != m_listGroupsByName.cend(); ++it)
        text += groupsLine(listLinePrefix, it.key(), it.value());
    for (auto it = m_iptcTextLimits.cbegin(); it != m_iptcTextLimits.cend(); ++it)
        text +=
            (iptcLinePrefix + it.key() + QLatin1Char(' ') + QString::number(it.value())).toUtf8() +
            '\n';
    return text;
}

std::optional<WritableTags> WritableTags::fromSerialized(const QByteArray& text)
{
    WritableTags tags;
    for (const QByteArray& line : text.split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() != 2 || parts[0].isEmpty())
            continue;
        if (parts[0].startsWith(iptcLinePrefix.toLatin1())) {
            tags.m_iptcTextLimits.insert(QString::fromUtf8(parts[0].mid(iptcLinePrefix.size())),
                                         parts[1].toInt());
            continue;
        }
        QString name = QString::fromUtf8(parts[0]);
        const bool list = name.startsWith(listLinePrefix);
        if (list)
            name.remove(0, listLinePrefix.size());
        QSet<QString>& groups = (list ? tags.m_listGroupsByName : tags.m_groupsByName)[name];
        for (const QByteArray& group : parts[1].split(','))
            groups.insert(QString::fromUtf8(group));
    }
    if (tags.m_groupsByName.isEmpty())
        return std::nullopt;
    return tags;
}

const QSet<QString>* WritableTags::groupsOf(const QString& name) const
{
    const auto it = m_groupsByName.constFind(name.toLower());
    return it == m_groupsByName.cend() ? nullptr : &it.value();
}

std::optional<int> WritableTags::iptcTextLimit(const QString& name) const
{
    const int limit = m_iptcTextLimits.value(name.toLower());
    return limit > 0 ? std::optional(limit) : std::nullopt;
}

bool WritableTags::isIptcText(const QString& name) const
{
    return m_iptcTextLimits.contains(name.toLower());
}

bool WritableTags::isList(const QString& tag) const
{
    const auto [name, parts] = nameAndGroups(tag);
    const auto it = m_listGroupsByName.constFind(name.toLower());
    if (it == m_listGroupsByName.cend())
        return false;
    bool grouped = false;
    for (const QString& group : parts) {
        const QString plain = plainGroup(group);
        if (plain.isEmpty() || plain == QLatin1String("all"))
            continue;
        if (it->contains(plain))
            return true;
        grouped = true;
    }
    return !grouped;
}

bool WritableTags::canWrite(const QString& tag) const
{
    const auto [name, parts] = nameAndGroups(tag);
    const QSet<QString>* groups = groupsOf(name);
    // "Title-fr" writes the French entry of Title.
    if (!groups && name.contains(QLatin1Char('-')))
        groups = groupsOf(name.section(QLatin1Char('-'), 0, 0));
    if (!groups)
        return false;
    for (const QString& group : parts) {
        const QString plain = plainGroup(group);
        if (!plain.isEmpty() && plain != QLatin1String("all") && !groups->contains(plain))
            return false;
    }
    return true;
}

WritableTagsCache::WritableTagsCache(QString folder, std::shared_ptr<ProcessRunner> runner)
    : m_folder(std::move(folder))
    , m_runner(std::move(runner))
{
}

QString WritableTagsCache::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/quillbrook");
}

WritableTagsCache& WritableTagsCache::shared()
{
    static WritableTagsCache cache;
    return cache;
}

std::shared_ptr<const WritableTags> WritableTagsCache::tagsOf(const QString& location,
                                                              const ExiftoolConfig& config)
{
    const QString key = cacheKey(location, config);
    // Held while exiftool is asked, so that two writes ask once.
    const QMutexLocker locker(&m_mutex);
    if (const auto it = m_known.find(key); it != m_known.end())
        return it->second;
    const QString file = QDir(m_folder).filePath(QStringLiteral("writable-tags-3-%1.txt").arg(key));
    std::shared_ptr<const WritableTags> tags;
    if (QFile saved(file); saved.open(QIODevice::ReadOnly)) {
        if (auto read = WritableTags::fromSerialized(saved.readAll()))
            tags = std::make_shared<const WritableTags>(std::move(*read));
    }
    if (!tags) {
        tags = ask(location, config);
        if (!tags)
            return nullptr; // asked again next time: exiftool may be installed by then
        // A cache that can't be written costs the next run the question.
        QDir().mkpath(m_folder);
        QSaveFile out(file);
        if (out.open(QIODevice::WriteOnly)) {
            out.write(tags->serialized());
            out.commit();
        }
    }
    m_known.emplace(key, tags);
    return tags;
}

std::shared_ptr<const WritableTags> WritableTagsCache::ask(const QString& location,
                                                           const ExiftoolConfig& config)
{
    ExifTool exiftool(location, {}, m_runner);
    exiftool.setConfig(config);
    std::shared_ptr<const WritableTags> tags;
    // -f adds each tag's flags, which tell the lists.
    exiftool.run({QStringLiteral("-listx"), QStringLiteral("-s"), QStringLiteral("-f")},
                 [&tags](std::expected<ProcessResult, ExiftoolError> result) {
                     if (!result)
                         return;
                     if (auto read = WritableTags::fromTagDatabase(result->response))
                         tags = std::make_shared<const WritableTags>(std::move(*read));
                 });
    return tags;
}

} // namespace qb
