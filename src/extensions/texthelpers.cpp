// SPDX-License-Identifier: GPL-3.0-or-later
#include "texthelpers.h"
#include "icustring.h"
#include "regex.h"

#include <QSet>

#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace qb {

namespace {

// --- printf-style integer formats -------------------------------------

bool isAsciiDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads at most three digits, so that a caller's width can't make us
// allocate without bound.
bool skipSmallNumber(const std::string& text, size_t& i)
{
    const size_t begin = i;
    while (i < text.size() && isAsciiDigit(text[i]))
        ++i;
    return i - begin <= 3;
}

// Rewrites the caller's one integer conversion for a long long argument, so
// that what reaches snprintf always agrees with the value passed. Nothing
// when the format has no such conversion, more than one, or anything else.
std::optional<std::string> longLongFormat(const QString& format)
{
    if (format.contains(QChar(0)))
        return std::nullopt;
    const std::string text = format.toStdString();
    std::string result;
    int conversions = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        if (i + 1 < text.size() && text[i + 1] == '%') {
            result += "%%";
            ++i;
            continue;
        }
        const size_t start = ++i;
        while (i < text.size() && std::string_view("-+ 0").find(text[i]) != std::string_view::npos)
            ++i;
        if (!skipSmallNumber(text, i))
            return std::nullopt;
        if (i < text.size() && text[i] == '.') {
            ++i;
            if (!skipSmallNumber(text, i))
                return std::nullopt;
        }
        const std::string flagsAndWidth = text.substr(start, i - start);
        if (text.compare(i, 2, "ll") == 0)
            i += 2;
        else if (i < text.size() && (text[i] == 'l' || text[i] == 'q'))
            ++i;
        if (i >= text.size() || (text[i] != 'd' && text[i] != 'i'))
            return std::nullopt;
        result += '%' + flagsAndWidth + "lld";
        ++conversions;
    }
    if (conversions != 1)
        return std::nullopt;
    return result;
}

// --- incrementing numbers ---------------------------------------------

// A decimal integer as the standard library's Int parser reads it: an
// optional sign, then ASCII digits only, within range.
std::optional<qint64> parseDecimal(const QString& text)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool sign = i == 0 && (c == u'+' || c == u'-') && text.size() > 1;
        if (!sign && !(c >= u'0' && c <= u'9'))
            return std::nullopt;
    }
    return value;
}

QString trimmingScalars(const QString& text, const QString& set)
{
    const QList<uint> scalars = set.toUcs4();
    const QSet<uint> members(scalars.begin(), scalars.end());
    QList<uint> body = text.toUcs4();
    qsizetype begin = 0;
    qsizetype end = body.size();
    while (begin < end && members.contains(body[begin]))
        ++begin;
    while (end > begin && members.contains(body[end - 1]))
        --end;
    return QString::fromUcs4(reinterpret_cast<const char32_t*>(body.constData() + begin),
                             end - begin);
}

struct TrailingNumber {
    qsizetype start = 0;
    qsizetype end = 0;
    QString matched;
};

std::optional<TrailingNumber> findTrailingNumber(const QString& separator, const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(
        toIcu(separator + QStringLiteral("\\d+$")), 0, parseError, status));
    if (U_FAILURE(status) || !pattern)
        return std::nullopt;
    const icu::UnicodeString subject = toIcu(text); // the matcher keeps a reference
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(subject, status));
    if (U_FAILURE(status) || !matcher->find(status) || U_FAILURE(status))
        return std::nullopt;
    TrailingNumber found;
    found.start = matcher->start(status);
    found.end = matcher->end(status);
    if (U_FAILURE(status))
        return std::nullopt;
    found.matched = text.mid(found.start, found.end - found.start);
    return found;
}

// --- the word splitter --------------------------------------------------

bool isCapital(char32_t scalar)
{
    const int8_t category = u_charType(static_cast<UChar32>(scalar));
    return category == U_UPPERCASE_LETTER || category == U_TITLECASE_LETTER;
}

// Builds a text scalar by scalar while knowing its last extended grapheme
// cluster, so that "the last character" means what a reader sees: a capital
// with a combining accent is still one capital.
class GraphemeBuilder {
public:
    GraphemeBuilder()
    {
        UErrorCode status = U_ZERO_ERROR;
        m_breaks.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status))
            m_breaks.reset();
    }

    void append(char32_t scalar)
    {
        const QString piece = QString::fromUcs4(&scalar, 1);
        m_text += piece;
        if (m_count == 0 || startsCluster(piece)) {
            ++m_count;
            m_lastCluster = piece;
            m_lastClusterFirst = scalar;
        } else {
            m_lastCluster += piece;
        }
    }

    const QString& text() const { return m_text; }
    qsizetype clusterCount() const { return m_count; }
    char32_t firstScalarOfLastCluster() const { return m_lastClusterFirst; }

private:
    // Grapheme boundaries depend only on what precedes them within the
    // current cluster and on the next scalar, so the last cluster suffices.
    bool startsCluster(const QString& piece)
    {
        if (!m_breaks)
            return true;
        // A member, because the iterator keeps referring to its text.
        m_probe = toIcu(m_lastCluster + piece);
        m_breaks->setText(m_probe);
        return m_breaks->isBoundary(static_cast<int32_t>(m_lastCluster.size()));
    }

    std::unique_ptr<icu::BreakIterator> m_breaks;
    icu::UnicodeString m_probe;
    QString m_text;
    QString m_lastCluster;
    char32_t m_lastClusterFirst = 0;
    qsizetype m_count = 0;
};

// --- collation -----------------------------------------------------------

