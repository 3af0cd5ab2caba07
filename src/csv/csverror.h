// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>
#include <QVariantMap>

#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace qb {

// How reading CSV failed. The values are the error codes; 3 stays unused so
// that codes keep their meaning for anyone who stored them.
enum class CSVReaderError { invalidConfiguration = 1, invalidInput = 2, streamFailure = 4 };

// The kind behind an error code; 0, 3 and unknown codes have none.
std::optional<CSVReaderError> csvReaderErrorFromCode(int code);
// The short text of a kind ("Invalid input"), also the error's description.
QString csvReaderErrorDescription(CSVReaderError type);

// The error of every CSV reading failure. The advice goes to helpAnchor and
// recoverySuggestion stays absent, so that presentation code shows it once.
// It is thrown inside the reader and handed out as a value by its interface.
class CSVError : public std::exception {
public:
    CSVError(CSVReaderError type, QString failureReason, QString helpAnchor,
             QVariantMap userInfo = {}, std::shared_ptr<const Error> underlying = {});

    // The failing component, as named in the long form.
    static QString componentName();
    static QString domain();

    CSVReaderError type() const { return m_type; }
    int code() const { return static_cast<int>(m_type); }
    QString errorDescription() const { return csvReaderErrorDescription(m_type); }
    const std::optional<QString>& failureReason() const { return m_failureReason; }
    const std::optional<QString>& recoverySuggestion() const { return m_recoverySuggestion; }
    const std::optional<QString>& helpAnchor() const { return m_helpAnchor; }
    const QVariantMap& errorUserInfo() const { return m_userInfo; }
    const std::shared_ptr<const Error>& underlyingError() const { return m_underlying; }

    // Everything in one text, for a terminal or a log.
    QString longDescription() const;
    Error toError() const;

    const char* what() const noexcept override { return m_what.c_str(); }

private:
    CSVReaderError m_type;
    std::optional<QString> m_failureReason;
    std::optional<QString> m_recoverySuggestion;
    std::optional<QString> m_helpAnchor;
    QVariantMap m_userInfo;
    std::shared_ptr<const Error> m_underlying;
    std::string m_what;
};

} // namespace qb
