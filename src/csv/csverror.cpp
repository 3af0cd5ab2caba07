// SPDX-License-Identifier: GPL-3.0-or-later
#include "csverror.h"

#include <QStringList>

namespace qb {

std::optional<CSVReaderError> csvReaderErrorFromCode(int code)
{
    switch (code) {
    case 1:
        return CSVReaderError::invalidConfiguration;
    case 2:
        return CSVReaderError::invalidInput;
    case 4:
        return CSVReaderError::streamFailure;
    default:
        return std::nullopt;
    }
}

QString csvReaderErrorDescription(CSVReaderError type)
{
    switch (type) {
    case CSVReaderError::invalidConfiguration:
        return QStringLiteral("Invalid configuration");
    case CSVReaderError::invalidInput:
        return QStringLiteral("Invalid input");
    case CSVReaderError::streamFailure:
        return QStringLiteral("Stream failure");
    }
    return {};
}

CSVError::CSVError(CSVReaderError type, QString failureReason, QString helpAnchor,
                   QVariantMap userInfo, std::shared_ptr<const Error> underlying)
    : m_type(type)
    , m_failureReason(std::move(failureReason))
    , m_helpAnchor(std::move(helpAnchor))
    , m_userInfo(std::move(userInfo))
    , m_underlying(std::move(underlying))
    , m_what(longDescription().toStdString())
{
}

QString CSVError::componentName()
{
    return QStringLiteral("CSVReader");
}

QString CSVError::domain()
{
    return QStringLiteral("org.quillbrook.csv.Reader");
}

QString CSVError::longDescription() const
{
    QString text = QLatin1Char('[') + componentName() + QStringLiteral("] ") + errorDescription();
    if (m_failureReason)
        text += QStringLiteral("\n\tReason: ") + *m_failureReason;
    if (m_recoverySuggestion)
        text += QStringLiteral("\n\tRecovery: ") + *m_recoverySuggestion;
    if (m_helpAnchor)
        text += QStringLiteral("\n\tHelp: ") + *m_helpAnchor;
    if (!m_userInfo.isEmpty()) {
        QStringList entries;
        for (auto it = m_userInfo.cbegin(); it != m_userInfo.cend(); ++it)
            entries << it.key() + QStringLiteral(": ") + it.value().toString();
        text += QStringLiteral("\n\tUser info: ") + entries.join(QStringLiteral(", "));
    }
    if (m_underlying)
        text += QStringLiteral("\n\tUnderlying error: ") + m_underlying->message();
    return text;
}

Error CSVError::toError() const
{
    Error error;
    error.domain = domain();
    error.code = code();
    error.errorDescription = errorDescription();
    error.failureReason = m_failureReason.value_or(QString());
    error.recoverySuggestion = m_recoverySuggestion.value_or(QString());
    error.helpAnchor = m_helpAnchor.value_or(QString());
    error.userInfo = m_userInfo;
    error.underlying = m_underlying;
    return error;
}

} // namespace qb
