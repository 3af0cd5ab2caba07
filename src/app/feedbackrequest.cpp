// SPDX-License-Identifier: GPL-3.0-or-later
#include "feedbackrequest.h"

#include "appinfo.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrlQuery>

namespace qb {

namespace {

// QUrlQuery takes "%41" in a value as an encoded "A" and leaves "+" bare,
// which servers read as a space; a value encoded whole is neither.
QString encoded(const QString& value)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(value));
}

QString orFallback(const QString& text, const QString& fallback)
{
    return text.trimmed().isEmpty() ? fallback : text;
}

QString failureReason(const QNetworkReply& reply, std::chrono::milliseconds timeout)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        const QString phrase =
            reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        return QStringLiteral("The feedback server answered with status %1%2.")
            .arg(status.toInt())
            .arg(phrase.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(phrase));
    }
    // The transfer timeout aborts the reply; nothing else here cancels one.
    if (reply.error() == QNetworkReply::OperationCanceledError ||
        reply.error() == QNetworkReply::TimeoutError) {
        const auto seconds = std::chrono::ceil<std::chrono::seconds>(timeout).count();
        return QStringLiteral("The feedback server did not answer within %1 %2.")
            .arg(seconds)
            .arg(seconds == 1 ? QStringLiteral("second") : QStringLiteral("seconds"));
    }
    if (reply.error() != QNetworkReply::NoError)
        return QStringLiteral("The feedback server could not be reached: %1.")
            .arg(reply.errorString());
    return QStringLiteral("The feedback server's answer was not an HTTP response.");
}

FeedbackSender::Result replyResult(const QNetworkReply& reply, std::chrono::milliseconds timeout)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply.error() == QNetworkReply::NoError && status >= 200 && status <= 299)
        return {};
    Error error;
    error.domain = QStringLiteral("QNetworkReply");
    error.code = reply.error() != QNetworkReply::NoError ? int(reply.error()) : status;
    error.errorDescription = QStringLiteral("Your feedback could not be sent.");
    error.failureReason = failureReason(reply, timeout);
    error.recoverySuggestion =
        QStringLiteral("Check your connection to the internet, then try again.");
    return std::unexpected(error);
}

} // namespace

QUrl feedbackEndpoint(const QVariant& emailURL, const QUrl& builtIn)
{
    if (emailURL.typeId() != QMetaType::QString)
        return builtIn;
    const QUrl url(emailURL.toString().trimmed(), QUrl::StrictMode);
    const bool web =
        url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return url.isValid() && web && !url.host().isEmpty() ? url : builtIn;
}

bool canSendFeedback(const QString& body)
{
    return !body.trimmed().isEmpty();
}

QUrl feedbackRequestURL(const QUrl& endpoint, const AppInfo& info, const FeedbackMessage& message)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("NAME"),
                       encoded(orFallback(message.name, info.name + QStringLiteral(" Feedback"))));
    query.addQueryItem(QStringLiteral("FROM"),
                       encoded(orFallback(message.email, info.fallbackSender())));
    query.addQueryItem(QStringLiteral("SUBJECT"), encoded(message.subject));
    query.addQueryItem(
        QStringLiteral("BODY"),
        encoded(message.body + QStringLiteral("\n\n-------\n") + info.versionString()));
    if (!message.debugEmail)
        query.addQueryItem(QStringLiteral("NOEMAIL"), QStringLiteral("no"));
    QUrl url = endpoint;
    url.setQuery(query);
    return url;
}

FeedbackSender::FeedbackSender(QObject* parent)
    : QObject(parent)
    , m_network(new QNetworkAccessManager(this))
{
}

void FeedbackSender::send(const QUrl& url, Completion completion)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(int(m_timeout.count()));
    QNetworkReply* reply = m_network->get(request);
    connect(reply, &QNetworkReply::finished, this,
            [reply, timeout = m_timeout, completion = std::move(completion)] {
                reply->deleteLater();
                completion(replyResult(*reply, timeout));
            });
}

} // namespace qb
