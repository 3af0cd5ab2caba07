// SPDX-License-Identifier: GPL-3.0-or-later
#include "codepages.h"

#include <QStringList>

#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>

#include <algorithm>
#include <array>
#include <memory>

namespace qb {

namespace {

constexpr std::array<CodePage, 8> codePages{{
    {"windows-1252", "Windows-1252"},
    {"ISO-8859-1", "ISO-8859-1"},
    {"ISO-8859-15", "ISO-8859-15"},
    {"macintosh", "Mac Roman"},
    {"windows-1250", "Windows-1250"},
    {"windows-1251", "Windows-1251"},
    {"Shift_JIS", "Shift-JIS"},
    {"GB18030", "GB18030"},
}};

const CodePage& codePage(const char* icuName)
{
    return *std::find_if(codePages.begin(), codePages.end(), [icuName](const CodePage& page) {
        return qstrcmp(page.icuName, icuName) == 0;
    });
}

// ICU gives 10 to an encoding that merely can hold the bytes; from 30 on,
// its statistics have found the letter patterns of a language in them.
// Below that a guess would as likely garble the names as read them.
constexpr int confidentDetection = 30;

// The detector reads enough of a large file from its start.
constexpr qsizetype detectionSampleSize = 64 * 1024;

// The code pages ICU's detector can name. It has no recogniser for Mac
// Roman and reports Latin-9 as Latin-1: those two are told apart below.
bool isDetectable(const char* icuName)
{
    for (const char* name :
         {"windows-1252", "ISO-8859-1", "windows-1250", "windows-1251", "Shift_JIS", "GB18030"}) {
        if (qstrcmp(name, icuName) == 0)
            return true;
    }
    return false;
}

struct DetectorCloser {
    void operator()(UCharsetDetector* detector) const { ucsdet_close(detector); }
};

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

// Spreadsheets never write control characters other than tab and line
// ends. ICU maps the bytes a code page leaves undefined to C1 controls, and
// rates short runs of such bytes highly: a reading with them is wrong.
bool isPlainText(QStringView text)
{
    return std::none_of(text.begin(), text.end(), [](QChar c) {
        const char16_t u = c.unicode();
        return (u < 0x20 && u != u'\t' && u != u'\n' && u != u'\r') || (u >= 0x7F && u < 0xA0);
    });
}

// The letters the languages of a code page use most. An accented letter of
// this set inside a word is good evidence that a reading is right.
const QString westernLetters = QStringLiteral(u"àáâäãåæçèéêëíñòóôöõøùúüßÄÅÆÇÉÑÖØÜ");
const QString centralLetters =
    QStringLiteral(u"áäéíóôöúüýąćčďęěłńňőřśšťůűźżžĄĆČĎĘĚŁŃŇŐŘŚŠŤŮŰŹŻŽÁÉÍÓÖÚÜÝ");

// How much a reading looks like words: a non-ASCII letter beside another
// letter counts, and counts three times when the code page's languages use
// it often. Curly quotes read as Mac Roman become rare letters at word
// edges; Mac Roman umlauts read as Windows-1252 become symbols.
int letterScore(QStringView text, const QString& commonLetters)
{
    int score = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.unicode() < 0x80 || !c.isLetter())
            continue;
        const bool besideLetter =
            (i > 0 && text[i - 1].isLetter()) || (i + 1 < text.size() && text[i + 1].isLetter());
        if (besideLetter)
            score += commonLetters.contains(c) ? 3 : 1;
    }
    return score;
}

// Mac Roman puts its accented letters where Windows code pages put
// punctuation, and ICU reads such text as Windows-1252 or -1250: the
// reading with more plausible words wins, and a tie stays with ICU.
// In Latin-1 text the currency sign ¤ is almost never meant: a file that
// has it is Latin-9, where that byte is the euro sign.
CodePage refineLatin(QByteArrayView bytes, const CodePage& detected, const QString& text)
{
    const bool central = qstrcmp(detected.icuName, "windows-1250") == 0;
    const bool western = qstrcmp(detected.icuName, "windows-1252") == 0 ||
                         qstrcmp(detected.icuName, "ISO-8859-1") == 0;
    if (!central && !western)
        return detected;
    if (const auto mac = decodeStrictly(bytes, "macintosh"); mac && isPlainText(*mac)) {
        if (letterScore(*mac, westernLetters) >
            letterScore(text, central ? centralLetters : westernLetters))
            return codePage("macintosh");
    }
    if (qstrcmp(detected.icuName, "ISO-8859-1") == 0 && bytes.contains('\xA4'))
        return codePage("ISO-8859-15");
    return detected;
}

} // namespace

std::span<const CodePage> spreadsheetCodePages()
{
    return codePages;
}

QString spreadsheetCodePageList(const QString& conjunction)
{
    QStringList names;
    for (const CodePage& page : codePages)
        names << QString::fromLatin1(page.displayName);
    const QString last = names.takeLast();
    return names.join(QStringLiteral(", ")) + QLatin1Char(' ') + conjunction + QLatin1Char(' ') +
           last;
}

std::optional<CodePage> detectSpreadsheetCodePage(QByteArrayView bytes)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UCharsetDetector, DetectorCloser> detector(ucsdet_open(&status));
    const QByteArrayView sample = bytes.first(std::min(bytes.size(), detectionSampleSize));
    ucsdet_setText(detector.get(), sample.data(), int32_t(sample.size()), &status);
    int32_t count = 0;
    const UCharsetMatch** matches = ucsdet_detectAll(detector.get(), &count, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    // Best first: the first code page of ours decides, whatever others ICU
    // thought likelier (other ISO pages, which spreadsheets don't write).
    for (int32_t i = 0; i < count; ++i) {
        const char* name = ucsdet_getName(matches[i], &status);
        const int confidence = ucsdet_getConfidence(matches[i], &status);
        if (U_FAILURE(status))
            return std::nullopt;
        // Mostly good UTF-8 with a damaged byte: read in a code page, every
        // accented letter in it would come out as two wrong ones.
        if (qstrcmp(name, "UTF-8") == 0 && confidence >= confidentDetection)
            return std::nullopt;
        if (!isDetectable(name))
            continue;
        if (confidence < confidentDetection)
            return std::nullopt;
        const auto text = decodeStrictly(bytes, name);
        if (!text || !isPlainText(*text))
            continue;
        return refineLatin(bytes, codePage(name), *text);
    }
    return std::nullopt;
}

std::optional<QString> decodeStrictly(QByteArrayView bytes, const char* icuName)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, ConverterCloser> converter(ucnv_open(icuName, &status));
    if (U_SUCCESS(status))
        ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
    if (U_FAILURE(status))
        return std::nullopt;
    // No encoding makes more than two UTF-16 units of one byte.
    QString text(bytes.size() * 2 + 2, Qt::Uninitialized);
    auto* begin = reinterpret_cast<UChar*>(text.data());
    UChar* target = begin;
    const char* source = bytes.data();
    ucnv_toUnicode(converter.get(), &target, begin + text.size(), &source,
                   bytes.data() + bytes.size(), nullptr, true, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    text.truncate(target - begin);
    return text;
}

} // namespace qb
