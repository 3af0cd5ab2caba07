// SPDX-License-Identifier: GPL-3.0-or-later
#include "xmlpart.h"

#include "spreadsheet/spreadsheeterror.h"

namespace qb {

XmlPart::XmlPart(std::unique_ptr<PartStream> stream, QString path)
    : m_stream(std::move(stream))
    , m_path(std::move(path))
    , m_xml(&m_stream->device())
{
    // No entity can be declared once the declaration is refused; this holds
    // should that ever change.
    m_xml.setEntityExpansionLimit(1024);
}

std::expected<std::unique_ptr<XmlPart>, Error> XmlPart::open(ZipArchive& archive,
                                                             const QString& name)
{
    auto stream = archive.openPart(name);
    if (!stream)
        return std::unexpected(stream.error());
    std::unique_ptr<XmlPart> part(new XmlPart(std::move(*stream), archive.path()));
    QXmlStreamReader& xml = part->m_xml;
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::DTD) {
            part->m_declaresTypes = true;
            xml.raiseError(QStringLiteral("document type declaration"));
        } else if (token == QXmlStreamReader::StartElement) {
            return part;
        }
    }
    if (auto failed = part->finish(); !failed)
        return std::unexpected(failed.error());
    return std::unexpected(damagedPartError(archive.path(), name, QStringLiteral("it is empty")));
}

std::expected<void, Error> XmlPart::finish()
{
    if (auto stopped = m_stream->failure())
        return std::unexpected(*stopped);
    if (m_declaresTypes)
        return std::unexpected(forbiddenXmlError(m_path, name()));
    if (m_xml.hasError()) {
        return std::unexpected(damagedPartError(
            m_path, name(),
            QStringLiteral("%1 (line %2)").arg(m_xml.errorString()).arg(m_xml.lineNumber())));
    }
    // Stopped early, the part's checksum can't be known; read to its end,
    // it must match.
    if (auto failed = m_stream->close())
        return std::unexpected(*failed);
    return {};
}

QString elementText(QXmlStreamReader& xml)
{
    return xml.readElementText(QXmlStreamReader::IncludeChildElements);
}

} // namespace qb