// Collators are costly to open; keep one per thread for the current default
// locale.
const icu::Collator* standardCollator()
{
    thread_local std::unique_ptr<icu::Collator> collator;
    thread_local std::string localeName;
    const icu::Locale& locale = icu::Locale::getDefault();
    if (collator && localeName == locale.getName())
        return collator.get();
    UErrorCode status = U_ZERO_ERROR;
    collator.reset(icu::Collator::createInstance(locale, status));
    if (U_SUCCESS(status) && collator)
        collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    if (U_FAILURE(status)) {
        collator.reset();
        return nullptr;
    }
    localeName = locale.getName();
    return collator.get();
}

} // namespace

bool matches(const QString& text, const QString& pattern)
{
    const std::optional<Regex> regex = Regex::compile(pattern);
    return regex && regex->isFoundIn(text);
}

std::optional<QString> firstCapture(const QString& pattern, const QString& text)
{
    const std::optional<Regex> regex = Regex::compile(pattern);
    if (!regex)
        return std::nullopt;
    const std::optional<RegexMatch> match = regex->firstMatch(text);
    if (!match)
        return std::nullopt;
    if (match->groups.size() == 1)
        return match->groups.front();
    return match->whole;
}

QString removingNewlines(const QString& text)
{
    QString result = text;
    result.remove(QLatin1Char('\n'));
    return result;
}

bool localizedStandardLess(const QString& a, const QString& b)
{
    const icu::Collator* collator = standardCollator();
    if (!collator)
        return a < b;
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult order = collator->compare(toIcu(a), toIcu(b), status);
    if (U_FAILURE(status))
        return a < b;
    return order == UCOL_LESS;
}

QString formattedInteger(const QString& format, qint64 number)
{
    const std::optional<std::string> safeFormat = longLongFormat(format);
    if (!safeFormat)
        return QString::number(number);
    const auto value = static_cast<long long>(number);
    const int size = std::snprintf(nullptr, 0, safeFormat->c_str(), value);
    if (size < 0)
        return QString::number(number);
    std::string buffer(static_cast<size_t>(size) + 1, '\0');
    std::snprintf(buffer.data(), buffer.size(), safeFormat->c_str(), value);
    buffer.resize(static_cast<size_t>(size));
    return QString::fromStdString(buffer);
}

QString incrementingNumber(qint64 start, qint64 step, const QString& format,
                           const QString& separator, const QString& text)
{
    qint64 number = start;
    QString stem = text;
    if (const std::optional<TrailingNumber> found = findTrailingNumber(separator, text)) {
        const std::optional<qint64> value =
            parseDecimal(trimmingScalars(found->matched, separator));
        qint64 next = 0;
        // A number too large to step is treated like no number at all.
        if (value && !__builtin_add_overflow(*value, step, &next)) {
            number = next;
            stem = text.left(found->start) + text.mid(found->end);
        }
    }
    return stem + separator + formattedInteger(format, number);
}

QUrl incrementingNumber(qint64 start, qint64 step, const QString& format, const QString& separator,
                        const QUrl& url)
{
    QString path = url.path(QUrl::FullyDecoded);
    const bool trailingSlash = path.size() > 1 && path.endsWith(QLatin1Char('/'));
    if (trailingSlash)
        path.chop(1);
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QString directory = path.left(slash + 1);
    const QString component = path.mid(slash + 1);
    // A leading dot starts a hidden name, not an extension.
    const qsizetype dot = component.lastIndexOf(QLatin1Char('.'));
    const bool hasExtension = dot > 0 && dot < component.size() - 1;
    const QString name = hasExtension ? component.left(dot) : component;
    const QString extension = hasExtension ? component.mid(dot) : QString();

    QString newPath =
        directory + incrementingNumber(start, step, format, separator, name) + extension;
    if (trailingSlash)
        newPath += QLatin1Char('/');
    QUrl result = url;
    result.setPath(newPath, QUrl::DecodedMode);
    return result;
}

void incrementNumber(QUrl& url, qint64 start, qint64 step, const QString& format,
                     const QString& separator)
{
    url = incrementingNumber(start, step, format, separator, url);
}

QString splitCamelCase(const QString& text)
{
    if (text.isEmpty())
        return text;
    const QList<uint> scalars = text.toUcs4();
    GraphemeBuilder output;
    output.append(scalars.front());
    for (qsizetype i = 1; i < scalars.size(); ++i) {
        const char32_t scalar = scalars[i];
        const bool gap =
            !isCapital(output.firstScalarOfLastCluster()) || output.clusterCount() == 1;
        if (gap && isCapital(scalar))
            output.append(U' ');
        output.append(scalar);
    }
    return output.text();
}

QString StringReplacementError::failureReason() const
{
    return QStringLiteral("More input strings (%1) given than replacement strings (%2).")
        .arg(elementCount)
        .arg(replacementCount);
}

Error StringReplacementError::toError() const
{
    Error error;
    error.domain = QStringLiteral("qb.StringReplacementError");
    error.code = 0;
    error.failureReason = failureReason();
    error.errorDescription = QStringLiteral("The texts could not be replaced.");
    return error;
}

std::expected<QString, StringReplacementError>
replacing(const QString& text, const QStringList& elements, const QStringList& replacements)
{
    if (replacements.size() < elements.size())
        return std::unexpected(StringReplacementError{elements.size(), replacements.size()});
    QString result = text;
    for (qsizetype i = 0; i < elements.size(); ++i) {
        // QString would insert the replacement between every character.
        if (!elements[i].isEmpty())
            result.replace(elements[i], replacements[i]);
    }
    return result;
}

} // namespace qb
