// SPDX-License-Identifier: GPL-3.0-or-later
#include "jsondecode.h"

namespace qb {

JsonDecodeFailure::JsonDecodeFailure(const QString& path, const QString& reason)
    : std::runtime_error((path + QStringLiteral(": ") + reason).toStdString())
    , path(path)
    , reason(reason)
{
}

QString jsonKindName(const Json& json)
{
    switch (json.type()) {
    case Json::value_t::null:
        return QStringLiteral("null");
    case Json::value_t::object:
        return QStringLiteral("an object");
    case Json::value_t::array:
        return QStringLiteral("an array");
    case Json::value_t::string:
        return QStringLiteral("a string");
    case Json::value_t::boolean:
        return QStringLiteral("a boolean");
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
        return QStringLiteral("an integer");
    case Json::value_t::number_float:
        return QStringLiteral("a number");
    default:
        return QStringLiteral("an unknown value");
    }
}

QString fromJsonString(const Json& json)
{
    return QString::fromStdString(json.get_ref<const std::string&>());
}

Json toJson(const QString& text)
{
    return text.toStdString();
}

JsonObject::JsonObject(const Json& json, QString path)
    : m_json(json)
    , m_path(std::move(path))
{
    if (!m_json.is_object())
        fail(QStringLiteral("expected an object, found %1").arg(jsonKindName(m_json)));
}

JsonObject jsonObjectAt(const Json& json, const QString& path)
{
    return JsonObject(json, path);
}

QString JsonObject::pathOf(const char* key) const
{
    const QString name = QString::fromUtf8(key);
    return m_path.isEmpty() ? name : m_path + QLatin1Char('.') + name;
}

void JsonObject::fail(const QString& reason) const
{
    throw JsonDecodeFailure(m_path.isEmpty() ? QStringLiteral("top level") : m_path, reason);
}

const Json& JsonObject::member(const char* key) const
{
    const auto it = m_json.find(key);
    if (it == m_json.end())
        fail(QStringLiteral("the key \"%1\" is missing").arg(QString::fromUtf8(key)));
    return *it;
}

QString JsonObject::string(const char* key) const
{
    const Json& value = member(key);
    if (!value.is_string())
        throw JsonDecodeFailure(
            pathOf(key), QStringLiteral("expected a string, found %1").arg(jsonKindName(value)));
    return fromJsonString(value);
}

bool JsonObject::boolean(const char* key) const
{
    const Json& value = member(key);
    if (!value.is_boolean())
        throw JsonDecodeFailure(
            pathOf(key), QStringLiteral("expected a boolean, found %1").arg(jsonKindName(value)));
    return value.get<bool>();
}

qint64 JsonObject::integer(const char* key) const
{
    const Json& value = member(key);
    if (value.is_number_integer())
        return value.get<qint64>();
    if (value.is_number_unsigned() && value.get<quint64>() <= quint64(INT64_MAX))
        return qint64(value.get<quint64>());
    throw JsonDecodeFailure(
        pathOf(key), QStringLiteral("expected an integer, found %1").arg(jsonKindName(value)));
}

JsonObject JsonObject::object(const char* key) const
{
    return JsonObject(member(key), pathOf(key));
}

const Json& JsonObject::array(const char* key) const
{
    const Json& value = member(key);
    if (!value.is_array())
        throw JsonDecodeFailure(
            pathOf(key), QStringLiteral("expected an array, found %1").arg(jsonKindName(value)));
    return value;
}

QString jsonExceptionText(const char* what)
{
    QString text = QString::fromUtf8(what);
    if (text.startsWith(QLatin1Char('['))) {
        const qsizetype close = text.indexOf(QLatin1String("] "));
        if (close > 0)
            text = text.mid(close + 2);
    }
    return text;
}

Error decodingError(const JsonDecodeFailure& failure)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.DecodingError");
    error.code = 1;
    error.errorDescription =
        QStringLiteral("The data couldn't be read because it isn't in the correct format.");
    error.failureReason = QStringLiteral("At %1: %2.").arg(failure.path, failure.reason);
    error.userInfo.insert(QStringLiteral("codingPath"), failure.path);
    return error;
}

} // namespace qb
