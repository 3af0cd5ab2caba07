// SPDX-License-Identifier: GPL-3.0-or-later
#include "sessionjournal.h"

#include "exif/currentvalues.h"
#include "extensions/dynamicvaluejson.h"

#include <QFileInfo>

#include <algorithm>

namespace qb {

namespace {

bool isIptc(const QString& tag)
{
    return tag.startsWith(QLatin1String("IPTC:"), Qt::CaseInsensitive);
}

} // namespace

JournalTarget JournalTarget::of(const ExifImage& image, const QString& imagePath,
                                const QString& path)
{
    JournalTarget target{path, path == imagePath ? QString() : imagePath, {}};
    for (const auto& [tag, value] : image.exiftoolRepresentation()) {
        if (tag != ExifImage::sourceFileKey)
            target.values.emplace(tag, toJsonValue(value));
    }
    return target;
}

std::expected<std::vector<JournalFile>, Error>
journalEntries(const ExifTool& exiftool, const std::vector<JournalTarget>& targets, int parts)
{
    QStringList tags;
    QStringList existing;
    for (const JournalTarget& target : targets) {
        for (const auto& value : target.values)
            tags << value.first;
        if (QFileInfo::exists(target.path))
            existing << target.path;
    }
    // Any IPTC tag in a batch makes exiftool mark the IPTC record of every
    // file UTF-8; those tags of the record's own are kept for each file.
    const QStringList all = journalTags(tags);
    const bool iptc = std::ranges::any_of(tags, isIptc);
    ExifTool reader = exiftool;
    reader.setTrace({});
    reader.setOverwriteOriginal(false);
    const auto current = readExactValues(reader, existing, all, parts);
    if (!current)
        return std::unexpected(current.error());
    std::vector<JournalFile> entries;
    for (const JournalTarget& target : targets) {
        JournalFile entry{target.path, target.image, false, false, FileIdentity::of(target.path),
                          {}};
        const auto read = current->find(target.path);
        if (!entry.identity) {
            // A sidecar the write will make; an image that isn't there the
            // write can't change.
            if (!isSidecarPath(target.path))
                continue;
            entry.created = true;
        } else if (read == current->end()) {
            continue; // exiftool can't read it, nor will it write it
        }
        const auto before = [&](const QString& tag) -> nlohmann::ordered_json {
            if (entry.created)
                return nullptr;
            const auto value = read->second.find(tag);
            return value == read->second.end() ? nullptr : value->second.raw;
        };
        for (const auto& [tag, value] : target.values)
            entry.tags.emplace(tag, JournalTag{before(tag), value});
        // What exiftool makes of the record's own tags is its business: undo
        // only puts them back as they were, together with the record.
        for (const QString& tag : all) {
            if (iptc && !isSidecarPath(target.path) && !entry.tags.contains(tag))
                entry.tags.emplace(tag, JournalTag{before(tag), nullptr});
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::expected<QString, Error> keepJournal(const ExifTool& exiftool,
                                          const std::vector<JournalTarget>& targets,
                                          const QString& method, const QDateTime& now,
                                          const QString& directory, int parts)
{
    auto entries = journalEntries(exiftool, targets, parts);
    if (!entries)
        return std::unexpected(entries.error());
    const WriteJournal journal{now, method, std::move(*entries)};
    const QString path = newJournalPath(directory, now);
    if (auto saved = journal.save(path); !saved)
        return std::unexpected(saved.error());
    return path;
}

SessionJournal::SessionJournal(QString directory, QString method, QDateTime started)
    : m_path(newJournalPath(directory, started))
    , m_journal{std::move(started), std::move(method), {}}
{
}

std::expected<QString, Error>
SessionJournal::add(const ExifTool& exiftool, const std::vector<JournalTarget>& targets, int parts)
{
    auto entries = journalEntries(exiftool, targets, parts);
    if (!entries)
        return std::unexpected(entries.error());
    const std::lock_guard locker(m_mutex);
    for (JournalFile& entry : *entries) {
        std::erase_if(m_journal.files,
                      [&entry](const JournalFile& file) { return file.path == entry.path; });
        m_journal.files.push_back(std::move(entry));
    }
    if (auto saved = m_journal.save(m_path); !saved)
        return std::unexpected(saved.error());
    return m_path;
}

} // namespace qb
