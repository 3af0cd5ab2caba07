// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftool.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QSet>
#include <QString>

#include <map>
#include <memory>
#include <optional>

namespace qb {

// The tags exiftool can write, each with the groups it may be written
// under, as exiftool's tag database (-listx) gives them.
class WritableTags {
public:
    // Nothing when the answer names no writable tag.
    static std::optional<WritableTags> fromTagDatabase(const QByteArray& xml);
    // The form the cache keeps, and back.
    QByteArray serialized() const;
    static std::optional<WritableTags> fromSerialized(const QByteArray& text);

    // Whether exiftool writes `tag`, taken as exiftool takes it: "Name" or
    // "GROUP:Name" (several groups may stand in front), any case, a group
    // of family 0, 1 or 2, possibly with its family number in front, and a
    // language code behind a name ("Title-fr").
    bool canWrite(const QString& tag) const;

    // Whether `tag`, taken as canWrite() takes it, is a list: a value of
    // several items (exiftool's List, Bag, Seq and Alt). A name alone is a
    // list when it is one in any group; with groups, in one of them.
    bool isList(const QString& tag) const;

    // The most bytes an IPTC text tag holds ("Caption-Abstract" 2000), from
    // its record's definition; nothing for a tag that isn't an IPTC text
    // or has no limit. A list tag's limit is for each of its elements.
    std::optional<int> iptcTextLimit(const QString& name) const;
    // Whether `name` is one of IPTC's text tags, whose bytes a character
    // set decides.
    bool isIptcText(const QString& name) const;

private:
    const QSet<QString>* groupsOf(const QString& name) const;

    QHash<QString, QSet<QString>> m_groupsByName;     // all in lower case
    QHash<QString, QSet<QString>> m_listGroupsByName; // the groups where a name is a list
    QHash<QString, int> m_iptcTextLimits;             // by lower-case name; 0 for none
};

// Asks an exiftool once for its writable tags, which takes it a second or
// two, and keeps the answer in memory and in the user's cache folder,
// under the executable's path, size and time of change.
class WritableTagsCache {
public:
    // A null runner means the system's.
    explicit WritableTagsCache(QString folder = defaultFolder(),
                               std::shared_ptr<ProcessRunner> runner = {});
    static QString defaultFolder();
    // The one every write consults; thread-safe.
    static WritableTagsCache& shared();

    // Null when the exiftool at `location` can't be asked or gives no
    // usable answer: then no tag can be judged, and the write tells.
    std::shared_ptr<const WritableTags> tagsOf(const QString& location,
                                               const ExiftoolConfig& config);

private:
    std::shared_ptr<const WritableTags> ask(const QString& location, const ExiftoolConfig& config);

    QString m_folder;
    std::shared_ptr<ProcessRunner> m_runner;
    QMutex m_mutex;
    std::map<QString, std::shared_ptr<const WritableTags>> m_known; // by cache key
};

} // namespace qb
