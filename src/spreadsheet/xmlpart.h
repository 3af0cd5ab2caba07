// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/ziparchive.h"

#include <QString>
#include <QXmlStreamReader>

#include <expected>
#include <memory>

namespace qb {

// One XML part of a spreadsheet, streamed: nothing holds the document, so a
// sheet of a million cells costs only its values. A document type
// declaration is refused outright, as no spreadsheet program writes one and
// its entities could expand without end.
class XmlPart {
public:
    // The part read up to its root element, which is the current token;
    // read on with the reader's own readNextStartElement() and friends.
    static std::expected<std::unique_ptr<XmlPart>, Error> open(ZipArchive& archive,
                                                               const QString& name);

    QXmlStreamReader& xml() { return m_xml; }
    const QString& name() const { return m_stream->name(); }

    // The first thing that went wrong, in the user's terms: the part too
    // large, zip data that can't be unpacked, or damaged XML (including an
    // error raised on the reader by whoever read the part).
    std::expected<void, Error> finish();

private:
    XmlPart(std::unique_ptr<PartStream> stream, QString path);

    std::unique_ptr<PartStream> m_stream;
    QString m_path;
    QXmlStreamReader m_xml;
    bool m_declaresTypes = false;
};

// The text of the current element and all within it.
QString elementText(QXmlStreamReader& xml);

} // namespace qb
