// SPDX-License-Identifier: GPL-3.0-or-later
#include "iptcrecoding.h"

#include "extensions/codepages.h"
#include "extensions/dynamicvaluejson.h"
#include "extensions/interruption.h"
#include "extensions/process.h"

#include <QFile>
#include <QHash>
#include <QSet>

namespace qb {

namespace {

// The IPTC record's datasets inside a Photoshop resource block: each
// 0x1C, record, dataset, a two-byte length, the bytes.
IptcText datasetsText(QByteArrayView data)
{
    bool declared = false;
    bool notUtf8 = false;
    qsizetype at = 0;
    while (at + 5 <= data.size() && uchar(data[at]) == 0x1C) {
        const int record = uchar(data[at + 1]);
        const int dataset = uchar(data[at + 2]);
        const int length = (uchar(data[at + 3]) << 8) | uchar(data[at + 4]);
        if (length & 0x8000)
            return IptcText::cannotTell; // an extended length, for large binary data only
        const QByteArrayView value =
            data.sliced(at + 5).first(std::min<qsizetype>(length, data.size() - at - 5));
        if (record == 1 && dataset == 90)
            declared = true;
        else if (record == 2 && !decodedUtf8(value.toByteArray()))
            notUtf8 = true;
        at += 5 + length;
    }
    return notUtf8 && !declared ? IptcText::notUtf8 : IptcText::fine;
}

// Photoshop's resources in an APP13 segment: "8BIM", an id, a padded
// Pascal name, a length, the data padded to an even size. 0x0404 is IPTC.
IptcText resourcesText(QByteArrayView segment)
{
    static const QByteArray header("Photoshop 3.0\0", 14);
    if (!segment.startsWith(header))
        return IptcText::fine;
    qsizetype at = header.size();
    IptcText text = IptcText::fine;
    while (at + 12 <= segment.size() && segment.sliced(at, 4) == QByteArrayView("8BIM")) {
        const int id = (uchar(segment[at + 4]) << 8) | uchar(segment[at + 5]);
        const int nameLength = uchar(segment[at + 6]);
        qsizetype sizeAt = at + 6 + ((nameLength + 2) & ~1);
        if (sizeAt + 4 > segment.size())
            return IptcText::cannotTell;
        const quint32 size =
            (quint32(uchar(segment[sizeAt])) << 24) | (quint32(uchar(segment[sizeAt + 1])) << 16) |
            (quint32(uchar(segment[sizeAt + 2])) << 8) | quint32(uchar(segment[sizeAt + 3]));
        const qsizetype dataAt = sizeAt + 4;
        if (dataAt + qsizetype(size) > segment.size())
            return IptcText::cannotTell;
        if (id == 0x0404) {
            const IptcText found = datasetsText(segment.sliced(dataAt, size));
            if (found != IptcText::fine)
                text = found;
        }
        at = dataAt + ((qsizetype(size) + 1) & ~qsizetype(1));
    }
    return text;
}

DynamicValue recoded(const DynamicValue& value, bool& changed)
{
    if (value.isList()) {
        DynamicValue::List elements;
        for (const DynamicValue& element : value.toList())
            elements.push_back(recoded(element, changed));
        return DynamicValue(std::move(elements));
    }
    static const QString prefix = QStringLiteral("base64:");
    if (!value.isString() || !value.toString().startsWith(prefix))
        return value;
    // exiftool gives text that isn't valid UTF-8 in its base64 form.
    const QByteArray bytes = QByteArray::fromBase64(value.toString().mid(prefix.size()).toLatin1());
    if (const auto text = decodedUtf8(bytes))
        return DynamicValue(*text);
    changed = true;
    return DynamicValue(decodeStrictly(bytes, "windows-1252").value_or(QString::fromLatin1(bytes)));
}

bool writesIptc(const ExifImage& image)
{
    for (const auto& entry : image.metadata) {
        if (entry.first.startsWith(QLatin1String("IPTC:"), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

// Adds to the image the IPTC texts of exiftool's answer for its file that
// need recoding, where the write doesn't set them itself.
void addRecoded(ExifImage& image, const nlohmann::ordered_json& object, const WritableTags* tags)
{
    if (object.contains("IPTC:CodedCharacterSet"))
        return;
    QSet<QString> set;
    for (const auto& entry : image.metadata)
        set.insert(entry.first.toLower());
    ExifImage::Metadata added;
    bool anyRecoded = false;
    for (const auto& [key, json] : object.items()) {
        const QString tag = QString::fromStdString(key);
        if (!tag.startsWith(QLatin1String("IPTC:")) || set.contains(tag.toLower()))
            continue;
        if (tags && !tags->isIptcText(tag.mid(5)))
            continue; // binary data, which has no character set
        bool changed = false;
        DynamicValue value = recoded(dynamicValueFromJson(json), changed);
        anyRecoded = anyRecoded || changed;
        if (changed)
            added.insert_or_assign(tag, std::move(value));
    }
    if (anyRecoded)
        image.merge(added, false);
}

} // namespace

IptcText iptcTextOf(const QByteArray& jpegStart)
{
    if (!jpegStart.startsWith("\xFF\xD8"))
        return IptcText::cannotTell;
    qsizetype at = 2;
    IptcText text = IptcText::fine;
    while (at + 4 <= jpegStart.size() && uchar(jpegStart[at]) == 0xFF) {
        const int marker = uchar(jpegStart[at + 1]);
        if (marker == 0xDA || marker == 0xD9)
            return text; // the image data: the segments that hold metadata are over
        const int length = (uchar(jpegStart[at + 2]) << 8) | uchar(jpegStart[at + 3]);
        if (length < 2 || at + 2 + length > jpegStart.size())
            return IptcText::cannotTell;
        if (marker == 0xED) {
            const IptcText found =
                resourcesText(QByteArrayView(jpegStart).sliced(at + 4, length - 2));
            if (found != IptcText::fine)
                text = found;
        }
        at += 2 + length;
    }
    return IptcText::cannotTell;
}

IptcText iptcTextOfFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return IptcText::cannotTell;
    // Metadata segments come first and each holds 64 KiB at most; the
    // image data begins well within this much in the files that matter.
    constexpr qint64 enough = 1 << 20;
    return iptcTextOf(file.read(enough));
}

std::expected<void, Error> recodeLatinIptc(const ExifTool& exiftool,
                                           const std::vector<WriteFile*>& files,
                                           const WritableTags* tags)
{
    QStringList paths;
    QHash<QString, WriteFile*> byTarget;
    for (WriteFile* file : files) {
        if (!writesIptc(*file->image) || iptcTextOfFile(file->target) == IptcText::fine)
            continue;
        paths << file->target;
        byTarget.insert(file->target, file);
    }
    if (paths.isEmpty())
        return {};
    QStringList arguments{QStringLiteral("-json"),     QStringLiteral("-G"),
                          QStringLiteral("-b"),        QStringLiteral("-charset"),
                          QStringLiteral("iptc=utf8"), QStringLiteral("-IPTC:all")};
    arguments << paths;
    std::expected<void, Error> outcome;
    exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> ran) {
        QByteArray answer;
        if (ran) {
            answer = ran->response;
        } else if (ran.error().kind() == ExiftoolError::Case::responseNotZero &&
                   !ran.error().process().endedBySignal && !isInterrupted()) {
            answer = ran.error().process().response; // a file it couldn't read fails the write
        } else {
            outcome = std::unexpected(ran.error().toError(ExiftoolTask::read));
            return;
        }
        const auto json =
            nlohmann::ordered_json::parse(answer.cbegin(), answer.cend(), nullptr, false);
        if (!json.is_array())
            return;
        for (const auto& object : json) {
            const auto source = object.find("SourceFile");
            if (!object.is_object() || source == object.end() || !source->is_string())
                continue;
            if (WriteFile* file =
                    byTarget.value(QString::fromStdString(source->get<std::string>())))
                addRecoded(*file->image, object, tags);
        }
    });
    return outcome;
}

} // namespace qb
